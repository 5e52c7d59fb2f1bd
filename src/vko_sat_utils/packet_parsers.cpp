#include "packet_parsers.h"

#include <algorithm>
#include <cstring>

#include "field_log.h"
#include "packet.h"

namespace {

/** Room of the working copy behind the text. */
constexpr size_t COPY_SPARE = 10;

/** A text as it was handed over, and the name of the argument for the log. */
struct ParserInput {
    const char* name;
    const char* text;
    size_t length;
};

SatFieldLabels CommandPacketLabels(const SatField& field) {
    // The last argument may at the same time be the name or the session: both are then said.
    if (field.number == 1) {
        return {"=", field.is_last ? "NomeDoComando LastParam" : "NomeDoComando"};
    }
    if (field.number == 2) {
        return {"=", field.is_last ? "numeroSessao(AC-RND) LastParam" : "numeroSessao(AC-RND)"};
    }
    return {"=", field.is_last ? "LastParam" : ""};
}

SatFieldLabels ReplyPacketLabels(const SatField&) {
    return {"=", ""};
}

SatFieldLabels ArgumentLabels(const SatField& field) {
    return {field.number <= 6 ? "  ------------" : "  UNKNOWN", ""};
}

constexpr SatParser COMMAND_PACKET = {"SAT_API_CmdPktParcer", 'P', false, SAT_EMPTY_EVERYWHERE,
                                      CommandPacketLabels};
constexpr SatParser REPLY_PACKET = {"SAT_API_RspPktParcer", 'R', true, SAT_EMPTY_EVERYWHERE,
                                    ReplyPacketLabels};
// This one looks for empty fields from the third byte of a field on and not behind its end, so it finds them
// behind one-character fields only. It is a diagnostic and kept so on purpose.
constexpr SatParser ARGUMENTS = {"SAT_APP_CmdParcer", 'P', false, SAT_EMPTY_BEHIND_ONE_CHARACTER,
                                 ArgumentLabels};

/** The text within a frame of which `length` bytes may be read: up to its first NUL. */
size_t TextLength(const char* packet, int32_t length) {
    const auto limit = static_cast<size_t>(std::max(length, 0));
    const void* end = memchr(packet, '\0', limit);
    return end ? static_cast<size_t>(static_cast<const char*>(end) - packet) : limit;
}

/** Writes all fields and returns their number, 0 when there is none. `last_piece` receives the last one's
 * size. */
int32_t DumpFields(const SatParser& parser, const ParserInput& input, size_t* last_piece) {
    auto* copy = static_cast<char*>(plat_alloc(input.length + COPY_SPARE));
    if (!copy) {
        SAT_PARSER_LOG(parser, VKO_LOG_ERR, "%s=[%08d:%.*s]CALLOC FAIL!!!\n", input.name,
                       static_cast<int>(input.length), static_cast<int>(input.length), input.text);
        return 0;
    }
    SatFieldCursor cursor;
    if (!SatBeginFields(&cursor, input.text, input.length, parser.empty_rule)) {
        plat_free(copy);
        SatLogNoField(parser);
        return 0;
    }
    SatField field;
    while (SatNextField(&cursor, &field)) {
        SatLogField(parser, VKO_LOG_INF, parser.labels(field), field, copy);
        if (field.empty_number == 0) {
            *last_piece = field.piece_length;
        }
    }
    plat_free(copy);
    return cursor.number;
}

/** The two bytes behind a text that a checksum of 0x00 ended. */
void LogBytesBehind(const SatParser& parser, const char* name, const char* behind) {
    const auto checksum = static_cast<unsigned char>(behind[0]);
    const auto etx = static_cast<unsigned char>(behind[1]);
    const bool as_expected = etx == SAT_ETX;
    const unsigned level = as_expected ? VKO_LOG_INF : VKO_LOG_WRN;
    SAT_PARSER_LOG(parser, level, "CKS[%02Xh]=%s[strlen(%s)+0]%s\n", static_cast<unsigned>(checksum), name,
                   name, as_expected ? "" : " Expected CKS");
    SAT_PARSER_LOG(parser, level, "ETX[%02Xh]=%s[strlen(%s)+1]%s\n", static_cast<unsigned>(etx), name, name,
                   as_expected ? "" : " Expected ETX");
}

bool IsNull(const SatParser& parser, const ParserInput& input) {
    if (!input.text) {
        SAT_PARSER_LOG(parser, VKO_LOG_ERR, "%s=NULL\n", input.name);
    }
    return !input.text;
}

/** What the two bytes behind are looked for behind: the text, or as many bytes as the last field has. */
enum class Behind { Text, LastField };

int32_t DumpPacket(const SatParser& parser, ParserInput input, int32_t packet_size, Behind behind) {
    if (IsNull(parser, input)) {
        return 0;
    }
    input.length = TextLength(input.text, packet_size);
    size_t last_piece = {};
    const int32_t count = DumpFields(parser, input, &last_piece);
    const size_t measured = behind == Behind::Text ? input.length : last_piece;
    if (count > 0 && static_cast<size_t>(packet_size) == measured + 2) {
        LogBytesBehind(parser, input.name, input.text + measured);
    }
    return count;
}

}  // namespace

int32_t SAT_API_CmdPktParcer(const void* pSatCmdPkt, int32_t iSatCmdPktLen) {
    return DumpPacket(COMMAND_PACKET, {"pSatCmdPkt", static_cast<const char*>(pSatCmdPkt), {}}, iSatCmdPktLen,
                      Behind::Text);
}

int32_t SAT_API_RspPktParcer(const void* pSatRspPkt, int32_t iSatRspPktLen) {
    // The last field is measured here, not the text: only a reply of one field can have its two bytes shown.
    // It is kept so on purpose.
    return DumpPacket(REPLY_PACKET, {"pSatRspPkt", static_cast<const char*>(pSatRspPkt), {}}, iSatRspPktLen,
                      Behind::LastField);
}

int32_t SAT_APP_CmdParcer(const char* /*pCmdName*/, const char* pSatArgs) {
    ParserInput input = {"pSatArgs", pSatArgs, {}};
    if (IsNull(ARGUMENTS, input)) {
        return 0;
    }
    input.length = strlen(pSatArgs);
    size_t last_piece = {};
    const int32_t count = DumpFields(ARGUMENTS, input, &last_piece);
    return count > 0 ? count + 1 : 0;
}

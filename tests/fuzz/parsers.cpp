/*
 * The command and reply parsers, the splitter below them, and the codec that makes the packets.
 */
#include <algorithm>
#include <cstring>
#include <memory>

#include "field_rules.h"
#include "machine.h"
#include "vko_sat_utils/field_splitter.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using fuzz::Input;
using fuzz::RuleField;

/** A text in memory that ends where the text ends. */
std::unique_ptr<char[]> ExactCopy(const std::string& text, bool terminated) {
    const size_t size = text.size() + (terminated ? 1 : 0);
    std::unique_ptr<char[]> copy(new char[std::max<size_t>(size, 1)]);
    std::memcpy(copy.get(), text.c_str(), size);
    return copy;
}

/** What a field shows: without STX in front of the first one and without checksum and ETX at its end. */
std::string ShownText(const std::string& text, const RuleField& field, size_t number) {
    std::string shown = text.substr(field.at, field.size);
    const bool closed = !shown.empty() && shown.back() == '\x03';
    if (number == 1 && shown.starts_with('\x02')) shown.erase(0, 1);
    if (closed) shown.resize(shown.size() >= 2 ? shown.size() - 2 : 0);
    return shown;
}

void CheckSplitter(const std::string& text, bool everywhere) {
    const std::vector<RuleField> expected = fuzz::FieldsByTheRules(text, everywhere);
    const auto copy = ExactCopy(text, false);
    SatFieldCursor cursor;
    const SatEmptyRule rule = everywhere ? SAT_EMPTY_EVERYWHERE : SAT_EMPTY_BEHIND_ONE_CHARACTER;
    ExpectEqual("there are fields", SatBeginFields(&cursor, copy.get(), text.size(), rule),
                !expected.empty());
    if (expected.empty()) return;
    size_t count = 0;
    for (SatField field; SatNextField(&cursor, &field); ++count) {
        Expect(count < expected.size(), "no field too many");
        const RuleField& wanted = expected[count];
        ExpectEqual("the number", field.number, static_cast<int32_t>(count + 1));
        ExpectEqual("an empty field", field.empty_number > 0, wanted.empty);
        if (wanted.empty) continue;
        ExpectEqual("the size between the separators", field.piece_length, wanted.size);
        ExpectEqual("the text", std::string(field.text, field.length), ShownText(text, wanted, count + 1));
    }
    ExpectEqual("the fields", count, expected.size());
}

void CheckPacketParsers(const std::string& packet) {
    const std::string text = packet.substr(0, packet.find('\0'));
    const auto fields = static_cast<int32_t>(fuzz::FieldsByTheRules(text, true).size());
    const auto copy = ExactCopy(packet, false);
    const auto length = static_cast<int32_t>(packet.size());
    ExpectEqual("fields of a command packet", SAT_API_CmdPktParcer(copy.get(), length), fields);
    ExpectEqual("fields of a reply packet", SAT_API_RspPktParcer(copy.get(), length), fields);
    ExpectEqual("the packet is left alone", std::string(copy.get(), packet.size()), packet);
}

/** The frame of a text. A message of fewer than three characters always has the checksum 0. */
void CheckCodec(const std::string& text) {
    const std::string message = "\x02" + text;
    std::string expected = fuzz::ReferenceFrame(text);
    if (message.find('\0') < 3 || message.size() < 3) expected[expected.size() - 2] = '\0';
    const auto copy = ExactCopy(message, true);
    std::string frame(message.size() + 2, '?');
    int32_t length = -7;
    const auto size = static_cast<int32_t>(message.size());
    ExpectEqual("the frame's length", SAT_API_CreatePacket(copy.get(), size, frame.data(), &length),
                static_cast<int32_t>(frame.size()));
    ExpectEqual("the stored length", length, static_cast<int32_t>(frame.size()));
    ExpectEqual("the frame", frame, expected);
}

void CheckArgumentParser(const std::string& text) {
    const auto fields = static_cast<int32_t>(fuzz::FieldsByTheRules(text, false).size());
    const auto copy = ExactCopy(text, true);
    ExpectEqual("fields of arguments", SAT_APP_CmdParcer(nullptr, copy.get()), fields > 0 ? fields + 1 : 0);
    ExpectEqual("the arguments are left alone", std::string(copy.get()), text);
}

/** What the caller has in hand behind a call. */
struct Reply {
    int32_t result = 0;
    int32_t last_session = -7;
    int32_t session = -7;
    int32_t code = -7;
};

int32_t LeadingNumber(const std::string& text) {
    const std::string digits = text.substr(0, std::min(text.find_first_not_of("0123456789"), text.size()));
    const std::string significant = digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
    if (significant.size() > 10) return INT32_MAX;
    const long long value = significant.empty() ? 0 : std::stoll(significant);
    return static_cast<int32_t>(std::min<long long>(value, INT32_MAX));
}

Reply ReplyByTheRules(const std::string& command, int32_t session, const std::string& text) {
    Reply reply;
    if (text.empty() || text.starts_with("ZANTIR ")) return reply;
    if (text.find('|') == std::string::npos) {
        reply.result = -1101;
        return reply;
    }
    const std::vector<RuleField> fields = fuzz::FieldsByTheRules(text, true);
    if (!fields.empty() && !fields[0].empty) {
        reply.session = LeadingNumber(ShownText(text, fields[0], 1));
        if (reply.session != session && command != "ConsultarUltimaSessaoFiscal") return reply;
        const bool fiscal =
            command == "EnviarDadosVenda" || command == "CancelarUltimaVenda" || command == "TesteFimAFim";
        if (fiscal) reply.last_session = session;
    }
    if (fields.size() > 1 && !fields[1].empty)
        reply.code = reply.result = LeadingNumber(ShownText(text, fields[1], 2));
    return reply;
}

void CheckReplyParser(Input& input, const std::string& text) {
    static const char* const commands[] = {"EnviarDadosVenda", "CancelarUltimaVenda",
                                           "TesteFimAFim",     "ConsultarUltimaSessaoFiscal",
                                           "ConsultarSAT",     ""};
    const std::string command = input.PickValueInArray(commands);
    // As often as not the session that the text begins with.
    const int32_t session = input.ConsumeBool() ? input.ConsumeIntegral<int32_t>() : LeadingNumber(text);
    const Reply expected = ReplyByTheRules(command, session, text);
    const auto copy = ExactCopy(text, true);
    Reply reply;
    reply.result = SAT_APP_RspParcer(command.c_str(), session, &reply.last_session, &reply.session,
                                     &reply.code, copy.get());
    ExpectEqual("the return code", reply.result, expected.result);
    ExpectEqual("the stored return code", reply.code, expected.code);
    ExpectEqual("the stored session", reply.session, expected.session);
    ExpectEqual("the last session", reply.last_session, expected.last_session);
    ExpectEqual("the reply is left alone", std::string(copy.get()), text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const std::string packet = input.ConsumeRandomLengthString(5000);
    const std::string text = packet.substr(0, packet.find('\0'));
    fuzz::FreshMachine(input.ConsumeIntegral<uint8_t>() % 8 == 7 ? '5' : '0');
    CheckSplitter(packet, true);
    CheckSplitter(packet, false);
    CheckPacketParsers(packet);
    CheckCodec(packet);
    CheckArgumentParser(text);
    CheckReplyParser(input, text);
    ExpectEqual("allocations", sim::world().LiveAllocations(), int64_t{0});
    ExpectEqual("open files", sim::world().files.OpenFiles(), size_t{0});
    return 0;
}

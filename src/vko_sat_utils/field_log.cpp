#include "field_log.h"

#include <cstring>

namespace {

constexpr size_t SHOWN_LENGTH = 100;

/** Copies a field as it is shown. Returns whether it was shortened. */
bool CopyShown(const SatParser& parser, const SatField& field, char* copy) {
    const bool big = parser.shortens && field.length > SHOWN_LENGTH;
    const size_t shown = big ? SHOWN_LENGTH : field.length;
    memcpy(copy, field.text, shown);
    copy[shown] = '\0';
    if (big && field.is_last) {
        // Of the last field's three marks all go to the same place, so only ">" remains: kept so on purpose.
        copy[97] = '>';
    } else if (big) {
        memcpy(copy + 97, "..>", 3);
    }
    return big;
}

void LogChecksumAndEtx(const SatParser& parser, const SatField& field) {
    if (field.checksum) {
        SAT_PARSER_LOG(parser, VKO_LOG_INF, "CKS[%02Xh]\n",
                       static_cast<unsigned>(static_cast<unsigned char>(*field.checksum)));
    }
    SAT_PARSER_LOG(parser, VKO_LOG_INF, "ETX[%02Xh]\n",
                   static_cast<unsigned>(static_cast<unsigned char>(*field.etx)));
}

}  // namespace

void SatLogField(const SatParser& parser, unsigned level, const SatFieldLabels& labels, const SatField& field,
                 char* copy) {
    if (field.has_stx) {
        SAT_PARSER_LOG(parser, VKO_LOG_INF, "STX[%02Xh]\n",
                       static_cast<unsigned>(static_cast<unsigned char>(field.text[-1])));
    }
    if (field.empty_number != 0) {
        SAT_PARSER_LOG(parser, VKO_LOG_INF, "%c%02d=[NULL] [%02d]\n", parser.letter, field.number,
                       field.empty_number);
    } else if (VKO_LogEnabled(level)) {
        const bool big = CopyShown(parser, field, copy);
        SAT_PARSER_LOG(parser, level, "%s%c%02d%s[%08d:%s]%s\n", big ? "BIG " : "", parser.letter,
                       field.number, labels.before, static_cast<int>(field.length), copy, labels.after);
    }
    if (field.etx) {
        LogChecksumAndEtx(parser, field);
    }
}

void SatLogNoField(const SatParser& parser) {
    SAT_PARSER_LOG(parser, VKO_LOG_ERR, "WARNING INVALID SAT ARGS HAS NO PIPE SEPARATOR!!!\n");
}

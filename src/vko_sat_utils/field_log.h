/* What the four parsers share: the look of their log lines and the copy that the lines are made from. */
#pragma once

#include "../vko_utils/log.h"
#include "field_splitter.h"
#include "log_source.h"

/** The texts around a field in its line: "P03" `before` "[00000003:abc]" `after`. */
struct SatFieldLabels {
    const char* before;
    const char* after;
};

/** What makes one parser differ from another. */
struct SatParser {
    const char* function;  ///< the parser's name, as its lines show it
    char letter;           ///< 'P' numbers the fields of a command, 'R' those of a reply
    bool shortens;         ///< fields of more than 100 bytes are shown by their first 100
    SatEmptyRule empty_rule;
    SatFieldLabels (*labels)(const SatField& field);
};

/** Writes a line in the parser's name, from whichever shared routine it comes. */
#define SAT_PARSER_LOG(parser, level, format, ...)                                                        \
    (VKO_LogEnabled(level) ? VKO_LogWrite(gl_pLogBaseName, (level), "[%04d] [%s] [%s]" format, __LINE__,  \
                                          SAT_UTILS_SOURCE, (parser).function __VA_OPT__(, ) __VA_ARGS__) \
                           : 0)

/**
 * Writes the lines of one field: STX, the field or "[NULL]", checksum and ETX, as far as it has them.
 *
 * @param level   of the field's own line; the others are INF
 * @param labels  not used for an empty field
 * @param copy    scratch memory of at least the field's length plus 1; written only when the line is
 */
void SatLogField(const SatParser& parser, unsigned level, const SatFieldLabels& labels, const SatField& field,
                 char* copy);

/** Reports a text without any field. */
void SatLogNoField(const SatParser& parser);

/*
 * The fields of a text, a second time: what tells fields apart, in the order in which a reader would say it.
 */
#pragma once

#include <string>
#include <vector>

namespace fuzz {

struct RuleField {
    bool empty;
    size_t at;    ///< where its text begins
    size_t size;  ///< of the text between the separators; 0 for an empty field
};

/**
 * Adjacent separators make empty fields, at the start of the text too, and a field that ETX follows in the
 * place of the next one is the last. `everywhere`: behind every field, else only behind fields of one
 * character.
 */
inline std::vector<RuleField> FieldsByTheRules(const std::string& text, bool everywhere) {
    std::vector<RuleField> fields;
    const auto run_at = [&text](size_t at) {
        size_t end = at;
        while (end < text.size() && text[end] == '|')
            ++end;
        return end - at;
    };
    const auto add_empties = [&fields](size_t at, size_t count) {
        fields.insert(fields.end(), count, RuleField{true, at, 0});
    };
    const auto etx_at = [&text](size_t at) { return at < text.size() && text[at] == '\x03'; };

    size_t at = run_at(0);
    if (at == text.size()) return fields;  // nothing, or separators alone
    add_empties(at, at);
    while (at < text.size()) {
        const size_t end = std::min(text.find('|', at), text.size());
        fields.push_back({false, at, end - at});
        if (end == text.size()) break;
        if (etx_at(end + 1)) break;  // the separator was the checksum
        const size_t run = run_at(end + 1);
        const bool counts = everywhere || end - at == 1;
        at = end + 1 + run;
        if (run == 0 || !counts) continue;
        add_empties(at, run);
        if (!etx_at(at)) continue;
        add_empties(at, 1);
        break;
    }
    return fields;
}

}  // namespace fuzz

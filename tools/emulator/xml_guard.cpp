#include "xml_guard.h"

#include <algorithm>
#include <iterator>

namespace emulator {

namespace {

// A place in the text that only moves forward.
struct Cursor {
    std::string_view rest;

    bool Take(std::string_view token) {
        if (!rest.starts_with(token)) return false;
        rest.remove_prefix(token.size());
        return true;
    }

    bool SkipPast(std::string_view token) {
        const size_t place = rest.find(token);
        if (place == rest.npos) return false;
        rest.remove_prefix(place + token.size());
        return true;
    }

    bool SkipBlanks() {
        const size_t before = rest.size();
        rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"), rest.size()));
        return rest.size() != before;
    }

    bool TakeName() {
        constexpr std::string_view letters =
            "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_:.-0123456789";
        constexpr size_t no_first = std::string_view(".-0123456789").size();
        if (rest.find_first_of(letters.substr(0, letters.size() - no_first)) != 0) return false;
        const size_t length = std::min(rest.find_first_not_of(letters), rest.size());
        rest.remove_prefix(length);
        return length > 0;
    }
};

// The name or number of a reference, without "&" and ";".
bool IsReference(std::string_view name) {
    constexpr std::string_view known[] = {"amp", "lt", "gt", "quot", "apos"};
    if (std::find(std::begin(known), std::end(known), name) != std::end(known)) return true;
    const bool hexadecimal = name.starts_with("#x");
    constexpr std::string_view digits = "0123456789abcdefABCDEF";
    constexpr size_t most_digits = 7;
    const std::string_view number = name.substr(hexadecimal ? 2 : std::min<size_t>(name.size(), 1));
    return name.starts_with("#") && !number.empty() && number.size() <= most_digits &&
           number.find_first_not_of(digits.substr(0, hexadecimal ? 22 : 10)) == number.npos;
}

// The parser lets an "&" of its own pass for itself; a device does not.
bool HasGoodReferences(std::string_view text) {
    for (size_t at = text.find('&'); at != text.npos; at = text.find('&', at + 1)) {
        const size_t end = text.find(';', at);
        if (end == text.npos || !IsReference(text.substr(at + 1, end - at - 1))) return false;
    }
    return true;
}

bool TakeAttribute(Cursor& cursor) {
    if (!cursor.TakeName()) return false;
    cursor.SkipBlanks();
    if (!cursor.Take("=")) return false;
    cursor.SkipBlanks();
    const char quote = cursor.rest.empty() ? '\0' : cursor.rest.front();
    if (quote != '"' && quote != '\'') return false;
    cursor.rest.remove_prefix(1);
    const size_t end = cursor.rest.find_first_of(quote == '"' ? "\"<" : "'<");
    if (end == cursor.rest.npos || cursor.rest[end] == '<') return false;
    if (!HasGoodReferences(cursor.rest.substr(0, end))) return false;
    cursor.rest.remove_prefix(end + 1);
    return true;
}

// The rest of an element behind its "<". `depth` rises unless the element closes itself.
bool TakeOpening(Cursor& cursor, int& depth) {
    if (!cursor.TakeName()) return false;
    for (;;) {
        const bool blank = cursor.SkipBlanks();
        if (cursor.Take("/>")) return true;
        if (cursor.Take(">")) return ++depth <= DEEPEST_ELEMENT;
        if (!blank || !TakeAttribute(cursor)) return false;
    }
}

bool TakeClosing(Cursor& cursor, int& depth) {
    if (!cursor.TakeName()) return false;
    cursor.SkipBlanks();
    return cursor.Take(">") && --depth >= 0;
}

bool TakeMarkup(Cursor& cursor, int& depth, int& roots) {
    if (cursor.Take("<!--")) return cursor.SkipPast("-->");
    if (cursor.Take("<?")) return cursor.TakeName() && cursor.SkipPast("?>");
    if (cursor.Take("<![CDATA[")) return depth > 0 && cursor.SkipPast("]]>");
    if (cursor.Take("</")) return TakeClosing(cursor, depth);
    if (!cursor.Take("<")) return false;
    if (depth == 0 && ++roots > 1) return false;
    return TakeOpening(cursor, depth);
}

bool HasControls(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\r' && c != '\n';
    });
}

}  // namespace

bool IsSafeXml(std::string_view text) {
    if (HasControls(text)) return false;
    Cursor cursor{text};
    int depth = 0;
    int roots = 0;
    while (!cursor.rest.empty()) {
        if (cursor.rest.front() == '<') {
            if (!TakeMarkup(cursor, depth, roots)) return false;
        } else if (depth > 0) {
            const size_t length = std::min(cursor.rest.find('<'), cursor.rest.size());
            if (!HasGoodReferences(cursor.rest.substr(0, length))) return false;
            cursor.rest.remove_prefix(length);
        } else if (!cursor.SkipBlanks()) {
            return false;
        }
    }
    return depth == 0 && roots == 1;
}

}  // namespace emulator

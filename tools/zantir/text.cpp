#include "text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace tool {

namespace {

Language chosen_language = Language::Portuguese;

// Windows-1252 where it differs from Latin-1: 0x80 to 0x9F. The five places that it leaves free stay control
// characters, as Latin-1 has them.
constexpr std::array<char32_t, 32> WINDOWS_1252 = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

constexpr const char* CONTROL_MARK = "\xC2\xB7";
constexpr const char* CUT_MARK = "\xE2\x80\xA6";

void AppendUtf8(std::string& text, char32_t point) {
    if (point < 0x80) {
        text += static_cast<char>(point);
    } else if (point < 0x800) {
        text += static_cast<char>(0xC0 | (point >> 6));
        text += static_cast<char>(0x80 | (point & 0x3F));
    } else {
        text += static_cast<char>(0xE0 | (point >> 12));
        text += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (point & 0x3F));
    }
}

unsigned ByteAt(std::string_view text, size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

bool Continues(std::string_view text, size_t at) {
    return (ByteAt(text, at) & 0xC0) == 0x80;
}

// Bytes of the UTF-8 character at `at`; 0 when there is none. Over-long forms and surrogates are none.
size_t CharacterSize(std::string_view text, size_t at) {
    const unsigned first = ByteAt(text, at);
    const unsigned second = ByteAt(text, at + 1);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return Continues(text, at + 1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool whole = Continues(text, at + 1) && Continues(text, at + 2);
        const bool short_form = first == 0xE0 && second < 0xA0;
        const bool surrogate = first == 0xED && second >= 0xA0;
        return whole && !short_form && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool whole = Continues(text, at + 1) && Continues(text, at + 2) && Continues(text, at + 3);
        const bool outside = (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90);
        return whole && !outside ? 4 : 0;
    }
    return 0;
}

bool IsUtf8(std::string_view text) {
    for (size_t at = 0; at < text.size();) {
        const size_t size = CharacterSize(text, at);
        if (size == 0) return false;
        at += size;
    }
    return true;
}

}  // namespace

void SetLanguage(Language language) {
    chosen_language = language;
}

bool HasText(const Text& text) {
    return text.portuguese != nullptr && text.portuguese[0] != '\0';
}

std::string Say(const Text& text, std::initializer_list<std::string_view> values) {
    const std::string_view words = chosen_language == Language::Portuguese ? text.portuguese : text.english;
    std::string said;
    for (size_t at = 0; at < words.size(); ++at) {
        const size_t value = words[at] == '%' && at + 1 < words.size() ? ByteAt(words, at + 1) - '1' : 9;
        if (value < values.size()) {
            said += values.begin()[value];
            ++at;
        } else {
            said += words[at];
        }
    }
    return said;
}

std::string ToUtf8(std::string_view bytes) {
    if (IsUtf8(bytes)) return std::string(bytes);
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        AppendUtf8(text, byte >= 0x80 && byte < 0xA0 ? WINDOWS_1252[byte - 0x80] : char32_t{byte});
    }
    return text;
}

std::string Printable(std::string_view bytes) {
    const std::string text = ToUtf8(bytes);
    std::string shown;
    for (size_t at = 0; at < text.size();) {
        const size_t size = CharacterSize(text, at);
        const unsigned first = ByteAt(text, at);
        // C1 controls are two bytes long in UTF-8, and terminals obey them too.
        const bool c1 = first == 0xC2 && ByteAt(text, at + 1) < 0xA0;
        const bool control = (first < 0x20 && first != '\n' && first != '\t') || first == 0x7F || c1;
        shown += control ? std::string(CONTROL_MARK) : text.substr(at, size);
        at += size;
    }
    return shown;
}

size_t Columns(std::string_view text) {
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string Shortened(std::string_view text, size_t columns) {
    if (Columns(text) <= columns) return std::string(text);
    size_t at = 0;
    for (size_t column = 0; column + 1 < columns; ++column) {
        ++at;
        while (Continues(text, at))
            ++at;
    }
    return std::string(text.substr(0, at)) + CUT_MARK;
}

std::string Padded(std::string_view text, size_t columns) {
    const size_t used = Columns(text);
    return std::string(text) + std::string(used < columns ? columns - used : 0, ' ');
}

std::vector<std::string> Split(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    size_t from = 0;
    for (;;) {
        const size_t to = text.find(separator, from);
        pieces.emplace_back(text.substr(from, to == std::string_view::npos ? to : to - from));
        if (to == std::string_view::npos) return pieces;
        from = to + 1;
    }
}

std::string Trimmed(std::string_view text) {
    constexpr std::string_view BLANKS = " \t\r\n";
    const size_t from = text.find_first_not_of(BLANKS);
    if (from == std::string_view::npos) return "";
    return std::string(text.substr(from, text.find_last_not_of(BLANKS) - from + 1));
}

int NumberOf(std::string_view digits) {
    int number = 0;
    const auto [stop, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return failure == std::errc() ? number : 0;
}

bool AllDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace tool

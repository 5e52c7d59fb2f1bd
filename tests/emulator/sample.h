/*
 * Texts and moments that the emulator's tests share.
 */
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "device.h"

namespace emulator {

constexpr char CODE[] = "12345678";

// 2026-03-04 05:06:07
constexpr LocalTime MORNING = std::chrono::local_days(std::chrono::year(2026) / 3 / 4) +
                              std::chrono::hours(5) + std::chrono::minutes(6) + std::chrono::seconds(7);

/** A text with every occurrence of `from` replaced. */
inline std::string Replaced(std::string text, std::string_view from, std::string_view to) {
    for (size_t at = text.find(from); at != text.npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

/** All the fields of a reply. */
inline std::vector<std::string> Fields(std::string_view text) {
    return SplitFields(text, text.size() + 1);
}

/** What a Base64 text holds; written for the tests, not shared with what they test. */
inline std::string FromBase64(std::string_view text) {
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned group = 0;
    int bits = 0;
    for (const char c : text.substr(0, text.find('='))) {
        const size_t value = alphabet.find(c);
        if (value == alphabet.npos) return "not Base64";
        group = group << 6 | static_cast<unsigned>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>(group >> bits & 0xFF);
        }
    }
    return bytes;
}

/** The text of the first element of that name. */
inline std::string TextOf(const std::string& xml, const std::string& name) {
    const size_t start = xml.find("<" + name + ">");
    const size_t end = xml.find("</" + name + ">");
    if (start == xml.npos || end == xml.npos) return "(none)";
    return xml.substr(start + name.size() + 2, end - start - name.size() - 2);
}

/** The text between the first `from` and the `to` behind it, both left out. */
inline std::string Between(const std::string& text, const std::string& from, const std::string& to) {
    const size_t start = text.find(from);
    if (start == text.npos) return "(none)";
    const size_t end = text.find(to, start + from.size());
    return end == text.npos ? "(open)" : text.substr(start + from.size(), end - start - from.size());
}

}  // namespace emulator

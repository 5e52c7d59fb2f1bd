#include "xml_encoding.h"

#include <libxml/encoding.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace emulator {

namespace {

// What windows-1252 has where ISO-8859-1 has control characters; 0 where it has nothing.
constexpr std::array<uint16_t, 32> UPPER_CONTROLS = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

unsigned CharacterOf(unsigned char byte) {
    return byte >= 0x80 && byte < 0xA0 ? UPPER_CONTROLS[byte - 0x80U] : byte;
}

// One character in UTF-8, which has at most three bytes here. Returns how many.
int Encode(unsigned character, unsigned char* out) {
    if (character < 0x80) {
        out[0] = static_cast<unsigned char>(character);
        return 1;
    }
    int count = 0;
    if (character >= 0x800) {
        out[count++] = static_cast<unsigned char>(0xE0U | character >> 12);
        out[count++] = static_cast<unsigned char>(0x80U | (character >> 6 & 0x3FU));
    } else {
        out[count++] = static_cast<unsigned char>(0xC0U | character >> 6);
    }
    out[count++] = static_cast<unsigned char>(0x80U | (character & 0x3FU));
    return count;
}

// The parser's form of a conversion: both lengths come in as room and go out as what was used.
int ReadWindows1252(unsigned char* out, int* out_length, const unsigned char* in, int* in_length) {
    constexpr int longest = 3;
    constexpr int bad_input = -2;
    int read = 0;
    int written = 0;
    bool good = true;
    for (; good && read < *in_length && *out_length - written >= longest; read += good ? 1 : 0) {
        const unsigned character = CharacterOf(in[read]);
        good = character != 0 || in[read] == 0;
        if (good) written += Encode(character, out + written);
    }
    *in_length = read;
    *out_length = written;
    return good ? written : bad_input;
}

bool SameWord(std::string_view left, std::string_view right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&](char a, char b) { return lower(a) == lower(b); });
}

}  // namespace

bool IsKnownEncoding(std::string_view encoding) {
    constexpr std::string_view known[] = {"UTF-8", "US-ASCII", "ASCII", "ISO-8859-1", "windows-1252"};
    return std::any_of(std::begin(known), std::end(known),
                       [&](std::string_view name) { return SameWord(name, encoding); });
}

void AddEncodings() {
    // The parser owns its handlers, and frees them with the program.
    static const bool added = xmlNewCharEncodingHandler("windows-1252", ReadWindows1252, nullptr) != nullptr;
    static_cast<void>(added);
}

}  // namespace emulator

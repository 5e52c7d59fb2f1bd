/*
 * The Base64 codec both ways, against a codec that goes bit by bit and character by character.
 */
#include <cstring>
#include <vector>

#include "machine.h"

using fuzz::ExpectEqual;

namespace {

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string EncodedByTheRules(const std::string& bytes) {
    std::string text;
    unsigned bits = 0;
    unsigned held = 0;
    for (const char byte : bytes) {
        bits = bits << 8 | static_cast<unsigned char>(byte);
        for (held += 8; held >= 6; held -= 6)
            text += kAlphabet[bits >> (held - 6) & 63];
    }
    if (held > 0) text += kAlphabet[bits << (6 - held) & 63];
    while (text.size() % 4 != 0)
        text += '=';
    return text;
}

/** Decodes into `bytes` as it stands: where it holds "=", the character of that place counts as 0. */
size_t DecodeByTheRules(const std::string& text, std::string& bytes) {
    size_t length = text.size() / 4 * 3;
    for (size_t last = 1; last <= 2 && text.size() >= 4; ++last)
        if (text[text.size() - last] == '=') --length;
    std::vector<unsigned> group;
    size_t written = 0;
    for (size_t at = 0; at < text.size() / 4 * 4; ++at) {
        const size_t value = kAlphabet.find(text[at]);
        const bool counts = value != std::string::npos && !(at < length && bytes[at] == '=');
        group.push_back(counts ? static_cast<unsigned>(value) : 0);
        if (group.size() < 4) continue;
        const unsigned bits = group[0] << 18 | group[1] << 12 | group[2] << 6 | group[3];
        group.clear();
        for (int shift = 16; shift >= 0 && written < length; shift -= 8)
            bytes[written++] = static_cast<char>(bits >> shift & 0xFF);
    }
    bytes[length] = '\0';
    return length;
}

/** Decodes into a buffer of the least size that always suffices, with something in it, and compares. */
std::string CheckDecoder(const std::string& text, const std::string& filling) {
    std::string expected = filling;
    expected.resize(text.size() / 4 * 3 + 1, '\0');
    std::vector<char> actual(expected.begin(), expected.end());
    const std::vector<char> characters(text.begin(), text.end());
    const size_t length = DecodeByTheRules(text, expected);
    uint64_t actual_length = 99;
    const char* const input = text.empty() ? "" : characters.data();
    const int32_t result = VKO_Base64Decoder(input, text.size(), actual.data(), &actual_length);
    ExpectEqual("the decoded length", actual_length, uint64_t{length});
    ExpectEqual("the decoder's result", result, static_cast<int32_t>(length));
    ExpectEqual("the decoded bytes", std::string(actual.data(), actual.size()), expected);
    return expected.substr(0, length);
}

void CheckEncoder(const std::string& bytes) {
    const std::string expected = EncodedByTheRules(bytes);
    uint64_t length = 99;
    if (bytes.empty()) {
        ExpectEqual("nothing to encode", VKO_Base64Encoder("", 0, nullptr, &length), uint64_t{4294967295});
        return;
    }
    const std::vector<char> input(bytes.begin(), bytes.end());
    std::vector<char> text(expected.size() + 1, '?');
    ExpectEqual("the encoder's result", VKO_Base64Encoder(input.data(), input.size(), text.data(), &length),
                uint64_t{expected.size()});
    ExpectEqual("the encoded length", length, uint64_t{expected.size()});
    ExpectEqual("the encoded text", std::string(text.data(), text.size()), expected + '\0');
    ExpectEqual("the length alone", VKO_Base64Encoder(input.data(), input.size(), nullptr, &length),
                uint64_t{expected.size()});
    ExpectEqual("back again", CheckDecoder(expected, ""), bytes);
}

/** The routine may decode in place. */
void CheckInPlace(const std::string& text) {
    std::string buffer = text + '\0';
    std::string expected = text + '\0';
    const std::string input = text;
    const size_t length = DecodeByTheRules(input, expected);
    uint64_t actual = 99;
    VKO_Base64Decoder(buffer.data(), text.size(), buffer.data(), &actual);
    ExpectEqual("the length in place", actual, uint64_t{length});
    ExpectEqual("the bytes in place", buffer.substr(0, length), expected.substr(0, length));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const std::string text = input.ConsumeRandomLengthString(3000);
    const unsigned setup = input.ConsumeIntegral<uint8_t>();
    const std::string filling = input.ConsumeRandomLengthString(3000);
    fuzz::FreshMachine(setup % 16 == 15 ? '5' : '0');
    CheckEncoder(text);
    CheckDecoder(text, "");
    CheckDecoder(text, filling);
    if (setup % 2 == 1) CheckInPlace(text);
    fuzz::Expect(psB64_DecTable == nullptr, "the decode table is released");
    ExpectEqual("allocations", sim::world().LiveAllocations(), int64_t{0});
    return 0;
}

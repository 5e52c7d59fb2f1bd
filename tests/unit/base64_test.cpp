#include "vko_utils/base64.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "captured_log.h"

namespace {

constexpr uint64_t NO_LENGTH = 4711;

/** Stands behind an output buffer, where nothing may be written. */
constexpr char MARKS[] = "################";

/** Encodes in memory of exactly the promised sizes, with marks behind the output. */
std::string Encode(const std::string& bytes) {
    const auto input = std::make_unique<char[]>(bytes.size());
    memcpy(input.get(), bytes.data(), bytes.size());
    const size_t size = (bytes.size() + 2) / 3 * 4;
    const auto output = std::make_unique<char[]>(size + 1 + sizeof MARKS);
    memset(output.get(), '#', size + 1);
    memcpy(output.get() + size + 1, MARKS, sizeof MARKS);
    uint64_t length = NO_LENGTH;
    EXPECT_EQ(VKO_Base64Encoder(input.get(), bytes.size(), output.get(), &length), size);
    EXPECT_EQ(length, size);
    EXPECT_EQ(output[size], '\0');
    EXPECT_STREQ(output.get() + size + 1, MARKS);
    return {output.get(), size};
}

/** Decodes in memory of exactly the promised sizes, with marks behind the output. `before` is what the output
 * buffer holds, repeated. */
std::string Decode(const std::string& characters, const std::string& before = std::string(1, '\0')) {
    const auto input = std::make_unique<char[]>(characters.size());
    memcpy(input.get(), characters.data(), characters.size());
    const size_t size = characters.size() / 4 * 3 + 1;
    const auto output = std::make_unique<char[]>(size + sizeof MARKS);
    for (size_t i = 0; i < size; i++) {
        output[i] = before[i % before.size()];
    }
    memcpy(output.get() + size, MARKS, sizeof MARKS);
    uint64_t length = NO_LENGTH;
    const int32_t result = VKO_Base64Decoder(input.get(), characters.size(), output.get(), &length);
    EXPECT_EQ(static_cast<uint64_t>(result), length);
    EXPECT_EQ(output[length], '\0');
    EXPECT_STREQ(output.get() + size, MARKS);
    EXPECT_EQ(psB64_DecTable, nullptr);
    return {output.get(), length};
}

TEST(Base64Encode, ShortTexts) {
    const CapturedLog log;
    EXPECT_EQ(Encode("a"), "YQ==");
    EXPECT_EQ(Encode("ab"), "YWI=");
    EXPECT_EQ(Encode("abc"), "YWJj");
    EXPECT_EQ(Encode("Testando Base64 Encoding"), "VGVzdGFuZG8gQmFzZTY0IEVuY29kaW5n");
    EXPECT_EQ(Encode(std::string("\xFF\xFE\xFD\x00", 4)), "//79AA==");
    EXPECT_TRUE(log.Lines().empty());
}

TEST(Base64Encode, NothingToEncode) {
    const CapturedLog log;
    char output[8] = "kept";
    uint64_t length = NO_LENGTH;
    EXPECT_EQ(VKO_Base64Encoder("x", 0, output, &length), 4294967295U);
    EXPECT_EQ(VKO_Base64Encoder(nullptr, 0, nullptr, nullptr), 4294967295U);
    EXPECT_EQ(length, NO_LENGTH);
    EXPECT_STREQ(output, "kept");
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "BinLen[000000] <= 0 Fail! rc[-00001]"));
    EXPECT_EQ(log.Lines()[0].source, "../src/vko_utils/vko_utils");
    EXPECT_EQ(log.Lines()[0].function, "VKO_Base64Encoder");
}

TEST(Base64Encode, NoPlaceForTheLength) {
    const CapturedLog log;
    char output[8] = "kept";
    EXPECT_EQ(VKO_Base64Encoder("abc", 3, output, nullptr), 4294967295U);
    EXPECT_STREQ(output, "kept");
    EXPECT_EQ(VKO_Base64Encoder("abcd", 4, nullptr, nullptr), 4294967295U);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "BinLen[000003] pztB64OutLen=null"));
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "BinLen[000004] pztB64OutLen=null"));
    EXPECT_EQ(log.LiveAllocations(), 0);
}

TEST(Base64Encode, LengthAlone) {
    CapturedLog log;
    uint64_t length = NO_LENGTH;
    EXPECT_EQ(VKO_Base64Encoder("abcd", 4, nullptr, &length), 8U);
    EXPECT_EQ(length, 8U);
    EXPECT_EQ(log.LiveAllocations(), 0);
    EXPECT_TRUE(log.Lines().empty());
    log.FailAllocations();
    EXPECT_EQ(VKO_Base64Encoder("abcd", 4, nullptr, &length), 4294967295U);
    EXPECT_EQ(length, 0U);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "BinLen[000004] calloc fail"));
    EXPECT_EQ(Encode("abc"), "YWJj") << "a buffer of the caller's needs no memory";
}

TEST(Base64Encode, LengthsThatNoMemoryHolds) {
    const CapturedLog log;
    uint64_t length = NO_LENGTH;
    EXPECT_EQ(VKO_Base64Encoder("abcd", UINT64_MAX, nullptr, &length), 4294967295U);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(VKO_Base64Encoder("abcd", UINT64_MAX / 4 * 3, nullptr, &length), 4294967295U);
    EXPECT_EQ(length, 0U);
}

TEST(Base64Decode, ShortTexts) {
    const CapturedLog log;
    EXPECT_EQ(Decode("YQ=="), "a");
    EXPECT_EQ(Decode("YWI="), "ab");
    EXPECT_EQ(Decode("YWJj"), "abc");
    EXPECT_EQ(Decode("VGVzdGFuZG8gQmFzZTY0IEVuY29kaW5n"), "Testando Base64 Encoding");
}

TEST(Base64Decode, LogLines) {
    CapturedLog log;
    log.SetUnixMilliseconds(1610634000123);
    char output[8] = {};  // the decoder looks at what stands there
    uint64_t length = 0;
    EXPECT_EQ(VKO_Base64Decoder("YWJj", 4, output, &length), 3);
    ASSERT_EQ(log.Lines().size(), 2U);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "free B64_DecTable OK"));
    char expected[128];
    snprintf(expected, sizeof expected,
             "Base64InLen[000004] pBinOutData[%08Xh] BinOutLen[000003] t[0]ms (Done)", LogHandle(output));
    EXPECT_TRUE(log.Has(VKO_LOG_WRN, expected)) << log.Messages();
    EXPECT_EQ(log.LiveAllocations(), 0);
}

TEST(Base64Decode, MissingArguments) {
    const CapturedLog log;
    char output[8] = "kept";
    uint64_t length = NO_LENGTH;
    EXPECT_EQ(VKO_Base64Decoder(nullptr, 4, output, &length), -101);
    EXPECT_EQ(VKO_Base64Decoder("YWJj", 4, output, nullptr), -101);
    EXPECT_EQ(length, NO_LENGTH);
    EXPECT_STREQ(output, "kept");
    EXPECT_EQ(log.Lines().size(), 2U);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "pztBinOutLen=null Invalid Parameter rc[-00101]"));
}

TEST(Base64Decode, LengthsThatAreNoMultipleOfFour) {
    const CapturedLog log;
    EXPECT_EQ(Decode("YWI"), "");
    EXPECT_TRUE(log.Has(VKO_LOG_WRN,
                        "Base64InLen[000003] [(ztBase64InLen % 4)]=[3] Exp[0] Pay Attention!!!! rc[-00101]"))
        << log.Messages();
    EXPECT_EQ(Decode("YWJjZA"), "abc");
    EXPECT_TRUE(log.Has(VKO_LOG_WRN,
                        "Base64InLen[000006] [(ztBase64InLen % 4)]=[2] Exp[0] Pay Attention!!!! rc[-00101]"));
    EXPECT_EQ(Decode("YWJj="), "ab");
    EXPECT_EQ(Decode("YWJj=="), "a");
}

TEST(Base64Decode, NothingOrNextToNothing) {
    const CapturedLog log;
    EXPECT_EQ(Decode(""), "");
    EXPECT_EQ(Decode("="), "");
    EXPECT_EQ(Decode("=="), "");
    EXPECT_EQ(Decode("==="), "");
    EXPECT_EQ(Decode("===="), std::string(1, '\0'));
}

TEST(Base64Decode, PaddingIsCountedByPlace) {
    const CapturedLog log;
    EXPECT_EQ(Decode("YW=j"), "a\x60") << "the last but one counts by itself";
    EXPECT_EQ(Decode("YQ==YWJj"), std::string("a\0\0abc", 6));
}

TEST(Base64Decode, CharactersOutsideTheAlphabetAreZero) {
    const CapturedLog log;
    EXPECT_EQ(Decode("Y\xFFJj"), Decode("YAJj"));
    EXPECT_EQ(Decode(std::string("Y\0Jj", 4)), Decode("YAJj"));
    EXPECT_EQ(Decode("Y-_j"), Decode("YAAj"));
}

TEST(Base64Decode, LooksAtTheOutputBufferForPadding) {
    const CapturedLog log;
    // Three bytes come out, so the characters 0 to 2 are tested, and the fourth keeps its value.
    EXPECT_EQ(Decode("YWJj", "="), std::string("\0\0\x23", 3));
    EXPECT_EQ(Decode("YWJj", "x=x"), Decode("YAJj"));
}

TEST(Base64Decode, InPlace) {
    const CapturedLog log;
    std::string text;
    for (int i = 0; i < 100; i++) {
        text += static_cast<char>(i * 37);
    }
    std::string buffer = Encode(text);
    uint64_t length = 0;
    ASSERT_EQ(VKO_Base64Decoder(buffer.data(), buffer.size(), buffer.data(), &length), 100);
    EXPECT_EQ(buffer.substr(0, 100), text);
}

TEST(Base64Decode, NoMemoryForTheTable) {
    CapturedLog log;
    log.FailAllocations();
    char output[8] = "kept";
    uint64_t length = NO_LENGTH;
    EXPECT_EQ(VKO_Base64Decoder("YWJj", 4, output, &length), -103);
    EXPECT_EQ(length, NO_LENGTH);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "calloc psB64_DecTable[00000000h]fail"));
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "Alloc_Base64_DecTable() fail rc[-00103]"));
    log.FailAllocations(false);
    EXPECT_EQ(Decode("YWJj"), "abc");
}

TEST(Base64Table, BuiltAndReleased) {
    CapturedLog log;
    EXPECT_EQ(VKO_Base64DecTblFree(), 1);
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_EQ(VKO_Base64DecTblAlloc(), 0);
    EXPECT_EQ(VKO_Base64DecTblAlloc(), 0);
    EXPECT_EQ(log.LiveAllocations(), 1);
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (size_t byte = 0; byte < 256; byte++) {
        const size_t value = alphabet.find(static_cast<char>(byte));
        EXPECT_EQ(psB64_DecTable[byte], value == std::string::npos ? 0 : value) << byte;
    }
    EXPECT_EQ(VKO_Base64DecTblFree(), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "free B64_DecTable OK"));
    EXPECT_EQ(psB64_DecTable, nullptr);
    EXPECT_EQ(VKO_Base64DecTblFree(), 1);
    EXPECT_EQ(log.LiveAllocations(), 0);
    log.FailAllocations();
    EXPECT_EQ(VKO_Base64DecTblAlloc(), -1);
    EXPECT_EQ(psB64_DecTable, nullptr);
}

TEST(Base64Table, ATableBuiltBeforeIsUsedAndReleased) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Base64DecTblAlloc(), 0);
    EXPECT_EQ(Decode("YWJj"), "abc");
    EXPECT_EQ(log.LiveAllocations(), 0);
}

TEST(Base64SelfTest, Matches) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Base64_Test01(), 24);
    const std::string clear_in = "ClearDataIn[024:Testando Base64 Encoding]";
    const std::string encoded = "Base64DataOut[032:VGVzdGFuZG8gQmFzZTY0IEVuY29kaW5n]";
    const std::string clear_out = "ClearDataOut[024:Testando Base64 Encoding]MATCH";
    EXPECT_TRUE(log.Has(VKO_LOG_INF, clear_in));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, encoded));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, clear_out));
    EXPECT_EQ(log.Printed(), clear_in + "\n" + encoded + "\n" + clear_out + "\n");
}

TEST(Base64SelfTest, DecoderFails) {
    CapturedLog log;
    log.FailAllocations();
    EXPECT_EQ(VKO_Base64_Test01(), -103);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-0103]ER:"));
    EXPECT_NE(log.Printed().find("rc[-0103]ER:\n"), std::string::npos);
    EXPECT_EQ(log.Printed().find("ClearDataOut"), std::string::npos);
}

// ------------------------------------------------------------------------------------------------------
// The same one bit or one character at a time.

const std::string ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string EncodeByBits(const std::string& bytes) {
    std::string bits;
    for (const char byte : bytes) {
        for (int bit = 7; bit >= 0; bit--) {
            bits += (static_cast<unsigned char>(byte) >> bit & 1) != 0 ? '1' : '0';
        }
    }
    std::string characters;
    for (size_t at = 0; at < bits.size(); at += 6) {
        std::string six = bits.substr(at, 6);
        six.resize(6, '0');
        characters += ALPHABET[std::stoul(six, nullptr, 2)];
    }
    while (characters.size() % 4 != 0) {
        characters += '=';
    }
    return characters;
}

/** Reads and writes one byte after the other, `output` being what the buffer holds before. */
std::string DecodeByCharacters(const std::string& input, std::string output) {
    long length = static_cast<long>(input.size() / 4 * 3);
    if (length > 0) {
        length -= input[input.size() - 1] == '=';
        length -= input[input.size() - 2] == '=';
    }
    long written = 0;
    for (size_t at = 0; at + 4 <= input.size(); at += 4) {
        uint32_t group = 0;
        for (size_t i = at; i < at + 4; i++) {
            const size_t place = ALPHABET.find(input[i]);
            const bool zero = static_cast<long>(i) < length && output[i] == '=';
            group = group * 64 + (zero || place == std::string::npos ? 0 : static_cast<uint32_t>(place));
        }
        for (const uint32_t byte : {group / 65536, group / 256 % 256, group % 256}) {
            if (written < length) {
                output[static_cast<size_t>(written++)] = static_cast<char>(byte);
            }
        }
    }
    return output.substr(0, static_cast<size_t>(length));
}

std::string RandomBytes(std::mt19937& random, size_t size) {
    std::string bytes;
    for (size_t i = 0; i < size; i++) {
        bytes += static_cast<char>(random());
    }
    return bytes;
}

TEST(Base64Encode, AgreesWithBits) {
    const CapturedLog log('0');
    std::mt19937 random(38);
    for (int round = 0; round < 5000; round++) {
        const std::string bytes = RandomBytes(random, random() % 120 + 1);
        const std::string characters = Encode(bytes);
        ASSERT_EQ(characters, EncodeByBits(bytes)) << "round " << round;
        ASSERT_EQ(Decode(characters), bytes) << "round " << round;
    }
}

TEST(Base64Decode, AgreesWithCharacters) {
    const CapturedLog log('0');
    std::mt19937 random(39);
    for (int round = 0; round < 20000; round++) {
        std::string characters;
        const size_t size = random() % 130;
        const bool any_byte = random() % 4 == 0;
        for (size_t i = 0; i < size; i++) {
            characters += any_byte ? static_cast<char>(random()) : ALPHABET[random() % 64];
        }
        for (size_t i = 0; i < 2 && i < size; i++) {
            characters[size - 1 - i] = random() % 3 == 0 ? '=' : characters[size - 1 - i];
        }
        // What the buffer holds before: nothing, a few "=", or many.
        std::string before(size + 1, 'x');
        const unsigned density = random() % 4;
        for (char& character : before) {
            const bool pad =
                (density == 1 && random() % 30 == 0) || (density == 2 && random() % 3 == 0) || density == 3;
            character = pad ? '=' : static_cast<char>("x<>\xBD\x3C\0"[random() % 6]);
        }
        ASSERT_EQ(Decode(characters, before), DecodeByCharacters(characters, before))
            << "round " << round << " " << testing::PrintToString(characters);
    }
}

TEST(Base64, TenMegabytesThereAndBack) {
    const CapturedLog log('0');
    std::mt19937 random(40);
    const std::string bytes = RandomBytes(random, (10 << 20) + 1);
    EXPECT_TRUE(Decode(Encode(bytes)) == bytes);
}

}  // namespace

#include "vko_sat_utils/packet.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "captured_log.h"
#include "vko_sat_utils/vko_sat_utils.h"

namespace {

constexpr const char* SOURCE = "../src/vko_sat_utils/vko_sat_utils";

/** Builds the frame in a buffer of exactly the promised size, so that a byte too many is an error. */
std::string Frame(const std::string& text, int32_t* result = nullptr) {
    const auto length = static_cast<int32_t>(text.size());
    const auto frame = std::make_unique<char[]>(text.size() + 2);
    int32_t frame_length = -7;
    const int32_t returned = SAT_API_CreatePacket(text.c_str(), length, frame.get(), &frame_length);
    EXPECT_EQ(returned, frame_length);
    if (result) {
        *result = returned;
    }
    return {frame.get(), static_cast<size_t>(frame_length)};
}

int32_t CheckSum(const std::string& text) {
    return SAT_API_CalcCkeckSum(text.c_str(), static_cast<int32_t>(text.size()));
}

TEST(Packet, ControlBytes) {
    EXPECT_EQ(SAT_STX, 0x02);
    EXPECT_EQ(SAT_ETX, 0x03);
    EXPECT_EQ(SAT_ACK, 0x06);
    EXPECT_EQ(SAT_NAK, 0x15);
    EXPECT_EQ(SAT_BLOCK_SIZE, 16384U);
}

TEST(Packet, ShortTextWithStx) {
    const CapturedLog log;
    EXPECT_EQ(CheckSum("\002AB"), 0x83);
    int32_t result = 0;
    EXPECT_EQ(Frame("\002AB", &result), std::string("\002AB\x83\x03", 5));
    EXPECT_EQ(result, 5);
    EXPECT_TRUE(log.Lines().empty());
}

TEST(Packet, SumOfEtxBecomesFour) {
    EXPECT_EQ(CheckSum("\x02\x01\x01\x01"), 0x04);
    EXPECT_EQ(CheckSum("\x02\xFF\x03\x01"), 0x04);
    EXPECT_EQ(CheckSum("\x02\x01\x01\x02"), 0x04);
    EXPECT_EQ(Frame("\x02\x01\x01\x01"), "\x02\x01\x01\x01\x04\x03");
}

TEST(Packet, SumOfZeroIsKeptAndToldOf) {
    const CapturedLog log;
    EXPECT_EQ(Frame("\x02\x80\x40\x40"), std::string("\x02\x80\x40\x40\x00\x03", 6));
    ASSERT_EQ(log.Lines().size(), 3U);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "pSatPkt[04]=[00h]rc-2=CHECKSUM=0x00!!!!!!"));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "pSatPkt[05]=[03h]rc-1=ETX"));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, ">> SAT-PC pSatPkt[0006:\x02\x80\x40\x40<0x00><ETX>]"));
    EXPECT_EQ(log.Lines()[0].source, SOURCE);
    EXPECT_GT(log.Lines()[0].line, 0);
}

TEST(Packet, TheSumThatIsCalledAPipe) {
    const CapturedLog log;
    EXPECT_EQ(CheckSum("\x02\x7B\x01\x01"), 0x7D);
    ASSERT_EQ(log.Lines().size(), 1U);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ucCheckSum[7Dh]=PIPE iBufLen[04] pBuf[\x02\x7B\x01\x01]"));
    EXPECT_EQ(log.Lines()[0].function, "SAT_API_CalcCkeckSum");
    EXPECT_EQ(CheckSum("\x02\x7A\x01\x01"), 0x7C);
    EXPECT_EQ(log.Lines().size(), 1U);
}

TEST(Packet, ChecksumOfUnusableBuffers) {
    const CapturedLog log;
    EXPECT_EQ(SAT_API_CalcCkeckSum(nullptr, 5), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ucCheckSum[00h]=NULL pBuf=NULL"));
    EXPECT_EQ(SAT_API_CalcCkeckSum("ABCDEF", 0), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ucCheckSum[00h]=NULL iBufLen[00] < pBuf[0006:ABCDEF]-3"));
    EXPECT_EQ(SAT_API_CalcCkeckSum("AB", 2), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ucCheckSum[00h]=NULL iBufLen[02] < pBuf[0002:AB]-3"));
    EXPECT_EQ(log.Lines().size(), 3U);
}

TEST(Packet, ChecksumOfALengthBelowTheText) {
    const CapturedLog log;
    EXPECT_EQ(SAT_API_CalcCkeckSum("ABCDEF", 2), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ucCheckSum[00h]=NULL iBufLen[02] < pBuf[0006:ABCDEF]-3"));
    EXPECT_EQ(SAT_API_CalcCkeckSum("ABCDEF", 3), 'A' + 'B' + 'C');
    EXPECT_EQ(SAT_API_CalcCkeckSum("\002BCDEF", 3), 'B' + 'C');
    EXPECT_EQ(log.Lines().size(), 1U);
}

TEST(Packet, ChecksumOfANegativeLength) {
    const CapturedLog log;
    EXPECT_EQ(SAT_API_CalcCkeckSum("ABCDEF", -1), 0);
    EXPECT_EQ(SAT_API_CalcCkeckSum("ABCDEF", INT32_MIN), 0);
    EXPECT_TRUE(log.Lines().empty()) << "as an unsigned number it is larger than any text";
    // Unless both wrap: an empty text counts as 2^64 - 3, and -5 as 2^64 - 5.
    EXPECT_EQ(SAT_API_CalcCkeckSum("", -5), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ucCheckSum[00h]=NULL iBufLen[-5] < pBuf[0000:]-3"));
}

TEST(Packet, TextWithoutStxLosesItsEnd) {
    const CapturedLog log;
    int32_t result = 0;
    EXPECT_EQ(Frame("ABC", &result), "\002A\xC6\x03");
    EXPECT_EQ(result, 4);
}

TEST(Packet, NullPointers) {
    const CapturedLog log;
    char frame[16] = "untouched";
    int32_t length = 77;
    EXPECT_EQ(SAT_API_CreatePacket(nullptr, 3, frame, &length), -1);
    EXPECT_EQ(SAT_API_CreatePacket("ABC", 3, nullptr, &length), -1);
    EXPECT_EQ(SAT_API_CreatePacket("ABC", 3, frame, nullptr), -1);
    EXPECT_STREQ(frame, "untouched");
    EXPECT_EQ(length, 77);
    ASSERT_EQ(log.Lines().size(), 3U);
    char expected[128];
    snprintf(expected, sizeof expected,
             "rc[-00001]ER:INVALID_PARAM pSatMsg[00000000h] pSatPkt[%08Xh] piSatPktLen[%08Xh]",
             LogHandle(frame), LogHandle(&length));
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, expected)) << log.Messages();
    EXPECT_EQ(log.Lines()[0].function, "SAT_API_CreatePacket");
}

TEST(Packet, LengthsWithoutAFrame) {
    const CapturedLog log;
    char frame[16] = "untouched";
    int32_t length = 77;
    EXPECT_EQ(SAT_API_CreatePacket("ABC", -1, frame, &length), -1);
    EXPECT_EQ(SAT_API_CreatePacket("\002ABC", -1, frame, &length), -1);
    EXPECT_EQ(SAT_API_CreatePacket("", 0, frame, &length), -1);
    EXPECT_EQ(SAT_API_CreatePacket("\002ABC", INT32_MAX, frame, &length), -1);
    EXPECT_STREQ(frame, "untouched");
    EXPECT_EQ(length, 77);
}

TEST(Packet, TheShortestTextsAreFrames) {
    const CapturedLog log;
    int32_t result = 0;
    // Of a text without STX nothing is left but its checksum in the place of STX, and so short a text has
    // none.
    EXPECT_EQ(Frame("A", &result), std::string("\0\x03", 2));
    EXPECT_EQ(result, 2);
    char frame[16] = "";
    int32_t length = 77;
    EXPECT_EQ(SAT_API_CreatePacket("\002", 0, frame, &length), 2);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(frame[1], 3);
}

TEST(Packet, DecodeDecodesNothing) {
    const CapturedLog log;
    EXPECT_EQ(SAT_API_DecodeSatCmd("\002A|1\x9E\x03", 6), -1);
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_EQ(SAT_API_DecodeSatCmd(nullptr, 0), -1);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-001]ER:    pSatCmdParam=NULL"));
}

TEST(Packet, NothingIsLoggedBelowInfo) {
    const CapturedLog log('2');
    EXPECT_EQ(SAT_API_CalcCkeckSum(nullptr, 5), 0);
    EXPECT_EQ(CheckSum("\x02\x7B\x01\x01"), 0x7D);
    EXPECT_EQ(Frame("\x02\x80\x40\x40").size(), 6U);
    EXPECT_TRUE(log.Lines().empty());
}

TEST(Packet, ChecksumAgreesWithTheSumItIs) {
    const CapturedLog log('0');
    std::mt19937 random(31);
    for (int round = 0; round < 4000; round++) {
        std::string text(1, '\x02');
        const size_t size = round < 3900 ? random() % 300 + 3 : random() % 9000 + 3;
        uint64_t sum = 0;
        for (size_t i = 0; i < size; i++) {
            const auto byte = static_cast<unsigned char>(random() % 255 + 1);
            text += static_cast<char>(byte);
            sum += byte;
        }
        const uint64_t expected = sum % 256 == 3 ? 4 : sum % 256;
        ASSERT_EQ(CheckSum(text), static_cast<int32_t>(expected)) << "round " << round;
        std::string without_stx = text;
        without_stx[0] = '\x05';
        const uint64_t more = (sum + 5) % 256 == 3 ? 4 : (sum + 5) % 256;
        ASSERT_EQ(CheckSum(without_stx), static_cast<int32_t>(more)) << "round " << round;
        const std::string frame = Frame(text);
        ASSERT_EQ(frame, text + static_cast<char>(expected) + '\x03') << "round " << round;
        const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
        ASSERT_EQ(SatChecksum(bytes + 1, size), expected) << "round " << round;
    }
}

TEST(Packet, ChecksumIsKnownAtCompileTime) {
    static constexpr unsigned char text[] = {'A', 'B'};
    static_assert(SatChecksum(text, 2) == 0x83);
    static_assert(SatChecksum(nullptr, 0) == 0);
    static_assert(SatChecksumByte(3) == 4);
    SUCCEED();
}

}  // namespace

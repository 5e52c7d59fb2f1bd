/*
 * The page about the link: its frames are those of the library's own codec, its blocks those of its writer.
 */
#include <sstream>

#include "api_fixture.h"
#include "reference_page.h"

namespace {

class ProtocolPage : public Api, public testing::WithParamInterface<PageLanguage> {
  protected:
    static std::string Page() { return ProjectFile(GetParam().protocol); }

    static std::string Bytes(const std::string& hex) {
        std::istringstream stream(hex);
        std::string bytes;
        for (unsigned byte = 0; stream >> std::hex >> byte;)
            bytes += static_cast<char>(byte);
        return bytes;
    }

    /** The frame of a text, made by the library. */
    static std::string Frame(const std::string& text) {
        const std::string message = '\x02' + text;
        std::string frame(message.size() + 2, '\0');
        int32_t length = 0;
        SAT_API_CreatePacket(message.c_str(), static_cast<int32_t>(message.size()), frame.data(), &length);
        return frame.substr(0, static_cast<size_t>(length));
    }
};

INSTANTIATE_TEST_SUITE_P(Docs, ProtocolPage, testing::ValuesIn(PAGE_LANGUAGES), LanguageName);

TEST_P(ProtocolPage, ShowsFramesAsTheLibraryMakesThem) {
    size_t frames = 0;
    for (const std::string& block : PageBlocks(Page(), "text")) {
        const std::vector<std::string> lines = LinesOf(block);
        ASSERT_EQ(lines.size(), 2U) << block;
        const std::string frame = Bytes(lines[0]);
        // Each character stands below the second digit's place of its byte.
        std::string text;
        for (size_t at = 1; at + 2 < frame.size(); ++at)
            text += 3 * at < lines[1].size() ? lines[1][3 * at] : ' ';
        EXPECT_EQ(Shown(frame), Shown(Frame(text)));
        ++frames;
    }
    EXPECT_EQ(frames, 3U);
}

TEST_P(ProtocolPage, TheFramesAreThoseOfARealExchange) {
    std::string taken;
    sim::HonestDevice device([](const std::string&) { return "000001|08000|SAT em operacao||"; });
    AttachDevice(&device);
    WriteIniWithLog('1');
    EXPECT_STREQ(ConsultarSAT(1), "000001|08000|SAT em operacao||");
    const std::vector<std::string> blocks = PageBlocks(Page(), "text");
    EXPECT_EQ(Shown(Bytes(LinesOf(blocks.at(0)).at(0))), Shown(sim::MakeFrame(device.last_command)));
    EXPECT_EQ(Shown(Bytes(LinesOf(blocks.at(1)).at(0))),
              Shown(sim::MakeFrame("000001|08000|SAT em operacao||")));
}

/** Acknowledges every block, and counts. */
class CountingDevice : public sim::Device {
  public:
    std::vector<size_t> blocks;
    void OnBytes(sim::Line& line, const uint8_t* bytes, size_t size) override {
        taken_ += size;
        if (taken_ < SAT_BLOCK_SIZE && bytes[size - 1] != SAT_ETX) return;
        blocks.push_back(taken_);
        taken_ = 0;
        line.Send("\x06");
    }

  private:
    size_t taken_ = 0;
};

TEST_P(ProtocolPage, ShowsBlocksAsTheyAreSent) {
    size_t rows = 0;
    for (const PageRow& row : PageRows(Page())) {
        if (row.size() != 3 || row[0].find_first_not_of("0123456789") != std::string::npos) continue;
        if (row[1].find_first_not_of("0123456789, ") != std::string::npos || row[0] == "1") continue;
        Load();
        CountingDevice device;
        OpenPort(&device);
        std::string frame = '\x02' + std::string(std::stoul(row[0]) - 3, 'x') + '\x03' + "  ";
        EXPECT_GT(cSerialWriteBufW(frame.data(), static_cast<int>(frame.size() - 2), &hPort), 0) << row[0];
        std::string blocks;
        for (const size_t block : device.blocks)
            blocks += (blocks.empty() ? "" : ", ") + std::to_string(block);
        EXPECT_EQ(blocks, row[1]);
        EXPECT_EQ(std::to_string(device.blocks.size()), row[2]);
        ++rows;
    }
    EXPECT_EQ(rows, 4U);
}

TEST_P(ProtocolPage, ThePortIsOpenedAsItSays) {
    sim::HonestDevice device = DeviceThatSays("ok");
    sim::Line& line = AttachDevice(&device);
    WriteIniWithLog('1');
    ConsultarSAT(1);
    EXPECT_EQ(line.Record().settings.baud_rate, 115200U);
    EXPECT_EQ(line.Record().settings.data_bits, 8);
    EXPECT_TRUE(line.Record().dtr && line.Record().rts);
    EXPECT_EQ(line.Record().input_queue, 16384U);
    EXPECT_EQ(line.Record().output_queue, 16384U);
}

TEST_P(ProtocolPage, TheLargestFrameIsTheOneNamed) {
    EXPECT_THAT(Page(), testing::HasSubstr(" " + std::to_string(GL_DEF_MAX_SAT_PKT_SIZE - 1) + " bytes"));
}

/** What the page says of attempts and times. */
class ProtocolTimes : public Api {
  protected:
    static constexpr const char* NO_REPLY =
        "SAT Erro[-00001]Win Falha ao receber resposta do  SAT L[2127] F[Communicate] ";
    void SetUp() override {
        Load();
        AttachDevice(&device);
        WriteIniWithLog('1');
    }
    sim::HonestDevice device = DeviceThatSays("000001|08000|SAT em operacao||");
};

TEST_F(ProtocolTimes, TwoSpoiledRepliesAreForgivenAndThreeAreNot) {
    device.faults.bad_checksum_times = 2;
    EXPECT_STREQ(ConsultarSAT(1), "000001|08000|SAT em operacao||");
    device.faults.bad_checksum_times = 3;
    EXPECT_STREQ(ConsultarSAT(1), NO_REPLY);
}

TEST_F(ProtocolTimes, AStopCostsSixteenSecondsAndThreeFortyNine) {
    device.faults.stall_at = 10;
    device.faults.stall_times = 1;
    EXPECT_STREQ(ConsultarSAT(1), "000001|08000|SAT em operacao||");
    EXPECT_THAT(NowMs(), testing::AllOf(testing::Ge(16000), testing::Le(18000)));
    const int64_t before = NowMs();
    device.faults.stall_times = 3;
    EXPECT_STREQ(ConsultarSAT(1), NO_REPLY);
    EXPECT_THAT(NowMs() - before, testing::AllOf(testing::Ge(48000), testing::Le(52000)));
}

TEST_F(ProtocolTimes, AnAcknowledgementMayTakeTwoSecondsAndNotThree) {
    device.faults.ack_delay_us = 1900000;
    EXPECT_STREQ(ConsultarSAT(1), "000001|08000|SAT em operacao||");
    device.faults.ack_delay_us = 3100000;
    EXPECT_THAT(ConsultarSAT(1), testing::HasSubstr("L[2114]"));
}

TEST_F(ProtocolTimes, BehindANakTheReplyHasLessThanASecond) {
    device.faults.bad_checksum_times = 1;
    device.resend_delay_us = 1100000;
    EXPECT_STREQ(ConsultarSAT(1), NO_REPLY);
}

TEST_F(ProtocolTimes, TheFirstByteOfTheReplyIsNotLookedFor) {
    device.faults.on_frame = [](std::string& frame, unsigned) { frame[0] = 'x'; };
    EXPECT_STREQ(ConsultarSAT(1), "000001|08000|SAT em operacao||");
}

}  // namespace

#include "api_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

/** Replies in acknowledged blocks, up to the longest that fits. */
class LinkReadBlocks : public Api {
  protected:
    static constexpr int kLongestFrame = 10485759;

    void SetUp() override {
        Load();
        line = &OpenPort(&script);
    }
    int Read() { return cSerialReadBufW(gl_strSatRsp, GL_DEF_MAX_SAT_PKT_SIZE, &hPort, 10); }
    static std::string TextFor(int frame_size) {
        return std::string(static_cast<size_t>(frame_size - 3), 'x');
    }

    /** ACK so often. */
    static std::string Acks(int count) { return std::string(static_cast<size_t>(count), sim::kAck); }

    sim::ScriptedDevice script;
    sim::Line* line = nullptr;
};

class LinkReadBlockSizes : public LinkReadBlocks, public testing::WithParamInterface<int> {};

TEST_P(LinkReadBlockSizes, EachBlockIsAcknowledgedOnceAndTheLastOneWithTheFrame) {
    const int size = GetParam();
    // The device waits for ACK in front of every further block.
    script.ExpectBytes("?").SendFrame(TextFor(size));
    lSerialFlushRx(&hPort);
    plat_port_write(hPort, "?", 1);
    EXPECT_EQ(Read(), size - 1);
    EXPECT_EQ(std::string(gl_strSatRsp), TextFor(size));
    EXPECT_EQ(script.received.substr(1), Acks((size + 16383) / 16384));
    EXPECT_THAT(script.errors, ElementsAre());
    EXPECT_TRUE(script.Done());
}

INSTANTIATE_TEST_SUITE_P(Sizes, LinkReadBlockSizes,
                         testing::Values(16383, 16384, 16385, 16386, 32768, 32769, 1500000, 10485759));

TEST_F(LinkReadBlocks, AFullBlockWithoutEtxIsAcknowledgedAndLogged) {
    StartLog();
    script.ExpectBytes("?").SendFrame(TextFor(20000));
    plat_port_write(hPort, "?", 1);
    World().faults.TraceOn({sim::Call::PortRead, sim::Call::PortWrite});
    EXPECT_EQ(Read(), 19999);
    EXPECT_THAT(World().faults.trace, ElementsAre("PortRead 1", "PortRead 16383", "PortWrite 1: 06",
                                                  "PortRead 16384", "PortWrite 1: 06"));
    EXPECT_EQ(
        LogOf("cSerialReadBufW")[0],
        "WRN [cSerialReadBufW]Win: DLL->SAT Sent ACK\n\t     iChkPos[016384]\n\t        "
        "iPos[016384]\n\t       lNext[032768]\n\t(lNext-iPos)[016384]Diff To Read 16KBytes Packet!!!\n\t  "
        "iTimeout[100]ms\n");
}

TEST_F(LinkReadBlocks, AReadNeverGoesPastTheBlocksEnd) {
    // The device does not wait, so more than a block lies in the queue.
    line->Send(sim::MakeFrame(TextFor(20000)));
    World().faults.TraceOn({sim::Call::PortRead, sim::Call::PortWrite});
    EXPECT_EQ(Read(), 19999);
    EXPECT_THAT(World().faults.trace, ElementsAre("PortRead 1", "PortRead 16383", "PortWrite 1: 06",
                                                  "PortRead 16384", "PortWrite 1: 06"));
}

TEST_F(LinkReadBlocks, ChecksumAndEtxMayStandInABlockOfTheirOwn) {
    for (const int size : {16385, 16386}) {
        const std::string frame = sim::MakeFrame(TextFor(size));
        line->Send(frame);
        EXPECT_EQ(Read(), size - 1);
        EXPECT_EQ(strlen(gl_strSatRsp), static_cast<size_t>(size - 3));
    }
    EXPECT_EQ(script.received, Acks(4));
}

TEST_F(LinkReadBlocks, NothingOfAnEarlierReplyRemainsInTheBuffers) {
    line->Send(sim::MakeFrame(TextFor(100000)));
    ASSERT_EQ(Read(), 99999);
    line->Send(sim::MakeFrame("AB"));
    ASSERT_EQ(Read(), 4);
    EXPECT_EQ(FirstNonZero(gl_strSatRsp, 2, GL_DEF_MAX_SAT_PKT_SIZE), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
    EXPECT_EQ(FirstNonZero(gl_strRcvArea, 5, BUFFER_SIZE), size_t{BUFFER_SIZE});
}

TEST_F(LinkReadBlocks, TheAreaIsClearedForEveryAttempt) {
    script.ExpectNak().SendRaw(sim::MakeFrame("AB"));
    line->Send(
        "\x02"
        "a longer text with a wrong checksum\x01\x03");
    ASSERT_EQ(Read(), 4);
    EXPECT_EQ(FirstNonZero(gl_strRcvArea, 5, BUFFER_SIZE), size_t{BUFFER_SIZE});
}

TEST_F(LinkReadBlocks, AReplyThatIsTooLongIsRefusedThreeTimes) {
    // One byte more than the longest frame, so that ETX has no place.
    const std::string frame = sim::MakeFrame(TextFor(kLongestFrame + 1));
    int attempts = 0;
    const auto send = [&](sim::Line& to) {
        ++attempts;
        to.DropPending();
        to.Send(frame);
    };
    class Device : public sim::Device {
      public:
        std::function<void(sim::Line&)> resend;
        unsigned naks = 0;
        unsigned acks = 0;
        void OnBytes(sim::Line& to, const uint8_t* bytes, size_t size) override {
            for (size_t i = 0; i < size; ++i) {
                if (bytes[i] == static_cast<uint8_t>(sim::kNak)) {
                    ++naks;
                    resend(to);
                } else {
                    ++acks;
                }
            }
        }
    } device;
    device.resend = send;
    line->Attach(&device);
    send(*line);
    EXPECT_EQ(Read(), -1);
    EXPECT_EQ(device.naks, 3U);
    EXPECT_EQ(device.acks, 3U * 639);
    EXPECT_EQ(FirstNonZero(gl_strSatRsp, 0, GL_DEF_MAX_SAT_PKT_SIZE), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
}

TEST_F(LinkReadBlocks, AnAreaFullOfTextIsReadNoFurtherThanItsEnd) {
    // Neither ETX nor NUL anywhere, so nothing but the area's size ends the packet that the protocol log
    // shows.
    LogAtMode('1');
    line->Send(std::string(1, sim::kStx) + std::string(kLongestFrame, 'x'));
    EXPECT_EQ(Read(), -1);
    const std::string protocol = ProtocolLog();
    const std::string end = "]InvalidSatPkg\n";
    ASSERT_GT(protocol.size(), static_cast<size_t>(kLongestFrame));
    EXPECT_EQ(protocol.substr(protocol.find('\n') + 1 - end.size(), end.size()), end);
}

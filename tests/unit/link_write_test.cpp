#include "api_fixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

/** One command frame on its way to the device. */
class LinkWrite : public Api {
  protected:
    void SetUp() override {
        Load();
        line = &OpenPort(&script);
    }

    /** Writes STX, text, ETX; the buffer keeps what the writer made of it. */
    int Write(const std::string& text) {
        buffer = "\x02" + text + "\x03";
        const int size = static_cast<int>(buffer.size());
        // One byte for the checksum; the others are not the frame's, and nothing ends it there.
        buffer.append(16, '#');
        return cSerialWriteBufW(buffer.data(), size, &hPort);
    }

    /** What the log says about the handle of the port. */
    static std::string Port() { return Hex8(hPort); }

    std::string buffer;
    sim::ScriptedDevice script;
    sim::Line* line = nullptr;
};

TEST_F(LinkWrite, InsertsTheChecksumInFrontOfEtx) {
    script.ExpectFrame().Ack();
    EXPECT_EQ(Write("AB"), 5);
    EXPECT_EQ(Shown(script.received), "<02>AB<83><03>");
    EXPECT_EQ(Shown(buffer.substr(0, 6)), "<02>AB<83><03>#");
}

TEST_F(LinkWrite, AChecksumThatWouldReadAsEtxBecomesFour) {
    script.ExpectFrame().Ack();
    // 0x7F + 0x84 = 0x103
    EXPECT_EQ(Write("\x7F\x84"), 5);
    EXPECT_EQ(Shown(script.received), "<02><7F><84><04><03>");
}

TEST_F(LinkWrite, AChecksumOfZeroIsSentAsItIs) {
    StartLog();
    script.ExpectBytes(std::string("\x02\x80\x80\x00\x03", 5)).Ack();
    EXPECT_EQ(Write("\x80\x80"), 5);
    EXPECT_THAT(script.errors, ElementsAre());
    EXPECT_TRUE(script.Done());
    EXPECT_THAT(LogOf("cSerialWriteBufW"),
                ElementsAre("WRN [cSerialWriteBufW]Win: OK:hC[" + Port() +
                            "h]Sent \n\t PC->SAT >>   pusTxPkt[005:\x02\x80\x80]\n"));
}

TEST_F(LinkWrite, TheShortestCommandIsTwoBytes) {
    script.ExpectBytes(std::string("\x02\x00\x03", 3)).Ack();
    EXPECT_EQ(Write(""), 3);
    EXPECT_TRUE(script.Done());
}

TEST_F(LinkWrite, LogsTheBlockThenItsFieldsThenTheAcknowledgement) {
    LogAtMode('5');
    CreateSAT_ProtLogFile();
    ClearLog();
    script.ExpectFrame().Ack();
    Write("AB|C");
    std::vector<std::string> functions;
    for (const std::string& entry : Log()) {
        const std::string function = entry.substr(5, entry.find(']') - 5);
        if (functions.empty() || functions.back() != function) functions.push_back(function);
    }
    EXPECT_THAT(functions, ElementsAre("cSerialWriteBufW", "SAT_API_CmdPktParcer", "cSerialReadAck",
                                       "LogSATProtocolMsg"));
    EXPECT_EQ(LogOf("cSerialWriteBufW")[0], "WRN [cSerialWriteBufW]Win: OK:hC[" + Port() +
                                                "h]Sent \n\t PC->SAT >>   pusTxPkt[007:\x02"
                                                "AB|C\x42\x03]\n");
}

TEST_F(LinkWrite, ThePacketIsProtocolledOnceAfterItWasAcknowledgedWhole) {
    LogAtMode('5');
    CreateSAT_ProtLogFile();
    script.ExpectFrame().Do([](sim::Line&) { EXPECT_EQ(ProtocolLog(), ""); }).Ack();
    script.ExpectFrame().Do([](sim::Line&) { EXPECT_EQ(ProtocolLog(), ""); }).Ack();
    Write(std::string(20001, 'x'));
    EXPECT_TRUE(script.Done());
    const std::string text = ProtocolLog();
    EXPECT_THAT(text, HasSubstr(" PC->SAT >> [<02>xxx"));
    EXPECT_EQ(text.find('\n'), text.size() - 1);
}

TEST_F(LinkWrite, ARefusedPacketIsNotProtocolled) {
    LogAtMode('5');
    CreateSAT_ProtLogFile();
    script.ExpectFrame().Nak();
    Write("AB");
    EXPECT_EQ(ProtocolLog(), "");
}

TEST_F(LinkWrite, BlocksOfMoreThanAThousandBytesAreLoggedAbridged) {
    StartLog();
    std::string text;
    while (text.size() < 998)
        text += std::to_string(text.size()) + ";";
    text.resize(998);
    script.ExpectFrame().Ack().ExpectFrame().Ack();
    ASSERT_EQ(Write(text), 1001);
    const std::string frame = script.received;
    EXPECT_EQ(Shown(LogOf("cSerialWriteBufW")[0]),
              Shown("WRN [cSerialWriteBufW]Win: OK:hC[" + Port() +
                    "h]Sent ulTxPktSz[01001]BIG \n\t PC->SAT >>   pusTxPkt[1001:" + frame.substr(0, 900) +
                    "...**BIGPKG SLL-SAT**...." + frame.substr(101) + "]\n"));
    // One byte less is shown whole.
    ClearLog();
    text.pop_back();
    ASSERT_EQ(Write(text), 1000);
    EXPECT_EQ(Shown(LogOf("cSerialWriteBufW")[0]),
              Shown("WRN [cSerialWriteBufW]Win: OK:hC[" + Port() +
                    "h]Sent \n\t PC->SAT >>   pusTxPkt[1000:" + script.received.substr(1001) + "]\n"));
}

TEST_F(LinkWrite, TheFirstBlockOfALongFrameIsShownWithEverythingBehindIt) {
    StartLog();
    script.ExpectFrame().Ack().ExpectFrame().Ack();
    ASSERT_EQ(Write(std::string(20000, 'x') + "END"), 20006);
    const std::vector<std::string> lines = LogOf("cSerialWriteBufW");
    ASSERT_EQ(lines.size(), 2U);
    const std::string frame = script.received;
    EXPECT_THAT(lines[0], HasSubstr("Sent ulTxPktSz[16384]BIG \n\t PC->SAT >>   pusTxPkt[16384:" +
                                    frame.substr(0, 900) + "...**BIGPKG SLL-SAT**...." +
                                    frame.substr(16384 - 900) + "]\n"));
    EXPECT_THAT(lines[1], HasSubstr("Sent ulTxPktSz[20006]BIG \n\t PC->SAT >>   pusTxPkt[20006:" +
                                    frame.substr(0, 900) + "...**BIGPKG SLL-SAT**...." +
                                    frame.substr(20006 - 900) + "]\n"));
}

TEST_F(LinkWrite, EachBlockLogsTheFieldsOfTheFrameUpToItsEnd) {
    StartLog();
    script.ExpectFrame().Ack().ExpectFrame().Ack();
    ASSERT_EQ(Write("A|" + std::string(20000, 'y')), 20005);
    std::vector<std::string> fields;
    for (const std::string& entry : LogOf("SAT_API_CmdPktParcer"))
        if (entry.find("]P0") != std::string::npos) fields.push_back(entry.substr(entry.find("]P0") + 1, 13));
    // STX, "A" and the separator stand in front of the second field; only the last block ends it.
    EXPECT_THAT(fields, ElementsAre("P01=[00000001", "P02=[00016381", "P01=[00000001", "P02=[00020000"));
}

TEST_F(LinkWrite, NakIsReportedAtOnceAndNothingIsSentAgain) {
    StartLog();
    script.ExpectFrame().Nak();
    World().last_error = 0;
    EXPECT_EQ(Write("AB"), -1005);
    EXPECT_EQ(script.received.size(), 5U);
    EXPECT_THAT(Log().back(),
                HasSubstr("ERR [cSerialWriteBufW]Win: rc[-01005]ER:NAK Recvd LastError[0] << NAK "
                          "rcry[3]FAIL \n\t >> PC->SATPkt[00005:\x02"
                          "AB\x83\x03]\n"));
    EXPECT_LT(NowMs(), 10);
}

TEST_F(LinkWrite, NoAcknowledgementIsReportedWithTheSystemsError) {
    StartLog();
    World().last_error = 31;
    EXPECT_EQ(Write("AB"), -1);
    EXPECT_EQ(Log().back(), "ERR [cSerialWriteBufW]Win: rc[-00001]ER: LastError[31] << ACK\n");
}

TEST_F(LinkWrite, TheFrameKeepsItsChecksumBehindAFailureAndThePortStaysOpen) {
    script.ExpectFrame().Nak();
    Write("AB");
    EXPECT_EQ(Shown(buffer.substr(0, 6)), "<02>AB<83><03>#");
    EXPECT_TRUE(line->IsOpen());
}

TEST_F(LinkWrite, JunkInFrontOfTheAcknowledgementIsSkipped) {
    script.ExpectFrame().SendRaw("junk\x02\x16").Ack();
    EXPECT_EQ(Write("AB"), 5);
}

TEST_F(LinkWrite, APortThatTakesAFewBytesAtATimeIsFedWithAMillisecondBetween) {
    script
        .ExpectBytes(
            "\x02"
            "ABCDEFGH\x24\x03")
        .Ack();
    line->AcceptAtMost(4);
    const uint64_t sleeps = World().clock.Sleeps();
    World().faults.TraceOn({sim::Call::PortWrite, sim::Call::SleepMs});
    EXPECT_EQ(Write("ABCDEFGH"), 11);
    EXPECT_THAT(World().faults.trace, ElementsAre("PortWrite 11: 02", "SleepMs 1", "PortWrite 7: 44",
                                                  "SleepMs 1", "PortWrite 3: 48", "SleepMs 1"));
    EXPECT_EQ(World().clock.Sleeps(), sleeps + 3);
    EXPECT_THAT(script.errors, ElementsAre());
}

TEST_F(LinkWrite, EachByteThatIsTakenRestartsTheWriteTimeout) {
    // A write that is not taken whole costs more than a second, so this takes far longer than the limit.
    script
        .ExpectBytes(
            "\x02"
            "ABCDEFGH\x24\x03")
        .Ack();
    line->AcceptAtMost(1);
    EXPECT_EQ(Write("ABCDEFGH"), 11);
    EXPECT_GT(NowMs(), 10000);
}

TEST_F(LinkWrite, TheWriteTimeoutCountsFromTheLastByteThatWasTaken) {
    // Five bytes take more than five seconds; then one write takes nothing for another.
    constexpr int kTimeout = 1;
    script
        .ExpectBytes(
            "\x02"
            "ABCDEFGH\x24\x03")
        .Ack();
    line->AcceptAtMost(1);
    World().faults.FailNth(sim::Call::PortWrite, 6, 1, kTimeout);
    EXPECT_EQ(Write("ABCDEFGH"), 11);
}

TEST_F(LinkWrite, APortThatTakesByteByByteHoldsTheCallerForHalfAnHourAtMost) {
    // Every byte is taken just in time: 2 s after the one before.
    line->AcceptAtMost(1);
    World().clock.on_sleep = [](uint32_t) { World().clock.Advance(2000); };
    const int64_t begun = World().clock.NowUs();
    std::string command = "\x02" + std::string(4000, 'A') + "\x03";
    command.reserve(command.size() + 2);
    EXPECT_EQ(cSerialWriteBufW(command.data(), static_cast<int>(command.size()), &hPort), -1007);
    const int64_t seconds = (World().clock.NowUs() - begun) / 1'000'000;
    EXPECT_GE(seconds, 1800);
    EXPECT_LE(seconds, 1810);
}

TEST_F(LinkWrite, APortThatTakesNothingIsATimeoutOfItsOwn) {
    StartLog();
    line->StopAcceptingAfter(2);
    EXPECT_EQ(Write("AB"), -1007);
    EXPECT_EQ(Log().back(),
              "ERR [cSerialWriteBufW]Win: WriteFile "
              "rc[-01007]ER:SAT_API_ERR_WIN_DEV_COMM_WR_TIMEOUT \n\t*phComm[" +
                  Port() + "h] >> ulTxPktSz[5] ulOffset[2] ulBytesExpected[5]Timeout\n");
}

TEST_F(LinkWrite, WritesThatTakeNothingAreTriedAgainEveryMillisecond) {
    World().faults.FailNth(sim::Call::PortWrite, 1, 3);
    World().faults.TraceOn({sim::Call::PortWrite, sim::Call::SleepMs});
    script.ExpectFrame().Ack();
    EXPECT_EQ(Write("AB"), 5);
    EXPECT_THAT(World().faults.trace,
                ElementsAre("PortWrite 5: 02", "SleepMs 1", "PortWrite 5: 02", "SleepMs 1", "PortWrite 5: 02",
                            "SleepMs 1", "PortWrite 5: 02", "SleepMs 1"));
}

TEST_F(LinkWrite, AWriteErrorIsNeverAHardError) {
    World().faults.FailAlways(sim::Call::PortWrite);
    EXPECT_EQ(Write("AB"), -1007);
    EXPECT_GT(NowMs(), 2000);
}

TEST_F(LinkWrite, BadArgumentsAreRefused) {
    StartLog();
    char text[8] = "\x02\x03";
    EXPECT_EQ(cSerialWriteBufW(nullptr, 4, &hPort), -1);
    EXPECT_EQ(cSerialWriteBufW(text, 4, nullptr), -1);
    EXPECT_EQ(cSerialWriteBufW(text, 1, &hPort), -1);
    EXPECT_EQ(line->Record().bytes_written, 0U);
    EXPECT_THAT(
        LogOf("cSerialWriteBufW"),
        testing::Contains(
            "ERR [cSerialWriteBufW]Win: rc[-00001]ER:INVALID_PARAM pusTxPkt[00000000h] ulTxPktSz[4] phComm[" +
            Hex8(reinterpret_cast<plat_handle>(&hPort)) + "h]\n"));
}

/** Frames at the edges of the 16384-byte blocks, the size with checksum. */
class LinkWriteBlocks : public LinkWrite, public testing::WithParamInterface<int> {
  protected:
    static int FrameSize() { return GetParam(); }
    static int Blocks() { return (FrameSize() + 16383) / 16384; }
    static std::string Text() { return std::string(static_cast<size_t>(FrameSize() - 3), 'x'); }
};

TEST_P(LinkWriteBlocks, EachBlockIsAcknowledgedBeforeTheNextIsSent) {
    std::vector<size_t> seen;
    for (int block = 0; block < Blocks(); ++block)
        script.ExpectFrame().Do([&](sim::Line&) { seen.push_back(script.received.size()); }).Ack();
    EXPECT_EQ(Write(Text()), FrameSize());
    ASSERT_EQ(seen.size(), static_cast<size_t>(Blocks()));
    for (size_t block = 0; block < seen.size(); ++block)
        EXPECT_EQ(seen[block], std::min<size_t>((block + 1) * 16384, static_cast<size_t>(FrameSize())));
    EXPECT_EQ(script.received, sim::MakeFrame(Text()));
}

TEST_P(LinkWriteBlocks, WithoutTheLastAcknowledgementItIsNotSent) {
    for (int block = 0; block + 1 < Blocks(); ++block)
        script.ExpectFrame().Ack();
    EXPECT_EQ(Write(Text()), -1);
    EXPECT_EQ(script.received.size(), static_cast<size_t>(FrameSize()));
}

INSTANTIATE_TEST_SUITE_P(Sizes, LinkWriteBlocks, testing::Values(16383, 16384, 16385, 32768, 32769, 1500000));

TEST_F(LinkWrite, NakAtABlockEndsTheFrameThere) {
    for (const int refused : {0, 1, 2}) {
        SCOPED_TRACE(refused);
        sim::ScriptedDevice device;
        for (int block = 0; block < refused; ++block)
            device.ExpectFrame().Ack();
        device.ExpectFrame().Nak();
        line->Attach(&device);
        EXPECT_EQ(Write(std::string(50000, 'x')), -1005);
        EXPECT_EQ(device.received.size(), static_cast<size_t>(refused + 1) * 16384);
    }
}

TEST_F(LinkWrite, NeedsNoMoreRoomThanOneByteBehindEtx) {
    StartLog();
    script.ExpectFrame().Ack();
    // A buffer of exactly that size: whatever reads or writes behind it is caught under the address
    // sanitizer.
    std::vector<char> tight = {'\x02', 'A', 'B', '\x03', '?'};
    EXPECT_EQ(cSerialWriteBufW(tight.data(), 4, &hPort), 5);
    EXPECT_EQ(std::string(tight.begin(), tight.end()),
              "\x02"
              "AB\x83\x03");
    EXPECT_THAT(ProtocolLog(), HasSubstr("PC->SAT >> [<02>AB<83><03>]OK:a\n"));
}

#include "api_fixture.h"

using testing::ElementsAre;

/** Acknowledgements in both directions, and the drain. */
class LinkAck : public Api {
  protected:
    void SetUp() override {
        Load();
        StartLog();
        line = &OpenPort(&script);
        ClearLog();
    }
    static constexpr const char* kAckLine =
        "WRN [cSerialReadAck]Win\n\tSAT->PC  <<       Rcvd[06h]ACK LibVer[23-JUL-2020] BuildDate[Jan 14 "
        "2021-14:37:25]\n";
    sim::ScriptedDevice script;
    sim::Line* line = nullptr;
};

TEST_F(LinkAck, AckIsOne) {
    line->Send("\x06");
    EXPECT_EQ(cSerialReadAck(&hPort), 1);
    EXPECT_THAT(Log(), ElementsAre(kAckLine));
}

TEST_F(LinkAck, NakIsZero) {
    line->Send("\x15");
    EXPECT_EQ(cSerialReadAck(&hPort), 0);
    EXPECT_THAT(Log(), ElementsAre("WRN [cSerialReadAck]Win\n\tSAT->PC  <<       Rcvd[15h]NAK\n"));
}

TEST_F(LinkAck, TheByteThatItsTextCallsNakIsNone) {
    line->Send("\x16\x06");
    EXPECT_EQ(cSerialReadAck(&hPort), 1);
}

TEST_F(LinkAck, OtherBytesAreLoggedAndSkipped) {
    line->Send(std::string("\x02\xFF\x00\x06", 4));
    EXPECT_EQ(cSerialReadAck(&hPort), 1);
    EXPECT_THAT(Log(),
                ElementsAre("WRN [cSerialReadAck]Win:WR SAT->PC  <<       Rcvd[02h]??? Expected ACK or NAK\n",
                            "WRN [cSerialReadAck]Win:WR SAT->PC  <<       Rcvd[FFh]??? Expected ACK or NAK\n",
                            "WRN [cSerialReadAck]Win:WR SAT->PC  <<       Rcvd[00h]??? Expected ACK or NAK\n",
                            kAckLine));
}

TEST_F(LinkAck, OneByteIsTakenAtATime) {
    line->Send("\x06\x15");
    EXPECT_EQ(cSerialReadAck(&hPort), 1);
    EXPECT_EQ(line->Pending(), 1U);
    EXPECT_EQ(cSerialReadAck(&hPort), 0);
}

TEST_F(LinkAck, JunkWithoutAPauseDoesNotOutlastTheTimeout) {
    line->SetBaud(115200);
    line->Send(std::string(1 << 20, '?'));
    const int64_t begun = World().clock.NowUs();
    EXPECT_EQ(cSerialReadAck(&hPort), -1);
    EXPECT_LE(World().clock.NowUs() - begun, 3'001'000);
    EXPECT_GT(World().clock.NowUs() - begun, 2'000'000);
    EXPECT_EQ(Log().back(), "ERR [cSerialReadAck]Win << diff[3000]> 2000 timeout\n");
}

TEST_F(LinkAck, AnAckBehindJunkCountsUntilTheThirdSecond) {
    line->SetBaud(9600);
    line->Send(std::string(2800, '?') + "\x06");
    EXPECT_EQ(cSerialReadAck(&hPort), 1);
}

TEST_F(LinkAck, NothingIsMinusOneWithoutAnySleep) {
    const uint64_t sleeps = World().clock.Sleeps();
    EXPECT_EQ(cSerialReadAck(&hPort), -1);
    EXPECT_THAT(Log(), ElementsAre("ERR [cSerialReadAck]Win << diff[3000]> 2000 timeout\n"));
    EXPECT_EQ(World().clock.Sleeps(), sleeps);
}

TEST_F(LinkAck, OtherBytesDoNotRestartTheTimeout) {
    for (int i = 1; i <= 50; ++i)
        line->SendAfter(i * 100'000, "?");
    const int64_t start = NowMs();
    EXPECT_EQ(cSerialReadAck(&hPort), -1);
    EXPECT_LE(NowMs() - start, 3003);
}

TEST_F(LinkAck, AReadErrorIsOnlyABytelessRead) {
    World().faults.FailNth(sim::Call::PortRead, 1, 100);
    line->Send("\x06");
    EXPECT_EQ(cSerialReadAck(&hPort), 1);
}

TEST_F(LinkAck, AnUnpluggedPortIsATimeout) {
    World().ports.Unplug("\\\\?\\COM7");
    EXPECT_EQ(cSerialReadAck(&hPort), -1);
}

TEST_F(LinkAck, AckIsSentForTrue) {
    EXPECT_EQ(lSerialWriteAck(&hPort, true), 0);
    EXPECT_EQ(Shown(script.received), "<06>");
    EXPECT_THAT(Log(), ElementsAre("WRN [lSerialWriteAck]Win OK\n\t PC->SAT >>       Sent[06h]ACK\n\n"));
}

TEST_F(LinkAck, NakIsSentForFalse) {
    EXPECT_EQ(lSerialWriteAck(&hPort, false), 0);
    EXPECT_EQ(Shown(script.received), "<15>");
    EXPECT_THAT(Log(), ElementsAre("WRN [lSerialWriteAck]Win: WR\n\t PC->SAT >>       Sent[15h]NAK\n"));
}

TEST_F(LinkAck, AnAcknowledgementThatIsNotTakenIsNotTriedAgain) {
    line->AcceptAtMost(0);
    const uint64_t writes = World().faults.Count(sim::Call::PortWrite);
    EXPECT_EQ(lSerialWriteAck(&hPort, true), -1);
    EXPECT_EQ(lSerialWriteAck(&hPort, false), -1);
    EXPECT_EQ(World().faults.Count(sim::Call::PortWrite), writes + 2);
    EXPECT_THAT(Log(), ElementsAre("ERR [lSerialWriteAck]Win Error writing ACK\n",
                                   "ERR [lSerialWriteAck]Win Error writing ACK\n"));
}

TEST_F(LinkAck, TheDrainDiscardsWhatIsQueuedTenBytesAtATime) {
    line->Send(std::string(25, 'x'));
    World().faults.TraceOn({sim::Call::PortRead});
    EXPECT_EQ(lSerialFlushRx(&hPort), 0);
    EXPECT_THAT(World().faults.trace,
                ElementsAre("PortRead 10", "PortRead 10", "PortRead 10", "PortRead 10"));
    EXPECT_EQ(line->Pending(), 0U);
}

TEST_F(LinkAck, TheDrainTakesBytesThatComeOneByOneToo) {
    for (int64_t ms = 0; ms < 48; ms += 12) {
        line->SendAfter(ms * 1000, "z");
    }
    EXPECT_EQ(lSerialFlushRx(&hPort), 0);
    World().clock.Sleep(100);
    EXPECT_EQ(line->Pending(), 0U);
}

TEST_F(LinkAck, TheDrainTestsThePointerAndNotTheHandleBehindIt) {
    EXPECT_EQ(lSerialFlushRx(nullptr), -1);
    EXPECT_EQ(lSerialFlushRx(reinterpret_cast<plat_handle*>(PLAT_INVALID_HANDLE)), -1);
    EXPECT_THAT(Log(), ElementsAre("ERR [lSerialFlushRx]All phComm[00000000h]Port Not Openned!!!\n",
                                   "ERR [lSerialFlushRx]All phComm[FFFFFFFFh]Port Not Openned!!!\n"));
    plat_handle invalid = PLAT_INVALID_HANDLE;
    EXPECT_EQ(lSerialFlushRx(&invalid), 0);
}

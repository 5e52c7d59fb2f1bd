#include "api_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

/** What a device does wrong with its reply, and how often the reader asks again. */
class LinkReadFaults : public Api {
  protected:
    void SetUp() override {
        Load();
        StartLog();
        CreateSAT_ProtLogFile();
        line = &OpenPort(&script);
        ClearLog();
    }
    int Read(int seconds = 10) { return cSerialReadBufW(reply, sizeof reply, &hPort, seconds); }
    /** The clock's seconds begin now, plus so many milliseconds. */
    static void BeginSecond(int offset_ms = 0) {
        gl_tLinkClock = {};
        LinkNow();
        World().clock.Advance(offset_ms);
    }

    static constexpr const char* kBad =
        "\x02"
        "AB\x84\x03";
    static constexpr const char* kGood =
        "\x02"
        "AB\x83\x03";

    char reply[256] = {};
    sim::ScriptedDevice script;
    sim::Line* line = nullptr;
};

TEST_F(LinkReadFaults, ABadChecksumIsAskedForAgain) {
    script.ExpectNak().SendRaw(kGood).ExpectAck();
    line->Send(kBad);
    EXPECT_EQ(Read(), 4);
    EXPECT_STREQ(reply, "AB");
    EXPECT_EQ(Shown(script.received), "<15><06>");
}

TEST_F(LinkReadFaults, ABadChecksumIsProtocolledThenReportedThenRefused) {
    script.ExpectNak().SendRaw(kGood).ExpectAck();
    line->Send(kBad);
    Read();
    std::vector<std::string> bad;
    for (const std::string& entry : Log()) {
        if (entry.find("[SAT_API_RspPktParcer]") != std::string::npos) break;
        bad.push_back(entry);
    }
    ASSERT_GE(bad.size(), 4U);
    EXPECT_THAT(bad[0], HasSubstr("[LogSATProtocolMsg]"));
    // The scan stands on ETX, at index 4; the running sum has lost the received checksum again.
    EXPECT_EQ(bad[1],
              "ERR [cSerialReadBufW]Win ER << pcWork[004]=[03h]CKS ucCkSumCalc[83h] lNext[16384] iPos[0005] "
              "dwBytesRead[0004] Sent NAK:MissMatch!!!!\n");
    EXPECT_THAT(bad[2], HasSubstr("[lSerialWriteAck]Win: WR\n\t PC->SAT >>       Sent[15h]NAK\n"));
    EXPECT_EQ(bad[3],
              "WRN [cSerialReadBufW]Win: WR << pcWork[004]=[03h]--- ucCkSumCalc[83h] lNext[16384] iPos[0005] "
              "dwBytesRead[0004] WARNING!!! [iChkPos!=iPos]\n");
    EXPECT_THAT(ProtocolLog(), HasSubstr(" SAT->PC << [<02>AB<84><03>]OK:b\n"));
}

TEST_F(LinkReadFaults, ThreeBadFramesAreThreeNaksAndTheEnd) {
    script.ExpectNak().SendRaw(kBad).ExpectNak().SendRaw(kBad).ExpectNak().SendRaw(kGood);
    line->Send(kBad);
    EXPECT_EQ(Read(), -1);
    EXPECT_EQ(Shown(script.received), "<15><15><15>");
    EXPECT_EQ(reply[0], '\0');
    EXPECT_EQ(
        Log().back(),
        "INF [cSerialReadBufW]Win ER iChkPos[0004] iPos[0005] lNext[16384] liDifTime:iTimeout[0:100]FAIL "
        "TOO MANY ERRORS!!!\n");
}

TEST_F(LinkReadFaults, TheSecondResendMayStillBeGood) {
    script.ExpectNak().SendRaw(kBad).ExpectNak().SendRaw(kGood).ExpectAck();
    line->Send(kBad);
    EXPECT_EQ(Read(), 4);
    EXPECT_STREQ(reply, "AB");
}

TEST_F(LinkReadFaults, EtxAsSecondByteIsNoFrame) {
    script.ExpectNak().SendRaw(kGood).ExpectAck();
    line->Send("\x02\x03");
    EXPECT_EQ(Read(), 4);
    EXPECT_EQ(Shown(script.received), "<15><06>");
}

TEST_F(LinkReadFaults, AFirstByteOfEtxTakesThePlaceOfStx) {
    line->Send(
        "\x03"
        "AB\x83\x03");
    EXPECT_EQ(Read(), 4);
    EXPECT_STREQ(reply, "AB");
}

TEST_F(LinkReadFaults, NoReplyIsMinusOneWithoutNak) {
    EXPECT_EQ(Read(10), -1);
    EXPECT_EQ(script.received, "");
    EXPECT_THAT(Log(), ElementsAre("ERR [cSerialReadBufW] ER << pcWork[000]=[00h]xxx ucCkSumCalc[00h]  "
                                   "lNext[16384] iPos[0000] dwBytesRead[0000]\n\t liDifTime[11000] > "
                                   "iTimeout[10000] TIMEOUT!!!!\n"));
}

TEST_F(LinkReadFaults, AStallIsRefusedAndTheFrameExpectedFromItsStart) {
    script.ExpectNak().SendRaw(kGood).ExpectAck();
    line->Send(
        "\x02"
        "A");
    EXPECT_EQ(Read(), 4);
    EXPECT_STREQ(reply, "AB");
    EXPECT_EQ(Shown(script.received), "<15><06>");
    const std::vector<std::string> lines = LogOf("cSerialReadBufW");
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[0],
              "WRN [cSerialReadBufW]Win: ER iChkPos[0002] iPos[0002] lNext[16384] "
              "liDifTime:iTimeout[1000:100]TIMEOUT!! >> Send NAK\n");
}

TEST_F(LinkReadFaults, ThreeStallsAreThreeNaksAndTheEnd) {
    script.ExpectNak()
        .SendRaw(
            "\x02"
            "A")
        .ExpectNak()
        .SendRaw(
            "\x02"
            "A")
        .ExpectNak()
        .SendRaw(kGood);
    line->Send(
        "\x02"
        "A");
    EXPECT_EQ(Read(), -1);
    EXPECT_EQ(Shown(script.received), "<15><15><15>");
    EXPECT_THAT(Log().back(), HasSubstr("INF [cSerialReadBufW]Win ER iChkPos[0002] iPos[0002] lNext[16384] "
                                        "liDifTime:iTimeout["));
    EXPECT_THAT(Log().back(), HasSubstr(":2000]FAIL TOO MANY ERRORS!!!\n"));
}

TEST_F(LinkReadFaults, StallsAndBadChecksumsShareTheThreeAttempts) {
    script.ExpectNak()
        .SendRaw(
            "\x02"
            "A")
        .ExpectNak()
        .SendRaw(kBad)
        .ExpectNak()
        .SendRaw(kGood);
    line->Send(kBad);
    EXPECT_EQ(Read(), -1);
    EXPECT_EQ(Shown(script.received), "<15><15><15>");
}

TEST_F(LinkReadFaults, ABytelessReadOfTheBodyTakesAMillisecondAByteBeforeTheLimitIsLookedAt) {
    script.ExpectNak();
    BeginSecond();
    line->Send("\x02");
    const int64_t start = NowMs();
    Read();
    // A read of 257 bytes takes 258 ms; the limit of 100 ms is seen at the first read that ends in another
    // second of the clock, and then the resent frame has up to three seconds.
    EXPECT_GE(NowMs() - start, 1000 + 2000);
    EXPECT_EQ(Shown(script.received), "<15>");
}

TEST_F(LinkReadFaults, AfterABadChecksumTheResentFrameMustComeWithinTheClocksSecond) {
    // The wait of 100 ms is not set back to the caller's 10 s.
    BeginSecond(200);
    script.ExpectNak().SendRaw(kGood, 700'000).ExpectAck();
    line->Send(kBad);
    EXPECT_EQ(Read(10), 4);

    Load();
    SetUp();
    BeginSecond(200);
    sim::ScriptedDevice late;
    late.ExpectNak().SendRaw(kGood, 850'000);
    line->Attach(&late);
    line->Send(kBad);
    const int64_t start = NowMs();
    EXPECT_EQ(Read(10), -1);
    // At once: neither further attempts nor another NAK.
    EXPECT_EQ(Shown(late.received), "<15>");
    EXPECT_LE(NowMs() - start, 810);
    EXPECT_EQ(Log().back(),
              "ERR [cSerialReadBufW] ER << pcWork[000]=[00h]xxx ucCkSumCalc[00h]  lNext[16384] "
              "iPos[0000] dwBytesRead[0000]\n\t liDifTime[1000] > iTimeout[100] TIMEOUT!!!!\n");
}

TEST_F(LinkReadFaults, AfterAStallTheResentFrameMayTakeUntilTheThirdSecond) {
    // The stall is noticed at the first second's boundary or up to 258 ms behind it.
    BeginSecond();
    script.ExpectNak().SendRaw(kGood, 2'600'000).ExpectAck();
    line->Send(
        "\x02"
        "A");
    EXPECT_EQ(Read(10), 4);

    Load();
    SetUp();
    BeginSecond();
    sim::ScriptedDevice late;
    late.ExpectNak().SendRaw(kGood, 3'100'000);
    line->Attach(&late);
    line->Send(
        "\x02"
        "A");
    EXPECT_EQ(Read(10), -1);
    EXPECT_EQ(Shown(late.received), "<15>");
    EXPECT_THAT(Log().back(), HasSubstr("liDifTime[3000] > iTimeout[2000] TIMEOUT!!!!\n"));
}

TEST_F(LinkReadFaults, ALateAttemptThatBeginsHasHundredMillisecondsForItsBodyAgain) {
    BeginSecond();
    script.ExpectNak()
        .SendRaw(
            "\x02"
            "A",
            1'000'000)
        .ExpectNak()
        .SendRaw(kGood)
        .ExpectAck();
    line->Send(
        "\x02"
        "A");
    EXPECT_EQ(Read(10), 4);
    size_t stalls = 0;
    for (const std::string& entry : LogOf("cSerialReadBufW"))
        if (entry.find(":100]TIMEOUT!! >> Send NAK") != std::string::npos) ++stalls;
    EXPECT_EQ(stalls, 2U);
}

TEST_F(LinkReadFaults, EachByteOfTheBodyRestartsItsTimeout) {
    // "A" comes just before the second's boundary and its read ends just behind it, so the byteless read that
    // follows ends in another second than the frame began in, and in the same as the last byte.
    BeginSecond();
    line->Send("\x02");
    line->SendAfter(995'000, "A");
    line->SendAfter(1'400'000, "B\x83\x03");
    EXPECT_EQ(Read(10), 4);
    EXPECT_EQ(Shown(script.received), "<06>");
}

TEST_F(LinkReadFaults, AReplyThatTricklesWithoutEndIsGivenUpAfterHalfAnHour) {
    // A byte a second is never a stall; ten thousand of them would take almost three hours.
    for (int second = 0; second < 10000; ++second)
        line->SendAfter(1'000'000LL * second, second == 0 ? "\x02" : "A");
    const int64_t begun = World().clock.NowUs();
    std::vector<char> buffer(20000);
    EXPECT_EQ(cSerialReadBufW(buffer.data(), static_cast<int>(buffer.size()), &hPort, 10), -1);
    const int64_t seconds = (World().clock.NowUs() - begun) / 1'000'000;
    EXPECT_GE(seconds, 1800);
    EXPECT_LE(seconds, 1820);
    EXPECT_THAT(Log().back(), HasSubstr("REPLY WITHOUT END!!!!"));
}

TEST_F(LinkReadFaults, AReplyOfManyMinutesIsTakenWhole) {
    const std::string text(1600, 'A');
    const std::string frame = sim::MakeFrame(text);
    std::vector<char> buffer(4096);
    for (size_t at = 0; at < frame.size(); ++at)
        line->SendAfter(1'000'000LL * static_cast<int64_t>(at), frame.substr(at, 1));
    EXPECT_EQ(cSerialReadBufW(buffer.data(), static_cast<int>(buffer.size()), &hPort, 10),
              static_cast<int>(text.size()) + 2);
    EXPECT_EQ(buffer.data(), text);
}

TEST_F(LinkReadFaults, AShortFrameWhoseFirstByteLooksLikeItsChecksumIsNoFrame) {
    // 0x00 and 0x80 taken from an empty sum give themselves.
    for (const char first : {'\x00', '\x80'}) {
        sim::ScriptedDevice device;
        device.ExpectNak().SendRaw(kGood).ExpectAck();
        line->Attach(&device);
        line->Send(std::string(1, first) + "\x03");
        EXPECT_EQ(Read(), 4);
        EXPECT_EQ(Shown(device.received), "<15><06>");
    }
}

TEST_F(LinkReadFaults, AnUnpluggedPortIsAStallThenSilence) {
    line->Send(
        "\x02"
        "A");
    World().clock.After(50'000, [] { World().ports.Unplug("\\\\?\\COM7"); });
    EXPECT_EQ(Read(10), -1);
    EXPECT_LT(NowMs(), 15000);
}

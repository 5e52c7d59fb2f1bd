#include "api_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

/** One reply frame from the device, as it should be. */
class LinkRead : public Api {
  protected:
    void SetUp() override {
        Load();
        line = &OpenPort(&script);
    }

    /** Reads a reply; `reply` is the text that was handed over, with the zeros behind it. */
    int Read(int seconds = 10, size_t size = 256) {
        reply.assign(size, '#');
        return cSerialReadBufW(reply.data(), static_cast<int>(size), &hPort, seconds);
    }
    std::string Text() const { return reply.substr(0, reply.find('\0')); }

    static std::string Port() { return Hex8(hPort); }

    std::string reply;
    sim::ScriptedDevice script;
    sim::Line* line = nullptr;
};

TEST_F(LinkRead, HandsTheTextOverAndReturnsTheIndexOfEtx) {
    line->Send(
        "\x02"
        "AB\x83\x03");
    EXPECT_EQ(Read(), 4);
    EXPECT_EQ(Text(), "AB");
    EXPECT_EQ(Shown(script.received), "<06>");
}

TEST_F(LinkRead, AnEmptyTextFitsABufferForItsTerminatorAlone) {
    line->Send(sim::MakeFrame(""));
    EXPECT_EQ(Read(10, 1), 2);
    EXPECT_EQ(reply, std::string(1, '\0'));
}

TEST_F(LinkRead, TheWholeBufferIsClearedFirst) {
    line->Send(
        "\x02"
        "AB\x83\x03");
    Read();
    EXPECT_EQ(FirstNonZero(reply.data(), 2, reply.size()), reply.size());
    EXPECT_EQ(Read(0), -1);
    EXPECT_EQ(FirstNonZero(reply.data(), 0, reply.size()), reply.size());
}

TEST_F(LinkRead, AReplyIsTakenApartOnlyWhenTheLogTakesItsWarnings) {
    for (const char mode : {'0', '1', '2', '3'}) {
        LogAtMode(mode);
        line->Send(sim::MakeFrame("AB|C"));
        const uint64_t before = World().faults.Count(sim::Call::Alloc);
        EXPECT_EQ(Read(), 6);
        // The protocol's line, and the copy that the fields are taken from.
        EXPECT_EQ(World().faults.Count(sim::Call::Alloc) - before, mode >= '2' ? 2U : 1U) << mode;
    }
}

TEST_F(LinkRead, LogsTheFrameThenItsFieldsThenTheAcknowledgementThenTheProtocol) {
    LogAtMode('5');
    CreateSAT_ProtLogFile();
    ClearLog();
    line->Send(sim::MakeFrame("AB|C"));
    EXPECT_EQ(Read(), 6);
    std::vector<std::string> functions;
    for (const std::string& entry : Log()) {
        const std::string function = entry.substr(5, entry.find(']') - 5);
        if (functions.empty() || functions.back() != function) functions.push_back(function);
    }
    EXPECT_THAT(functions, ElementsAre("cSerialReadBufW", "SAT_API_RspPktParcer", "lSerialWriteAck",
                                       "LogSATProtocolMsg"));
    EXPECT_THAT(LogOf("cSerialReadBufW"),
                ElementsAre("WRN [cSerialReadBufW]Win:OK: liDifTime[0] iTimeout[100]  hC[" + Port() +
                            "h]Rcvd ucCkSumCalc[42h] iChkPos[00007]\n\tSAT->DLL <<  "
                            "TmpSatPkt[00007:\x02"
                            "AB|C\x42\x03]\n"));
    EXPECT_THAT(ProtocolLog(), HasSubstr(" SAT->PC << [<02>AB|C<42><03>]OK:b\n"));
}

TEST_F(LinkRead, AFrameOfMoreThanAThousandBytesIsLoggedAbridged) {
    StartLog();
    std::string text;
    while (text.size() < 998)
        text += std::to_string(text.size()) + ";";
    text.resize(998);
    const std::string frame = sim::MakeFrame(text);
    line->Send(frame);
    EXPECT_EQ(Read(10, 4096), 1000);
    char checksum[8];
    snprintf(checksum, sizeof checksum, "%02X", sim::FrameChecksum(text));
    EXPECT_EQ(Shown(LogOf("cSerialReadBufW")[0]),
              Shown("WRN [cSerialReadBufW]Win:OK: liDifTime[0] iTimeout[100]  hC[" + Port() +
                    "h]Rcvd ucCkSumCalc[" + checksum +
                    "h] iChkPos[01001]**BIG_RSP_PKT\n\tSAT->DLL <<  TmpSatPkt[01001:" + frame.substr(0, 900) +
                    "....***BIG_RSP_PKT***...." + frame.substr(901) + "]\n"));
    ClearLog();
    text.pop_back();
    line->Send(sim::MakeFrame(text));
    EXPECT_EQ(Read(10, 4096), 999);
    EXPECT_THAT(LogOf("cSerialReadBufW")[0], HasSubstr("iChkPos[01000]\n\tSAT->DLL <<  TmpSatPkt[01000:"));
    EXPECT_THAT(LogOf("cSerialReadBufW")[0], testing::Not(HasSubstr("BIG_RSP_PKT")));
}

TEST_F(LinkRead, ThereIsNoHuntForStx) {
    StartLog();
    // The first byte is kept in the place of STX and is not summed.
    line->Send("?AB\x83\x03");
    EXPECT_EQ(Read(), 4);
    EXPECT_EQ(Text(), "AB");
    EXPECT_EQ(LogOf("cSerialReadBufW")[0],
              "WRN [cSerialReadBufW]Win: WR << pcWork[000]=[3Fh]??? ucCkSumCalc[00h] lNext[16384] iPos[0000] "
              "dwBytesRead[0001]EXPECTED STX!!!!\n");
}

TEST_F(LinkRead, AByteTooManyInFrontSpoilsTheFrame) {
    // STX behind it is then text, so the checksum does not match.
    script.ExpectNak();
    line->Send(
        "?\x02"
        "AB\x83\x03");
    EXPECT_EQ(Read(), -1);
    EXPECT_EQ(Shown(script.received), "<15>");
}

TEST_F(LinkRead, AChecksumOfFourStandsForThree) {
    line->Send("\x02\x7F\x84\x04\x03");
    EXPECT_EQ(Read(), 4);
    EXPECT_EQ(Text(), "\x7F\x84");
}

TEST_F(LinkRead, AChecksumOfZeroIsAccepted) {
    line->Send(std::string("\x02\x80\x80\x00\x03", 5));
    EXPECT_EQ(Read(), 4);
    EXPECT_EQ(Text(), "\x80\x80");
}

TEST_F(LinkRead, AnEmptyTextIsAFrame) {
    line->Send(std::string("\x02\x00\x03", 3));
    EXPECT_EQ(Read(), 2);
    EXPECT_EQ(Text(), "");
}

TEST_F(LinkRead, BytesBehindEtxInTheSameReadAreIgnored) {
    LogAtMode('5');
    CreateSAT_ProtLogFile();
    ClearLog();
    line->Send(sim::MakeFrame("AB") + sim::MakeFrame("CD"));
    EXPECT_EQ(Read(), 4);
    EXPECT_EQ(Text(), "AB");
    EXPECT_EQ(Shown(script.received), "<06>");
    // They are gone: they were read together with the frame, and no log shows them.
    EXPECT_EQ(line->Pending(), 0U);
    EXPECT_THAT(Shown(LogOf("cSerialReadBufW")[0]), HasSubstr("TmpSatPkt[00005:<02>AB<83><03>]\n"));
    EXPECT_THAT(ProtocolLog(), HasSubstr(" SAT->PC << [<02>AB<83><03>]OK:b\n"));
}

TEST_F(LinkRead, AFrameThatDribblesInIsPutTogether) {
    line->SetBaud(1200);
    const std::string text(200, 'q');
    line->Send(sim::MakeFrame(text));
    EXPECT_EQ(Read(), 202);
    EXPECT_EQ(Text(), text);
    EXPECT_EQ(Shown(script.received), "<06>");
}

TEST_F(LinkRead, TheBodyIsReadToTheBlocksEndInOneCall) {
    World().faults.TraceOn({sim::Call::PortRead});
    line->Send(sim::MakeFrame("AB"));
    Read();
    EXPECT_THAT(World().faults.trace, ElementsAre("PortRead 1", "PortRead 257"));
    World().faults.trace.clear();
    line->Send(sim::MakeFrame("AB"));
    Read(10, 100000);
    EXPECT_THAT(World().faults.trace, ElementsAre("PortRead 1", "PortRead 16383"));
}

TEST_F(LinkRead, AnAcknowledgementThatCannotBeSentIsIgnored) {
    line->Send(
        "\x02"
        "AB\x83\x03");
    line->AcceptAtMost(0);
    EXPECT_EQ(Read(), 4);
    EXPECT_EQ(Text(), "AB");
}

TEST_F(LinkRead, ReadErrorsAreOnlyBytelessReads) {
    line->Send(
        "\x02"
        "AB\x83\x03");
    World().faults.FailNth(sim::Call::PortRead, 1, 50);
    World().faults.FailNth(sim::Call::PortRead, 52, 5);
    EXPECT_EQ(Read(), 4);
    EXPECT_EQ(Text(), "AB");
}

TEST_F(LinkRead, AReplyThatJustFitsTheBufferIsAccepted) {
    line->Send(sim::MakeFrame("ABCDEFG"));
    EXPECT_EQ(Read(10, 8), 9);
    EXPECT_EQ(reply, std::string("ABCDEFG\0", 8));
}

TEST_F(LinkRead, AReplyThatDoesNotFitTheBufferIsRefusedThreeTimes) {
    script.ExpectNak().SendRaw(sim::MakeFrame("ABCDEFGH")).ExpectNak().SendRaw(sim::MakeFrame("ABCDEFGH"));
    script.ExpectNak();
    line->Send(sim::MakeFrame("ABCDEFGH"));
    EXPECT_EQ(Read(10, 8), -1);
    EXPECT_EQ(Shown(script.received), "<15><15><15>");
    EXPECT_EQ(reply, std::string(8, '\0'));
}

TEST_F(LinkRead, BadArgumentsAreRefused) {
    StartLog();
    char text[8];
    EXPECT_EQ(cSerialReadBufW(nullptr, 8, &hPort, 1), -1);
    EXPECT_EQ(cSerialReadBufW(text, 0, &hPort, 1), -1);
    EXPECT_EQ(cSerialReadBufW(text, 8, nullptr, 1), -1);
    EXPECT_EQ(World().faults.Count(sim::Call::PortRead), 0U);
    EXPECT_THAT(
        LogOf("cSerialReadBufW"),
        testing::Contains(
            "ERR [cSerialReadBufW]Win: rc[-00001]ER:INVALID_PARAM pcBuf[00000000h] iBufSz[8] phComm[" +
            Hex8(reinterpret_cast<plat_handle>(&hPort)) + "h]\n"));
}

TEST_F(LinkRead, TimeoutsBeyondThirtyTwoBitsOfMillisecondsAreTheLongestThatFit) {
    // 2147484 s are more milliseconds than fit; multiplied without care they would be over at once.
    line->SendAfter(3000LL * 1000 * 1000,
                    "\x02"
                    "AB\x83\x03");
    EXPECT_EQ(Read(2147484), 4);
    line->SendAfter(3000LL * 1000 * 1000,
                    "\x02"
                    "AB\x83\x03");
    EXPECT_EQ(Read(INT32_MAX), 4);
}

TEST_F(LinkRead, ANegativeTimeoutIsOverAtOnce) {
    EXPECT_EQ(Read(-1), -1);
    EXPECT_EQ(Read(INT32_MIN), -1);
    EXPECT_LT(NowMs(), 1000);
}

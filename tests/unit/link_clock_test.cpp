#include "api_fixture.h"

/** The clock of the link and its coarse measure. */
class LinkClock : public Api {
  protected:
    static std::pair<int, int> Read() {
        tLinkTime now = {-1, -1};
        EXPECT_EQ(getMonotonicTime(1, &now), 0);
        return {now.iSeconds, now.iMicroseconds};
    }
    using Time = std::pair<int, int>;
};

TEST_F(LinkClock, CountsSecondsAndMicrosecondsFromItsFirstUse) {
    World().clock.Advance(123456);
    EXPECT_EQ(Read(), Time(0, 0));
    World().clock.AdvanceUs(999999);
    EXPECT_EQ(Read(), Time(0, 999999));
    World().clock.AdvanceUs(1);
    EXPECT_EQ(Read(), Time(1, 0));
    World().clock.AdvanceUs(86400LL * 1000000 + 5);
    EXPECT_EQ(Read(), Time(86401, 5));
}

TEST_F(LinkClock, IgnoresItsFirstArgument) {
    tLinkTime now = {-1, -1};
    EXPECT_EQ(getMonotonicTime(-77, &now), 0);
    EXPECT_EQ(now.iSeconds, 0);
}

TEST_F(LinkClock, AsksForTheFrequencyOnce) {
    for (int i = 0; i < 5; ++i)
        Read();
    EXPECT_EQ(World().faults.Count(sim::Call::CounterFrequency), 1U);
    EXPECT_EQ(World().faults.Count(sim::Call::SystemTime), 0U);
}

TEST_F(LinkClock, KeepsMicrosecondsAtAnyFrequencyOfTheCounter) {
    for (const int64_t frequency : {1000000LL, 3579545LL, 10000000LL, 2400000000LL}) {
        SCOPED_TRACE(frequency);
        Load();
        World().clock.SetCounterFrequency(frequency);
        Read();
        World().clock.AdvanceUs(2500000);
        const auto [seconds, microseconds] = Read();
        EXPECT_EQ(seconds, 2);
        EXPECT_NEAR(microseconds, 500000, 1);
    }
}

TEST_F(LinkClock, TruncatesToTheMicrosecond) {
    // At 4 ticks a second one tick is a quarter of a second; at 3 it is 333333.3 microseconds.
    World().clock.SetCounterFrequency(3);
    Read();
    World().clock.AdvanceUs(700000);
    EXPECT_EQ(Read(), Time(0, 666666));
}

TEST_F(LinkClock, TheCalendarDoesNotMoveIt) {
    Read();
    World().clock.SetUtc(2001, 1, 1, 0, 0, 0);
    World().clock.AdvanceUs(1500000);
    EXPECT_EQ(Read(), Time(1, 500000));
}

TEST_F(LinkClock, WithoutACounterTheSystemTimeCountsFrom1970) {
    StartLog();
    World().clock.SetCounterFrequency(0);
    World().clock.SetUtc(2026, 11, 20, 15, 4, 5, 678);
    EXPECT_EQ(Read(), Time(1795187045, 678000));
    World().clock.AdvanceUs(322001);
    EXPECT_EQ(Read(), Time(1795187046, 1));
    EXPECT_EQ(World().faults.Count(sim::Call::Counter), 0U);
    const std::vector<std::string> lines = LogOf("getFILETIMEoffset");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_THAT(lines[0], testing::AllOf(testing::StartsWith("INF "), testing::HasSubstr("1970"),
                                         testing::HasSubstr("01-01")));
}

TEST_F(LinkClock, TheEpochIsTheSystemTimeOf1970) {
    EXPECT_EQ(getFILETIMEoffset(), 116444736000000000);
}

TEST_F(LinkClock, ElapsedTimeMovesInWholeSecondsAtTheClocksBoundaries) {
    EXPECT_EQ(LinkElapsedMs({0, 0}, {0, 999999}), 0);
    EXPECT_EQ(LinkElapsedMs({0, 999999}, {1, 0}), 1000);
    EXPECT_EQ(LinkElapsedMs({0, 1}, {2, 999999}), 2000);
    EXPECT_EQ(LinkElapsedMs({5, 999999}, {5, 0}), 0);
    EXPECT_EQ(LinkElapsedMs({5, 0}, {3, 0}), -2000);
    EXPECT_EQ(LinkElapsedMs({1, 999999}, {3, 0}), 2000);
}

/** Where in the clock's second a wait begins decides how long a limit of "more than 2000" really is. */
class LinkWait : public Api, public testing::WithParamInterface<int> {
  protected:
    /** The clock's first use, so many milliseconds before the wait. */
    static void BeginAtOffset() {
        tLinkTime now;
        getMonotonicTime(1, &now);
        World().clock.Advance(GetParam());
    }
    /** The wait ends when the seconds field has advanced so often; a read or write may run a little past. */
    static void ExpectWaited(int seconds, int64_t start_ms, int64_t slack_ms) {
        const int64_t waited = NowMs() - start_ms;
        EXPECT_GE(waited, seconds * 1000 - GetParam());
        EXPECT_LE(waited, seconds * 1000 - GetParam() + slack_ms);
    }
};

TEST_P(LinkWait, AnAcknowledgementMayTakeTwoToThreeSeconds) {
    OpenPort(nullptr);
    BeginAtOffset();
    const int64_t start = NowMs();
    EXPECT_EQ(cSerialReadAck(&hPort), -1);
    ExpectWaited(3, start, 2);
}

TEST_P(LinkWait, SoItMayOnASystemWithoutACounter) {
    World().clock.SetCounterFrequency(0);
    World().clock.SetUtc(2026, 11, 20, 15, 4, 5, 0);
    OpenPort(nullptr);
    BeginAtOffset();
    const int64_t start = NowMs();
    EXPECT_EQ(cSerialReadAck(&hPort), -1);
    ExpectWaited(3, start, 2);
}

TEST_P(LinkWait, ALateAcknowledgementCountsUntilTheThirdBoundary) {
    sim::Line& line = OpenPort(nullptr);
    BeginAtOffset();
    line.SendAfter((3000 - GetParam() - 2) * 1000, std::string(1, sim::kAck));
    EXPECT_EQ(cSerialReadAck(&hPort), 1);
}

TEST_P(LinkWait, ABlockThatIsNotTakenMayTakeAsLong) {
    OpenPort(nullptr).AcceptAtMost(0);
    BeginAtOffset();
    const int64_t start = NowMs();
    char frame[16] =
        "\x02"
        "AB\x03";
    EXPECT_EQ(cSerialWriteBufW(frame, 4, &hPort), -1007);
    // Each refused write takes its own time-out of a second and 5 ms.
    ExpectWaited(3, start, 1006);
}

TEST_P(LinkWait, TheFirstByteOfAReplyMayTakeTheTimeoutAndUpToASecond) {
    OpenPort(nullptr);
    BeginAtOffset();
    const int64_t start = NowMs();
    char reply[64];
    EXPECT_EQ(cSerialReadBufW(reply, sizeof reply, &hPort, 10), -1);
    ExpectWaited(11, start, 2);
}

INSTANTIATE_TEST_SUITE_P(Offsets, LinkWait, testing::Values(0, 1, 500, 999));

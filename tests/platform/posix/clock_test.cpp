/*
 * The arithmetic of times.
 */
#include "platform/posix/clock.h"

#include <atomic>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>

#include "processes.h"
#include "stopwatch.h"

TEST(UnixClock, ACalendarCountsFromTheYearZeroAndKnowsNoLeapSecond) {
    tm parts = {};
    parts.tm_year = 126;
    parts.tm_mon = 11;
    parts.tm_mday = 31;
    parts.tm_hour = 23;
    parts.tm_min = 58;
    parts.tm_sec = 60;
    plat_calendar calendar = {};
    ComposeCalendar({0, 999999999}, parts, &calendar);
    EXPECT_EQ(calendar.year, 2026);
    EXPECT_EQ(calendar.month, 12);
    EXPECT_EQ(calendar.day, 31);
    EXPECT_EQ(calendar.hour, 23);
    EXPECT_EQ(calendar.minute, 58);
    EXPECT_EQ(calendar.second, 59);
    EXPECT_EQ(calendar.millisecond, 999);
    parts.tm_sec = 58;
    ComposeCalendar({0, 1000000}, parts, &calendar);
    EXPECT_EQ(calendar.second, 58);
    EXPECT_EQ(calendar.millisecond, 1);
}

TEST(UnixClock, ASpanIsSplitIntoSecondsAndNanoseconds) {
    const timespec below = ToTimespec(999999);
    EXPECT_EQ(below.tv_sec, 0);
    EXPECT_EQ(below.tv_nsec, 999999000);
    const timespec whole = ToTimespec(1000000);
    EXPECT_EQ(whole.tv_sec, 1);
    EXPECT_EQ(whole.tv_nsec, 0);
    // Seven weeks in milliseconds, as long as anybody can ask for.
    const timespec longest = ToTimespec(4294967295000);
    EXPECT_EQ(longest.tv_sec, 4294967);
    EXPECT_EQ(longest.tv_nsec, 295000000);
}

TEST(UnixClock, TheNextSecondBeginsBehindTheLastNanosecond) {
    const timespec last = TimeAfter({5, 998999999}, 1000);
    EXPECT_EQ(last.tv_sec, 5);
    EXPECT_EQ(last.tv_nsec, 999999999);
    const timespec next = TimeAfter({5, 999999000}, 1);
    EXPECT_EQ(next.tv_sec, 6);
    EXPECT_EQ(next.tv_nsec, 0);
    const timespec far = TimeAfter({5, 999999999}, 2000001);
    EXPECT_EQ(far.tv_sec, 8);
    EXPECT_EQ(far.tv_nsec, 999);
}

static int64_t Nanoseconds(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

TEST(UnixClock, TheCounterCountsNanosecondsOfTheClockThatIsNeverSet) {
    EXPECT_EQ(plat_counter_frequency(), 1000000000);
    for (int round = 0; round < 100; ++round) {
        const int64_t earlier = Nanoseconds(CLOCK_MONOTONIC);
        const int64_t counter = plat_counter();
        ASSERT_GE(counter, earlier);
        ASSERT_LE(counter, Nanoseconds(CLOCK_MONOTONIC));
    }
}

TEST(UnixClock, TheSystemTimeCountsTenthsOfMicroseconds) {
    constexpr int64_t kEpoch = 116444736000000000;
    for (int round = 0; round < 100; ++round) {
        const int64_t earlier = Nanoseconds(CLOCK_REALTIME) / 100 + kEpoch;
        const int64_t now = plat_system_time();
        ASSERT_GE(now, earlier);
        ASSERT_LE(now, Nanoseconds(CLOCK_REALTIME) / 100 + kEpoch);
    }
}

TEST(UnixClock, ASignalDoesNotShortenASleep) {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    struct sigaction old_action = {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &old_action), 0);
    std::atomic<pid_t> id{0};
    int64_t slept = 0;
    std::thread sleeper([&] {
        const Stopwatch watch;
        id = gettid();
        plat_sleep_ms(60);
        slept = watch.Milliseconds();
    });
    while (id == 0 || !IsAsleep(id)) {
        std::this_thread::yield();
    }
    pthread_kill(sleeper.native_handle(), SIGUSR1);
    sleeper.join();
    EXPECT_GE(slept, 60);
    sigaction(SIGUSR1, &old_action, nullptr);
}

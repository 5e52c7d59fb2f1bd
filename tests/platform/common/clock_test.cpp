#include <ctime>

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "stopwatch.h"

constexpr int64_t kUnixEpoch = 116444736000000000;  // 1970-01-01 in units of 100 ns since 1601
constexpr int64_t kTicksASecond = 10000000;

TEST(Clock, CalendarOfTheUnixEpochIsTheKnownSystemTime) {
    const plat_calendar epoch = {1970, 1, 1, 0, 0, 0, 0};
    EXPECT_EQ(plat_calendar_to_system_time(&epoch), kUnixEpoch);
    const plat_calendar origin = {1601, 1, 1, 0, 0, 0, 0};
    EXPECT_EQ(plat_calendar_to_system_time(&origin), 0);
    const plat_calendar leap_day = {2020, 2, 29, 23, 59, 58, 7};
    EXPECT_EQ(plat_calendar_to_system_time(&leap_day), kUnixEpoch + 1583020798 * kTicksASecond + 70000);
}

TEST(Clock, UtcSystemTimeAndTheRuntimesClockAgree) {
    plat_calendar utc = {};
    plat_utc_now(&utc);
    const int64_t from_calendar = plat_calendar_to_system_time(&utc);
    const int64_t system = plat_system_time();
    const int64_t runtime = kUnixEpoch + static_cast<int64_t>(time(nullptr)) * kTicksASecond;
    EXPECT_NEAR(static_cast<double>(system - from_calendar), 0, 5.0 * kTicksASecond);
    EXPECT_NEAR(static_cast<double>(system - runtime), 0, 5.0 * kTicksASecond);
}

TEST(Clock, LocalTimeIsTheTimeZonesView) {
    plat_calendar local = {};
    const time_t before = time(nullptr);
    plat_local_now(&local);
    tm parts = {};
    parts.tm_year = local.year - 1900;
    parts.tm_mon = local.month - 1;
    parts.tm_mday = local.day;
    parts.tm_hour = local.hour;
    parts.tm_min = local.minute;
    parts.tm_sec = local.second;
    parts.tm_isdst = -1;
    EXPECT_NEAR(static_cast<double>(mktime(&parts) - before), 0, 5);
    EXPECT_GE(local.millisecond, 0);
    EXPECT_LT(local.millisecond, 1000);
}

TEST(Clock, CounterRunsForwardAtItsFrequency) {
    const int64_t frequency = plat_counter_frequency();
    ASSERT_GE(frequency, 1000000);
    const Stopwatch watch;
    const int64_t start = plat_counter();
    int64_t last = start;
    while (watch.Milliseconds() < 20) {
        const int64_t now = plat_counter();
        ASSERT_GE(now, last);
        last = now;
    }
    // Once more, since the last look may have been long ago when the watch was read.
    last = plat_counter();
    EXPECT_GE((last - start) * 1000 / frequency, 18);
    EXPECT_LT((last - start) * 1000 / frequency, kGenerousMs);
}

TEST(Clock, SleepTakesItsTime) {
    const Stopwatch watch;
    plat_sleep_ms(30);
    EXPECT_GE(watch.Milliseconds(), 29);
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
}

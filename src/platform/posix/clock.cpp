/*
 * Clocks and sleeping.
 */
#include "clock.h"

#include <algorithm>
#include <cerrno>

constexpr int64_t kNanosecondsASecond = 1000000000;
constexpr int64_t kSystemTicksASecond = 10000000;  // of 100 ns
constexpr int64_t kSecondsFrom1601To1970 = 11644473600;

void ComposeCalendar(const timespec& now, const tm& parts, plat_calendar* calendar) {
    calendar->year = parts.tm_year + 1900;
    calendar->month = parts.tm_mon + 1;
    calendar->day = parts.tm_mday;
    calendar->hour = parts.tm_hour;
    calendar->minute = parts.tm_min;
    calendar->second = std::min(parts.tm_sec, 59);
    calendar->millisecond = static_cast<int>(now.tv_nsec / 1000000);
}

void plat_utc_now(plat_calendar* now) {
    timespec time = {};
    tm parts = {};
    clock_gettime(CLOCK_REALTIME, &time);
    gmtime_r(&time.tv_sec, &parts);
    ComposeCalendar(time, parts, now);
}

void plat_local_now(plat_calendar* now) {
    timespec time = {};
    tm parts = {};
    clock_gettime(CLOCK_REALTIME, &time);
    localtime_r(&time.tv_sec, &parts);
    ComposeCalendar(time, parts, now);
}

int64_t plat_counter_frequency() {
    return kNanosecondsASecond;
}

int64_t plat_counter() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<int64_t>(time.tv_sec) * kNanosecondsASecond + time.tv_nsec;
}

int64_t plat_system_time() {
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    return (static_cast<int64_t>(time.tv_sec) + kSecondsFrom1601To1970) * kSystemTicksASecond +
           time.tv_nsec / 100;
}

int64_t plat_calendar_to_system_time(const plat_calendar* utc) {
    tm parts = {};
    parts.tm_year = utc->year - 1900;
    parts.tm_mon = utc->month - 1;
    parts.tm_mday = utc->day;
    parts.tm_hour = utc->hour;
    parts.tm_min = utc->minute;
    parts.tm_sec = utc->second;
    const int64_t seconds = timegm(&parts);
    return (seconds + kSecondsFrom1601To1970) * kSystemTicksASecond +
           utc->millisecond * (kSystemTicksASecond / 1000);
}

timespec ToTimespec(uint64_t microseconds) {
    timespec span = {};
    span.tv_sec = static_cast<time_t>(microseconds / 1000000);
    span.tv_nsec = static_cast<long>(microseconds % 1000000) * 1000;
    return span;
}

timespec TimeAfter(const timespec& moment, uint64_t microseconds) {
    timespec after = ToTimespec(microseconds);
    after.tv_sec += moment.tv_sec;
    after.tv_nsec += moment.tv_nsec;
    if (after.tv_nsec >= kNanosecondsASecond) {
        ++after.tv_sec;
        after.tv_nsec -= kNanosecondsASecond;
    }
    return after;
}

void SleepFor(std::chrono::microseconds span) {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const timespec end = TimeAfter(now, static_cast<uint64_t>(span.count()));
    // An absolute end: a signal in between neither shortens nor lengthens the sleep.
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

void plat_sleep_ms(uint32_t milliseconds) {
    SleepFor(std::chrono::milliseconds(milliseconds));
}

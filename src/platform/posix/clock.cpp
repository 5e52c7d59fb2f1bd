/*
 * Clocks and sleeping.
 */
#include <cerrno>
#include <ctime>

#include "../platform.h"

constexpr int64_t kNanosecondsASecond = 1000000000;
constexpr int64_t kSystemTicksASecond = 10000000;  // of 100 ns
constexpr int64_t kSecondsFrom1601To1970 = 11644473600;

static void SplitTime(const timespec& now, const tm& parts, plat_calendar* calendar) {
    calendar->year = parts.tm_year + 1900;
    calendar->month = parts.tm_mon + 1;
    calendar->day = parts.tm_mday;
    calendar->hour = parts.tm_hour;
    calendar->minute = parts.tm_min;
    // A leap second would be the only value that Windows never shows.
    calendar->second = parts.tm_sec < 60 ? parts.tm_sec : 59;
    calendar->millisecond = static_cast<int>(now.tv_nsec / 1000000);
}

void plat_utc_now(plat_calendar* now) {
    timespec time = {};
    tm parts = {};
    clock_gettime(CLOCK_REALTIME, &time);
    gmtime_r(&time.tv_sec, &parts);
    SplitTime(time, parts, now);
}

void plat_local_now(plat_calendar* now) {
    timespec time = {};
    tm parts = {};
    clock_gettime(CLOCK_REALTIME, &time);
    localtime_r(&time.tv_sec, &parts);
    SplitTime(time, parts, now);
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

void plat_sleep_ms(uint32_t milliseconds) {
    timespec end = {};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += milliseconds / 1000;
    end.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
    if (end.tv_nsec >= kNanosecondsASecond) {
        end.tv_sec += 1;
        end.tv_nsec -= kNanosecondsASecond;
    }
    // An absolute end: a signal in between neither shortens nor lengthens the sleep.
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

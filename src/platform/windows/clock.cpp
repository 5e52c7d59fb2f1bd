/*
 * Clocks and sleeping.
 */
#include <windows.h>

#include "../platform.h"

static void CopyTime(const SYSTEMTIME& time, plat_calendar* calendar) {
    calendar->year = time.wYear;
    calendar->month = time.wMonth;
    calendar->day = time.wDay;
    calendar->hour = time.wHour;
    calendar->minute = time.wMinute;
    calendar->second = time.wSecond;
    calendar->millisecond = time.wMilliseconds;
}

static int64_t Ticks(const FILETIME& time) {
    return static_cast<int64_t>(static_cast<uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
}

void plat_utc_now(plat_calendar* now) {
    SYSTEMTIME time = {};
    GetSystemTime(&time);
    CopyTime(time, now);
}

void plat_local_now(plat_calendar* now) {
    SYSTEMTIME time = {};
    GetLocalTime(&time);
    CopyTime(time, now);
}

int64_t plat_counter_frequency() {
    LARGE_INTEGER frequency = {};
    return QueryPerformanceFrequency(&frequency) != 0 ? frequency.QuadPart : 0;
}

int64_t plat_counter() {
    LARGE_INTEGER counter = {};
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
}

int64_t plat_system_time() {
    FILETIME time = {};
    GetSystemTimeAsFileTime(&time);
    return Ticks(time);
}

int64_t plat_calendar_to_system_time(const plat_calendar* utc) {
    SYSTEMTIME calendar = {};
    calendar.wYear = static_cast<WORD>(utc->year);
    calendar.wMonth = static_cast<WORD>(utc->month);
    calendar.wDay = static_cast<WORD>(utc->day);
    calendar.wHour = static_cast<WORD>(utc->hour);
    calendar.wMinute = static_cast<WORD>(utc->minute);
    calendar.wSecond = static_cast<WORD>(utc->second);
    calendar.wMilliseconds = static_cast<WORD>(utc->millisecond);
    FILETIME time = {};
    SystemTimeToFileTime(&calendar, &time);
    return Ticks(time);
}

void plat_sleep_ms(uint32_t milliseconds) {
    Sleep(milliseconds);
}

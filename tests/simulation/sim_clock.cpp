#include "sim_clock.h"

#include <algorithm>
#include <utility>

namespace sim {

namespace {

constexpr int64_t kUsPerSecond = 1'000'000;
constexpr int64_t kUsPerDay = 86'400 * kUsPerSecond;

/** The counter does not start at 0, as no real one does. */
constexpr int64_t kCounterStart = 123'456'789;

constexpr int64_t FloorDivide(int64_t value, int64_t by) {
    return value >= 0 ? value / by : -((-value + by - 1) / by);
}

}  // namespace

// Both ways count in eras of 400 years whose years begin in March, so that the leap day comes last.

int64_t DaysFromDate(int64_t year, int month, int day) {
    const int64_t shifted_year = month > 2 ? year : year - 1;
    const int64_t era = FloorDivide(shifted_year, 400);
    const int64_t year_of_era = shifted_year - era * 400;
    const int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
    return era * 146'097 + day_of_era - 719'468;
}

void DateFromDays(int64_t days, plat_calendar* calendar) {
    const int64_t shifted = days + 719'468;
    const int64_t era = FloorDivide(shifted, 146'097);
    const int64_t day_of_era = shifted - era * 146'097;
    const int64_t year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36'524 - day_of_era / 146'096) / 365;
    const int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const int64_t month_from_march = (5 * day_of_year + 2) / 153;
    calendar->day = static_cast<int>(day_of_year - (153 * month_from_march + 2) / 5 + 1);
    calendar->month = static_cast<int>(month_from_march < 10 ? month_from_march + 3 : month_from_march - 9);
    calendar->year = static_cast<int>(year_of_era + era * 400 + (calendar->month <= 2 ? 1 : 0));
}

void Clock::SetUtc(int year, int month, int day, int hour, int minute, int second, int millisecond) {
    const int64_t seconds = ((int64_t{hour} * 60) + minute) * 60 + second;
    const int64_t utc_us =
        DaysFromDate(year, month, day) * kUsPerDay + seconds * kUsPerSecond + int64_t{millisecond} * 1000;
    utc_offset_us_ = utc_us - now_us_;
}

bool Clock::Later(const Timer& a, const Timer& b) {
    return a.at_us != b.at_us ? a.at_us > b.at_us : a.order > b.order;
}

void Clock::At(int64_t at_us, std::function<void()> action) {
    timers_.push_back({at_us, next_order_++, std::move(action)});
    std::push_heap(timers_.begin(), timers_.end(), Later);
}

void Clock::RunTo(int64_t at_us) {
    while (!timers_.empty() && timers_.front().at_us <= at_us) {
        std::pop_heap(timers_.begin(), timers_.end(), Later);
        Timer timer = std::move(timers_.back());
        timers_.pop_back();
        now_us_ = std::max(now_us_, timer.at_us);
        timer.action();
    }
    now_us_ = std::max(now_us_, at_us);
}

void Clock::Sleep(uint32_t milliseconds) {
    slept_ms_ += milliseconds;
    ++sleeps_;
    Advance(milliseconds);
    if (on_sleep) on_sleep(milliseconds);
}

plat_calendar Clock::Calendar(bool local) const {
    const int64_t us = UtcUs() + (local ? int64_t{zone_minutes_} * 60 * kUsPerSecond : 0);
    const int64_t days = FloorDivide(us, kUsPerDay);
    const int64_t milliseconds = (us - days * kUsPerDay) / 1000;
    plat_calendar calendar{};
    DateFromDays(days, &calendar);
    calendar.hour = static_cast<int>(milliseconds / 3'600'000);
    calendar.minute = static_cast<int>(milliseconds / 60'000 % 60);
    calendar.second = static_cast<int>(milliseconds / 1000 % 60);
    calendar.millisecond = static_cast<int>(milliseconds % 1000);
    return calendar;
}

int64_t Clock::Counter() const {
    // Split so that years of virtual time do not overflow.
    const int64_t seconds = now_us_ / kUsPerSecond;
    const int64_t rest_us = now_us_ % kUsPerSecond;
    return kCounterStart + seconds * counter_frequency_ + rest_us * counter_frequency_ / kUsPerSecond;
}

}  // namespace sim

#include "moment.h"

#include "fiscal_key.h"

namespace emulator {

namespace {

using std::chrono::days;

int NumberAt(std::string_view text, size_t at, size_t count) {
    int number = 0;
    for (const char digit : text.substr(at, count)) {
        number = number * 10 + (digit - '0');
    }
    return number;
}

}  // namespace

std::string DateText(LocalTime time) {
    const std::chrono::year_month_day date(std::chrono::floor<days>(time));
    return Padded(static_cast<int>(date.year()), 4) + Padded(static_cast<unsigned>(date.month()), 2) +
           Padded(static_cast<unsigned>(date.day()), 2);
}

std::string TimeText(LocalTime time) {
    const std::chrono::hh_mm_ss<std::chrono::seconds> clock(time - std::chrono::floor<days>(time));
    return Padded(clock.hours().count(), 2) + Padded(clock.minutes().count(), 2) +
           Padded(clock.seconds().count(), 2);
}

std::string TimeStamp(LocalTime time) {
    return DateText(time) + TimeText(time);
}

bool ParseTimeStamp(std::string_view text, LocalTime* time) {
    if (!IsDigits(text, 14)) return false;
    const std::chrono::year_month_day date(std::chrono::year(NumberAt(text, 0, 4)),
                                           std::chrono::month(static_cast<unsigned>(NumberAt(text, 4, 2))),
                                           std::chrono::day(static_cast<unsigned>(NumberAt(text, 6, 2))));
    const int hour = NumberAt(text, 8, 2);
    const int minute = NumberAt(text, 10, 2);
    const int second = NumberAt(text, 12, 2);
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) return false;
    *time = std::chrono::local_days(date) + std::chrono::hours(hour) + std::chrono::minutes(minute) +
            std::chrono::seconds(second);
    return true;
}

}  // namespace emulator

#include "notice.h"

#include "../../src/vko_sat_utils/return_codes.h"

namespace emulator {

namespace {

constexpr int UPDATE_PENDING = 1;
constexpr int UPDATE_IN_FIVE_DAYS = 2;
constexpr int UPDATE_IN_A_DAY = 3;
constexpr int CODES_TRIED = 4;
constexpr int CLOCK_SET_BACK = 5;
constexpr int MAINTENANCE = 999;

// The date and the end of the maintenance stand in its text: 2020-03-19, 23:00.
constexpr LocalTime MAINTENANCE_END =
    std::chrono::local_days(std::chrono::year(2020) / 3 / 19) + std::chrono::hours(23);

int UpdateNotice(LocalTime due, LocalTime now) {
    if (now > due - std::chrono::hours(24)) return UPDATE_IN_A_DAY;
    if (now > due - std::chrono::days(5)) return UPDATE_IN_FIVE_DAYS;
    return now > due - std::chrono::days(30) ? UPDATE_PENDING : 0;
}

int CodeOf(const Device& device, LocalTime now) {
    if (device.settings.notice != 0) return device.settings.notice;
    if (device.wrong_codes >= MOST_WRONG_CODES) return CODES_TRIED;
    if (!device.last_key.empty() && now < device.last_issued) return CLOCK_SET_BACK;
    if (device.update_due != LocalTime{}) {
        const int update = UpdateNotice(device.update_due, now);
        if (update != 0) return update;
    }
    return now <= MAINTENANCE_END && now > MAINTENANCE_END - std::chrono::days(7) ? MAINTENANCE : 0;
}

const char* TextOfCode(int code) {
    const tEmuSefazMsgRow* row = tEmuSefazMsgTbl;
    while (row->pMessage != nullptr && row->iCode != code) {
        ++row;
    }
    return row->pMessage;
}

}  // namespace

Notice NoticeOf(const Device& device, LocalTime now) {
    const int code = CodeOf(device, now);
    const char* text = TextOfCode(code);
    return text == nullptr ? Notice{} : Notice{code, text};
}

bool IsNotice(int code) {
    return TextOfCode(code) != nullptr;
}

}  // namespace emulator

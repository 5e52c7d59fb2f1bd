/* The capture over the real log writer on the simulated platform: lines are read back from the log file. */
#include "captured_log.h"
#include "sim_platform.h"

namespace {

/** The day's log of the utility library, whatever day it is. */
std::string LogText() {
    const std::string ending = std::string("_") + gl_pLogBaseName;
    for (const std::string& name : sim::world().files.List("C:\\app")) {
        if (name.size() > ending.size() &&
            name.compare(name.size() - ending.size(), ending.size(), ending) == 0) {
            return sim::world().files.Text("C:\\app\\" + name);
        }
    }
    return "";
}

unsigned LevelOfTag(const std::string& tag) {
    return tag == "ERR"   ? VKO_LOG_ERR
           : tag == "WRN" ? VKO_LOG_WRN
           : tag == "INF" ? VKO_LOG_INF
           : tag == "TRC" ? VKO_LOG_TRC
                          : 0;
}

}  // namespace

void CapturedLog::Start(char mode) {
    sim::world().Reset();
    gl_tLogSettings = {};
    gl_tLogFlags = {};
    int32_t* const flags[] = {nullptr,
                              &gl_tLogFlags.iError,
                              &gl_tLogFlags.iWarning,
                              &gl_tLogFlags.iInfoB,
                              &gl_tLogFlags.iTrace,
                              &gl_tLogFlags.iDebug};
    if (mode != '0') {
        *flags[mode - '0'] = 1;
    }
}

std::vector<LogLine> CapturedLog::Lines() const {
    // A line begins with its time. What a message says over several lines stays one line here.
    static const std::string digits = "0123456789";
    const std::string text = LogText();
    const auto begins_line = [&text](size_t at) {
        static const std::string pattern = "[dd:dd:dd.ddd]";
        for (size_t i = 0; i < pattern.size(); i++) {
            const char have = at + i < text.size() ? text[at + i] : '\0';
            if (pattern[i] == 'd' ? digits.find(have) == std::string::npos : have != pattern[i]) {
                return false;
            }
        }
        return at == 0 || text[at - 1] == '\n';
    };
    constexpr size_t time_length = 14;
    constexpr size_t tag_length = 3;
    std::vector<LogLine> lines;
    for (size_t begin = 0; begin < text.size();) {
        size_t end = begin + 1;
        while (end < text.size() && !begins_line(end)) {
            const size_t line_end = text.find('\n', end);
            end = line_end == std::string::npos ? text.size() : line_end + 1;
        }
        const std::string tag = text.substr(begin + time_length, tag_length);
        const size_t message = begin + time_length + tag_length + 1;
        lines.push_back(TakeApart(LevelOfTag(tag), text.substr(message, end - message)));
        begin = end;
    }
    return lines;
}

void CapturedLog::FailAllocations(bool fail) {
    if (fail) {
        sim::world().faults.FailAlways(sim::Call::Alloc);
    } else {
        sim::world().faults.Clear();
    }
}

int64_t CapturedLog::LiveAllocations() const {
    return sim::world().LiveAllocations();
}

void CapturedLog::SetUnixMilliseconds(int64_t milliseconds) {
    const int64_t days = milliseconds / 86400000;
    const auto rest = static_cast<int>(milliseconds % 86400000);
    plat_calendar date = {};
    sim::DateFromDays(days, &date);
    sim::world().clock.SetUtc(date.year, date.month, date.day, rest / 3600000, rest / 60000 % 60,
                              rest / 1000 % 60, rest % 1000);
}

std::string CapturedLog::Printed() const {
    return sim::world().printed;
}

#include "log_lines.h"

#include <chrono>
#include <cstdio>
#include <ctime>

#include "reply.h"
#include "text.h"

namespace tool {

namespace {

constexpr int64_t MS_A_SECOND = 1000;
constexpr int64_t MS_A_MINUTE = 60 * MS_A_SECOND;
constexpr int64_t MS_AN_HOUR = 3600 * MS_A_SECOND;
constexpr int64_t MS_A_DAY = 24 * MS_AN_HOUR;
constexpr size_t STAMP_SIZE = 17;  // "[HH:MM:SS.mmm]LLL"
constexpr std::string_view STAMP_FORM = "[00:00:00.000]AAA";

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsStamp(std::string_view line) {
    if (line.size() < STAMP_SIZE) return false;
    for (size_t at = 0; at < STAMP_SIZE; ++at) {
        const char form = STAMP_FORM[at];
        const bool letter = (line[at] >= 'A' && line[at] <= 'Z') || (line[at] >= 'a' && line[at] <= 'z');
        const bool fits = form == '0' ? IsDigit(line[at]) : form == 'A' ? letter : line[at] == form;
        if (!fits) return false;
    }
    return true;
}

// 21 to 24 are the hours 0 to 3 of UTC; the rest lies three hours behind it.
int UtcHour(int shown) {
    return shown >= 21 ? shown - 21 : shown + 3;
}

int64_t StampTime(std::string_view line, std::string_view utc_day, LocalTimeRule local) {
    const int64_t in_day = UtcHour(NumberOf(line.substr(1, 2))) * MS_AN_HOUR +
                           NumberOf(line.substr(4, 2)) * MS_A_MINUTE +
                           NumberOf(line.substr(7, 2)) * MS_A_SECOND + NumberOf(line.substr(10, 3));
    return local(DayStart(utc_day) + in_day);
}

// Skips "[0083] ", the line number that every format begins with.
std::string_view BehindLineNumber(std::string_view rest) {
    const size_t end = rest.find(']');
    return rest.substr(0, 1) == "[" && end != std::string_view::npos && end <= 6 ? rest.substr(end + 1)
                                                                                 : rest;
}

std::string_view WithoutBlanks(std::string_view text) {
    const size_t from = text.find_first_not_of(' ');
    return from == std::string_view::npos ? std::string_view() : text.substr(from);
}

// Splits "[../src/api/ZANTIR] [Communicate]text", or the same without brackets, or the routine alone.
void ReadFunction(std::string_view rest, DiagnosticEntry* entry) {
    rest = WithoutBlanks(BehindLineNumber(WithoutBlanks(rest)));
    const bool bracketed = rest.substr(0, 4) == "[../";
    if (bracketed || rest.substr(0, 3) == "../") {
        const size_t end = rest.find(bracketed ? ']' : ' ');
        rest = WithoutBlanks(rest.substr(std::min(end, rest.size() - 1) + 1));
    }
    const bool bracket = rest.substr(0, 1) == "[";
    const size_t end = std::min(rest.find_first_of(bracket ? "]" : " \n"), rest.size());
    entry->function = rest.substr(bracket ? 1 : 0, bracket && end > 0 ? end - 1 : end);
    entry->text = Trimmed(rest.substr(std::min(end + 1, rest.size())));
}

// Whether a line of the protocol log begins an entry: fourteen digits, then a direction or "INFO".
bool BeginsPacket(std::string_view line) {
    if (line.size() < 20 || !AllDigits(line.substr(0, 14))) return false;
    const std::string_view behind = line.substr(14);
    return behind.substr(0, 13) == " PC->SAT >> [" || behind.substr(0, 13) == " SAT->PC << [" ||
           behind.substr(0, 7) == " INFO [";
}

LogTime PacketTime(std::string_view line) {
    return DayStart(line.substr(0, 8)) + NumberOf(line.substr(8, 2)) * MS_AN_HOUR +
           NumberOf(line.substr(10, 2)) * MS_A_MINUTE + NumberOf(line.substr(12, 2)) * MS_A_SECOND;
}

void AddPacket(const std::string& raw, std::vector<ProtocolEntry>* entries) {
    if (raw.compare(14, 6, " INFO ") == 0 || !IsDate(std::string_view(raw).substr(0, 8))) return;
    ProtocolEntry entry;
    entry.raw = raw;
    entry.time = PacketTime(raw);
    // A command whose checksum is zero is written under the other direction's label.
    const std::string ending = raw.substr(std::min(raw.rfind(']'), raw.size() - 1));
    entry.to_device = raw.compare(14, 4, " PC-") == 0 || ending.find("CKSUM=0x00--") != std::string::npos;
    entry.valid = ending.find("InvalidSatPkg") == std::string::npos;
    entry.text = WithoutFraming(raw);
    entries->push_back(entry);
}

// Calls `end` with every run of lines that begins with one that `begins`.
template <class Begins, class End>
void ForEachEntry(std::string_view text, Begins begins, End end) {
    std::string raw;
    for (const std::string& line : Split(text, '\n')) {
        const bool starts = begins(line);
        if (starts && !raw.empty()) {
            end(raw);
            raw.clear();
        }
        if (starts) {
            raw = line;
        } else if (!raw.empty()) {
            raw += "\n" + line;
        }
    }
    if (!raw.empty()) end(raw);
}

}  // namespace

int64_t MachineLocalTime(int64_t utc_ms) {
    const std::time_t seconds = static_cast<std::time_t>(utc_ms / MS_A_SECOND);
    const std::tm* const parts = std::localtime(&seconds);
    if (parts == nullptr) return utc_ms;
    char day[64];
    std::snprintf(day, sizeof day, "%04d%02d%02d", parts->tm_year + 1900, parts->tm_mon + 1, parts->tm_mday);
    return DayStart(day) + parts->tm_hour * MS_AN_HOUR + parts->tm_min * MS_A_MINUTE +
           parts->tm_sec * MS_A_SECOND + utc_ms % MS_A_SECOND;
}

std::vector<DiagnosticEntry> ParseDiagnosticLog(std::string_view text, std::string_view utc_day,
                                                LocalTimeRule local) {
    std::vector<DiagnosticEntry> entries;
    ForEachEntry(text, IsStamp, [&](const std::string& raw) {
        DiagnosticEntry entry;
        entry.raw = Trimmed(raw);
        entry.time = StampTime(raw, utc_day, local);
        entry.level = raw.substr(14, 3);
        ReadFunction(std::string_view(raw).substr(STAMP_SIZE), &entry);
        entries.push_back(entry);
    });
    return entries;
}

std::vector<ProtocolEntry> ParseProtocolLog(std::string_view text) {
    std::vector<ProtocolEntry> entries;
    ForEachEntry(text, BeginsPacket, [&](const std::string& raw) { AddPacket(Trimmed(raw), &entries); });
    return entries;
}

LogTime DayStart(std::string_view day) {
    const auto date = std::chrono::year(NumberOf(day.substr(0, 4))) /
                      static_cast<unsigned>(NumberOf(day.substr(4, 2))) /
                      static_cast<unsigned>(NumberOf(day.substr(6, 2)));
    return std::chrono::sys_days(date).time_since_epoch().count() * MS_A_DAY;
}

std::string ClockText(LogTime time) {
    const auto in_day = static_cast<int>(((time % MS_A_DAY) + MS_A_DAY) % MS_A_DAY);
    char text[64];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", in_day / 3600000, in_day / 60000 % 60,
                  in_day / 1000 % 60, in_day % 1000);
    return text;
}

std::string DayText(LogTime time) {
    const std::chrono::sys_days day(
        std::chrono::days((time - ((time % MS_A_DAY) + MS_A_DAY) % MS_A_DAY) / MS_A_DAY));
    const std::chrono::year_month_day date(day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d%02u%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text;
}

}  // namespace tool

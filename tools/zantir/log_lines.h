/*
 * The entries of both logs, as they stand in their files.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/** A moment in milliseconds since 1970, in the calendar of the machine that wrote the log. */
using LogTime = int64_t;

/** What turns UTC milliseconds into the machine's own calendar. */
using LocalTimeRule = int64_t (*)(int64_t utc_ms);

/** The rule of this machine. */
int64_t MachineLocalTime(int64_t utc_ms);

/** One call of the diagnostic log: a line, with the lines that belong to it. */
struct DiagnosticEntry {
    LogTime time = 0;
    std::string level;     ///< "ERR", "WRN", "INF" ...
    std::string function;  ///< the routine that wrote it
    std::string text;      ///< what follows the routine's name
    std::string raw;       ///< all of it
};

/** One packet of the protocol log. */
struct ProtocolEntry {
    LogTime time = 0;  ///< whole seconds
    bool to_device = false;
    bool valid = false;  ///< a whole frame
    std::string text;    ///< the packet's text, without its framing
    std::string raw;
};

/**
 * The entries of a diagnostic log. `utc_day` is the AAAAMMDD of its file name: the lines carry the UTC hour
 * shifted back by three, in which 21 to 24 are the first four hours of that day.
 */
std::vector<DiagnosticEntry> ParseDiagnosticLog(std::string_view text, std::string_view utc_day,
                                                LocalTimeRule local);

/** The entries of a protocol log. */
std::vector<ProtocolEntry> ParseProtocolLog(std::string_view text);

/** A moment as "HH:MM:SS.mmm". */
std::string ClockText(LogTime time);

/** A moment's day as AAAAMMDD. */
std::string DayText(LogTime time);

/** The start of the day AAAAMMDD, which has to be one. */
LogTime DayStart(std::string_view day);

}  // namespace tool

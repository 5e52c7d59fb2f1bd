#include "captured_log.h"

#include <regex>

LogLine TakeApart(unsigned level, const std::string& text) {
    LogLine line;
    line.level = level;
    line.message = text;
    // Only the front is matched: the message may be megabytes long.
    static const std::regex front(R"(^\[(\d{4,})\] \[([^\]]*)\] \[([^\]]*)\])");
    std::smatch match;
    const std::string beginning = text.substr(0, 300);
    if (std::regex_search(beginning, match, front)) {
        line.line = std::stoi(match[1]);
        line.source = match[2];
        line.function = match[3];
        line.message = text.substr(static_cast<size_t>(match.length(0)));
    }
    return line;
}

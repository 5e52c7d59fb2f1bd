#include "captured_log.h"

#include <cstdlib>

namespace {

/** Takes "[...]" off the text from `at` on, and moves `at` behind it. False when there is none. */
bool TakeBracket(const std::string& text, size_t* at, std::string* inside) {
    const size_t end = *at < text.size() && text[*at] == '[' ? text.find(']', *at) : std::string::npos;
    if (end == std::string::npos) {
        return false;
    }
    *inside = text.substr(*at + 1, end - *at - 1);
    *at = end + 1;
    return true;
}

bool TakeBlank(const std::string& text, size_t* at) {
    return text.compare((*at)++, 1, " ") == 0;
}

}  // namespace

LogLine TakeApart(unsigned level, const std::string& text) {
    LogLine line;
    line.level = level;
    line.message = text;
    size_t at = 0;
    std::string number;
    if (TakeBracket(text, &at, &number) && TakeBlank(text, &at) && TakeBracket(text, &at, &line.source) &&
        TakeBlank(text, &at) && TakeBracket(text, &at, &line.function)) {
        line.line = atoi(number.c_str());
        line.message = text.substr(at);
    }
    return line;
}

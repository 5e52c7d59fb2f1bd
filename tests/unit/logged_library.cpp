#include "logged_library.h"

#include <cctype>

static bool BeginsLine(const std::string& log, size_t at) {
    static const std::string shape = "[dd:dd:dd.ddd]";
    if (at + shape.size() > log.size()) return false;
    for (size_t i = 0; i < shape.size(); ++i) {
        const bool digit = isdigit(static_cast<unsigned char>(log[at + i])) != 0;
        if (shape[i] == 'd' ? !digit : log[at + i] != shape[i]) return false;
    }
    return true;
}

std::string MaskTimesAndLines(const std::string& log) {
    constexpr size_t time_length = 14;
    constexpr size_t tag_length = 4;
    std::string masked;
    for (size_t at = 0; at < log.size();) {
        size_t from = at;
        if (BeginsLine(log, at)) {
            from = at + time_length;
            const size_t number = from + tag_length;
            const size_t digits_end = log.find_first_not_of("0123456789", number + 1);
            const bool numbered = number < log.size() && log[number] == '[' &&
                                  digits_end != std::string::npos && digits_end >= number + 5 &&
                                  log[digits_end] == ']';
            if (numbered) {
                masked += log.substr(from, tag_length) + "[#]";
                from = digits_end + 1;
            }
        }
        const size_t line_end = log.find('\n', from);
        const size_t end = line_end == std::string::npos ? log.size() : line_end + 1;
        masked.append(log, from, end - from);
        at = end;
    }
    return masked;
}

size_t CountOf(const std::string& text, const std::string& piece) {
    size_t count = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + piece.size()))
        ++count;
    return count;
}

std::string LoggedLibrary::TakeLog(const std::string& folder) {
    std::string text = DiagnosticLog(folder);
    for (const std::string& name : World().files.List(folder)) {
        if (name.ends_with("_SAT_api.log")) World().files.Remove(folder + "\\" + name);
    }
    return MaskTimesAndLines(text);
}

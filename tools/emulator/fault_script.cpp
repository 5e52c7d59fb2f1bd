#include "fault_script.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace emulator {

namespace {

// Enough for a night, and no file can ask for all of the memory.
constexpr int64_t MOST_EXCHANGES = 1000000;

constexpr std::string_view REPEAT = "repeat";

bool IsRepeat(std::string_view line) {
    return line.starts_with(REPEAT) &&
           (line.size() == REPEAT.size() || line[REPEAT.size()] == ' ' || line[REPEAT.size()] == '\t');
}

bool Repeat(std::string_view line, std::deque<Faults>* exchanges, std::string* error) {
    line = Trimmed(line.substr(REPEAT.size()));
    const size_t end = std::min(line.find_first_of(" \t"), line.size());
    const std::string_view what = Trimmed(line.substr(end));
    int64_t count = 0;
    if (!ParseNumber(line.substr(0, end), 1, MOST_EXCHANGES, &count)) {
        *error = "depois de repeat esperado um numero de 1 a " + std::to_string(MOST_EXCHANGES);
        return false;
    }
    Faults faults;
    if (!what.empty()) {
        if (!ParseFaults(what, &faults, error)) return false;
    } else if (exchanges->empty()) {
        *error = "repeat sem falha: esperada uma linha acima, ou repeat N FALHA";
        return false;
    } else {
        faults = exchanges->back();
    }
    if (count + static_cast<int64_t>(exchanges->size()) > MOST_EXCHANGES) {
        *error = "comandos demais: esperado no maximo " + std::to_string(MOST_EXCHANGES);
        return false;
    }
    exchanges->insert(exchanges->end(), static_cast<size_t>(count), faults);
    return true;
}

bool ParseLine(std::string_view line, std::deque<Faults>* exchanges, std::string* error) {
    line = Trimmed(line.substr(0, line.find('#')));
    if (line.empty()) return true;
    if (IsRepeat(line)) return Repeat(line, exchanges, error);
    Faults faults;
    if (!ParseFaults(line, &faults, error)) {
        *error += ", ou repeat N";
        return false;
    }
    exchanges->push_back(std::move(faults));
    return true;
}

}  // namespace

bool ParseFaultScript(const std::string& name, std::string_view text, std::deque<Faults>* exchanges,
                      std::string* error) {
    exchanges->clear();
    for (int number = 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        if (!ParseLine(text.substr(0, end), exchanges, error)) {
            *error = name + ":" + std::to_string(number) + ": " + *error;
            return false;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

bool ReadFaultScript(const std::string& path, std::deque<Faults>* exchanges, std::string* error) {
    std::string text;
    errno = 0;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    char buffer[4096];
    for (size_t count = 1; file != nullptr && count > 0;) {
        count = std::fread(buffer, 1, sizeof buffer, file);
        text.append(buffer, count);
    }
    // A folder opens on some systems, and only reading it fails.
    const bool good = file != nullptr && std::ferror(file) == 0;
    if (!good) *error = path + ": " + std::strerror(errno);
    if (file != nullptr) std::fclose(file);
    return good && ParseFaultScript(path, text, exchanges, error);
}

}  // namespace emulator

/*
 * How an INI file is read, a second time and without the speed: for the targets that read and write one.
 */
#pragma once

#include <string>

namespace fuzz {

/** Names that stand in the default file, and some that make a search fail or go astray. */
inline constexpr const char* kSections[] = {
    "SERIAL_PORT_CONFIG", "SAT_TIMEOUT", "SAT_EMULATOR", "CUPOM_DESK", "LOG", "S", "", "S]\n[T"};
inline constexpr const char* kItems[] = {"FixarPorta",
                                         "SerialPortConfig",
                                         "ConsultarSAT",
                                         "Enable",
                                         "PathWindows",
                                         "LogFilePath",
                                         "LogMode",
                                         "Log",
                                         "A",
                                         "AA",
                                         "",
                                         "= "};

struct IniReading {
    int rc;
    std::string value;
};

/** What a search sees of a file: all up to its first NUL. */
inline std::string IniText(const std::string& file) {
    return file.substr(0, file.find('\0'));
}

/** Where the text behind the section's header begins; npos without such a header. */
inline size_t IniSectionBody(const std::string& text, const std::string& section) {
    const std::string header = "[" + section + "]";
    const size_t at = text.find(header);
    return at == std::string::npos ? at : at + header.size();
}

/**
 * Reads an item. `limit`: bytes that fit the caller's buffer, without the NUL.
 *
 * A carriage return ends the copy where it stands as far behind the header as the copy stands behind the
 * start of the file; others are kept, but not at the value's end.
 */
inline IniReading IniReadByTheRules(const std::string& file, const std::string& section,
                                    const std::string& item, size_t limit = std::string::npos) {
    if (file.empty()) return {-301, ""};
    const std::string text = IniText(file);
    const size_t body = IniSectionBody(text, section);
    if (body == std::string::npos) return {-304, ""};
    const size_t header = body - section.size() - 2;
    const size_t section_end = std::min(text.find('[', body), text.size());
    const size_t item_at = text.find(item, body);
    if (item_at >= section_end) return {-305, ""};
    std::string value;
    for (size_t at = item_at + item.size(); at < text.size() && text[at] != '\n'; ++at) {
        if (header + at < file.size() && file[header + at] == '\r') break;
        if (text[at] != '=' && text[at] != ' ') value += text[at];
    }
    value = value.substr(0, limit);
    while (!value.empty() && (value.back() == '\r' || value.back() == '\n'))
        value.pop_back();
    return {0, value};
}

}  // namespace fuzz

/*
 * SAT.ini under the magnifying glass: what the library does not know, does not use, or reads otherwise than a
 * person does.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tool {

/** One line "key = value" as a person reads it. */
struct IniLine {
    int number = 0;  ///< from 1
    std::string section;
    std::string key;
    std::string value;
};

/** Something to say about a key. */
struct IniRemark {
    std::string where;  ///< "[LOG] LogMode=7"
    std::string what;   ///< in the chosen language
};

/** The lines that set something, comments and blank lines left out. */
std::vector<IniLine> ReadIniLines(std::string_view text);

/** A key's value as the library reads it; false when it finds none. */
bool LibraryValue(const std::string& ini_file, const char* section, const char* key, std::string* value);

/** Sections and keys that the library does not know, and keys that stand twice. */
std::vector<IniRemark> UnknownKeys(std::string_view text);

/**
 * Keys whose value has no effect, and why: those that somebody changed. `unchanged` receives the number of
 * those that still have the value of the default file.
 */
std::vector<IniRemark> KeysWithoutEffect(std::string_view text, size_t* unchanged);

/** Values out of range, and values that the library reads otherwise than they stand in the file. */
std::vector<IniRemark> BadValues(std::string_view text, const std::string& ini_file);

}  // namespace tool

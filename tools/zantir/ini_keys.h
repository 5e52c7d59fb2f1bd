/*
 * The keys of SAT.ini as the library treats them.
 */
#pragma once

#include <string_view>
#include <vector>

#include "text.h"

namespace tool {

/** What a value has to look like. */
enum class IniKind { Free, Seconds, Switch, FixedPort, EmulatorPort, Folder, LogName, Size, LogMode };

/** One key. */
struct IniKey {
    const char* section;
    const char* name;
    IniKind kind;
    const char* usual;  ///< the value of the default file
    Text no_effect;     ///< why no value of it has an effect; no text when it has one
};

/** Every key that the library knows, in the order of the default file. */
const std::vector<IniKey>& IniKeys();

/** The key of that section and name, both exactly so; NULL when the library knows none. */
const IniKey* FindIniKey(std::string_view section, std::string_view name);

/** The name of a section that the library reads. */
bool IsIniSection(std::string_view name);

}  // namespace tool

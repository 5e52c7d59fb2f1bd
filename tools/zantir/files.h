/*
 * Whole files, by names in UTF-8 on every system.
 */
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/** A path from a name in UTF-8. */
std::filesystem::path PathOf(std::string_view name);

/** A path's name in UTF-8. */
std::string NameOf(const std::filesystem::path& path);

/** A name as SAT.ini gives it with this system's separators: the library takes both everywhere. */
std::string NativeName(std::string name);

/** Reads a file's bytes, at most `limit`. "-" is standard input. False when it cannot be read. */
bool ReadFile(const std::string& name, std::string* bytes, size_t limit = SIZE_MAX);

/** Writes a file's bytes, replacing what was there. False when it cannot be written. */
bool WriteFile(const std::string& name, std::string_view bytes);

/** The current folder. */
std::string CurrentFolder();

/** Whether a folder stands there. */
bool IsFolder(const std::string& name);

}  // namespace tool

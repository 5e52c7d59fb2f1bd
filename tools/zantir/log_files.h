/*
 * Where the logs lie, and which files belong to a day.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/** The folder of the logs by a SAT.ini, "Log" without one, with the separators of this system. */
std::string LogFolderOf(const std::string& ini_file);

/** Size of everything that lies directly in a folder. */
struct FolderSize {
    uint64_t bytes = 0;
    size_t files = 0;
};
FolderSize MeasureFolder(const std::string& folder);

/** Whether this user can make a file in the folder. Leaves nothing behind. */
bool CanWriteTo(const std::string& folder);

/** The diagnostic log of a UTC day AAAAMMDD, parts that were moved aside first. Empty when there is none. */
std::vector<std::string> DiagnosticFiles(const std::string& folder, const std::string& day);

/** The protocol log of a local day AAAAMMDD; empty when there is none. */
std::string ProtocolFile(const std::string& folder, const std::string& day);

}  // namespace tool

#include "log_files.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "files.h"
#include "ini_check.h"
#include "text.h"

namespace tool {

std::string LogFolderOf(const std::string& ini_file) {
    std::string folder;
    if (!LibraryValue(ini_file, "LOG", "LogFilePath", &folder) || folder.empty()) return "Log";
    return ToUtf8(NativeName(folder));
}

FolderSize MeasureFolder(const std::string& folder) {
    FolderSize size;
    std::error_code failure;
    std::filesystem::directory_iterator entry(PathOf(folder), failure);
    for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
        std::error_code vanished;
        const bool regular = entry->is_regular_file(vanished);
        const uint64_t bytes = regular ? entry->file_size(vanished) : 0;
        if (!regular || vanished) continue;
        size.bytes += bytes;
        ++size.files;
    }
    return size;
}

bool CanWriteTo(const std::string& folder) {
    const std::filesystem::path probe = PathOf(folder) / "zantir-diagnostico.tmp";
    const bool written = WriteFile(NameOf(probe), "zantir\n");
    std::error_code failure;
    std::filesystem::remove(probe, failure);
    return written;
}

std::vector<std::string> DiagnosticFiles(const std::string& folder, const std::string& day) {
    const std::string log = NameOf(PathOf(folder) / PathOf(day + "_SAT_api.log"));
    std::vector<std::string> files;
    std::error_code failure;
    for (int part = 0;; ++part) {
        char number[16];
        std::snprintf(number, sizeof number, "%02d", part);
        const std::string aside = log + "_bkp_" + number + ".log";
        if (!std::filesystem::exists(PathOf(aside), failure)) break;
        files.push_back(aside);
    }
    if (std::filesystem::exists(PathOf(log), failure)) files.push_back(log);
    return files;
}

std::string ProtocolFile(const std::string& folder, const std::string& day) {
    const std::string log = NameOf(PathOf(folder) / PathOf(day + "_SAT_ProtocolLog.txt"));
    std::error_code failure;
    return std::filesystem::exists(PathOf(log), failure) ? log : "";
}

}  // namespace tool

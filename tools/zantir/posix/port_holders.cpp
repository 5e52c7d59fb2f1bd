#include <dirent.h>
#include <unistd.h>

#include <filesystem>

#include "files.h"
#include "platform/posix/port.h"
#include "ports.h"
#include "text.h"

namespace tool {

std::string PortFile(const std::string& port) {
    const PosixPath path = PortDeviceFile(("\\\\?\\" + port).c_str());
    return path.valid ? path.text : "";
}

static std::string LinkTarget(const std::string& link) {
    std::error_code failure;
    return NameOf(std::filesystem::read_symlink(link, failure));
}

// Whether a process has the file open. Processes of other users keep that to themselves.
static bool HasOpen(const std::string& process, const std::string& file) {
    const std::string folder = "/proc/" + process + "/fd";
    DIR* const descriptors = opendir(folder.c_str());
    if (descriptors == nullptr) return false;
    bool open = false;
    while (const dirent* entry = readdir(descriptors)) {
        open = open || LinkTarget(folder + "/" + entry->d_name) == file;
    }
    closedir(descriptors);
    return open;
}

static std::string ProgramOf(const std::string& process) {
    std::string name;
    ReadFile("/proc/" + process + "/comm", &name);
    return Printable(Trimmed(name));
}

std::vector<PortHolder> HoldersOf(const std::string& port) {
    std::vector<PortHolder> holders;
    const std::string file = PortFile(port);
    DIR* const processes = file.empty() ? nullptr : opendir("/proc");
    if (processes == nullptr) return holders;
    while (const dirent* entry = readdir(processes)) {
        const std::string process = entry->d_name;
        const int number = AllDigits(process) ? NumberOf(process) : 0;
        if (number == 0 || number == getpid() || !HasOpen(process, file)) continue;
        holders.push_back({number, ProgramOf(process)});
    }
    closedir(processes);
    return holders;
}

}  // namespace tool

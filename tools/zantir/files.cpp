#include "files.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "terminal.h"

namespace tool {

std::filesystem::path PathOf(std::string_view name) {
    return std::filesystem::path(std::u8string(name.begin(), name.end()));
}

std::string NameOf(const std::filesystem::path& path) {
    const std::u8string name = path.u8string();
    return {name.begin(), name.end()};
}

std::string NativeName(std::string name) {
    if (std::filesystem::path::preferred_separator == '/') std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

bool ReadFile(const std::string& name, std::string* bytes, size_t limit) {
    bytes->clear();
    if (name == "-") {
        *bytes = ReadStandardInput();
        return true;
    }
    std::error_code failure;
    // Anything but a regular file could block for ever.
    if (!std::filesystem::is_regular_file(PathOf(name), failure)) return false;
    std::ifstream file(PathOf(name), std::ios::binary);
    if (!file) return false;
    char buffer[65536];
    while (bytes->size() < limit) {
        file.read(buffer, static_cast<std::streamsize>(std::min(sizeof buffer, limit - bytes->size())));
        bytes->append(buffer, static_cast<size_t>(file.gcount()));
        if (file.eof()) return true;
        if (!file) return false;
    }
    return true;
}

bool WriteFile(const std::string& name, std::string_view bytes) {
    std::ofstream file(PathOf(name), std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    return !file.fail();
}

std::string CurrentFolder() {
    std::error_code failure;
    return NameOf(std::filesystem::current_path(failure));
}

bool IsFolder(const std::string& name) {
    std::error_code failure;
    return std::filesystem::is_directory(PathOf(name), failure);
}

}  // namespace tool

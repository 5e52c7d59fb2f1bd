#include "file_store.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace emulator {

std::optional<std::string> ReadWholeFile(const std::string& path, std::string* error) {
    error->clear();
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        if (errno != ENOENT) *error = std::strerror(errno);
        return std::nullopt;
    }
    std::string content;
    char block[65536];
    for (size_t count = 0; (count = std::fread(block, 1, sizeof block, file)) > 0;) {
        content.append(block, count);
    }
    const bool broken = std::ferror(file) != 0;
    if (broken) *error = std::strerror(errno);
    std::fclose(file);
    return broken ? std::nullopt : std::optional(content);
}

std::string LockName(const std::string& path) {
    return path + ".lock";
}

std::string TemporaryName(const std::string& path) {
    return path + ".tmp";
}

}  // namespace emulator

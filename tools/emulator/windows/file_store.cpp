#include "../file_store.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <algorithm>

namespace emulator {

namespace {

std::string LastErrorText() {
    return "erro " + std::to_string(GetLastError()) + " do sistema";
}

bool WriteAll(HANDLE file, const std::string& content) {
    for (size_t done = 0; done < content.size();) {
        const auto chunk = static_cast<DWORD>(std::min<size_t>(content.size() - done, size_t{1} << 20));
        DWORD count = 0;
        if (!WriteFile(file, content.data() + done, chunk, &count, nullptr) || count == 0) return false;
        done += count;
    }
    return true;
}

// Writes a file and brings it to the disk.
bool WriteWholeFile(const std::string& path, const std::string& content, std::string* error) {
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL | FILE_FLAG_WRITE_THROUGH, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        *error = LastErrorText();
        return false;
    }
    const bool written = WriteAll(file, content) && FlushFileBuffers(file);
    if (!written) *error = LastErrorText();
    CloseHandle(file);
    return written;
}

}  // namespace

bool ReplaceWholeFile(const std::string& path, const std::string& content, std::string* error) {
    const std::string temporary = TemporaryName(path);
    if (!WriteWholeFile(temporary, content, error)) {
        DeleteFileA(temporary.c_str());
        return false;
    }
    if (MoveFileExA(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        return true;
    }
    *error = LastErrorText();
    DeleteFileA(temporary.c_str());
    return false;
}

std::shared_ptr<void> HoldFile(const std::string& path, std::string* error) {
    error->clear();
    // Opened without sharing, nobody else can open it.
    const HANDLE file = CreateFileA(LockName(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file != INVALID_HANDLE_VALUE) return {file, CloseHandle};
    if (GetLastError() != ERROR_SHARING_VIOLATION) *error = LastErrorText();
    return nullptr;
}

}  // namespace emulator

/*
 * Files and folders.
 */
#include <windows.h>
// The order matters: the shell header needs the types of the one above.
#include <shlobj.h>
#include <sys/stat.h>

#include <atomic>
#include <cstring>

#include "../platform.h"

static_assert(PLAT_MODE_FORMAT == _S_IFMT && PLAT_MODE_DIRECTORY == _S_IFDIR &&
                  PLAT_MODE_REGULAR == _S_IFREG && PLAT_MODE_CHARACTER == _S_IFCHR &&
                  PLAT_MODE_PIPE == _S_IFIFO,
              "the kinds of files are the runtime's own");

bool plat_file_query(const char* path, plat_file_status* status) {
    struct _stat64 found = {};
    if (_stat64(path, &found) != 0) return false;
    status->mode = found.st_mode;
    status->size = found.st_size;
    status->modified = found.st_mtime;
    return true;
}

bool plat_create_folder(const char* path) {
    return CreateDirectoryA(path, nullptr) != 0;
}

bool plat_move_file(const char* from, const char* to) {
    return MoveFileA(from, to) != 0;
}

bool plat_remove_file(const char* path) {
    return DeleteFileA(path) != 0;
}

/**
 * SHGetFolderPathA. The shell's library brings the user interface's and more with it: it is loaded when
 * somebody asks for the folder, not by every program that loads ours.
 */
static HRESULT FolderPath(int folder, DWORD flags, char (&path)[MAX_PATH]) {
    using Function = decltype(&SHGetFolderPathA);
    // Never given back: whoever saves one receipt saves more.
    static std::atomic<HMODULE> loaded{nullptr};
    HMODULE shell = loaded;
    if (shell == nullptr) shell = LoadLibraryExA("shell32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (shell == nullptr) return E_FAIL;
    loaded = shell;
    const auto function =
        reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(shell, "SHGetFolderPathA")));
    return function != nullptr ? function(nullptr, folder, nullptr, flags, path) : E_FAIL;
}

bool plat_common_data_folder(char* path, size_t path_size) {
    // The folder identifier and the flags value are part of the established behaviour. A system that knows
    // only the two documented flags values refuses this one as an argument, and is asked with the first of
    // those.
    constexpr int kCommonApplicationData = 0x23;
    constexpr DWORD kFlags = 8;
    char folder[MAX_PATH] = "";
    HRESULT result = FolderPath(kCommonApplicationData, kFlags, folder);
    if (result == E_INVALIDARG) {
        result = FolderPath(kCommonApplicationData, SHGFP_TYPE_CURRENT, folder);
    }
    if (FAILED(result)) return false;
    const size_t length = strnlen(folder, sizeof folder - 1);
    if (length >= path_size) return false;
    memcpy(path, folder, length);
    path[length] = '\0';
    return true;
}

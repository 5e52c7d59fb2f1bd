/*
 * A file's content replaced as a whole: written beside the file, forced to the disk, and moved over it.
 */
#include <windows.h>
// The order matters: the header above defines what this one may leave out.
#include <io.h>

#include <cstdio>
#include <cstring>

#include "../platform.h"

/** Text mode, as every file of the library that people edit. */
static bool WriteText(const char* path, const void* bytes, size_t size) {
    FILE* stream = fopen(path, "wt");
    if (stream == nullptr) return false;
    const bool written =
        fwrite(bytes, 1, size, stream) == size && fflush(stream) == 0 && _commit(_fileno(stream)) == 0;
    return fclose(stream) == 0 && written;
}

/** Moves a file over another one. Somebody who reads the old one just now delays this, but not for long. */
static bool MoveOver(const char* from, const char* to) {
    constexpr int kTries = 20;
    constexpr DWORD kPauseMs = 10;
    for (int tries = 1;; ++tries) {
        if (MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0) return true;
        const DWORD error = GetLastError();
        const bool in_use = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
        if (!in_use || tries == kTries) return false;
        Sleep(kPauseMs);
    }
}

bool plat_file_replace(const char* path, const void* bytes, size_t size) {
    const DWORD attributes = GetFileAttributesA(path);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        SetLastError(ERROR_ACCESS_DENIED);
        return false;
    }
    char folder[MAX_PATH];
    const size_t length = strlen(path);
    if (length >= sizeof folder) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return false;
    }
    memcpy(folder, path, length + 1);
    size_t cut = length;
    while (cut > 0 && strchr("\\/:", folder[cut - 1]) == nullptr)
        --cut;
    folder[cut] = '\0';

    char fresh[MAX_PATH];
    if (GetTempFileNameA(cut > 0 ? folder : ".", "SAT", 0, fresh) == 0) return false;
    if (WriteText(fresh, bytes, size) && MoveOver(fresh, path)) return true;
    const DWORD error = GetLastError();
    DeleteFileA(fresh);
    SetLastError(error);
    return false;
}

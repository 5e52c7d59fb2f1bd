/*
 * Searches for files by pattern.
 */
#include <windows.h>

#include <cstring>

#include "../platform.h"

static HANDLE Handle(plat_handle search) {
    // The number is one of these, cast by the routine that made it. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<HANDLE>(search);
}

static void CopyName(const WIN32_FIND_DATAA& found, char* name, size_t name_size) {
    if (name_size == 0) return;
    const size_t length = strnlen(found.cFileName, name_size - 1);
    memcpy(name, found.cFileName, length);
    name[length] = '\0';
}

plat_handle plat_find_open(const char* pattern, char* name, size_t name_size) {
    WIN32_FIND_DATAA found = {};
    const HANDLE search = FindFirstFileA(pattern, &found);
    if (search != INVALID_HANDLE_VALUE) CopyName(found, name, name_size);
    return reinterpret_cast<plat_handle>(search);
}

bool plat_find_next(plat_handle search, char* name, size_t name_size) {
    WIN32_FIND_DATAA found = {};
    if (FindNextFileA(Handle(search), &found) == 0) return false;
    CopyName(found, name, name_size);
    return true;
}

void plat_find_close(plat_handle search) {
    FindClose(Handle(search));
}

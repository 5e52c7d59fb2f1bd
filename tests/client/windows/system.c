#include "../system.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <stdio.h>

static HANDLE held_mutex = NULL;

void* system_load_library(const char* path) {
    return (void*)LoadLibraryA(path);
}

library_function system_find_function(void* library, const char* name) {
    return (library_function)GetProcAddress((HMODULE)library, name);
}

const char* system_library_error(void) {
    static char text[32];
    snprintf(text, sizeof text, "error %lu", GetLastError());
    return text;
}

bool system_change_directory(const char* path) {
    return SetCurrentDirectoryA(path) != 0;
}

double system_now_ms(void) {
    LARGE_INTEGER frequency;
    LARGE_INTEGER counter;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    return (double)counter.QuadPart * 1000.0 / (double)frequency.QuadPart;
}

void system_plain_streams(void) {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

enum hold_result system_hold(const char* name, unsigned long milliseconds) {
    if (held_mutex == NULL) held_mutex = CreateMutexA(NULL, FALSE, name);
    if (held_mutex == NULL) return HOLD_FAILED;
    switch (WaitForSingleObject(held_mutex, milliseconds)) {
        case WAIT_OBJECT_0:
            return HOLD_ACQUIRED;
        case WAIT_ABANDONED:
            return HOLD_ABANDONED;
        case WAIT_TIMEOUT:
            return HOLD_TIMEOUT;
        default:
            return HOLD_FAILED;
    }
}

bool system_release(void) {
    if (held_mutex == NULL || !ReleaseMutex(held_mutex)) return false;
    CloseHandle(held_mutex);
    held_mutex = NULL;
    return true;
}

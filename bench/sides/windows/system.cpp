#include "../system.h"

#include <windows.h>

int64_t SystemNowNs() {
    LARGE_INTEGER frequency = {};
    LARGE_INTEGER now = {};
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&now);
    return static_cast<int64_t>(static_cast<double>(now.QuadPart) * 1e9 /
                                static_cast<double>(frequency.QuadPart));
}

static int64_t Ns(const FILETIME& time) {
    return static_cast<int64_t>(static_cast<uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime) * 100;
}

int64_t SystemProcessorNs() {
    FILETIME created = {};
    FILETIME ended = {};
    FILETIME kernel = {};
    FILETIME user = {};
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    return Ns(kernel) + Ns(user);
}

void* LoadSharedLibrary(const char* path) {
    return reinterpret_cast<void*>(LoadLibraryA(path));
}

void (*FindFunction(void* library, const char* name))() {
    return reinterpret_cast<void (*)()>(GetProcAddress(static_cast<HMODULE>(library), name));
}

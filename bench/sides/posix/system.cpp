#include "../system.h"

#include <dlfcn.h>

#include <ctime>

static int64_t Now(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

int64_t SystemNowNs() {
    return Now(CLOCK_MONOTONIC);
}

int64_t SystemProcessorNs() {
    return Now(CLOCK_PROCESS_CPUTIME_ID);
}

void* LoadSharedLibrary(const char* path) {
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

void (*FindFunction(void* library, const char* name))() {
    return reinterpret_cast<void (*)()>(dlsym(library, name));
}

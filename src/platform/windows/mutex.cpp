/*
 * The machine-wide mutex.
 */
#include <windows.h>

#include "../platform.h"

static_assert(PLAT_WAIT_ACQUIRED == WAIT_OBJECT_0 && PLAT_WAIT_ABANDONED == WAIT_ABANDONED &&
                  PLAT_WAIT_TIMEOUT == WAIT_TIMEOUT && PLAT_WAIT_FAILED == WAIT_FAILED,
              "the results of a wait are the system's own");

static HANDLE Handle(plat_handle mutex) {
    // The number is one of these, cast by the routine that made it. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<HANDLE>(mutex);
}

plat_handle plat_mutex_create(const char* name) {
    return reinterpret_cast<plat_handle>(CreateMutexA(nullptr, FALSE, name));
}

uint32_t plat_mutex_wait(plat_handle mutex, uint32_t milliseconds) {
    return WaitForSingleObject(Handle(mutex), milliseconds);
}

bool plat_mutex_release(plat_handle mutex) {
    return ReleaseMutex(Handle(mutex)) != 0;
}

/*
 * What the sides need of the system besides the port.
 */
#pragma once

#include <cstdint>

/** A clock that never runs backwards. */
int64_t SystemNowNs();

/** Processor time of the whole process so far, the system's share included. */
int64_t SystemProcessorNs();

/** Loads a library and finds its function `name`; the library stays loaded. NULL on failure. */
void* LoadSharedLibrary(const char* path);
void (*FindFunction(void* library, const char* name))();

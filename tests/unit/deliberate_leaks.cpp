/*
 * What the library leaves allocated on purpose, for the leak sanitizer; the tests count these allocations
 * themselves. Other programs do not call this.
 */

#include "lost_memory.h"

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:NewNode\n"             // the node of a port without friendly name
           "leak:printGetLastError\n";  // the text of a system error
}

#if defined(__SANITIZE_ADDRESS__)
extern "C" void __lsan_disable();
extern "C" void __lsan_enable();
LostMemory::LostMemory() {
    __lsan_disable();
}
LostMemory::~LostMemory() {
    __lsan_enable();
}
#else
LostMemory::LostMemory() = default;
LostMemory::~LostMemory() = default;
#endif

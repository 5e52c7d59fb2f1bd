#include "scarce_memory.h"

#include <atomic>
#include <cstddef>

static std::atomic<int> requests_left{0};

void FailMemoryAt(int n) {
    requests_left = n;
}

// The linker's names for plat_alloc as everybody calls it, and as it stands in the library.
extern "C" void* __real__Z10plat_allocy(size_t size);
extern "C" void* __wrap__Z10plat_allocy(size_t size) {
    return requests_left > 0 && --requests_left == 0 ? nullptr : __real__Z10plat_allocy(size);
}

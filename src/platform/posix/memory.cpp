/*
 * Memory of the process heap.
 */
#include <cstdlib>

#include "../platform.h"

void* plat_alloc(size_t size) {
    // A request for nothing gets an address of its own here, as the Windows heap gives one.
    return calloc(1, size);
}

void plat_free(void* memory) {
    free(memory);
}

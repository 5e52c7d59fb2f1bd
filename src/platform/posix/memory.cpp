/*
 * Memory of the process heap.
 */
#include <cstdlib>

#include "../platform.h"

void* plat_alloc(size_t size) {
    // A request for nothing still gets an address of its own, as the Windows heap gives one.
    return calloc(1, size != 0 ? size : 1);
}

void plat_free(void* memory) {
    free(memory);
}

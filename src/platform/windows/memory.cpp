/*
 * Memory of the process heap.
 */
#include <windows.h>

#include "../platform.h"

void* plat_alloc(size_t size) {
    return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size);
}

void plat_free(void* memory) {
    if (memory != nullptr) HeapFree(GetProcessHeap(), 0, memory);
}

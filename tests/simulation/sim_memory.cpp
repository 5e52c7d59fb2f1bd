/*
 * A piece of memory lies between its size and a row of marks. The address sanitizer keeps watch by itself,
 * and sees reading too: under it there are no marks, which would lie in its way.
 */
#include "sim_memory.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#if defined(__has_feature)
#define SIM_HAS_FEATURE(feature) __has_feature(feature)
#else
#define SIM_HAS_FEATURE(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || SIM_HAS_FEATURE(address_sanitizer)

void* sim::Allocate(size_t size) {
    // The sanitizer would end the program for a request that a real machine refuses.
    return size <= SIZE_MAX / 2 ? std::calloc(1, size != 0 ? size : 1) : nullptr;
}

void sim::Release(void* memory) {
    std::free(memory);
}

#else

/** As much as keeps what follows the size aligned for everything. */
static constexpr size_t kFront = alignof(std::max_align_t);
static_assert(kFront >= sizeof(size_t));

static constexpr unsigned char kMarks[] = {0xA5, 0x5A, 0xA5, 0x5A, 0xA5, 0x5A, 0xA5, 0x5A,
                                           0xA5, 0x5A, 0xA5, 0x5A, 0xA5, 0x5A, 0xA5, 0x5A};

void* sim::Allocate(size_t size) {
    if (size > SIZE_MAX / 2) return nullptr;
    char* whole = static_cast<char*>(std::calloc(1, kFront + size + sizeof kMarks));
    if (whole == nullptr) return nullptr;
    memcpy(whole, &size, sizeof size);
    memcpy(whole + kFront + size, kMarks, sizeof kMarks);
    return whole + kFront;
}

void sim::Release(void* memory) {
    if (memory == nullptr) return;
    char* whole = static_cast<char*>(memory) - kFront;
    size_t size = 0;
    memcpy(&size, whole, sizeof size);
    if (memcmp(whole + kFront + size, kMarks, sizeof kMarks) != 0) {
        fprintf(stderr, "something was written behind the end of %zu bytes of memory\n", size);
        abort();
    }
    std::free(whole);
}

#endif

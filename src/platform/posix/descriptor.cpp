/*
 * File descriptors.
 */
#include "descriptor.h"

#include <unistd.h>

#include <cerrno>

Descriptor::~Descriptor() {
    close(number_);
}

bool WriteAll(int descriptor, const void* bytes, size_t size) {
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        errno = ENOSPC;
        const ssize_t count = write(descriptor, next, size);
        if (count > 0) {
            next += count;
            size -= static_cast<size_t>(count);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

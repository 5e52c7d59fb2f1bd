/*
 * Error codes and their texts.
 */
#include <cerrno>
#include <cstring>

#include "../platform.h"
#include "last_error.h"
#include "path.h"

static thread_local uint32_t gl_lastError = 0;

/**
 * Zero bytes behind an error text, so that it also ends when it is read as wide characters: up to the next
 * one's place, and one.
 */
constexpr size_t kWideTerminatorSize = alignof(wchar_t) + sizeof(wchar_t);

void SetLastErrorCode(uint32_t code) {
    gl_lastError = code;
}

void SetLastErrno(int error) {
    switch (error) {
        case ENOENT:
        case ENODEV:
        case ENXIO:
            gl_lastError = PLAT_ERROR_FILE_NOT_FOUND;
            break;
        case EACCES:
        case EPERM:
        case EBUSY:
            gl_lastError = PLAT_ERROR_ACCESS_DENIED;
            break;
        case EIO:
            gl_lastError = kErrorIoDevice;
            break;
        default:
            gl_lastError = static_cast<uint32_t>(error);
    }
}

bool Done(bool success) {
    if (!success) SetLastErrno(errno);
    return success;
}

uint32_t plat_last_error() {
    return gl_lastError;
}

/** The errno value whose text describes a code best: the reverse of SetLastErrno. */
static int ErrnoOfCode(uint32_t code) {
    switch (code) {
        case PLAT_ERROR_ACCESS_DENIED:
            return EACCES;
        case kErrorIoDevice:
            return EIO;
        case kErrorNotOwner:
            return EPERM;
        default:
            return static_cast<int>(code);
    }
}

char* plat_error_text(uint32_t code) {
    const char* description = strerrordesc_np(ErrnoOfCode(code));
    if (description == nullptr) return nullptr;

    const size_t size = strlen(description) + kWideTerminatorSize;
    char* text = static_cast<char*>(plat_alloc(size));
    if (text != nullptr) CopyCut(text, size, description);
    return text;
}

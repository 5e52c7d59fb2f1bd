/*
 * Error codes and their texts.
 */
#include <windows.h>

#include <cstring>

#include "../platform.h"

/** Zero bytes behind an error text, so that it also ends when it is read as wide characters. */
constexpr size_t kWideTerminatorSize = 8;

uint32_t plat_last_error() {
    return GetLastError();
}

char* plat_error_text(uint32_t code) {
    constexpr DWORD kFlags =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    char* message = nullptr;
    // With this flag the argument is the address of the pointer to fill, whatever its type says.
    const DWORD length =
        FormatMessageA(kFlags, nullptr, code, 0, reinterpret_cast<char*>(&message), 0, nullptr);
    if (length == 0 || message == nullptr) return nullptr;

    char* text = static_cast<char*>(plat_alloc(length + kWideTerminatorSize));
    if (text != nullptr) memcpy(text, message, length);
    LocalFree(message);
    return text;
}

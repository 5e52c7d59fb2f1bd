#include "../console.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace emulator {

void SecureInput() {
    // Handles of this system are not handed out again under a standard number.
}

int ReadInput(char* buffer, size_t size) {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD count = 0;
    if (input == nullptr || input == INVALID_HANDLE_VALUE) return -1;
    return ReadFile(input, buffer, static_cast<DWORD>(size), &count, nullptr) ? static_cast<int>(count) : -1;
}

}  // namespace emulator

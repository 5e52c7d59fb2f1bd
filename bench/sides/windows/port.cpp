#include "../port.h"

#include <windows.h>

static HANDLE port = INVALID_HANDLE_VALUE;

static bool SetLine() {
    DCB line = {};
    line.DCBlength = sizeof line;
    if (!BuildCommDCBA("115200,n,8,1", &line)) return false;
    COMMTIMEOUTS timeouts = {10, 1, 1, 1, 1000};
    if (!SetCommState(port, &line) || !SetupComm(port, 16384, 16384)) return false;
    EscapeCommFunction(port, SETDTR);
    EscapeCommFunction(port, SETRTS);
    if (!SetCommTimeouts(port, &timeouts)) return false;
    FlushFileBuffers(port);
    return true;
}

bool PortOpen(const char* place) {
    port = CreateFileA(place, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (port == INVALID_HANDLE_VALUE) return false;
    if (SetLine()) return true;
    PortClose();
    return false;
}

size_t PortWrite(const void* bytes, size_t size) {
    DWORD done = 0;
    return WriteFile(port, bytes, static_cast<DWORD>(size), &done, nullptr) ? done : 0;
}

size_t PortRead(void* buffer, size_t size) {
    DWORD done = 0;
    return ReadFile(port, buffer, static_cast<DWORD>(size), &done, nullptr) ? done : 0;
}

void PortClose() {
    CloseHandle(port);
    port = INVALID_HANDLE_VALUE;
}

void PortSleepMs(int milliseconds) {
    Sleep(static_cast<DWORD>(milliseconds));
}

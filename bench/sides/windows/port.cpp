#include "../port.h"

#include <windows.h>
// The order matters: the setup header needs the types of the one above.
#include <setupapi.h>

#include <cstring>

/** In front of a place: what has to be done to find it is done, too. */
static constexpr char kListed[] = "listed:";

static HANDLE port = INVALID_HANDLE_VALUE;

static bool SetLine() {
    DCB line = {};
    line.DCBlength = sizeof line;
    line.BaudRate = CBR_115200;
    line.ByteSize = 8;
    line.Parity = NOPARITY;
    line.StopBits = ONESTOPBIT;
    line.fBinary = TRUE;
    COMMTIMEOUTS timeouts = {10, 1, 1, 1, 1000};
    if (!SetCommState(port, &line) || !SetupComm(port, 16384, 16384)) return false;
    EscapeCommFunction(port, SETDTR);
    EscapeCommFunction(port, SETRTS);
    if (!SetCommTimeouts(port, &timeouts)) return false;
    FlushFileBuffers(port);
    return true;
}

/** Asks the system for the present ports and their names, as a program must that does not know where its
 * device is. */
static void ListPresentPorts() {
    static constexpr GUID kPorts = {
        0x4d36e978, 0xe325, 0x11ce, {0xbf, 0xc1, 0x08, 0x00, 0x2b, 0xe1, 0x03, 0x18}};
    const HDEVINFO devices = SetupDiGetClassDevsA(&kPorts, nullptr, nullptr, DIGCF_PRESENT);
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof device;
    for (DWORD i = 0; SetupDiEnumDeviceInfo(devices, i, &device); ++i) {
        BYTE text[256];
        DWORD size = sizeof text;
        const HKEY key = SetupDiOpenDevRegKey(devices, &device, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_READ);
        RegQueryValueExA(key, "PortName", nullptr, nullptr, text, &size);
        RegCloseKey(key);
        SetupDiGetDeviceRegistryPropertyA(devices, &device, SPDRP_FRIENDLYNAME, nullptr, text, sizeof text,
                                          nullptr);
    }
    SetupDiDestroyDeviceInfoList(devices);
}

bool PortOpen(const char* place) {
    if (strncmp(place, kListed, strlen(kListed)) == 0) {
        ListPresentPorts();
        place += strlen(kListed);
    }
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

/*
 * The fixed rule from a port's name to its device file.
 */
#include <strings.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "last_error.h"
#include "port.h"

constexpr uint32_t kFirstPseudoTerminal = 1000;

/** The number behind "COM"; 0, which is no port's, when it is none as Windows would write it, in up to nine
 * digits. */
static uint32_t PortNumber(const char* digits) {
    const size_t length = strspn(digits, "0123456789");
    if (length > 9 || digits[length] != '\0' || digits[0] == '0') return {};
    uint32_t value = 0;
    for (size_t index = 0; index < length; ++index) {
        value = value * 10 + static_cast<uint32_t>(digits[index] - '0');
    }
    return value;
}

static bool DeviceOfNumber(uint32_t number, PosixPath* device) {
    if (number >= kFirstPseudoTerminal) {
        snprintf(device->text, sizeof device->text, "/dev/pts/%u", number - kFirstPseudoTerminal);
        return true;
    }
    for (const PortKind& kind : kPortKinds) {
        if (number >= kind.first && number - kind.first < kind.count) {
            snprintf(device->text, sizeof device->text, "/dev/%s%u", kind.device_name, number - kind.first);
            return true;
        }
    }
    return false;
}

PosixPath PortDeviceFile(const char* path) {
    static const char kFront[] = "\\\\?\\";
    if (strncmp(path, kFront, sizeof kFront - 1) != 0) return ToPosixPath(path);

    const char* name = path + sizeof kFront - 1;
    PosixPath device = {};
    device.valid = strncasecmp(name, "COM", 3) == 0 && DeviceOfNumber(PortNumber(name + 3), &device);
    if (!device.valid) SetLastErrno(ENOENT);
    return device;
}

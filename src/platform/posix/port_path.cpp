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

/** Reads the number behind "COM"; false when it is none as Windows would write it, in up to nine digits. */
static bool ParsePortNumber(const char* digits, uint32_t* number) {
    const size_t length = strspn(digits, "0123456789");
    if (length == 0 || length > 9 || digits[length] != '\0' || digits[0] == '0') return false;
    uint32_t value = 0;
    for (size_t index = 0; index < length; ++index) {
        value = value * 10 + static_cast<uint32_t>(digits[index] - '0');
    }
    *number = value;
    return true;
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
    uint32_t number = {};
    device.valid = strncasecmp(name, "COM", 3) == 0 && ParsePortNumber(name + 3, &number) &&
                   DeviceOfNumber(number, &device);
    if (!device.valid) SetLastErrno(ENOENT);
    return device;
}

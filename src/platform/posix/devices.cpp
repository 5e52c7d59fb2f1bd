/*
 * Present serial devices, read from sysfs.
 *
 * The set is read whole when it is opened, in the order of the port numbers, so that it neither changes nor
 * holds anything while it is walked.
 */
#include "devices.h"

#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "descriptor.h"
#include "handle_table.h"
#include "last_error.h"
#include "path.h"
#include "port.h"

namespace {

struct Device {
    char port_name[16];
    std::string friendly;  // empty when the device has none
};

struct DeviceSet {
    std::vector<Device> devices;
    size_t current = SIZE_MAX;
};

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

}  // namespace

static HandleTable<DeviceSet>& DeviceSets() {
    // Never destroyed: a host may call the library until its very end.
    static HandleTable<DeviceSet>& table = *new HandleTable<DeviceSet>;
    return table;
}

/** Reads the one line of a file that was just opened; empty when the descriptor is none. */
static std::string ReadLine(const Descriptor& file) {
    char line[4096];
    const ssize_t count = read(file.number(), line, sizeof line);
    const std::string text(line, static_cast<size_t>(std::max<ssize_t>(count, {})));
    return text.substr(0, text.find_first_of(std::string_view("\n\0", 2)));
}

static int OpenLine(int folder, const std::string& name) {
    return openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
}

static bool Exists(int folder, const std::string& name) {
    return faccessat(folder, name.c_str(), F_OK, 0) == 0;
}

/** What the kernel says of the hardware behind a port's entry. */
enum class Hardware { kUnknown, kNone, kThere };

/**
 * The kernel makes an entry for every built-in port that there might be, and gives those where it found none
 * the type 0. A USB port has no type: its entry goes away with the device.
 */
static Hardware BuiltInHardware(const std::string& entry) {
    const Descriptor type(OpenLine(AT_FDCWD, entry + "/type"));
    if (!type.IsOpen() && errno == ENOENT) return Hardware::kUnknown;
    return strtol(ReadLine(type).c_str(), nullptr, 10) == 0 ? Hardware::kNone : Hardware::kThere;
}

/** The product text of the USB device that a port's hardware belongs to; empty when there is none. */
static std::string UsbProduct(int hardware) {
    // The port hangs one or two floors below its USB device, which is the first to have a vendor number.
    // Going further would end at the hub, whose product text says nothing about the port.
    std::string floor;
    for (int count = 0; count < 4; ++count, floor += "../") {
        if (!Exists(hardware, floor + "idVendor")) continue;
        return ReadLine(Descriptor(OpenLine(hardware, floor + "product")));
    }
    return "";
}

/** Whether a driver has taken the hardware behind an entry; if so, its USB product text where it has one. */
static bool HasDriver(const std::string& entry, std::string* friendly) {
    // The way to the hardware is long: it is gone once, and everything else asked from there.
    const Descriptor hardware(open((entry + "/device").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!hardware.IsOpen() || !Exists(hardware.number(), "driver")) return false;
    *friendly = UsbProduct(hardware.number());
    return true;
}

/** Adds the port of an entry when a device stands behind it. */
static void AddIfPresent(const std::string& entry, uint32_t number, std::vector<Device>* devices) {
    Device device = {};
    const Hardware built_in = BuiltInHardware(entry);
    if (built_in == Hardware::kNone) return;
    // What has a type has its driver already, and no USB device.
    if (built_in == Hardware::kUnknown && !HasDriver(entry, &device.friendly)) return;
    snprintf(device.port_name, sizeof device.port_name, "COM%u", number);
    devices->push_back(device);
}

/** The index behind a kind's name in an entry's name; the kind's count when the entry is of another kind. */
static uint32_t IndexInKind(const char* entry_name, const PortKind& kind) {
    const size_t front = strlen(kind.device_name);
    if (strncmp(entry_name, kind.device_name, front) != 0) return kind.count;
    const char* digits = entry_name + front;
    const size_t length = strspn(digits, "0123456789");
    const bool canonical = length == 1 || (length == 2 && digits[0] != '0');
    if (!canonical || digits[length] != '\0') return kind.count;
    return std::min(static_cast<uint32_t>(strtoul(digits, nullptr, 10)), kind.count);
}

/** The folder's entries that are ports, by their numbers: one look instead of one for each possible port. */
static std::map<uint32_t, std::string> ListPorts(const std::string& tty_class_folder) {
    std::map<uint32_t, std::string> ports;
    const std::unique_ptr<DIR, FolderCloser> folder(opendir(tty_class_folder.c_str()));
    if (folder == nullptr) return ports;
    while (const dirent* entry = readdir(folder.get())) {
        for (const PortKind& kind : kPortKinds) {
            const uint32_t index = IndexInKind(entry->d_name, kind);
            if (index < kind.count) ports[kind.first + index] = entry->d_name;
        }
    }
    return ports;
}

static void AddPresentDevices(const std::string& tty_class_folder, std::vector<Device>* devices) {
    for (const auto& [number, name] : ListPorts(tty_class_folder)) {
        std::string entry = tty_class_folder;
        entry.append("/").append(name);
        AddIfPresent(entry, number, devices);
    }
}

plat_handle OpenDevicesBelow(const char* tty_class_folder) {
    try {
        auto set = std::make_shared<DeviceSet>();
        AddPresentDevices(tty_class_folder, &set->devices);
        return DeviceSets().Add(std::move(set));
    } catch (...) {
        SetLastErrno(ENOMEM);
        return PLAT_INVALID_HANDLE;
    }
}

plat_handle plat_devices_open(const char* class_name) {
    if (strcasecmp(class_name, "Ports") == 0) return OpenDevicesBelow("/sys/class/tty");
    SetLastErrno(ENOENT);
    return PLAT_INVALID_HANDLE;
}

bool plat_devices_select(plat_handle devices, uint32_t index) {
    const std::shared_ptr<DeviceSet> set = DeviceSets().Find(devices);
    if (set == nullptr) return false;
    if (index >= set->devices.size()) {
        SetLastErrno(ENOENT);
        return false;
    }
    set->current = index;
    return true;
}

/** Does something with the current device of a set; false when there is none. */
template <class Action>
static bool WithCurrent(plat_handle devices, Action action) {
    const std::shared_ptr<DeviceSet> set = DeviceSets().Find(devices);
    if (set == nullptr) return false;
    if (set->current >= set->devices.size()) {
        SetLastErrno(ENOENT);
        return false;
    }
    return action(set->devices[set->current]);
}

bool plat_devices_port_name(plat_handle devices, char* name, uint32_t size) {
    return WithCurrent(devices, [name, size](const Device& device) {
        if (strlen(device.port_name) < size) CopyCut(name, size, device.port_name);
        return true;
    });
}

uint32_t plat_devices_friendly_size(plat_handle devices) {
    uint32_t size = 0;
    const bool has_one = WithCurrent(devices, [&size](const Device& device) {
        size = static_cast<uint32_t>(device.friendly.size()) + 1;
        return !device.friendly.empty();
    });
    return has_one ? size : 0;
}

bool plat_devices_friendly(plat_handle devices, char* friendly, uint32_t size) {
    return WithCurrent(devices, [friendly, size](const Device& device) {
        if (device.friendly.empty() || device.friendly.size() >= size) {
            SetLastErrno(device.friendly.empty() ? ENOENT : ERANGE);
            return false;
        }
        CopyCut(friendly, size, device.friendly.c_str());
        return true;
    });
}

bool plat_devices_close(plat_handle devices) {
    return DeviceSets().Remove(devices) != nullptr;
}

/** Every set is listed when it is opened. */
void plat_devices_forget() {}

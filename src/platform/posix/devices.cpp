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
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "descriptor.h"
#include "handle_table.h"
#include "last_error.h"
#include "path.h"
#include "port.h"

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

struct Device {
    char port_name[16];
    std::string friendly;  // empty when the device has none
};

/** The devices of a moment. */
struct DeviceList {
    std::vector<Device> devices;
    bool whole = true;  // no device or text is missing for want of descriptors or the like
};

struct DeviceSet {
    std::shared_ptr<const DeviceList> list;
    size_t current = SIZE_MAX;
};

/** What was listed last. */
struct KnownDevices {
    std::mutex guard;
    std::shared_ptr<const DeviceList> list;
    std::string events;  // the kernel's count of its events before the list was made
    SteadyTime since = {};
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

/** Marks the list when a file was not opened although it may be there. Returns the descriptor. */
static int Noted(int descriptor, DeviceList* list) {
    if (descriptor == kNoDescriptor && errno != ENOENT && errno != ENOTDIR) list->whole = false;
    return descriptor;
}

static int OpenLine(int folder, const std::string& name, DeviceList* list) {
    return Noted(openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK), list);
}

/** Reads the one line of a file that was just opened; empty when the descriptor is none. Marks the list when
 * the line is there but cannot be read. */
static std::string ReadLine(const Descriptor& file, DeviceList* list) {
    if (!file.IsOpen()) return "";
    char line[4096];
    ssize_t count = {};
    // The kernel asks the device for some of them, and lets a signal come in between.
    do {
        count = read(file.number(), line, sizeof line);
    } while (count < 0 && errno == EINTR);
    if (count < 0) list->whole = false;
    const std::string text(line, static_cast<size_t>(std::max<ssize_t>(count, {})));
    return text.substr(0, text.find_first_of(std::string_view("\n\0", 2)));
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
static Hardware BuiltInHardware(const std::string& entry, DeviceList* list) {
    const Descriptor type(OpenLine(AT_FDCWD, entry + "/type", list));
    if (!type.IsOpen() && errno == ENOENT) return Hardware::kUnknown;
    return strtol(ReadLine(type, list).c_str(), nullptr, 10) == 0 ? Hardware::kNone : Hardware::kThere;
}

/** The product text of the USB device that a port's hardware belongs to; empty when there is none. */
static std::string UsbProduct(int hardware, DeviceList* list) {
    // The port hangs one or two floors below its USB device, which is the first to have a vendor number.
    // Going further would end at the hub, whose product text says nothing about the port.
    std::string floor;
    for (int count = 0; count < 4; ++count, floor += "../") {
        if (!Exists(hardware, floor + "idVendor")) continue;
        return ReadLine(Descriptor(OpenLine(hardware, floor + "product", list)), list);
    }
    return "";
}

/** Whether a driver has taken the hardware behind an entry; if so, its USB product text where it has one. */
static bool HasDriver(const std::string& entry, std::string* friendly, DeviceList* list) {
    // The way to the hardware is long: it is gone once, and everything else asked from there.
    const std::string device = entry + "/device";
    const Descriptor hardware(Noted(open(device.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), list));
    if (!hardware.IsOpen() || !Exists(hardware.number(), "driver")) return false;
    *friendly = UsbProduct(hardware.number(), list);
    return true;
}

/** Adds the port of an entry when a device stands behind it. */
static void AddIfPresent(const std::string& entry, uint32_t number, DeviceList* list) {
    Device device = {};
    const Hardware built_in = BuiltInHardware(entry, list);
    if (built_in == Hardware::kNone) return;
    // What has a type has its driver already, and no USB device.
    if (built_in == Hardware::kUnknown && !HasDriver(entry, &device.friendly, list)) return;
    snprintf(device.port_name, sizeof device.port_name, "COM%u", number);
    list->devices.push_back(device);
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
static std::map<uint32_t, std::string> ListPorts(const std::string& tty_class_folder, DeviceList* list) {
    std::map<uint32_t, std::string> ports;
    const std::unique_ptr<DIR, FolderCloser> folder(opendir(tty_class_folder.c_str()));
    if (folder == nullptr) {
        list->whole = false;
        return ports;
    }
    // The end and an error look alike but for errno.
    errno = 0;
    while (const dirent* entry = readdir(folder.get())) {
        for (const PortKind& kind : kPortKinds) {
            const uint32_t index = IndexInKind(entry->d_name, kind);
            if (index < kind.count) ports[kind.first + index] = entry->d_name;
        }
        errno = 0;
    }
    if (errno != 0) list->whole = false;
    return ports;
}

static void ListDevices(const std::string& tty_class_folder, DeviceList* list) {
    for (const auto& [number, name] : ListPorts(tty_class_folder, list)) {
        std::string entry = tty_class_folder;
        entry.append("/").append(name);
        AddIfPresent(entry, number, list);
    }
}

static KnownDevices& TheKnownDevices() {
    // Never destroyed: a host may call the library until its very end.
    static KnownDevices& known = *new KnownDevices;
    return known;
}

/** The list that was made when the kernel had counted just these events; none when it is missing or old. */
static std::shared_ptr<const DeviceList> FindKnown(const std::string& events, SteadyTime now) {
    KnownDevices& known = TheKnownDevices();
    const std::lock_guard<std::mutex> lock(known.guard);
    const bool unchanged =
        events == known.events && now - known.since < std::chrono::milliseconds(PLAT_DEVICES_KNOWN_MS);
    return unchanged ? known.list : nullptr;
}

/** The devices, for which the system is asked only when they may have changed. */
static std::shared_ptr<const DeviceList> FindDevices(const char* tty_class_folder, const char* event_count) {
    auto list = std::make_shared<DeviceList>();
    // Both before the devices are listed, so that what changes meanwhile is seen the next time.
    std::string events = ReadLine(Descriptor(OpenLine(AT_FDCWD, event_count, list.get())), list.get());
    const SteadyTime now = std::chrono::steady_clock::now();
    if (auto found = FindKnown(events, now)) return found;
    ListDevices(tty_class_folder, list.get());
    if (events.empty() || !list->whole) return list;
    KnownDevices& known = TheKnownDevices();
    const std::lock_guard<std::mutex> lock(known.guard);
    known.list = list;
    known.events = std::move(events);
    known.since = now;
    return list;
}

plat_handle OpenDevicesBelow(const char* tty_class_folder, const char* event_count) {
    try {
        auto set = std::make_shared<DeviceSet>();
        set->list = FindDevices(tty_class_folder, event_count);
        return DeviceSets().Add(std::move(set));
    } catch (...) {
        SetLastErrno(ENOMEM);
        return PLAT_INVALID_HANDLE;
    }
}

plat_handle plat_devices_open(const char* class_name) {
    if (strcasecmp(class_name, "Ports") == 0) {
        return OpenDevicesBelow("/sys/class/tty", "/sys/kernel/uevent_seqnum");
    }
    SetLastErrno(ENOENT);
    return PLAT_INVALID_HANDLE;
}

bool plat_devices_select(plat_handle devices, uint32_t index) {
    const std::shared_ptr<DeviceSet> set = DeviceSets().Find(devices);
    if (set == nullptr) return false;
    if (index >= set->list->devices.size()) {
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
    if (set->current >= set->list->devices.size()) {
        SetLastErrno(ENOENT);
        return false;
    }
    return action(set->list->devices[set->current]);
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

void plat_devices_forget() {
    try {
        KnownDevices& known = TheKnownDevices();
        const std::lock_guard<std::mutex> lock(known.guard);
        known.list = nullptr;
    } catch (...) {
        // There is not even room to know anything.
    }
}

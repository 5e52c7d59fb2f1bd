/*
 * Present devices, from the device-setup interface.
 */
#include <windows.h>
// The order matters: the setup header needs the types of the one above.
#include <setupapi.h>

#include <atomic>
#include <cstring>

#include "../platform.h"
#include "device_watch.h"
#include "unload.h"

namespace {

/** Longer than a port's name is anywhere. */
constexpr DWORD kLongestName = 64;

/** A device as the system told of it. */
struct Device {
    Device* next;
    bool has_key;     ///< its hardware key can be opened
    DWORD name_size;  ///< bytes of the port's name, with a NUL where the value has one; 0 without a name
    char name[kLongestName];
    DWORD friendly_size;  ///< bytes with the NUL; 0 without a friendly name
    char* friendly;       ///< NULL when it could not be read
};

/** What a set's handle points at. */
struct DeviceSet {
    char class_name[32];
    uint64_t watch;  ///< for DevicesUnchanged; 0 for a set that is not to be given again
    Device* first;
    Device* selected;
    bool released;  ///< the system took its own set back
};

}  // namespace

static_assert(sizeof(SP_DEVINFO_DATA) == 32, "the size that the system checks in the record");

/**
 * The set that was closed last. The system goes through every device that it ever saw to list the present
 * ones, which takes longer than all the rest of an exchange but its waits: while nothing has changed, the
 * list need not be made again.
 */
static std::atomic<DeviceSet*> kept{nullptr};

static DeviceSet* Set(plat_handle devices) {
    // The number is one of these, cast by the routine that made it. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return plat_handle_valid(devices) ? reinterpret_cast<DeviceSet*>(devices) : nullptr;
}

/** The selected device of a set; NULL for one that has none. */
static const Device* Selected(plat_handle devices) {
    const DeviceSet* const set = Set(devices);
    return set != nullptr ? set->selected : nullptr;
}

/**
 * The identifier of the first setup class with this name; false when there is none. The system goes through
 * all its classes for an answer, so it is asked without a question before for their number: a name has one
 * class as a rule.
 */
static bool FindClass(const char* class_name, GUID* found) {
    DWORD count = 0;
    if (SetupDiClassGuidsFromNameA(class_name, found, 1, &count) != 0) return count != 0;
    if (count <= 1) return false;

    GUID* classes = static_cast<GUID*>(plat_alloc(count * sizeof(GUID)));
    if (classes == nullptr) return false;
    const bool told = SetupDiClassGuidsFromNameA(class_name, classes, count, &count) != 0;
    if (told) *found = classes[0];
    plat_free(classes);
    return told;
}

/** The system's set of the present devices of the first class with this name; invalid when there is none. */
static HDEVINFO OpenSystemSet(const char* class_name) {
    GUID found = {};
    if (!FindClass(class_name, &found)) return INVALID_HANDLE_VALUE;
    return SetupDiGetClassDevsA(&found, nullptr, nullptr, DIGCF_PRESENT);
}

static void ReadPortName(HDEVINFO system_set, SP_DEVINFO_DATA* entry, Device* device) {
    const HKEY key = SetupDiOpenDevRegKey(system_set, entry, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_READ);
    device->has_key = key != INVALID_HANDLE_VALUE;
    if (!device->has_key) return;
    DWORD size = sizeof device->name;
    const LSTATUS status =
        RegQueryValueExA(key, "PortName", nullptr, nullptr, reinterpret_cast<BYTE*>(device->name), &size);
    if (status == ERROR_SUCCESS) device->name_size = size;
    RegCloseKey(key);
}

/** False when the device has one and there is no memory for it. */
static bool ReadFriendlyName(HDEVINFO system_set, SP_DEVINFO_DATA* entry, Device* device) {
    SetupDiGetDeviceRegistryPropertyA(system_set, entry, SPDRP_FRIENDLYNAME, nullptr, nullptr, 0,
                                      &device->friendly_size);
    if (device->friendly_size == 0) return true;
    char* const friendly = static_cast<char*>(plat_alloc(device->friendly_size));
    if (friendly == nullptr) return false;
    if (SetupDiGetDeviceRegistryPropertyA(system_set, entry, SPDRP_FRIENDLYNAME, nullptr,
                                          reinterpret_cast<BYTE*>(friendly), device->friendly_size,
                                          nullptr) != 0) {
        device->friendly = friendly;
    } else {
        plat_free(friendly);
    }
    return true;
}

/** Reads the devices of the system's set in its order. Where memory ends, so does the list: false. */
static bool ReadDevices(HDEVINFO system_set, DeviceSet* set) {
    Device** tail = &set->first;
    SP_DEVINFO_DATA entry = {};
    entry.cbSize = sizeof entry;
    for (DWORD i = 0; SetupDiEnumDeviceInfo(system_set, i, &entry) != 0; ++i) {
        Device* const device = static_cast<Device*>(plat_alloc(sizeof(Device)));
        if (device == nullptr) return false;
        *tail = device;
        tail = &device->next;
        ReadPortName(system_set, &entry, device);
        if (!ReadFriendlyName(system_set, &entry, device)) return false;
    }
    return true;
}

/** Asks the system; NULL when it has no such class. */
static DeviceSet* ListDevices(const char* class_name) {
    // First this, so that a change while the list is made is seen.
    const uint64_t watch = WatchDevices();
    const HDEVINFO system_set = OpenSystemSet(class_name);
    if (system_set == INVALID_HANDLE_VALUE) return nullptr;
    DeviceSet* const set = static_cast<DeviceSet*>(plat_alloc(sizeof(DeviceSet)));
    const bool whole = set != nullptr && ReadDevices(system_set, set);
    const bool released = SetupDiDestroyDeviceInfoList(system_set) != 0;
    if (set == nullptr) return nullptr;
    set->released = released;
    const size_t length = strlen(class_name);
    if (whole && length < sizeof set->class_name) {
        memcpy(set->class_name, class_name, length + 1);
        set->watch = watch;
    }
    return set;
}

static void FreeSet(DeviceSet* set) {
    if (set == nullptr) return;
    for (Device* device = set->first; device != nullptr;) {
        Device* const next = device->next;
        plat_free(device->friendly);
        plat_free(device);
        device = next;
    }
    plat_free(set);
}

void plat_devices_forget() {
    FreeSet(kept.exchange(nullptr));
}

void LeaveDevices() {
    plat_devices_forget();
    StopWatchingDevices();
}

plat_handle plat_devices_open(const char* class_name) {
    DeviceSet* set = kept.exchange(nullptr);
    if (set == nullptr || strcmp(set->class_name, class_name) != 0 || !DevicesUnchanged(set->watch)) {
        FreeSet(set);
        set = ListDevices(class_name);
    }
    return set != nullptr ? reinterpret_cast<plat_handle>(set) : PLAT_INVALID_HANDLE;
}

bool plat_devices_select(plat_handle devices, uint32_t index) {
    DeviceSet* const set = Set(devices);
    if (set == nullptr) return false;
    Device* device = set->first;
    for (; device != nullptr && index > 0; --index)
        device = device->next;
    if (device == nullptr) return false;
    set->selected = device;
    return true;
}

bool plat_devices_port_name(plat_handle devices, char* name, uint32_t size) {
    const Device* const device = Selected(devices);
    if (device == nullptr) return false;
    // The value comes from the registry, where anybody may have written anything: it counts only when it fits
    // with its NUL, and one that lacks the NUL gets it.
    const size_t length = strnlen(device->name, device->name_size);
    if (device->name_size > 0 && device->name_size <= size && length < size) {
        memcpy(name, device->name, length);
        name[length] = '\0';
    }
    return device->has_key;
}

uint32_t plat_devices_friendly_size(plat_handle devices) {
    const Device* const device = Selected(devices);
    return device != nullptr ? device->friendly_size : 0;
}

bool plat_devices_friendly(plat_handle devices, char* friendly, uint32_t size) {
    const Device* const device = Selected(devices);
    if (device == nullptr || device->friendly == nullptr || size < device->friendly_size) return false;
    memcpy(friendly, device->friendly, device->friendly_size);
    return true;
}

bool plat_devices_close(plat_handle devices) {
    DeviceSet* const set = Set(devices);
    if (set == nullptr) return false;
    const bool released = set->released;
    set->selected = nullptr;
    FreeSet(kept.exchange(set));
    return released;
}

/*
 * Present devices, from the device-setup interface.
 */
#include <windows.h>
// The order matters: the setup header needs the types of the one above.
#include <setupapi.h>

#include <cstring>

#include "../platform.h"

namespace {

/** What a set's handle points at: the system's set, and the device that is the current one. */
struct DeviceSet {
    HDEVINFO system_set;
    SP_DEVINFO_DATA current;
};

}  // namespace

static_assert(sizeof(SP_DEVINFO_DATA) == 32, "the size that the system checks in the record");

static DeviceSet* Set(plat_handle devices) {
    // The number is one of these, cast by the routine that made it. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<DeviceSet*>(devices);
}

/** Asks the system for the first setup class with this name; false when there is none. */
static bool AskForClass(const char* class_name, GUID* found) {
    DWORD count = 0;
    SetupDiClassGuidsFromNameA(class_name, nullptr, 0, &count);
    if (count == 0) return false;

    GUID* classes = static_cast<GUID*>(plat_alloc(count * sizeof(GUID)));
    if (classes == nullptr) return false;
    const bool told = SetupDiClassGuidsFromNameA(class_name, classes, count, &count) != 0;
    if (told) *found = classes[0];
    plat_free(classes);
    return told;
}

/**
 * The same, asked once: the system goes through all its classes for an answer, which takes it as long as all
 * the rest of a discovery's questions but one. Classes come with an installation and stay.
 */
static bool FindClass(const char* class_name, GUID* found) {
    static SRWLOCK guard = SRWLOCK_INIT;
    static char known_name[32];
    static GUID known;

    AcquireSRWLockExclusive(&guard);
    bool success = known_name[0] != '\0' && strcmp(known_name, class_name) == 0;
    if (!success) {
        success = AskForClass(class_name, &known);
        // A name that does not fit is asked for again every time.
        const size_t length = strlen(class_name);
        const bool keeps = success && length < sizeof known_name;
        memcpy(known_name, keeps ? class_name : "", keeps ? length + 1 : 1);
    }
    if (success) *found = known;
    ReleaseSRWLockExclusive(&guard);
    return success;
}

/** The system's set of the present devices of the first class with this name; invalid when there is none. */
static HDEVINFO OpenSystemSet(const char* class_name) {
    GUID found = {};
    if (!FindClass(class_name, &found)) return INVALID_HANDLE_VALUE;
    return SetupDiGetClassDevsA(&found, nullptr, nullptr, DIGCF_PRESENT);
}

plat_handle plat_devices_open(const char* class_name) {
    const HDEVINFO system_set = OpenSystemSet(class_name);
    if (system_set == INVALID_HANDLE_VALUE) return PLAT_INVALID_HANDLE;

    DeviceSet* set = static_cast<DeviceSet*>(plat_alloc(sizeof(DeviceSet)));
    if (set == nullptr) {
        SetupDiDestroyDeviceInfoList(system_set);
        return PLAT_INVALID_HANDLE;
    }
    set->system_set = system_set;
    set->current.cbSize = sizeof set->current;
    return reinterpret_cast<plat_handle>(set);
}

bool plat_devices_select(plat_handle devices, uint32_t index) {
    if (!plat_handle_valid(devices)) return false;
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof device;
    if (SetupDiEnumDeviceInfo(Set(devices)->system_set, index, &device) == 0) return false;
    Set(devices)->current = device;
    return true;
}

/**
 * Reads the key's port name into `name`. The value comes from the registry, where anybody may have written
 * anything: it counts only when it fits with its NUL, and one that lacks the NUL gets it.
 */
static void ReadPortName(HKEY key, char* name, uint32_t size) {
    char* value = static_cast<char*>(plat_alloc(size));
    if (value == nullptr) return;
    DWORD value_size = size;
    if (RegQueryValueExA(key, "PortName", nullptr, nullptr, reinterpret_cast<BYTE*>(value), &value_size) ==
        ERROR_SUCCESS) {
        const size_t length = strnlen(value, size);
        if (length < size) memcpy(name, value, length + 1);
    }
    plat_free(value);
}

bool plat_devices_port_name(plat_handle devices, char* name, uint32_t size) {
    if (!plat_handle_valid(devices)) return false;
    const HKEY key = SetupDiOpenDevRegKey(Set(devices)->system_set, &Set(devices)->current, DICS_FLAG_GLOBAL,
                                          0, DIREG_DEV, KEY_READ);
    if (key == INVALID_HANDLE_VALUE) return false;
    ReadPortName(key, name, size);
    RegCloseKey(key);
    return true;
}

uint32_t plat_devices_friendly_size(plat_handle devices) {
    if (!plat_handle_valid(devices)) return 0;
    DWORD size = 0;
    SetupDiGetDeviceRegistryPropertyA(Set(devices)->system_set, &Set(devices)->current, SPDRP_FRIENDLYNAME,
                                      nullptr, nullptr, 0, &size);
    return size;
}

bool plat_devices_friendly(plat_handle devices, char* friendly, uint32_t size) {
    if (!plat_handle_valid(devices)) return false;
    return SetupDiGetDeviceRegistryPropertyA(Set(devices)->system_set, &Set(devices)->current,
                                             SPDRP_FRIENDLYNAME, nullptr, reinterpret_cast<BYTE*>(friendly),
                                             size, nullptr) != 0;
}

bool plat_devices_close(plat_handle devices) {
    if (!plat_handle_valid(devices)) return false;
    const bool destroyed = SetupDiDestroyDeviceInfoList(Set(devices)->system_set) != 0;
    plat_free(Set(devices));
    return destroyed;
}

/*
 * Changes in the system's tree of devices.
 */
#include "device_watch.h"

#include <windows.h>

/** All devices that the system knows, and the names that the device-setup interface tells of them. */
static const char kDeviceTree[] = "SYSTEM\\CurrentControlSet\\Enum";

/** The report does not end with the thread that asked for it: a program may make each call on a new one. */
static constexpr DWORD kChanges =
    REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_THREAD_AGNOSTIC;

// What stands below is touched under this lock.
static SRWLOCK guard = SRWLOCK_INIT;
static HKEY tree;
static HANDLE changed;    // signalled by the system
static bool awaiting;     // the system was asked for a report, and none was seen yet
static uint64_t current;  // 0: none
static uint64_t current_since_ms;

static bool OpenTree() {
    if (changed == nullptr) changed = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (changed == nullptr) return false;
    return tree != nullptr ||
           RegOpenKeyExA(HKEY_LOCAL_MACHINE, kDeviceTree, 0, KEY_NOTIFY, &tree) == ERROR_SUCCESS;
}

static bool NothingReported() {
    awaiting = awaiting && WaitForSingleObject(changed, 0) == WAIT_TIMEOUT;
    return awaiting;
}

static bool AwaitReport() {
    if (NothingReported()) return true;
    if (!OpenTree()) return false;
    // First this, so that a report that comes at once is not lost.
    ResetEvent(changed);
    awaiting = RegNotifyChangeKeyValue(tree, TRUE, kChanges, changed, TRUE) == ERROR_SUCCESS;
    return awaiting;
}

uint64_t WatchDevices() {
    static uint64_t count = 0;
    AcquireSRWLockExclusive(&guard);
    current = AwaitReport() ? ++count : 0;
    current_since_ms = GetTickCount64();
    const uint64_t watch = current;
    ReleaseSRWLockExclusive(&guard);
    return watch;
}

bool DevicesUnchanged(uint64_t watch) {
    AcquireSRWLockExclusive(&guard);
    // A later watch may have taken the report of a change that this one then never hears of.
    const bool unchanged = watch != 0 && watch == current &&
                           GetTickCount64() - current_since_ms <= kLongestKnownMs && NothingReported();
    ReleaseSRWLockExclusive(&guard);
    return unchanged;
}

void StopWatchingDevices() {
    if (tree != nullptr) RegCloseKey(tree);
    if (changed != nullptr) CloseHandle(changed);
}

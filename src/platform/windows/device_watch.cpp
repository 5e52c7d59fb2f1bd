/*
 * Changes in what the system knows of its devices.
 */
#include "device_watch.h"

#include <windows.h>

#include <iterator>

#include "../platform.h"

/**
 * The devices that the system remembers with the names that the device-setup interface tells of them, and the
 * ports that drivers serve now: where a known device comes or goes, the second is sure to change.
 */
static const char* const kTreePaths[] = {"SYSTEM\\CurrentControlSet\\Enum", "HARDWARE\\DEVICEMAP"};

/** A report does not end with the thread that asked for it: a program may make each call on a new one. */
static constexpr DWORD kChanges =
    REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_THREAD_AGNOSTIC;

// What stands below is touched under this lock.
static SRWLOCK guard = SRWLOCK_INIT;
static HKEY trees[std::size(kTreePaths)];
static HANDLE changed;    // signalled by the system
static bool awaiting;     // the system was asked for reports, and none was seen yet
static uint64_t current;  // 0: none
static uint64_t current_since_ms;

static bool NothingReported() {
    awaiting = awaiting && WaitForSingleObject(changed, 0) == WAIT_TIMEOUT;
    return awaiting;
}

/** Closes the trees, which ends what was asked for, and signals that it did. */
static void CloseTrees() {
    for (HKEY& tree : trees) {
        if (tree != nullptr) RegCloseKey(tree);
        tree = nullptr;
    }
}

static bool AskForReports() {
    for (size_t i = 0; i < std::size(trees); ++i) {
        if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kTreePaths[i], 0, KEY_NOTIFY, &trees[i]) != ERROR_SUCCESS) {
            trees[i] = nullptr;
            return false;
        }
        if (RegNotifyChangeKeyValue(trees[i], TRUE, kChanges, changed, TRUE) != ERROR_SUCCESS) return false;
    }
    return true;
}

static bool AwaitReports() {
    if (NothingReported()) return true;
    if (changed == nullptr) {
        changed = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        if (changed == nullptr) return false;
    } else {
        CloseTrees();
        // Between the two, so that neither the end of the old question stays nor the answer to the new one is
        // lost.
        ResetEvent(changed);
    }
    awaiting = AskForReports();
    return awaiting;
}

uint64_t WatchDevices() {
    static uint64_t count = 0;
    AcquireSRWLockExclusive(&guard);
    current = AwaitReports() ? ++count : 0;
    current_since_ms = GetTickCount64();
    const uint64_t watch = current;
    ReleaseSRWLockExclusive(&guard);
    return watch;
}

bool DevicesUnchanged(uint64_t watch) {
    AcquireSRWLockExclusive(&guard);
    // A later watch may have taken the report of a change that this one then never hears of.
    const bool unchanged = watch != 0 && watch == current &&
                           GetTickCount64() - current_since_ms <= PLAT_DEVICES_KNOWN_MS && NothingReported();
    ReleaseSRWLockExclusive(&guard);
    return unchanged;
}

void StopWatchingDevices() {
    CloseTrees();
    if (changed != nullptr) CloseHandle(changed);
}

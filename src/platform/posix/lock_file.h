/*
 * The file behind a machine-wide mutex, and the kernel's lock on it.
 *
 * The kernel drops the lock when its process ends, in whatever way, so that nobody waits for the dead.
 */
#pragma once

struct LockFile {
    char path[512];
    int descriptor;  ///< -1 while the file is not open
};

enum class LockResult {
    taken,
    busy,   ///< another process has it
    failed  ///< the last error tells why
};

/** Finds the path for a mutex name and opens the file, created if missing. False on failure. */
bool OpenLockFile(const char* name, LockFile* file);

/** Tries once to take the lock, without waiting. */
LockResult TryLock(LockFile* file);

/** Gives the lock back. */
void Unlock(LockFile* file);

/** Closes the file; the path stays, and the next TryLock opens it again. */
void CloseLockFile(LockFile* file);

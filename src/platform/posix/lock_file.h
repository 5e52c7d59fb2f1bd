/*
 * The file behind a machine-wide mutex, and the kernel's lock on it.
 *
 * The kernel drops the lock when its process ends, in whatever way, so that nobody waits for the dead.
 */
#pragma once

#include <string>

#include "descriptor.h"

struct LockFile {
    std::string path;
    int descriptor = kNoDescriptor;  ///< kNoDescriptor while the file is not open
};

enum class LockResult {
    taken,
    busy,   ///< another process has it
    failed  ///< the last error tells why
};

/**
 * The folder that lock files go to: `preferred` if everybody may write there and this process can, else
 * `other`.
 */
const char* ChooseLockFolder(const char* preferred, const char* other);

/**
 * Finds the path for a mutex name and opens the file, created if missing. False on failure. Throws
 * std::bad_alloc.
 */
bool OpenLockFile(const char* name, LockFile* file);

/** Tries once to take the lock, without waiting. */
LockResult TryLock(LockFile* file);

/** Gives the lock back. */
void Unlock(LockFile* file);

/** Closes the file; the path stays, and the next TryLock opens it again. */
void CloseLockFile(LockFile* file);

/*
 * The file behind a machine-wide mutex.
 */
#include "lock_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "../platform.h"
#include "last_error.h"

/**
 * The folder of the lock files. Every user must come to the same one, so it counts whether everybody may
 * write there, not whether this process may.
 */
static const char* LockFolder() {
    static const char kFolder[] = "/run/lock";
    struct stat status = {};
    const bool shared = stat(kFolder, &status) == 0 && S_ISDIR(status.st_mode) &&
                        (status.st_mode & S_IWOTH) != 0 && access(kFolder, W_OK) == 0;
    return shared ? kFolder : "/tmp";
}

/** Writes the path for a mutex name. Two names never share a path: what is not alphanumeric goes as "_XX". */
static bool ComposePath(const char* name, char* path, size_t size) {
    size_t length = static_cast<size_t>(snprintf(path, size, "%s/mutex-", LockFolder()));
    for (; *name != '\0'; ++name) {
        if (length + sizeof "_XX.lock" > size) {
            SetLastErrno(ENAMETOOLONG);
            return false;
        }
        const unsigned char letter = static_cast<unsigned char>(*name);
        const int written = letter < 0x80 && isalnum(letter) != 0
                                ? snprintf(path + length, size - length, "%c", letter)
                                : snprintf(path + length, size - length, "_%02X", letter);
        length += static_cast<size_t>(written);
    }
    snprintf(path + length, size - length, ".lock");
    return true;
}

/** Opens the file if it is there, else creates it for everybody. -1 and errno on failure. */
static int OpenOrCreate(const char* path) {
    // Reading is enough for the lock. O_CREAT on an existing file would be refused to other users in folders
    // that everybody may write to; O_NONBLOCK keeps a pipe of that name from blocking the open.
    constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    int descriptor = open(path, kFlags);
    if (descriptor >= 0 || errno != ENOENT) return descriptor;

    descriptor = open(path, kFlags | O_CREAT | O_EXCL, 0666);
    if (descriptor >= 0) {
        // The creator's umask must not shut other users out.
        fchmod(descriptor, 0666);
        return descriptor;
    }
    return errno == EEXIST ? open(path, kFlags) : -1;
}

static bool OpenPath(LockFile* file) {
    constexpr int kTries = 20;
    for (int attempt = 0; attempt < kTries; ++attempt) {
        file->descriptor = OpenOrCreate(file->path);
        // Between its creation and its opening to everybody a file may refuse another user for a moment.
        if (file->descriptor >= 0 || (errno != EACCES && errno != ENOENT)) break;
        plat_sleep_ms(1);
    }
    if (file->descriptor < 0) {
        SetLastErrno(errno);
        return false;
    }
    struct stat status = {};
    if (fstat(file->descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        CloseLockFile(file);
        SetLastErrno(EACCES);
        return false;
    }
    return true;
}

bool OpenLockFile(const char* name, LockFile* file) {
    file->descriptor = -1;
    return ComposePath(name, file->path, sizeof file->path) && OpenPath(file);
}

/** Whether the descriptor is still the file that others find under the path: it may have been cleaned away.
 */
static bool IsFileOfPath(const LockFile& file) {
    struct stat opened = {};
    struct stat found = {};
    return fstat(file.descriptor, &opened) == 0 && lstat(file.path, &found) == 0 &&
           opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
}

LockResult TryLock(LockFile* file) {
    constexpr int kTries = 3;
    for (int attempt = 0; attempt < kTries; ++attempt) {
        if (file->descriptor < 0 && !OpenPath(file)) return LockResult::failed;
        if (flock(file->descriptor, LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK || errno == EINTR) return LockResult::busy;
            SetLastErrno(errno);
            return LockResult::failed;
        }
        if (IsFileOfPath(*file)) return LockResult::taken;
        // A lock on a file that nobody else finds keeps nobody out: on to the new file.
        CloseLockFile(file);
    }
    return LockResult::busy;
}

void Unlock(LockFile* file) {
    if (file->descriptor >= 0) flock(file->descriptor, LOCK_UN);
}

void CloseLockFile(LockFile* file) {
    if (file->descriptor >= 0) close(file->descriptor);
    file->descriptor = -1;
}

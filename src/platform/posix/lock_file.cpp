/*
 * The file behind a machine-wide mutex.
 */
#include "lock_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "../platform.h"
#include "last_error.h"

/** What may stand in a file's name as it is. Spelled out, since what counts as a letter depends on the
 * locale. */
static const char kPlainLetters[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// Every user must come to the same folder, so it counts whether everybody may write there, not whether this
// process may.
const char* ChooseLockFolder(const char* preferred, const char* other) {
    struct stat status = {};
    const bool shared = stat(preferred, &status) == 0 && S_ISDIR(status.st_mode) &&
                        (status.st_mode & S_IWOTH) != 0 && access(preferred, W_OK) == 0;
    return shared ? preferred : other;
}

/** The path for a mutex name. Two names never share a path: what is not alphanumeric goes as "_XX". */
static std::string ComposePath(const char* name) {
    std::string path = std::string(ChooseLockFolder("/run/lock", "/tmp")) + "/mutex-";
    for (; *name != '\0'; ++name) {
        char letter[8] = {*name, '\0'};
        if (strchr(kPlainLetters, *name) == nullptr) {
            snprintf(letter, sizeof letter, "_%02X", static_cast<unsigned char>(*name));
        }
        path += letter;
    }
    return path + ".lock";
}

/** Opens the file if it is there, else creates it for everybody. kNoDescriptor and errno on failure. */
static int OpenOrCreate(const char* path) {
    // Reading is enough for the lock. O_CREAT on an existing file would be refused to other users in folders
    // that everybody may write to; O_NONBLOCK keeps a pipe of that name from blocking the open.
    constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    int descriptor = open(path, kFlags);
    if (descriptor != kNoDescriptor || errno != ENOENT) return descriptor;

    constexpr mode_t kForEverybody = 0666;
    descriptor = open(path, kFlags | O_CREAT | O_EXCL, kForEverybody);
    if (descriptor != kNoDescriptor) {
        // The creator's umask must not shut other users out.
        fchmod(descriptor, kForEverybody);
        return descriptor;
    }
    return errno == EEXIST ? open(path, kFlags) : descriptor;
}

static bool OpenPath(LockFile* file) {
    constexpr int kTries = 20;
    for (int attempt = 0; attempt < kTries; ++attempt) {
        file->descriptor = OpenOrCreate(file->path.c_str());
        // Between its creation and its opening to everybody a file may refuse another user for a moment.
        if (file->descriptor != kNoDescriptor || (errno != EACCES && errno != ENOENT)) break;
        plat_sleep_ms(1);
    }
    if (!Done(file->descriptor != kNoDescriptor)) return false;
    struct stat status = {};
    if (fstat(file->descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        CloseLockFile(file);
        SetLastErrno(EACCES);
        return false;
    }
    return true;
}

bool OpenLockFile(const char* name, LockFile* file) {
    file->path = ComposePath(name);
    return OpenPath(file);
}

/** Whether the descriptor is still the file that others find under the path: it may have been cleaned away.
 */
static bool IsFileOfPath(const LockFile& file) {
    struct stat opened = {};
    struct stat found = {};
    return fstat(file.descriptor, &opened) == 0 && lstat(file.path.c_str(), &found) == 0 &&
           opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
}

LockResult TryLock(LockFile* file) {
    constexpr int kTries = 3;
    for (int attempt = 0; attempt < kTries; ++attempt) {
        if (file->descriptor == kNoDescriptor && !OpenPath(file)) return LockResult::failed;
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
    flock(file->descriptor, LOCK_UN);
}

void CloseLockFile(LockFile* file) {
    close(file->descriptor);
    file->descriptor = kNoDescriptor;
}

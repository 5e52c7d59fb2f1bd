/*
 * A file's content replaced as a whole: written beside the file, forced to the disk, and moved over it.
 */
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "../platform.h"
#include "descriptor.h"
#include "last_error.h"
#include "path.h"

/**
 * Creates a file of a name that nobody has yet, with the permissions of any new file; kNoDescriptor on
 * failure. `fresh` has room for any path and the number behind it.
 */
static int CreateBeside(const char* target, char* fresh, size_t size) {
    constexpr unsigned kLastNumber = 999;
    for (unsigned number = 0;; ++number) {
        snprintf(fresh, size, "%s.%d-%u", target, static_cast<int>(getpid()), number);
        const int descriptor = open(fresh, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor != kNoDescriptor || errno != EEXIST || number == kLastNumber) return descriptor;
    }
}

/** Makes a folder's list of names durable. A file system that cannot is left to its own devices. */
static void SyncFolderOf(const char* path) {
    char folder[PATH_MAX];
    CopyCut(folder, sizeof folder, path);
    char* slash = strrchr(folder, '/');
    if (slash == nullptr) {
        CopyCut(folder, sizeof folder, ".");
    } else {
        slash[1] = '\0';
    }
    const Descriptor opened(open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    fsync(opened.number());
}

bool plat_file_replace(const char* path, const void* bytes, size_t size) {
    const PosixPath name = ToPosixPath(path);
    if (!name.valid) return false;
    // The file that a link leads to is replaced, not the link.
    char target[PATH_MAX];
    if (realpath(name.text, target) == nullptr) CopyCut(target, sizeof target, name.text);
    struct stat old = {};
    const bool exists = stat(target, &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        SetLastErrno(EACCES);
        return false;
    }
    char fresh[PATH_MAX + 32];
    const int descriptor = CreateBeside(target, fresh, sizeof fresh);
    if (!Done(descriptor != kNoDescriptor)) return false;
    const bool written = Done(WriteAll(descriptor, bytes, size) && fsync(descriptor) == 0 &&
                              (!exists || fchmod(descriptor, old.st_mode & 07777) == 0));
    close(descriptor);
    if (written && Done(rename(fresh, target) == 0)) {
        SyncFolderOf(target);
        return true;
    }
    unlink(fresh);
    return false;
}

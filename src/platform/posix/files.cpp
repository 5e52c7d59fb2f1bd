/*
 * Files and folders.
 */
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "../platform.h"
#include "last_error.h"
#include "path.h"

bool plat_file_query(const char* path, plat_file_status* status) {
    const PosixPath name = ToPosixPath(path);
    struct stat found = {};
    if (!name.valid || !Done(stat(name.text, &found) == 0)) return false;

    // A block device is the one kind whose number differs; sockets are unknown to Windows and stay as they
    // are.
    const uint32_t mode = found.st_mode;
    status->mode = S_ISBLK(mode) ? (mode & ~PLAT_MODE_FORMAT) | PLAT_MODE_BLOCK : mode;
    status->size = found.st_size;
    status->modified = found.st_mtime;
    return true;
}

bool plat_create_folder(const char* path) {
    const PosixPath name = ToPosixPath(path);
    return name.valid && Done(mkdir(name.text, 0777) == 0);
}

bool plat_move_file(const char* from, const char* to) {
    const PosixPath old_name = ToPosixPath(from);
    const PosixPath new_name = ToPosixPath(to);
    if (!old_name.valid || !new_name.valid) return false;
    if (renameat2(AT_FDCWD, old_name.text, AT_FDCWD, new_name.text, RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return Done(false);

    // A file system that cannot rename without replacing: a second link fails just so when the name is taken.
    return Done(link(old_name.text, new_name.text) == 0) && Done(unlink(old_name.text) == 0);
}

bool plat_remove_file(const char* path) {
    const PosixPath name = ToPosixPath(path);
    return name.valid && Done(unlink(name.text) == 0);
}

bool plat_common_data_folder(char* path, size_t path_size) {
    static const char kFolder[] = "/var/lib";
    if (path_size < sizeof kFolder) {
        SetLastErrno(ERANGE);
        return false;
    }
    CopyCut(path, path_size, kFolder);
    return true;
}

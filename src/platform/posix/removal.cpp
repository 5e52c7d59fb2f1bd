/*
 * Removal of folders and files with what is below them.
 */
#include "removal.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "descriptor.h"
#include "last_error.h"
#include "path.h"

/** Opens a folder for reading its entries, never through a link. NULL on failure. */
static DIR* OpenFolder(int parent, const char* name) {
    const int descriptor = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (descriptor == kNoDescriptor) return nullptr;
    DIR* folder = fdopendir(descriptor);
    if (folder == nullptr) close(descriptor);
    return folder;
}

/** The next entry but the folder itself and its parent; NULL at the end. */
static const dirent* NextEntry(DIR* folder) {
    const dirent* entry = nullptr;
    do {
        entry = readdir(folder);
    } while (entry != nullptr && (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0));
    return entry;
}

static bool IsFolder(int parent, const char* name, int flags) {
    struct stat status = {};
    return fstatat(parent, name, &status, flags) == 0 && S_ISDIR(status.st_mode);
}

/** Removes the tree `name` of an open folder. Goes on behind a failure, to remove what can be removed. */
static bool RemoveTreeAt(int parent, const char* name) {
    DIR* folder = OpenFolder(parent, name);
    if (folder == nullptr) return Done(false);

    bool removed_all = true;
    while (const dirent* entry = NextEntry(folder)) {
        const bool removed = IsFolder(dirfd(folder), entry->d_name, AT_SYMLINK_NOFOLLOW)
                                 ? RemoveTreeAt(dirfd(folder), entry->d_name)
                                 : Done(unlinkat(dirfd(folder), entry->d_name, 0) == 0);
        removed_all = removed_all && removed;
    }
    closedir(folder);
    return removed_all && Done(unlinkat(parent, name, AT_REMOVEDIR) == 0);
}

static bool IsSame(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/** Whether the current folder lies in `path`, or is it: compared by identity, so that no spelling gets past.
 */
static bool HoldsCurrentFolder(const char* path) {
    struct stat wanted = {};
    struct stat climbed = {};
    // Without an answer nothing is removed: the tree might be the whole machine.
    if (stat(path, &wanted) != 0 || stat(".", &climbed) != 0) return true;

    PosixPath ancestor = ToPosixPath(".");
    for (size_t length = 1; !IsSame(climbed, wanted); length += 3) {
        struct stat above = {};
        if (length + sizeof "/.." > sizeof ancestor.text) return true;
        memcpy(ancestor.text + length, "/..", sizeof "/..");
        if (stat(ancestor.text, &above) != 0) return true;
        // The root is its own parent: the climb ends there.
        if (IsSame(above, climbed)) return false;
        climbed = above;
    }
    return true;
}

bool RemoveTree(const char* path) {
    PosixPath name = ToPosixPath(path);
    if (!name.valid) return false;
    // A slash at the end would make the system look through a link.
    for (size_t length = strlen(name.text); length > 1 && name.text[length - 1] == '/'; --length) {
        name.text[length - 1] = '\0';
    }
    struct stat status = {};
    if (!Done(lstat(name.text, &status) == 0)) return false;
    if (S_ISLNK(status.st_mode) && IsFolder(AT_FDCWD, name.text, 0)) return Done(unlink(name.text) == 0);
    if (HoldsCurrentFolder(name.text)) {
        SetLastErrno(EBUSY);
        return false;
    }
    return RemoveTreeAt(AT_FDCWD, name.text);
}

/** What a removal of files met with. */
struct FileRemoval {
    const char* pattern;
    bool with_subfolders;
    bool found;
    bool failed;
};

/** Whether a removal of files concerns an entry: a regular file, or a link that does not lead to a folder. */
static bool IsRemovableFile(int folder, const char* name) {
    struct stat status = {};
    if (fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
    return S_ISREG(status.st_mode) || (S_ISLNK(status.st_mode) && !IsFolder(folder, name, 0));
}

static void RemoveFilesIn(DIR* folder, FileRemoval* removal) {
    const int descriptor = dirfd(folder);
    while (const dirent* entry = NextEntry(folder)) {
        if (IsFolder(descriptor, entry->d_name, AT_SYMLINK_NOFOLLOW)) {
            if (!removal->with_subfolders) continue;
            DIR* below = OpenFolder(descriptor, entry->d_name);
            if (below == nullptr) {
                removal->failed = !Done(false);
                continue;
            }
            RemoveFilesIn(below, removal);
            closedir(below);
        } else if (MatchesPattern(entry->d_name, removal->pattern) &&
                   IsRemovableFile(descriptor, entry->d_name)) {
            removal->found = true;
            if (!Done(unlinkat(descriptor, entry->d_name, 0) == 0)) removal->failed = true;
        }
    }
}

bool RemoveFiles(const char* path) {
    PosixPath name = ToPosixPath(path);
    if (!name.valid) return false;

    char* slash = strrchr(name.text, '/');
    FileRemoval removal = {};
    removal.pattern = slash != nullptr ? slash + 1 : name.text;
    const char* folder_name = ".";
    if (slash != nullptr) {
        *slash = '\0';
        folder_name = slash != name.text ? name.text : "/";
    }
    // A file of the root must not cost its namesakes on the whole machine.
    struct stat root = {};
    struct stat start = {};
    removal.with_subfolders = stat("/", &root) == 0 && stat(folder_name, &start) == 0 && !IsSame(root, start);

    DIR* folder = opendir(folder_name);
    if (folder == nullptr) return Done(false);
    RemoveFilesIn(folder, &removal);
    closedir(folder);
    if (!removal.found) SetLastErrno(ENOENT);
    return removal.found && !removal.failed;
}

/*
 * Searches for files by pattern.
 *
 * A search is a snapshot of the matching names, in the order of their bytes, and holds no descriptor: the
 * engine leaves one search open at every exchange on purpose, and a process has only so many descriptors.
 */
#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "../platform.h"
#include "handle_table.h"
#include "last_error.h"
#include "path.h"

namespace {

struct Search {
    std::vector<std::string> names;
    size_t next = 0;
};

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

/** More searches than anybody uses at a time; beyond, the oldest is one that was left open. */
constexpr size_t kMostSearches = 64;

}  // namespace

static HandleTable<Search>& Searches() {
    // Never destroyed: a host may call the library until its very end.
    static HandleTable<Search>& table = *new HandleTable<Search>;
    return table;
}

static bool IsFolderItself(const char* name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

static void CollectNames(DIR* folder, const char* pattern, std::vector<std::string>* names) {
    while (const dirent* entry = readdir(folder)) {
        if (!IsFolderItself(entry->d_name) && MatchesPattern(entry->d_name, pattern)) {
            names->emplace_back(entry->d_name);
        }
    }
    std::sort(names->begin(), names->end());
}

/** Reads the folder of `path`, whose last part is the pattern. False when the folder cannot be read. */
static bool ListMatches(PosixPath* path, std::vector<std::string>* names) {
    char* slash = strrchr(path->text, '/');
    const char* pattern = slash != nullptr ? slash + 1 : path->text;
    const char* folder_name = ".";
    if (slash == path->text) {
        folder_name = "/";
    } else if (slash != nullptr) {
        *slash = '\0';
        folder_name = path->text;
    }

    const std::unique_ptr<DIR, FolderCloser> folder(opendir(folder_name));
    if (!Done(folder != nullptr)) return false;
    CollectNames(folder.get(), pattern, names);
    return true;
}

/** Hands out the search's next name. */
static bool NextName(Search* search, char* name, size_t name_size) {
    if (search->next >= search->names.size()) {
        SetLastErrno(ENOENT);
        return false;
    }
    CopyCut(name, name_size, search->names[search->next].c_str());
    ++search->next;
    return true;
}

plat_handle plat_find_open(const char* pattern, char* name, size_t name_size) {
    PosixPath path = ToPosixPath(pattern);
    if (!path.valid) return PLAT_INVALID_HANDLE;
    try {
        auto search = std::make_shared<Search>();
        if (!ListMatches(&path, &search->names) || !NextName(search.get(), name, name_size)) {
            return PLAT_INVALID_HANDLE;
        }
        Searches().DropOldest(kMostSearches - 1);
        return Searches().Add(std::move(search));
    } catch (...) {
        SetLastErrno(ENOMEM);
        return PLAT_INVALID_HANDLE;
    }
}

bool plat_find_next(plat_handle search, char* name, size_t name_size) {
    const std::shared_ptr<Search> found = Searches().Find(search);
    return found != nullptr && NextName(found.get(), name, name_size);
}

void plat_find_close(plat_handle search) {
    Searches().Remove(search);
}

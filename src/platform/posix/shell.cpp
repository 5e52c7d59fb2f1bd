/*
 * The two shell commands of the engine, carried out without a shell: a name with shell characters in it is a
 * name and nothing more.
 */
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "../platform.h"
#include "last_error.h"
#include "removal.h"

namespace {

struct Command {
    const char* front;
    bool (*remove)(const char* path);
};

}  // namespace

static constexpr Command kCommands[] = {{"rmdir /S /Q ", RemoveTree}, {"del /S ", RemoveFiles}};

/** Runs a command on each of the names, which blanks separate. Takes `names` apart. */
static bool RunOnNames(const Command& command, char* names) {
    bool any = false;
    bool all_removed = true;
    char* rest = nullptr;
    for (char* name = strtok_r(names, " ", &rest); name != nullptr; name = strtok_r(nullptr, " ", &rest)) {
        any = true;
        all_removed = command.remove(name) && all_removed;
    }
    return any && all_removed;
}

int plat_shell(const char* command) {
    for (const Command& known : kCommands) {
        const size_t front_length = strlen(known.front);
        if (strncmp(command, known.front, front_length) != 0) continue;

        char* names = strdup(command + front_length);
        if (names == nullptr) break;
        const bool success = RunOnNames(known, names);
        free(names);
        return success ? 0 : 1;
    }
    SetLastErrno(EINVAL);
    return 1;
}

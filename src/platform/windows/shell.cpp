/*
 * Commands of the system's shell.
 */
#include <cstdlib>

#include "../platform.h"

int plat_shell(const char* command) {
    return system(command);
}

#include "removal_folder.h"

// Removals are the system's own shell's here; there is no code of ours in which a fault could lead it astray.
bool RemovalsAreConfined() {
    return true;
}

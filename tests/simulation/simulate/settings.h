/*
 * "SAT.ini" as the shop's technician leaves it.
 */
#pragma once

#include <string>

#include "commands.h"

namespace simulate {

/** What the library must make of the file. The values are those of a file that the library wrote itself. */
struct Settings {
    char log_mode = '1';
    std::string fixed_port;  ///< "FixarPorta"; the key is missing when empty
    bool emulator = false;
    std::string emulator_port = "CNCA0";
    bool result_files = false;
    std::string result_folder = "C:\\ProgramData\\CupomDesk\\Cupons\\New";
    int timeouts_s[kCommandCount] = {};  ///< as the file says; 0 leaves the key out

    /** The time-out in force for a command. */
    int TimeoutS(int command) const;
};

/** The file's text. */
std::string IniText(const Settings& settings);

/** `log_mode` 0 to 5, or -1 for any. */
Settings DrawSettings(Draw& draw, int log_mode);

}  // namespace simulate

/*
 * The command line: commands, options, help.
 */
#pragma once

#include <string>
#include <vector>

namespace tool {

/** A command as help and completion list it. */
struct CommandName {
    std::string name;
    std::string description;           ///< in the chosen language
    std::vector<std::string> options;  ///< with their dashes
};

/** Reads the arguments, runs the command they name and returns the exit code. */
int RunCommandLine(const std::vector<std::string>& arguments);

}  // namespace tool

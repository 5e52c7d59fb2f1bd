/*
 * Scripts that complete the tool's command line in a shell.
 */
#pragma once

#include <string>
#include <vector>

#include "cli.h"

namespace tool {

/** The script for "bash", "zsh" or "powershell"; "" for another shell. Pure. */
std::string CompletionScript(const std::string& shell, const std::vector<CommandName>& commands);

/** Prints the script. Returns the exit code. */
int ShowCompletion(const std::string& shell, const std::vector<CommandName>& commands);

}  // namespace tool

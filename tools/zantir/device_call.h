/*
 * A command to the device from start to end: load, call, show, save.
 */
#pragma once

#include <string>
#include <vector>

#include "functions.h"
#include "options.h"

namespace tool {

/** Loads the library, calls the function, shows the reply and saves its files. Returns the exit code. */
int CallDevice(const Options& options, const Function& function, const std::vector<std::string>& values);

/** A session number from 1 to 999999 that nobody can foretell. */
int RandomSession();

/** Why bytes cannot be part of a command, in the chosen language; "" when they can. */
std::string PayloadFault(const std::string& bytes);

/**
 * Leaves the process at once, with a word on what the device may have done: the library is still in its call
 * on another thread.
 */
[[noreturn]] void LeaveUnfinished(int session, bool interrupted);

}  // namespace tool

/*
 * The options that arm faults, and the help that teaches them.
 */
#pragma once

#include <CLI/CLI.hpp>

#include "fault_plan.h"

namespace emulator {

struct FaultOptions {
    std::vector<std::string> faults;  ///< for the next exchanges, in order
    std::string script;               ///< a file; empty for none
    std::string random;               ///< "P[,FAULTS...]"; empty for none
    uint64_t seed = 0;
    bool seed_is_ours = false;  ///< nobody gave one: it is to be shown
    const CLI::Option* seed_option = nullptr;
};

/** Adds the options, and the page of faults behind the help. */
void DescribeFaults(CLI::App& app, FaultOptions& options);

/** Arms what was asked for, the script's exchanges behind the single ones. False, and `error` says why. */
bool ArmFaults(FaultOptions& options, FaultPlan& plan, std::string* error);

}  // namespace emulator

/*
 * The one table of faults: names, parameters with their limits, and the help.
 */
#pragma once

#include <vector>

#include "fault.h"

namespace emulator {

/** A number that a fault can be given. */
struct FaultParameter {
    std::string_view name;
    int64_t Fault::*field;
    int64_t usual;  ///< where it is not given
    int64_t least;
    int64_t most;
    std::string_view help;
};

struct FaultRow {
    FaultKind kind;
    std::string_view name;
    std::string_view help;
    std::vector<FaultParameter> parameters;
    bool renames = false;  ///< takes as=NAME
};

const std::vector<FaultRow>& FaultTable();

const FaultRow& RowOf(FaultKind kind);

/** NULL for a name that no fault has. */
const FaultRow* FindFault(std::string_view name);

}  // namespace emulator

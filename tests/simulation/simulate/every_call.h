/*
 * Every call may fail: a sale, a cancellation and a first start, with each of their platform calls failing
 * once in each of its ways, and with the process ending at each of them.
 */
#pragma once

#include <cstdint>

#include "run.h"

namespace simulate {

struct EveryCallCount {
    uint64_t failed = 0;  ///< exchanges of which one call failed
    uint64_t ended = 0;   ///< processes that ended at a call
};

/** Throws Broken, with the scenario, the call and the way in front, at the first broken promise. */
EveryCallCount EveryCallMayFail(Run& run);

}  // namespace simulate

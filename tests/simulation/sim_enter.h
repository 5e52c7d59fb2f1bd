/*
 * How every routine of the simulated platform begins.
 */
#pragma once

#include "sim_handles.h"
#include "sim_platform.h"

/**
 * Counts the call, traces it if wanted, and gives `way`: the way in which it must fail, or -1. What follows
 * the name is a printf format with the call's main arguments.
 */
#define SIM_ENTER(call, ...)                                              \
    sim::World& world = sim::world();                                     \
    [[maybe_unused]] const int way = world.faults.Enter(sim::Call::call); \
    if (world.faults.Tracing(sim::Call::call)) [[unlikely]]               \
    world.faults.Trace(sim::Call::call __VA_OPT__(, ) __VA_ARGS__)

namespace sim {

/** Sets the last error and returns what the failed routine returns. */
template <class Result>
Result Fail(uint32_t error, Result result) {
    world().last_error = error;
    return result;
}

/** Tells whoever watches about a call, and passes its result on. */
template <class Result>
Result Seen(Call call, int64_t argument, Result result) {
    if (Observer* observer = world().observer) observer->OnCall(call, argument, static_cast<int64_t>(result));
    return result;
}

}  // namespace sim

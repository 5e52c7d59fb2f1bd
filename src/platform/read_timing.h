/*
 * When a port read or write may return: the COMMTIMEOUTS rules as plain arithmetic.
 *
 * Windows obeys these rules by itself. The other platforms ask here, so that there is one wording of them.
 * The rule is asked after every look at the port, the first included, which never waits; so bytes that are
 * there already are always delivered, also when the time is over.
 */
#pragma once

#include <cstdint>

#include "platform.h"

/** A time-out value with all bits set, which has a meaning of its own in the read rules. */
constexpr uint32_t PLAT_TIMEOUT_MAX = 0xFFFFFFFF;

/** The answer of a rule without any time-out: wait until something happens. */
constexpr uint64_t PLAT_WAIT_WITHOUT_END = UINT64_MAX;

/** How far a read or write has come. Times are microseconds. */
struct plat_transfer_progress {
    uint32_t requested;       ///< bytes asked for
    uint32_t done;            ///< bytes moved so far
    uint64_t since_start_us;  ///< since the call began
    uint64_t since_last_us;   ///< since the last byte arrived; without meaning while done is 0
};

/** What is left of a limit: 0 once it is reached. */
constexpr uint64_t TimeLeftUs(uint64_t limit_us, uint64_t elapsed_us) {
    return elapsed_us < limit_us ? limit_us - elapsed_us : 0;
}

/** Milliseconds for `bytes` bytes in all, as microseconds. More than fits is as good as endless. */
constexpr uint64_t TotalTimeoutUs(uint32_t multiplier_ms, uint32_t constant_ms, uint32_t bytes) {
    const uint64_t total_ms = static_cast<uint64_t>(multiplier_ms) * bytes + constant_ms;
    return total_ms < PLAT_WAIT_WITHOUT_END / 1000 ? total_ms * 1000 : PLAT_WAIT_WITHOUT_END;
}

/**
 * The longest that a read may still wait for its next byte, in microseconds: 0 when it must return now with
 * what it has, PLAT_WAIT_WITHOUT_END when only a byte can end the wait.
 *
 * - All bytes asked for are there: return.
 * - Total: multiplier * bytes asked for + constant, from the start of the call; none when both are 0.
 * - Interval: from the last byte, and only behind a first one; none when 0.
 * - Interval all bits set: return as soon as any byte is there. With both totals 0 return at once, even
 *   without a byte; with the multiplier all bits set too, only the constant limits the wait for the first
 * byte.
 */
constexpr uint64_t ReadWaitUs(const plat_port_timeouts& timeouts, const plat_transfer_progress& progress) {
    if (progress.done >= progress.requested) return 0;

    const bool any_byte_ends = timeouts.read_interval == PLAT_TIMEOUT_MAX;
    uint32_t multiplier = timeouts.read_total_multiplier;
    if (any_byte_ends) {
        if (progress.done > 0) return 0;
        if (multiplier == 0 && timeouts.read_total_constant == 0) return 0;
        if (multiplier == PLAT_TIMEOUT_MAX) multiplier = 0;
    }

    uint64_t wait_us = PLAT_WAIT_WITHOUT_END;
    if (multiplier != 0 || timeouts.read_total_constant != 0) {
        const uint64_t total_us =
            TotalTimeoutUs(multiplier, timeouts.read_total_constant, progress.requested);
        wait_us = TimeLeftUs(total_us, progress.since_start_us);
    }
    if (!any_byte_ends && timeouts.read_interval != 0 && progress.done > 0) {
        const uint64_t gap_us = static_cast<uint64_t>(timeouts.read_interval) * 1000;
        const uint64_t left_us = TimeLeftUs(gap_us, progress.since_last_us);
        if (left_us < wait_us) wait_us = left_us;
    }
    return wait_us;
}

/**
 * The same for a write: only the total counts, multiplier * bytes + constant from the start of the call, and
 * there is none when both are 0. `since_last_us` is not looked at.
 */
constexpr uint64_t WriteWaitUs(const plat_port_timeouts& timeouts, const plat_transfer_progress& progress) {
    if (progress.done >= progress.requested) return 0;
    if (timeouts.write_total_multiplier == 0 && timeouts.write_total_constant == 0)
        return PLAT_WAIT_WITHOUT_END;
    const uint64_t total_us =
        TotalTimeoutUs(timeouts.write_total_multiplier, timeouts.write_total_constant, progress.requested);
    return TimeLeftUs(total_us, progress.since_start_us);
}

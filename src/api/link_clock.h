/*
 * The link's clock and the one measure of elapsed time that every time-out of the link uses.
 */
#pragma once

#include <cstdint>

/** A moment since the clock's first use in the process. Microseconds are always below 1000000. */
struct tLinkTime {
    int32_t iSeconds;
    int32_t iMicroseconds;
};

/** Reads the clock. The first argument is ignored; callers pass 1. Always 0. */
int getMonotonicTime(int iIgnored, tLinkTime* pTime);

/** The system time (units of 100 ns) at 1970-01-01 00:00:00 UTC. */
int64_t getFILETIMEoffset();

/**
 * Milliseconds from `start` to `later`, in whole-second steps at the clock's second boundaries. This coarse
 * measure is on purpose: a limit of "more than 2000" is reached after more than 2 and at most 3 seconds.
 */
int64_t LinkElapsedMs(const tLinkTime& start, const tLinkTime& later);

/** A limit in this measure, which knows whole seconds only. */
constexpr int64_t LinkSeconds(int64_t seconds) {
    return 1000 * seconds;
}

/**
 * The longest that the bytes of one command, or those of one reply behind its first, may take in all: half an
 * hour, twice what the largest frame needs at 115200 baud. The time-outs alone, which every byte restarts,
 * would let a device that trickles hold the caller for years.
 */
constexpr int64_t LINK_TRANSFER_LIMIT_MS = LinkSeconds(1800);

/** Now, and what LinkElapsedMs makes of it. */
tLinkTime LinkNow();
int64_t LinkElapsedMsSince(const tLinkTime& start);

/** The clock's origin and scale, set at its first use. */
struct tLinkClock {
    bool bStarted;
    bool bCounter;  ///< the machine has a high-resolution counter
    int64_t iOrigin;
    double dTicksPerMicrosecond;
};
extern tLinkClock gl_tLinkClock;

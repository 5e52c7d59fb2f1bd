/*
 * Which faults come when: those of the next exchanges in their order, and behind them some by chance. The
 * line takes from it, the keyboard adds to it, each on a thread of its own.
 */
#pragma once

#include <deque>
#include <mutex>
#include <random>

#include "fault.h"

namespace emulator {

/** "P[,FAULTS...]": with probability P an exchange has one of the choices. */
struct RandomFaults {
    double probability = 0;
    std::vector<Faults> choices;
};

struct FaultPlan {
    std::mutex guard;
    std::deque<Faults> queue;  ///< an entry for each exchange, first the next one
    Faults carried;            ///< what was begun and is to act more often
    RandomFaults by_chance;
    std::mt19937_64 random;
    unsigned cleared = 0;  ///< how often the plan was emptied
};

/** What an exchange took from the plan. */
struct PlannedFaults {
    Faults faults;
    unsigned cleared = 0;  ///< the plan's count at that time
};

/** Reads "0.2,nak:block=2,checksum". Without a fault every usual one can come. */
bool ParseRandomFaults(std::string_view text, RandomFaults* random, std::string* error);

/** Arms the faults for the exchange behind the last one that has any. */
void AddFaults(FaultPlan& plan, const Faults& faults);

/** From now on, faults by chance; the same seed gives the same sequence on every system. */
void SetRandomFaults(FaultPlan& plan, const RandomFaults& random, uint64_t seed);

/** Forgets everything that was armed. */
void ClearFaults(FaultPlan& plan);

/** The faults of an exchange that begins. */
PlannedFaults NextFaults(FaultPlan& plan);

/** Takes back what acted in the exchange and is to act again, unless the plan was emptied meanwhile. */
void ReturnFaults(FaultPlan& plan, const PlannedFaults& planned);

}  // namespace emulator

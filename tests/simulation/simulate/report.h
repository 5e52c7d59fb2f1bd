/*
 * What happened in a run.
 */
#pragma once

#include <cstdint>
#include <cstdio>

#include "exchange_judge.h"
#include "plan.h"

namespace simulate {

struct Report {
    uint64_t exchanges = 0;
    uint64_t clean = 0;
    uint64_t faults[kFaultCount] = {};
    uint64_t outcomes[static_cast<size_t>(Outcome::Count)] = {};
    uint64_t calls_failed = 0;  ///< platform calls that were made to fail
    uint64_t starts = 0;        ///< of processes
    int64_t virtual_us = 0;
    uint64_t calls = 0;                    ///< into the platform
    uint64_t digest = 0xCBF29CE484222325;  ///< of every event

    void Add(uint64_t value) { digest = (digest ^ value) * 0x100000001B3; }
    void Count(const Plan& plan, Outcome outcome);
    void Print(std::FILE* file) const;
};

}  // namespace simulate

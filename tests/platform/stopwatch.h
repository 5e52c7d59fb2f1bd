/*
 * Real time for the tests of time-outs. Lower bounds are strict; upper bounds are generous, since a busy
 * machine may be late but a platform must never be early.
 */
#pragma once

#include <chrono>
#include <cstdint>

struct Stopwatch {
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();

    int64_t Milliseconds() const {
        const auto elapsed = std::chrono::steady_clock::now() - start;
        return std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
    }
};

/** Far above any time-out of these tests, far below "it hangs". */
constexpr int64_t kGenerousMs = 5000;

/*
 * A port as slow as a UART: ten bits a byte in both directions. Every moment is counted from the start of a
 * run of bytes, so that late wake-ups do not add up.
 */
#pragma once

#include <deque>

#include "port.h"

namespace emulator {

/** Bytes that came together and travel one behind the other. */
struct WireRun {
    int64_t start_us = 0;  ///< when the first bit of the first byte left
    size_t count = 0;
    size_t used = 0;  ///< how many were handed on
};

struct PacedPort : Port {
    /** `baud` is above 0. */
    PacedPort(std::unique_ptr<Port> wire, int64_t bits_per_second);

    /** Hands on only bytes whose last bit can have arrived. What waits in the inner port is always taken. */
    int Read(char* buffer, size_t size, int64_t wait_ms) override;

    /** In small portions, each when its last bit has left; `wait_ms` holds for each portion. */
    bool Write(const char* bytes, size_t size, int64_t wait_ms) override;

    int64_t NowUs() override { return inner->NowUs(); }
    bool SleepUntil(int64_t moment_us) override { return inner->SleepUntil(moment_us); }
    void DropUnread() override { inner->DropUnread(); }
    void AwaitTaken(int64_t wait_ms) override { inner->AwaitTaken(wait_ms); }
    std::string Address() const override { return inner->Address(); }

    std::unique_ptr<Port> inner;
    int64_t baud;
    int64_t out_free_us = 0;   ///< when the line to the caller is free again
    int64_t in_free_us = 0;    ///< when the line from the caller is
    std::deque<char> queue;    ///< read from the inner port and not handed on
    std::deque<WireRun> runs;  ///< where those bytes are on their way
    bool inner_gone = false;
};

}  // namespace emulator

#include "paced_port.h"

#include <algorithm>

#include "frame.h"

namespace emulator {

namespace {

constexpr int64_t BITS_A_BYTE = 10;
constexpr int64_t SECOND_US = 1000000;

// How long so many bytes are on the wire.
int64_t WireUs(const PacedPort& port, size_t bytes) {
    return (static_cast<int64_t>(bytes) * BITS_A_BYTE * SECOND_US + port.baud - 1) / port.baud;
}

// How many of a run's bytes are through at a moment.
size_t Through(const PacedPort& port, int64_t start_us, size_t bytes, int64_t now_us) {
    if (now_us >= start_us + WireUs(port, bytes)) return bytes;
    if (now_us <= start_us) return 0;
    return static_cast<size_t>((now_us - start_us) * port.baud / (BITS_A_BYTE * SECOND_US));
}

// How many bytes travel together behind `done` of `size`. A portion takes four milliseconds, or a byte where
// that is longer; the last one takes the rest with it. So no gap ends a caller's read, for which 10 ms are
// too long, and a caller that waits a millisecond for each missing byte never waits for a few only, where a
// late wake-up would look like a stall.
size_t Portion(const PacedPort& port, size_t done, size_t size) {
    const auto usual = static_cast<size_t>(std::max<int64_t>(1, port.baud * 4 / (BITS_A_BYTE * 1000)));
    return usual > 1 && size - done < 2 * usual ? size - done : usual;
}

// Takes what the inner port has, waiting for it only while nothing is on its way.
void Fetch(PacedPort& port, int64_t wait_ms) {
    char bytes[BLOCK_SIZE];
    const int count = port.inner->Read(bytes, sizeof bytes, port.queue.empty() ? wait_ms : 0);
    if (count < 0) port.inner_gone = true;
    if (count <= 0) return;
    const auto size = static_cast<size_t>(count);
    port.queue.insert(port.queue.end(), bytes, bytes + size);
    const int64_t start = std::max(port.in_free_us, port.NowUs());
    port.runs.push_back({.start_us = start, .count = size, .used = 0});
    port.in_free_us = start + WireUs(port, size);
}

// Hands on what has arrived of the oldest run.
size_t HandOn(PacedPort& port, char* buffer, size_t size) {
    WireRun& run = port.runs.front();
    const size_t arrived = Through(port, run.start_us, run.count, port.NowUs()) - run.used;
    const size_t count = std::min(size, arrived);
    const auto end = port.queue.begin() + static_cast<std::ptrdiff_t>(count);
    std::copy(port.queue.begin(), end, buffer);
    port.queue.erase(port.queue.begin(), end);
    run.used += count;
    if (run.used == run.count) port.runs.pop_front();
    return count;
}

}  // namespace

PacedPort::PacedPort(std::unique_ptr<Port> wire, int64_t bits_per_second)
    : inner(std::move(wire)), baud(bits_per_second) {}

int PacedPort::Read(char* buffer, size_t size, int64_t wait_ms) {
    const int64_t deadline = NowUs() + wait_ms * 1000;
    for (;;) {
        if (!inner_gone) Fetch(*this, std::max<int64_t>(0, (deadline - NowUs()) / 1000));
        if (runs.empty()) return inner_gone ? -1 : 0;
        const size_t count = HandOn(*this, buffer, size);
        if (count > 0) return static_cast<int>(count);
        if (NowUs() >= deadline) return 0;
        const WireRun& run = runs.front();
        const size_t next = run.used + Portion(*this, run.used, run.count);
        if (!SleepUntil(std::min(deadline, run.start_us + WireUs(*this, next)))) return -1;
    }
}

bool PacedPort::Write(const char* bytes, size_t size, int64_t wait_ms) {
    const int64_t start = std::max(out_free_us, NowUs());
    out_free_us = start + WireUs(*this, size);
    for (size_t sent = 0; sent < size;) {
        const size_t due = Through(*this, start, size, NowUs());
        if (due > sent) {
            if (!inner->Write(bytes + sent, due - sent, wait_ms)) return false;
            sent = due;
        } else if (!SleepUntil(start + WireUs(*this, sent + Portion(*this, sent, size)))) {
            return false;
        }
    }
    return true;
}

}  // namespace emulator

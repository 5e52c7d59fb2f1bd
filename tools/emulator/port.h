/*
 * What the line protocol needs of a serial port, and how a real one is opened. Tests put a scripted port in
 * its place; posix/ and windows/ hold the real ones.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace emulator {

/** Set to true by whatever asks the program to stop. */
using StopFlag = std::atomic<bool>;

/** One end of a serial line. */
struct Port {
    virtual ~Port() = default;

    /**
     * Waits at most `wait_ms` for bytes and reads what is there, up to `size`. Returns their number, 0 when
     * none came in time, -1 when the port is gone or the program is to stop.
     */
    virtual int Read(char* buffer, size_t size, int64_t wait_ms) = 0;

    /** Writes all `size` bytes. False when the other side did not take them within `wait_ms`, or is gone. */
    virtual bool Write(const char* bytes, size_t size, int64_t wait_ms) = 0;

    /** Microseconds of a clock that never runs backwards. */
    virtual int64_t NowUs() = 0;

    /** Waits until the clock shows `moment_us`. False when the program is to stop. */
    virtual bool SleepUntil(int64_t moment_us) = 0;

    int64_t NowMs() { return NowUs() / 1000; }

    /** Forgets what was written and not read by the other side, where the port can tell. */
    virtual void DropUnread() {}

    /** Waits at most `wait_ms` until the other side has taken what was written, where the port can tell. */
    virtual void AwaitTaken(int64_t /*wait_ms*/) {}

    /** The name that a caller opens to reach this port. */
    virtual std::string Address() const = 0;
};

struct PortOptions {
    std::string name;  ///< a named port; empty opens a pseudo-terminal where the system has them
    std::string link;  ///< a symbolic link to the pseudo-terminal; empty for none
    const StopFlag* stop = nullptr;  ///< reads return -1 once this is true; may be NULL
};

/** Opens the port, raw, 115200 baud, 8 data bits, no parity, 1 stop bit. NULL, and `error` says why, on
 * failure.
 */
std::unique_ptr<Port> OpenPort(const PortOptions& options, std::string* error);

/** The clock of the real ports, in microseconds. */
int64_t SteadyUs();

/** Waits for a moment of that clock. False as soon as the program is to stop; `stop` may be NULL. */
bool SleepUntilUs(int64_t moment_us, const StopFlag* stop);

/** Lets `handler` run on whatever asks the program to stop; a closed output never ends the program. */
void OnStop(void (*handler)(int));

}  // namespace emulator

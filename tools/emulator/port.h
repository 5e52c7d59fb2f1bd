/*
 * What the line protocol needs of a serial port, and how a real one is opened. Tests put a scripted port in
 * its place; posix/ and windows/ hold the real ones.
 */
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace emulator {

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

    /** Milliseconds of a clock that never runs backwards. */
    virtual int64_t NowMs() = 0;

    /** Forgets what was written and not read by the other side, where the port can tell. */
    virtual void DropUnread() {}

    /** The name that a caller opens to reach this port. */
    virtual std::string Address() const = 0;
};

struct PortOptions {
    std::string name;  ///< a named port; empty opens a pseudo-terminal where the system has them
    std::string link;  ///< a symbolic link to the pseudo-terminal; empty for none
    const volatile std::sig_atomic_t* stop = nullptr;  ///< reads return -1 once this is not 0; may be NULL
};

/** Opens the port, raw, 115200 baud, 8 data bits, no parity, 1 stop bit. NULL, and `error` says why, on
 * failure.
 */
std::unique_ptr<Port> OpenPort(const PortOptions& options, std::string* error);

/** Lets `handler` run on whatever asks the program to stop; a closed output never ends the program. */
void OnStop(void (*handler)(int));

}  // namespace emulator

/*
 * An open serial port, as the port's sources share it.
 */
#pragma once

#include <termios.h>

#include <memory>
#include <mutex>

#include "../platform.h"
#include "../read_timing.h"
#include "path.h"

struct Port {
    explicit Port(int open_descriptor) : descriptor(open_descriptor) {}
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;
    /** Closes the descriptor, and lets other programs have the device again. */
    ~Port();

    const int descriptor;
    std::mutex guard;  ///< of `timeouts`

    /**
     * A port that was never told its time-outs must not hang its caller for ever: it reads what is there
     * without waiting, and gives up a write after a second.
     */
    plat_port_timeouts timeouts = {PLAT_TIMEOUT_MAX, 0, 0, 0, 1000};
};

/** The port of a handle; empty, and the last error set, when it is not open. */
std::shared_ptr<Port> FindPort(plat_handle handle);

/**
 * The device file behind a port's device path: "\\?\COM1" to COM32 are /dev/ttyS0 to ttyS31, COM33 to COM64
 * /dev/ttyUSB0 to ttyUSB31, COM65 to COM96 /dev/ttyACM0 to ttyACM31, COM1000 + k is /dev/pts/k. Every other
 * name behind "\\?\" is not valid, last error 2. A path without that front is a path like any other.
 */
PosixPath PortDeviceFile(const char* path);

/** The first number of a kind of port, the name of its device files without their own number, and how many.
 */
struct PortKind {
    uint32_t first;
    uint32_t count;
    const char* device_name;
};

/** The kinds of ports that discovery looks for, in the order of their numbers. All but the first are USB
 * devices'. */
constexpr PortKind kPortKinds[] = {{1, 32, "ttyS"}, {33, 32, "ttyUSB"}, {65, 32, "ttyACM"}};

/** The control flags for a frame's size, parity and stop bits. */
tcflag_t FrameFlags(const plat_line_settings& settings);

/**
 * Makes a line with these settings pass every byte unchanged in both directions, with nobody's echo. False on
 * failure.
 */
bool SetRawLine(int descriptor, const termios& settings);

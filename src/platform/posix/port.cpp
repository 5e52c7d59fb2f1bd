/*
 * Serial ports: opening for nobody else, control lines, closing.
 */
#include "port.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

#include "descriptor.h"
#include "handle_table.h"
#include "last_error.h"

static HandleTable<Port>& Ports() {
    // Never destroyed: a host may call the library until its very end.
    static HandleTable<Port>& table = *new HandleTable<Port>;
    return table;
}

std::shared_ptr<Port> FindPort(plat_handle handle) {
    return Ports().Find(handle);
}

/** Gives the device back to the other programs. */
static void EndExclusiveUse(int descriptor) {
    // The mark belongs to the line, not to the descriptor: on a pseudo terminal whose other side stays open
    // it would outlive our use of it.
    ioctl(descriptor, TIOCNXCL);
    flock(descriptor, LOCK_UN);
}

Port::~Port() {
    close(descriptor);
}

/**
 * Takes the line for this descriptor alone. The lock keeps out other users of the library, whatever their
 * rights; the mark on the line keeps out everybody else, but programs with the administrator's rights.
 */
static bool BeginExclusiveUse(int descriptor) {
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        SetLastErrno(errno == EWOULDBLOCK ? EBUSY : errno);
        return false;
    }
    return Done(ioctl(descriptor, TIOCEXCL) == 0);
}

/** Reads the settings of the terminal behind the descriptor; the last error is set when there is none. */
static bool ReadSettings(int descriptor, termios* settings) {
    if (tcgetattr(descriptor, settings) == 0) return true;
    // The device files of serial ports that the machine does not have can be opened, and then fail with EIO.
    SetLastErrno(errno == EIO ? ENODEV : errno);
    return false;
}

/** Prepares a descriptor that was just opened, and gives it a handle. */
static plat_handle AdoptDescriptor(int descriptor) {
    termios settings = {};
    if (!ReadSettings(descriptor, &settings) || !BeginExclusiveUse(descriptor)) {
        close(descriptor);
        return PLAT_INVALID_HANDLE;
    }
    plat_handle handle = PLAT_INVALID_HANDLE;
    if (SetRawLine(descriptor, settings)) {
        try {
            auto port = std::make_shared<Port>(descriptor);
            handle = Ports().Add(port);
            // Without a handle nobody will close the port: it is given back here, and closes with `port`.
            if (handle == PLAT_INVALID_HANDLE) EndExclusiveUse(descriptor);
            return handle;
        } catch (...) {
            SetLastErrno(ENOMEM);
        }
    }
    EndExclusiveUse(descriptor);
    close(descriptor);
    return handle;
}

plat_handle plat_port_open(const char* path) {
    const PosixPath device = PortDeviceFile(path);
    if (!device.valid) return PLAT_INVALID_HANDLE;

    // Without O_NONBLOCK the open would wait for a carrier that such devices never raise.
    const int descriptor = open(device.text, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (!Done(descriptor != kNoDescriptor)) return PLAT_INVALID_HANDLE;
    return AdoptDescriptor(descriptor);
}

bool plat_port_set_queues(plat_handle port, uint32_t, uint32_t) {
    // The kernel sizes its queues itself.
    return FindPort(port) != nullptr;
}

bool plat_port_set_timeouts(plat_handle port, const plat_port_timeouts* timeouts) {
    const std::shared_ptr<Port> found = FindPort(port);
    if (found == nullptr) return false;
    if (timeouts->read_interval == PLAT_TIMEOUT_MAX && timeouts->read_total_multiplier == PLAT_TIMEOUT_MAX &&
        timeouts->read_total_constant == PLAT_TIMEOUT_MAX) {
        // The one combination without a meaning, which Windows refuses too.
        SetLastErrno(EINVAL);
        return false;
    }
    const std::lock_guard<std::mutex> lock(found->guard);
    found->timeouts = *timeouts;
    return true;
}

bool plat_port_raise(plat_handle port, plat_port_signal signal) {
    const std::shared_ptr<Port> found = FindPort(port);
    if (found == nullptr) return false;
    const int line = signal == PLAT_SIGNAL_DTR ? TIOCM_DTR : TIOCM_RTS;
    return Done(ioctl(found->descriptor, TIOCMBIS, &line) == 0);
}

bool plat_port_flush(plat_handle port) {
    const std::shared_ptr<Port> found = FindPort(port);
    if (found == nullptr) return false;
    while (tcdrain(found->descriptor) != 0) {
        if (errno == EINTR) continue;
        SetLastErrno(errno);
        return false;
    }
    return true;
}

bool plat_port_close(plat_handle port) {
    const std::shared_ptr<Port> found = Ports().Remove(port);
    if (found == nullptr) return false;
    // A read that another thread has under way keeps the descriptor until it returns; the device is free now.
    EndExclusiveUse(found->descriptor);
    return true;
}

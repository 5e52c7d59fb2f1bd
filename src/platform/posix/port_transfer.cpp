/*
 * Reading from and writing to a port within its time-outs.
 */
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "clock.h"
#include "last_error.h"
#include "port.h"

namespace {

enum class Look {
    moved,    // bytes were read or written
    nothing,  // the line is fine, but empty or full
    gone      // the line is hung up, or failed
};

}  // namespace

static uint64_t NowUs() {
    using std::chrono::microseconds;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<microseconds>(now).count());
}

/** Waits for a line to be ready, at most so long. False when it was hung up. */
static bool WaitForLine(int descriptor, short events, uint64_t wait_us) {
    pollfd line = {};
    line.fd = descriptor;
    line.events = events;
    const timespec limit = ToTimespec(wait_us);
    return ppoll(&line, 1, &limit, nullptr) != 1 || (line.revents & events) != 0;
}

/**
 * What is left to do with a line that is gone: the rest of the time-out is waited for, so that a caller who
 * asks again and again does so at the pace of a silent line. Without a time-out there is nothing to wait for.
 */
static void WaitOutTimeout(uint64_t wait_us) {
    if (wait_us != PLAT_WAIT_WITHOUT_END) SleepFor(std::chrono::microseconds(wait_us));
}

/** Judges the result of one read or write call, and counts its bytes. */
static Look Judge(ssize_t count, plat_transfer_progress* progress) {
    if (count > 0) {
        progress->done += static_cast<uint32_t>(count);
        return Look::moved;
    }
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return Look::nothing;
    SetLastErrno(count < 0 ? errno : EIO);
    return Look::gone;
}

static plat_port_timeouts TimeoutsOf(Port* port) {
    const std::lock_guard<std::mutex> lock(port->guard);
    return port->timeouts;
}

uint32_t plat_port_read(plat_handle port, void* buffer, uint32_t size) {
    const std::shared_ptr<Port> found = FindPort(port);
    if (found == nullptr) return 0;

    const plat_port_timeouts timeouts = TimeoutsOf(found.get());
    const uint64_t start_us = NowUs();
    uint64_t last_us = start_us;
    plat_transfer_progress progress = {};
    progress.requested = size;
    bool hung_up = false;
    for (;;) {
        char* const next = static_cast<char*>(buffer) + progress.done;
        const Look look = Judge(read(found->descriptor, next, size - progress.done), &progress);
        const uint64_t now_us = NowUs();
        if (look == Look::moved) last_us = now_us;
        progress.since_start_us = now_us - start_us;
        progress.since_last_us = now_us - last_us;

        const uint64_t wait_us = ReadWaitUs(timeouts, progress);
        if (wait_us == 0) return progress.done;
        if (look == Look::gone || (hung_up && look == Look::nothing)) {
            if (progress.done == 0) WaitOutTimeout(wait_us);
            return progress.done;
        }
        hung_up = !WaitForLine(found->descriptor, POLLIN, wait_us);
    }
}

uint32_t plat_port_write(plat_handle port, const void* bytes, uint32_t size) {
    const std::shared_ptr<Port> found = FindPort(port);
    if (found == nullptr) return 0;

    const plat_port_timeouts timeouts = TimeoutsOf(found.get());
    const uint64_t start_us = NowUs();
    plat_transfer_progress progress = {};
    progress.requested = size;
    while (progress.done < size) {
        const char* const next = static_cast<const char*>(bytes) + progress.done;
        const Look look = Judge(write(found->descriptor, next, size - progress.done), &progress);
        progress.since_start_us = NowUs() - start_us;

        const uint64_t wait_us = WriteWaitUs(timeouts, progress);
        if (look == Look::gone || wait_us == 0) break;
        if (look == Look::nothing && !WaitForLine(found->descriptor, POLLOUT, wait_us)) {
            SetLastErrno(EIO);
            break;
        }
    }
    return progress.done;
}

/*
 * Standard output.
 */
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "../platform.h"
#include "descriptor.h"

namespace {

/**
 * Keeps the signal of a pipe without a reader from the calling thread while it lives, and takes the one that
 * came meanwhile: nobody else must get it, and a program that does not expect it is ended by it.
 */
class PipeSignalHeld {
  public:
    PipeSignalHeld() {
        sigset_t pending = {};
        sigpending(&pending);
        was_pending_ = sigismember(&pending, SIGPIPE) == 1;
        sigemptyset(&pipe_signal_);
        sigaddset(&pipe_signal_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe_signal_, &before_);
    }

    ~PipeSignalHeld() {
        const timespec at_once = {};
        // One that was pending before is somebody else's.
        while (!was_pending_ && sigtimedwait(&pipe_signal_, nullptr, &at_once) < 0 && errno == EINTR) {
        }
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

    PipeSignalHeld(const PipeSignalHeld&) = delete;
    PipeSignalHeld& operator=(const PipeSignalHeld&) = delete;

  private:
    sigset_t pipe_signal_;
    sigset_t before_;
    bool was_pending_;
};

}  // namespace

/** How long the reader of standard output may let us wait, milliseconds. */
constexpr int kReaderPauseMs = 200;

/** The last text was not taken: until the reader is back, nobody waits for it again. */
static std::atomic<bool> reader_is_gone{false};

/** Whether a write of a few kilobytes returns at once; it may be one that fails. */
static bool TakesMore(int descriptor) {
    pollfd output = {descriptor, POLLOUT, {}};
    // A signal ends the wait, as its time would.
    const bool ready = poll(&output, 1, reader_is_gone ? 0 : kReaderPauseMs) > 0;
    reader_is_gone = !ready;
    return ready;
}

void plat_print(const char* text) {
    const PipeSignalHeld held;
    const int output = fileno(stdout);
    // What the program itself has printed goes first. A pipe that is ready takes PIPE_BUF bytes without a
    // wait; of a text for a pipe that nobody reads the rest is dropped, since the till must go on. Past the
    // stream, which would keep what was not taken, and try again when the program ends.
    const char* const end = text + strlen(text);
    if (output == kNoDescriptor || !TakesMore(output) || fflush(stdout) != 0) return;
    while (text != end && TakesMore(output)) {
        const ssize_t count =
            write(output, text, std::min<size_t>(static_cast<size_t>(end - text), PIPE_BUF));
        if (count == -1) return;
        text += count;
    }
}

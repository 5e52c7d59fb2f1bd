#include "../port.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>

#include "../system.h"

static int port = -1;

static bool SetLine() {
    termios line = {};
    if (ioctl(port, TIOCEXCL) != 0 || tcgetattr(port, &line) != 0) return false;
    cfmakeraw(&line);
    line.c_cflag |= CLOCAL | CREAD;
    cfsetispeed(&line, B115200);
    cfsetospeed(&line, B115200);
    if (tcsetattr(port, TCSANOW, &line) != 0) return false;
    // A pseudo terminal has no such lines and refuses; a serial port raises both.
    const int lines = TIOCM_DTR | TIOCM_RTS;
    ioctl(port, TIOCMBIS, &lines);
    return tcdrain(port) == 0;
}

bool PortOpen(const char* place) {
    port = open(place, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (port < 0) return false;
    if (SetLine()) return true;
    PortClose();
    return false;
}

/** Waits for the line to be ready, for at most so long. False when it was not. */
static bool Wait(short events, int64_t limit_ns) {
    pollfd line = {port, events, 0};
    const timespec limit = {static_cast<time_t>(limit_ns / 1000000000),
                            static_cast<long>(limit_ns % 1000000000)};
    return ppoll(&line, 1, &limit, nullptr) > 0;
}

size_t PortWrite(const void* bytes, size_t size) {
    const char* const from = static_cast<const char*>(bytes);
    const int64_t limit_ns = (static_cast<int64_t>(size) + 1000) * 1000000;
    size_t done = 0;
    while (done < size) {
        const ssize_t count = write(port, from + done, size - done);
        if (count > 0) {
            done += static_cast<size_t>(count);
        } else if (!Wait(POLLOUT, limit_ns)) {
            break;
        }
    }
    return done;
}

size_t PortRead(void* buffer, size_t size) {
    constexpr int64_t kGapNs = 10000000;
    char* const into = static_cast<char*>(buffer);
    const int64_t end_ns = SystemNowNs() + (static_cast<int64_t>(size) + 1) * 1000000;
    size_t done = 0;
    for (;;) {
        const ssize_t count = read(port, into + done, size - done);
        if (count > 0) done += static_cast<size_t>(count);
        if (done == size) return done;
        int64_t wait_ns = end_ns - SystemNowNs();
        if (done > 0) wait_ns = std::min(wait_ns, kGapNs);
        if (wait_ns <= 0 || !Wait(POLLIN, wait_ns)) return done;
    }
}

void PortClose() {
    // The mark belongs to the line, and outlives the descriptor while another one is open.
    ioctl(port, TIOCNXCL);
    close(port);
    port = -1;
}

void PortSleepMs(int milliseconds) {
    const timespec time = {0, static_cast<long>(milliseconds) * 1000000};
    clock_nanosleep(CLOCK_MONOTONIC, 0, &time, nullptr);
}

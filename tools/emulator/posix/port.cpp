#include "../port.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace emulator {

namespace {

int64_t SteadyMs() {
    return SteadyUs() / 1000;
}

bool IsSet(const StopFlag* stop) {
    return stop != nullptr && *stop;
}

bool MakeRaw(int descriptor) {
    termios settings{};
    if (tcgetattr(descriptor, &settings) != 0) return false;
    cfmakeraw(&settings);
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | PARENB);
    cfsetispeed(&settings, B115200);
    cfsetospeed(&settings, B115200);
    return tcsetattr(descriptor, TCSANOW, &settings) == 0;
}

struct PosixPort : Port {
    int descriptor = -1;
    int slave = -1;  // kept open, so that a caller that closes its end does not hang the line up
    std::string address;
    std::string link;
    const StopFlag* stop = nullptr;

    ~PosixPort() override {
        RemoveLink();
        if (descriptor >= 0) close(descriptor);
        if (slave >= 0) close(slave);
    }

    bool Stopping() const { return IsSet(stop); }

    // Waits for an event; false when none came in time.
    bool Await(short events, int64_t wait_ms) const {
        pollfd entry{descriptor, events, 0};
        return poll(&entry, 1, static_cast<int>(std::clamp<int64_t>(wait_ms, 0, INT_MAX))) > 0;
    }

    int Read(char* buffer, size_t size, int64_t wait_ms) override {
        // The wait is cut in slices: a stop signal that comes right before the poll would not wake it.
        const int64_t deadline = SteadyMs() + wait_ms;
        bool ready = false;
        do {
            if (Stopping()) return -1;
            ready = Await(POLLIN, std::min<int64_t>(deadline - SteadyMs(), 250));
        } while (!ready && SteadyMs() < deadline);
        if (!ready) return 0;
        const ssize_t count = read(descriptor, buffer, size);
        if (count > 0) return static_cast<int>(std::min<ssize_t>(count, INT_MAX));
        return count < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : -1;
    }

    bool Write(const char* bytes, size_t size, int64_t wait_ms) override {
        const int64_t deadline = SteadyMs() + wait_ms;
        for (size_t done = 0; done < size;) {
            const ssize_t count = write(descriptor, bytes + done, size - done);
            if (count > 0) {
                done += static_cast<size_t>(count);
                continue;
            }
            if (count < 0 && errno != EAGAIN && errno != EINTR) return false;
            if (Stopping() || SteadyMs() >= deadline) return false;
            Await(POLLOUT, std::min<int64_t>(deadline - SteadyMs(), 250));
        }
        return true;
    }

    int64_t NowUs() override { return SteadyUs(); }

    bool SleepUntil(int64_t moment_us) override { return SleepUntilUs(moment_us, stop); }

    void DropUnread() override {
        if (slave >= 0) tcflush(slave, TCIFLUSH);
    }

    // What was written to a pseudo-terminal may still be on its way into the other end's queue, so that one
    // empty look is not enough.
    void AwaitTaken(int64_t wait_ms) override {
        const int64_t deadline = SteadyMs() + wait_ms;
        for (int looks = 0; looks < 20 && SteadyMs() < deadline && SleepUntil(SteadyUs() + 1000);) {
            int left = 0;
            const int result =
                slave >= 0 ? ioctl(slave, FIONREAD, &left) : ioctl(descriptor, TIOCOUTQ, &left);
            if (result != 0) return;
            looks = left == 0 ? looks + 1 : 0;
        }
    }

    std::string Address() const override { return address; }

    // The link is made under another name and renamed, so that at every moment there is an old or a new one.
    bool MakeLink(const std::string& path) {
        struct stat status {};
        if (lstat(path.c_str(), &status) == 0 && !S_ISLNK(status.st_mode)) {
            errno = EEXIST;
            return false;
        }
        const std::string fresh = path + "." + std::to_string(getpid());
        unlink(fresh.c_str());
        if (symlink(address.c_str(), fresh.c_str()) != 0) return false;
        if (rename(fresh.c_str(), path.c_str()) != 0) {
            const int reason = errno;
            unlink(fresh.c_str());
            errno = reason;
            return false;
        }
        link = path;
        return true;
    }

    // A link that another emulator has taken over meanwhile is not ours to remove.
    void RemoveLink() const {
        if (link.empty()) return;
        char target[PATH_MAX] = {};
        if (readlink(link.c_str(), target, sizeof target - 1) > 0 && address == target) {
            unlink(link.c_str());
        }
    }
};

std::string Because(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

bool OpenTerminal(PosixPort& port) {
    port.descriptor = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (port.descriptor < 0) return false;
    if (grantpt(port.descriptor) != 0 || unlockpt(port.descriptor) != 0) return false;
    char name[PATH_MAX] = {};
    if (ptsname_r(port.descriptor, name, sizeof name) != 0) return false;
    port.address = name;
    port.slave = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (port.slave < 0 || !MakeRaw(port.slave)) return false;
    return fcntl(port.descriptor, F_SETFL, O_NONBLOCK) == 0;
}

bool OpenNamed(PosixPort& port, const std::string& name) {
    port.address = name.front() == '/' ? name : "/dev/" + name;
    port.descriptor = open(port.address.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    return port.descriptor >= 0 && MakeRaw(port.descriptor) && ioctl(port.descriptor, TIOCEXCL) == 0;
}

}  // namespace

std::unique_ptr<Port> OpenPort(const PortOptions& options, std::string* error) {
    auto port = std::make_unique<PosixPort>();
    port->stop = options.stop;
    const bool open = options.name.empty() ? OpenTerminal(*port) : OpenNamed(*port, options.name);
    if (!open) {
        *error = Because(options.name.empty() ? "pseudo-terminal" : port->address);
        return nullptr;
    }
    if (!options.link.empty() && !port->MakeLink(options.link)) {
        *error = Because(options.link);
        return nullptr;
    }
    return port;
}

int64_t SteadyUs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

bool SleepUntilUs(int64_t moment_us, const StopFlag* stop) {
    // In slices: a stop signal that comes right before the wait would not end it.
    for (int64_t now = SteadyUs(); now < moment_us && !IsSet(stop); now = SteadyUs()) {
        const int64_t end = std::min<int64_t>(moment_us, now + 100000);
        const timespec until{static_cast<time_t>(end / 1000000), static_cast<long>(end % 1000000 * 1000)};
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
    }
    return !IsSet(stop);
}

void OnStop(void (*handler)(int)) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, handler);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace emulator

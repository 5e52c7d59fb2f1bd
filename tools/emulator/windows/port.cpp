#include "../port.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>
// Needs what stands above it.
#include <mmsystem.h>

#include <algorithm>
#include <chrono>
#include <csignal>

namespace emulator {

namespace {

constexpr DWORD QUEUE_SIZE = 16384;
// Some systems keep a read waiting to its end although a byte came, so that a wait is cut in short slices.
constexpr int64_t SLICE_MS = 20;
// As long as this a caller in the middle of an exchange may take to answer.
constexpr int64_t BUSY_MS = 100;

int64_t SteadyMs() {
    return SteadyUs() / 1000;
}

bool IsSet(const StopFlag* stop) {
    return stop != nullptr && *stop;
}

struct WindowsPort : Port {
    HANDLE handle = INVALID_HANDLE_VALUE;
    std::string address;
    const StopFlag* stop = nullptr;

    ~WindowsPort() override {
        if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
    }

    bool Stopping() const { return IsSet(stop); }

    // How many bytes wait to be read; -1 when the port is gone.
    int Queued() const {
        DWORD errors = 0;
        COMSTAT status{};
        if (!ClearCommError(handle, &errors, &status)) return -1;
        return static_cast<int>(std::min<DWORD>(status.cbInQue, QUEUE_SIZE));
    }

    int Read(char* buffer, size_t size, int64_t wait_ms) override {
        const auto wanted = static_cast<DWORD>(std::min<size_t>(size, QUEUE_SIZE));
        const int64_t start = SteadyMs();
        while (!Stopping()) {
            const int64_t passed = SteadyMs() - start;
            const int64_t left = wait_ms - passed;
            // A read may take its whole slice although a byte came: who answers soon, and who cannot wait so
            // long, is looked for instead.
            const bool looking = left < SLICE_MS || passed < BUSY_MS;
            const int queued = looking ? Queued() : 1;
            if (queued < 0) return -1;
            DWORD count = 0;
            if (queued > 0 && !ReadFile(handle, buffer, wanted, &count, nullptr)) return -1;
            if (count > 0) return static_cast<int>(count);
            if (left <= 0) return 0;
            if (queued == 0) Sleep(1);
        }
        return -1;
    }

    bool Write(const char* bytes, size_t size, int64_t wait_ms) override {
        const int64_t deadline = SteadyMs() + wait_ms;
        for (size_t done = 0; done < size;) {
            DWORD count = 0;
            const auto chunk = static_cast<DWORD>(std::min<size_t>(size - done, QUEUE_SIZE));
            if (!WriteFile(handle, bytes + done, chunk, &count, nullptr)) return false;
            done += count;
            if (done < size && (Stopping() || SteadyMs() >= deadline)) return false;
        }
        return true;
    }

    int64_t NowUs() override { return SteadyUs(); }

    bool SleepUntil(int64_t moment_us) override { return SleepUntilUs(moment_us, stop); }

    void AwaitTaken(int64_t wait_ms) override {
        const int64_t deadline = SteadyMs() + wait_ms;
        DWORD errors = 0;
        COMSTAT status{};
        while (SteadyMs() < deadline && ClearCommError(handle, &errors, &status) && status.cbOutQue > 0) {
            if (!SleepUntil(SteadyUs() + 1000)) return;
        }
    }

    std::string Address() const override { return address; }

    bool Configure() const {
        DCB settings{};
        settings.DCBlength = sizeof settings;
        if (!BuildCommDCBA("115200,n,8,1", &settings)) return false;
        settings.fDtrControl = DTR_CONTROL_ENABLE;
        settings.fRtsControl = RTS_CONTROL_ENABLE;
        COMMTIMEOUTS timeouts{};
        // The documented combination for "return at once with what is there, else wait for the first byte".
        timeouts.ReadIntervalTimeout = MAXDWORD;
        timeouts.ReadTotalTimeoutMultiplier = MAXDWORD;
        timeouts.ReadTotalTimeoutConstant = static_cast<DWORD>(SLICE_MS);
        timeouts.WriteTotalTimeoutConstant = 1000;
        return SetCommState(handle, &settings) && SetupComm(handle, QUEUE_SIZE, QUEUE_SIZE) &&
               SetCommTimeouts(handle, &timeouts);
    }
};

std::string Because(const std::string& what) {
    return what + ": erro " + std::to_string(GetLastError());
}

}  // namespace

std::unique_ptr<Port> OpenPort(const PortOptions& options, std::string* error) {
    if (options.name.empty() || !options.link.empty()) {
        *error = options.name.empty() ? "indique a porta com --port" : "--link precisa de um pseudo-terminal";
        return nullptr;
    }
    auto port = std::make_unique<WindowsPort>();
    port->stop = options.stop;
    port->address = options.name;
    // Ports above COM9 and the ends of virtual pairs are reached only through the device namespace.
    const std::string path = "\\\\.\\" + options.name;
    port->handle =
        CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (port->handle == INVALID_HANDLE_VALUE || !port->Configure()) {
        *error = Because(options.name);
        return nullptr;
    }
    return port;
}

int64_t SteadyUs() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

bool SleepUntilUs(int64_t moment_us, const StopFlag* stop) {
    // The system's tick is 15 ms long unless a program asks for a shorter one.
    static const MMRESULT tick = timeBeginPeriod(1);
    static_cast<void>(tick);
    for (int64_t now = SteadyUs(); now < moment_us && !IsSet(stop); now = SteadyUs()) {
        const int64_t ms = (moment_us - now + 999) / 1000;
        Sleep(static_cast<DWORD>(std::min<int64_t>(ms, 100)));
    }
    return !IsSet(stop);
}

void OnStop(void (*handler)(int)) {
    std::signal(SIGINT, handler);
    std::signal(SIGTERM, handler);
}

}  // namespace emulator

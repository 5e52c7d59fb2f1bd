#include "run.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <memory>
#include <mutex>
#include <thread>

#include "terminal.h"
#include "text.h"

namespace tool {

namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t interrupted = 0;

void Interrupt(int) {
    interrupted = 1;
}

// What the calling thread and the waiting one share. It outlives both: a call that is given up still writes
// here.
struct Shared {
    std::mutex guard;
    std::condition_variable returned;
    bool done = false;
    std::string text;
};

void MakeCall(const Call& call, const std::shared_ptr<Shared>& shared) {
    const char* const result = call.function->call(call.address, call.session, call.values);
    const std::lock_guard<std::mutex> lock(shared->guard);
    shared->text = result != nullptr ? result : "";
    shared->done = true;
    shared->returned.notify_all();
}

long Milliseconds(Clock::time_point since) {
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count());
}

void ShowProgress(const std::string& line) {
    std::fprintf(stderr, "\r\x1B[K%s", line.c_str());
    std::fflush(stderr);
}

// Waits for the call and says how the wait ended.
CallEnd Await(const Call& call, Shared& shared, Clock::time_point begun) {
    constexpr long QUIET_MS = 400;  // a quick answer shows no line at all
    const bool show = ErrorIsTerminal();
    std::unique_lock<std::mutex> lock(shared.guard);
    CallEnd end = CallEnd::Returned;
    while (!shared.done && end == CallEnd::Returned) {
        shared.returned.wait_for(lock, std::chrono::milliseconds(100));
        const long elapsed = Milliseconds(begun);
        if (interrupted != 0) end = CallEnd::Interrupted;
        if (elapsed > call.limit_s * 1000L) end = CallEnd::GivenUp;
        if (show && elapsed > QUIET_MS) {
            ShowProgress(ProgressLine(call.function->name, elapsed, call.timeout_s, TerminalColumns()));
        }
    }
    if (show && Milliseconds(begun) > QUIET_MS) ShowProgress("");
    return shared.done ? CallEnd::Returned : end;
}

}  // namespace

std::string ProgressLine(const std::string& name, long elapsed_ms, int timeout_s, size_t columns) {
    const long seconds = elapsed_ms / 1000;
    std::string line = name + " " + std::to_string(seconds) + " s / " + std::to_string(timeout_s) + " s";
    constexpr size_t SMALLEST_BAR = 5;
    constexpr size_t LARGEST_BAR = 40;
    if (columns < line.size() + SMALLEST_BAR + 4) return line;
    const size_t width = std::min(LARGEST_BAR, columns - line.size() - 4);
    const long whole = std::max(1L, timeout_s * 1000L);
    const size_t full = width * static_cast<size_t>(std::min(elapsed_ms, whole)) / static_cast<size_t>(whole);
    return line + " [" + std::string(full, '#') + std::string(width - full, '-') + "]";
}

int LongestCall(int timeout_s) {
    // 3 s for the lock, 30 s while another program holds the port, the reply, and time for a long one.
    return 3 + 30 + timeout_s + 120;
}

CallResult RunCall(const Call& call) {
    OnInterrupt(Interrupt);
    const auto shared = std::make_shared<Shared>();
    const Clock::time_point begun = Clock::now();
    CallResult result;
    {
        const OutputSilencer silencer;
        std::thread(MakeCall, call, shared).detach();
        result.end = Await(call, *shared, begun);
    }
    result.milliseconds = Milliseconds(begun);
    const std::lock_guard<std::mutex> lock(shared->guard);
    if (result.end == CallEnd::Returned) result.text = shared->text;
    return result;
}

}  // namespace tool

/*
 * Which platform calls were made, and which of them are to fail.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace sim {

/** One enumerator for each routine of platform.h, in its order. */
enum class Call : uint8_t {
    Alloc,
    Free,
    UtcNow,
    LocalNow,
    CounterFrequency,
    Counter,
    SystemTime,
    CalendarToSystemTime,
    SleepMs,
    LastError,
    ErrorText,
    MutexCreate,
    MutexWait,
    MutexRelease,
    PortOpen,
    PortParseMode,
    PortApply,
    PortSetQueues,
    PortSetTimeouts,
    PortRaise,
    PortRead,
    PortWrite,
    PortFlush,
    PortClose,
    DevicesOpen,
    DevicesSelect,
    DevicesPortName,
    DevicesFriendlySize,
    DevicesFriendly,
    DevicesClose,
    DevicesForget,
    FileQuery,
    ReadText,
    FileOpen,
    FileWrite,
    FileVprintf,
    FileClose,
    FileReplace,
    AppendText,
    AppendOpen,
    AppendWrite,
    AppendClose,
    CreateFolder,
    MoveFile,
    RemoveFile,
    FindOpen,
    FindNext,
    FindClose,
    Shell,
    Print,
    CommonDataFolder,
    Upper,
    WideToBytes
};

constexpr size_t kCallCount = static_cast<size_t>(Call::WideToBytes) + 1;

/** The name of the enumerator, such as "PortRead". */
const char* CallName(Call call);

/** The number of ways in which a call can fail; 0 for those that cannot. Ways count from 0. */
int Ways(Call call);

/** What a way of failing looks like, such as "error 5: held by another program". */
const char* WayText(Call call, int way);

/** Thrown by the call at which KillAtCall or Files::KillAfterBytes ends the simulated process. */
struct Killed : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** Thrown by the call that exceeds LimitCalls: the library most probably runs in an endless loop. */
struct TooManyCalls : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/**
 * Counts every platform call and decides which of them fail. A call that is made to fail does nothing else:
 * no byte moves, no file changes, unless its way says so.
 */
class Faults {
  public:
    /**
     * Makes the n-th call of one kind fail, and the `times - 1` calls of that kind that follow it.
     *
     * @param n      counts from now on; 1 is the next call
     * @param way    below Ways(call); a call without that way is not made to fail
     */
    void FailNth(Call call, uint64_t n, uint64_t times = 1, int way = 0);

    /** Makes every call of one kind fail from now on. */
    void FailAlways(Call call, int way = 0);

    /**
     * Makes the k-th platform call of any kind fail, 1 being the next. A call that cannot fail in that way is
     * let through; Fired tells.
     */
    void FailCallNumber(uint64_t k, int way = 0);

    /** Ends the current process, as World::EndProcess does, at the k-th call from now, and throws Killed
     * there. */
    void KillAtCall(uint64_t k);

    /** Throws TooManyCalls at the call after the next `calls`. */
    void LimitCalls(uint64_t calls);

    /** Forgets everything armed by the routines above. Counts and trace stay. */
    void Clear();

    /** Calls since the reset, of one kind or of all. */
    uint64_t Count(Call call) const { return counts_[static_cast<size_t>(call)]; }
    uint64_t Total() const { return total_; }

    /** How many calls were made to fail since the reset, and the last of them: "57 PortRead: time-out". */
    uint64_t Fired() const { return fired_; }
    const std::string& LastFired() const { return last_fired_; }

    /** Records each call as a line, its name and main arguments ("PortSetQueues 16384 16384"); all or some
     * kinds. */
    void TraceOn(std::initializer_list<Call> calls = {});
    void TraceOff();

    /** The lines recorded. The test may clear them. */
    std::vector<std::string> trace;

    // Used by the platform's routines.

    /** Counts a call. Returns the way in which it must fail, or -1. The common case costs one compare. */
    int Enter(Call call) {
        ++counts_[static_cast<size_t>(call)];
        return ++total_ >= attention_at_ ? Attend(call) : -1;
    }
    bool Tracing(Call call) const { return traced_[static_cast<size_t>(call)]; }
    void Trace(Call call);
    void Trace(Call call, const char* format, ...) PLAT_PRINTF_CHECK(3, 4);

  private:
    struct Rule {
        bool any_call;
        Call call;
        uint64_t from;
        uint64_t times;
        int way;
    };
    static constexpr uint64_t kNever = UINT64_MAX;

    int Attend(Call call);
    void SetAttention();

    uint64_t total_ = 0;
    uint64_t attention_at_ = kNever;
    std::array<uint64_t, kCallCount> counts_{};
    std::array<bool, kCallCount> traced_{};
    std::vector<Rule> rules_;
    uint64_t kill_at_ = kNever;
    uint64_t limit_at_ = kNever;
    uint64_t fired_ = 0;
    std::string last_fired_;
};

}  // namespace sim

#include "sim_faults.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>

#include "sim_platform.h"

namespace sim {

namespace {

constexpr size_t kMaxWays = 3;

/** A call's name and the ways in which it fails, in the order of Call. */
struct CallRow {
    const char* name;
    const char* ways[kMaxWays];
};

constexpr CallRow kCalls[] = {
    {"Alloc", {"no memory"}},
    {"Free", {}},
    {"UtcNow", {}},
    {"LocalNow", {}},
    {"CounterFrequency", {"no counter"}},
    {"Counter", {}},
    {"SystemTime", {}},
    {"CalendarToSystemTime", {}},
    {"SleepMs", {}},
    {"LastError", {}},
    {"ErrorText", {"no text"}},
    {"MutexCreate", {"error 5: refused"}},
    {"MutexWait", {"time-out", "taken from an owner that ended", "error 6: failed"}},
    {"MutexRelease", {"error 288: refused, stays owned"}},
    {"PortOpen", {"error 2: no such port", "error 5: held by another program", "error 31: not working"}},
    {"PortParseMode", {"error 87: not understood"}},
    {"PortApply", {"error 31: not working"}},
    {"PortSetQueues", {"error 31: not working"}},
    {"PortSetTimeouts", {"error 31: not working"}},
    {"PortRaise", {"error 31: not working"}},
    {"PortRead", {"error 31: not working", "time-out, whatever has arrived", "one byte at most"}},
    {"PortWrite", {"error 31: not working", "time-out, nothing taken", "half taken, then time-out"}},
    {"PortFlush", {"error 31: not working"}},
    {"PortClose", {"error 6: refused, yet closed", "error 6: refused, stays open"}},
    {"DevicesOpen", {"error 13: no set"}},
    {"DevicesSelect", {"error 259: no such device"}},
    {"DevicesPortName", {"error 5: the key cannot be opened", "the key has no name"}},
    {"DevicesFriendlySize", {"no name"}},
    {"DevicesFriendly", {"error 13: not read"}},
    {"DevicesClose", {"error 6: refused, yet closed"}},
    {"DevicesForget", {}},
    {"FileQuery", {"error 5: refused"}},
    {"ReadText", {"error 5: refused", "nothing read", "half read"}},
    {"FileOpen", {"error 5: refused"}},
    {"FileWrite", {"nothing taken", "half taken"}},
    {"FileVprintf", {"nothing taken"}},
    {"FileClose", {"what waited is lost", "half of what waited is lost"}},
    {"FileReplace", {"error 5: refused", "error 112: disk full"}},
    {"AppendText", {"error 5: refused", "error 112: nothing written", "error 112: half written"}},
    {"AppendOpen", {"error 5: refused"}},
    {"AppendWrite", {"error 112: nothing written", "error 112: half written"}},
    {"AppendClose", {}},
    {"CreateFolder", {"error 5: refused"}},
    {"MoveFile", {"error 5: refused"}},
    {"RemoveFile", {"error 5: refused"}},
    {"FindOpen", {"error 5: refused"}},
    {"FindNext", {"no more names"}},
    {"FindClose", {}},
    {"Shell", {"exit code 1, nothing done", "exit code 0, nothing done"}},
    {"Print", {}},
    {"CommonDataFolder", {"not told"}},
    {"Upper", {}},
    {"WideToBytes", {}},
};
static_assert(std::size(kCalls) == kCallCount);

const CallRow& RowOf(Call call) {
    return kCalls[static_cast<size_t>(call)];
}

}  // namespace

const char* CallName(Call call) {
    return RowOf(call).name;
}

int Ways(Call call) {
    const auto& ways = RowOf(call).ways;
    return static_cast<int>(
        std::count_if(std::begin(ways), std::end(ways), [](const char* way) { return way; }));
}

const char* WayText(Call call, int way) {
    return way >= 0 && way < Ways(call) ? RowOf(call).ways[way] : "";
}

void Faults::FailNth(Call call, uint64_t n, uint64_t times, int way) {
    rules_.push_back({false, call, Count(call) + n, times, way});
    SetAttention();
}

void Faults::FailAlways(Call call, int way) {
    rules_.push_back({false, call, 0, kNever, way});
    SetAttention();
}

void Faults::FailCallNumber(uint64_t k, int way) {
    rules_.push_back({true, Call::Alloc, total_ + k, 1, way});
    SetAttention();
}

void Faults::KillAtCall(uint64_t k) {
    kill_at_ = total_ + k;
    SetAttention();
}

void Faults::LimitCalls(uint64_t calls) {
    limit_at_ = total_ + calls + 1;
    SetAttention();
}

void Faults::Clear() {
    rules_.clear();
    kill_at_ = kNever;
    limit_at_ = kNever;
    SetAttention();
}

void Faults::SetAttention() {
    attention_at_ = std::min(kill_at_, limit_at_);
    // Which call will be the n-th of its kind is not known beforehand, so such a rule looks at every call.
    for (const Rule& rule : rules_)
        attention_at_ = std::min(attention_at_, rule.any_call ? rule.from : 0);
}

int Faults::Attend(Call call) {
    if (total_ >= limit_at_)
        throw TooManyCalls("more calls than expected, the last one is " + std::string(CallName(call)));
    if (total_ >= kill_at_) {
        kill_at_ = kNever;
        SetAttention();
        if (world().observer != nullptr) world().observer->OnFault(call, -1);
        world().EndProcess(world().Process());
        throw Killed("ended at call " + std::to_string(total_) + " " + CallName(call));
    }
    int way = -1;
    for (const Rule& rule : rules_) {
        if (!rule.any_call && rule.call != call) continue;
        const uint64_t number = rule.any_call ? total_ : Count(call);
        if (number >= rule.from && number - rule.from < rule.times && rule.way < Ways(call)) way = rule.way;
    }
    std::erase_if(rules_, [this](const Rule& rule) {
        const uint64_t number = rule.any_call ? total_ : Count(rule.call);
        return number >= rule.from && number - rule.from >= rule.times - 1;
    });
    SetAttention();
    if (way >= 0) {
        ++fired_;
        if (world().observer != nullptr) world().observer->OnFault(call, way);
        last_fired_ = std::to_string(total_) + " " + CallName(call) + ": " + WayText(call, way);
    }
    return way;
}

void Faults::TraceOn(std::initializer_list<Call> calls) {
    traced_.fill(calls.size() == 0);
    for (const Call call : calls)
        traced_[static_cast<size_t>(call)] = true;
}

void Faults::TraceOff() {
    traced_.fill(false);
}

void Faults::Trace(Call call) {
    trace.emplace_back(CallName(call));
}

void Faults::Trace(Call call, const char* format, ...) {
    char arguments_text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(arguments_text, sizeof arguments_text, format, arguments);
    va_end(arguments);
    trace.push_back(std::string(CallName(call)) + " " + arguments_text);
}

}  // namespace sim

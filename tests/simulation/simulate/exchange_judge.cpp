#include "exchange_judge.h"

#include "broken.h"
#include "commands.h"

namespace simulate {

namespace {

constexpr std::string_view kPrefix = "\\\\?\\";

constexpr int64_t kLockWaitMs = 3000;
constexpr int64_t kRefusedWaitMs = 10'000;
constexpr int64_t kCloseWaitMs = 2;
constexpr int kOpenTries = 3;

/** The calls that set a port up, in their order, and the code of a refusal; 0 where it is ignored. */
struct Setting {
    sim::Call call;
    int64_t argument;
    int refusal;
};
constexpr Setting kSettings[] = {
    {sim::Call::PortParseMode, 0, -1002},
    {sim::Call::PortApply, 0, -1003},
    {sim::Call::PortSetQueues, 0, -1004},
    {sim::Call::PortRaise, PLAT_SIGNAL_DTR, 0},
    {sim::Call::PortRaise, PLAT_SIGNAL_RTS, 0},
    {sim::Call::PortSetTimeouts, 0, -1005},
    {sim::Call::PortFlush, 0, 0},
};

bool LeadsTo(const Route& route, const std::string& path) {
    return route.kind == Route::Kind::Open && path == "\\\\?\\COM" + std::to_string(route.port);
}

/** Calls whose failure shows in what is observed; any other may leave the library with other settings. */
bool IsObserved(sim::Call call) {
    switch (call) {
        case sim::Call::MutexCreate:
        case sim::Call::MutexWait:
        case sim::Call::MutexRelease:
        case sim::Call::PortOpen:
        case sim::Call::CounterFrequency:
        case sim::Call::ErrorText:
            return true;
        default:
            return false;
    }
}

}  // namespace

void ExchangeJudge::Unexpected(const char* what) const {
    static constexpr const char* kSteps[] = {"before the lock",           "before the wait for the lock",
                                             "after the lock's time-out", "while the port is looked for",
                                             "between two tries to open", "while the port is opened",
                                             "while the port is set up",  "on the link",
                                             "before the close",          "behind the close",
                                             "before the release",        "after the end"};
    Break("%s %s of the exchange (setting %zu, try %d)", what, kSteps[static_cast<size_t>(step_)], setting_,
          tries_);
}

void ExchangeJudge::Begin(const char* name, std::string_view text, int timeout_s, bool sure,
                          LinkClockModel* clock) {
    step_ = Step::Entry;
    name_ = name;
    text_ = text;
    timeout_s_ = timeout_s;
    sure_ = sure;
    clock_ = clock;
    result_ = 0;
    faults_ = 0;
    locked_ = early_ = port_stuck_ = lock_stuck_ = lock_in_doubt_ = false;
    waited_until_us_ = sim::world().clock.NowUs();
    allowed_us_ = 0;
    link_.Forget();
    releases_ = tries_ = 0;
    setting_ = 0;
    port_ = 0;
    // An export that has no command: it must come back without any of the calls that are watched.
    outcome_ = Outcome::Version;
    if (!text.empty() && text.size() + 3 > kLongestFrame) outcome_ = Outcome::TooLong;
}

void ExchangeJudge::OnFault(sim::Call call, int) {
    ++faults_;
    if (call == sim::Call::CounterFrequency && step_ == Step::Link) {
        clock_->LoseCounter();
        link_.ReadClockAgain();
    }
    const bool before_port = step_ < Step::Opening;
    if (before_port && !IsObserved(call)) sure_ = false;
}

void ExchangeJudge::FailWith(Outcome outcome, int result) {
    outcome_ = outcome;
    result_ = result;
}

void ExchangeJudge::OnCall(sim::Call call, int64_t argument, int64_t result) {
    switch (call) {
        case sim::Call::SleepMs:
            return OnSleep(argument);
        case sim::Call::MutexCreate:
        case sim::Call::MutexWait:
        case sim::Call::MutexRelease:
            return OnMutex(call, argument, result);
        case sim::Call::PortClose:
            return OnClose(argument, result != 0);
        default:
            return OnSetting(call, argument, result);
    }
}

void ExchangeJudge::OnMutex(sim::Call call, int64_t argument, int64_t result) {
    if (call == sim::Call::MutexCreate) {
        if (step_ != Step::Entry || text_.empty() || outcome_ == Outcome::TooLong)
            Unexpected("a lock is made");
        step_ = result != 0 ? Step::Created : Step::Over;
        if (result == 0) FailWith(Outcome::NoLock, -1001);
        return;
    }
    if (call == sim::Call::MutexWait) {
        if (step_ != Step::Created || argument != kLockWaitMs) Unexpected("a wait for the lock");
        const int64_t begun_us = waited_until_us_;
        waited_until_us_ = sim::world().clock.NowUs();
        if (waited_until_us_ - begun_us > kLockWaitMs * 1000) Break("the lock was waited for too long");
        if (result == PLAT_WAIT_TIMEOUT) {
            FailWith(Outcome::LockTimeout, -1002);
            step_ = Step::TimedOut;
            return;
        }
        locked_ = true;
        lock_in_doubt_ = sim::world().mutexes.Owner(kLockName) != sim::world().Thread();
        step_ = Step::Discovery;
        return;
    }
    ++releases_;
    if (step_ == Step::TimedOut) {
        if (releases_ == 2) step_ = Step::Over;
        return;
    }
    if (step_ != Step::Release && step_ != Step::Discovery) Unexpected("the lock is released");
    early_ = step_ == Step::Discovery;
    locked_ = false;
    lock_stuck_ = result == 0;
    step_ = Step::Over;
}

void ExchangeJudge::OnOpen(const char* path, plat_handle port) {
    if (step_ == Step::Discovery) {
        path_ = path;
        const bool right = LeadsTo(route_, path_);
        if (sure_ && !right) Break("%s is opened where \"%s\" leads", path, route_.name.c_str());
        // After a call that failed before, any port that the machine's texts may name is right.
        if (!right)
            route_ = LeadsTo(without_device_, path_)
                         ? without_device_
                         : Route{Route::Kind::Open, path_.substr(kPrefix.size()), 0};
    } else if (step_ != Step::Opening || path_ != path) {
        Unexpected("a port is opened");
    }
    ++tries_;
    if (plat_handle_valid(port)) {
        port_ = port;
        step_ = Step::Settings;
        return;
    }
    if (sim::world().last_error == PLAT_ERROR_ACCESS_DENIED) {
        step_ = Step::Refused;
        return;
    }
    step_ = tries_ < kOpenTries ? Step::Opening : Step::Release;
    FailWith(Outcome::NotOpened, -1000);
}

void ExchangeJudge::OnSleep(int64_t milliseconds) {
    if (step_ != Step::Link) allowed_us_ += milliseconds * 1000;
    if (step_ == Step::Link) {
        link_.OnSleep(milliseconds);
        if (link_.Done()) FinishLink();
    } else if (step_ == Step::Refused && milliseconds == kRefusedWaitMs) {
        step_ = tries_ < kOpenTries ? Step::Opening : Step::Release;
        FailWith(Outcome::NotOpened, -1000);
    } else if (step_ == Step::Pause && milliseconds == kCloseWaitMs) {
        step_ = Step::Release;
    } else {
        Unexpected("a sleep");
    }
}

void ExchangeJudge::OnSetting(sim::Call call, int64_t argument, int64_t result) {
    if (step_ != Step::Settings || setting_ >= std::size(kSettings)) Unexpected("a port setting");
    const Setting& setting = kSettings[setting_];
    if (setting.call != call || setting.argument != argument) Unexpected("another port setting");
    if (result == 0 && setting.refusal != 0) {
        FailWith(Outcome::NotConfigured, setting.refusal);
        step_ = Step::Close;
        return;
    }
    if (++setting_ < std::size(kSettings)) return;
    if (faults_ == 0) CheckLine();
    clock_->Start(sim::world().clock.CounterFrequency() > 0);
    link_.Begin(text_, timeout_s_, sure_, *clock_);
    step_ = Step::Link;
}

/** What the port was set to. */
void ExchangeJudge::CheckLine() const {
    const sim::Line* line = sim::world().ports.Find(path_);
    if (line == nullptr) return;
    const sim::LineRecord& record = line->Record();
    const plat_port_timeouts& t = record.timeouts;
    const bool right = record.mode == "115200,n,8,1" && record.input_queue == 16384 &&
                       record.output_queue == 16384 && record.dtr && record.rts && t.read_interval == 10 &&
                       t.read_total_multiplier == 1 && t.read_total_constant == 1 &&
                       t.write_total_multiplier == 1 && t.write_total_constant == 1000;
    if (!right) Break("the port is set up as \"%s\" with other queues or time-outs", record.mode.c_str());
}

void ExchangeJudge::OnRead(const uint8_t* buffer, uint32_t size, uint32_t read) {
    if (step_ != Step::Link) Unexpected("a read");
    link_.OnRead(buffer, size, read);
    if (link_.Done()) FinishLink();
}

void ExchangeJudge::OnWrite(const uint8_t* bytes, uint32_t size, uint32_t written) {
    if (step_ != Step::Link) Unexpected("a write");
    link_.OnWrite(bytes, size, written);
    if (link_.Done()) FinishLink();
}

void ExchangeJudge::FinishLink() {
    step_ = Step::Close;
    switch (link_.Ended()) {
        case LinkJudge::End::Reply:
            return FailWith(Outcome::Reply, 0);
        case LinkJudge::End::NotReceived:
            return FailWith(Outcome::NotReceived, link_.Result());
        case LinkJudge::End::NotSent:
            return FailWith(route_.name == "COM1" ? Outcome::NotSentOnCom1 : Outcome::NotSent,
                            link_.Result());
    }
}

void ExchangeJudge::OnClose(int64_t port, bool closed) {
    if (step_ == Step::Link) {
        link_.OnClose();
        FinishLink();
    }
    if (step_ != Step::Close) Unexpected("the port is closed");
    if (port != port_)
        Break("port handle %lld is closed, %lld is open", static_cast<long long>(port),
              static_cast<long long>(port_));
    port_stuck_ = !closed && faults_ != 0;
    if (!closed && faults_ == 0) Break("the port could not be closed");
    step_ = Step::Pause;
}

}  // namespace simulate

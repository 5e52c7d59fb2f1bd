#include "run.h"

#include <algorithm>

#include "broken.h"

namespace simulate {

namespace {

/** Threads other than the first of a process have numbers from here on. */
constexpr uint32_t kFirstExtraThread = 100;

}  // namespace

Run::Run(const RunOptions& options)
    : options_(options),
      draw_(options.seed),
      shop_([this]() -> const Plan& { return Running().CurrentPlan(); }) {
    for (int i = 1; i <= Library::kCopies; ++i)
        tills_.push_back(std::make_unique<Till>(i, shop_));
}

Run::~Run() {
    sim::world().Reset();
}

Till& Run::Running() {
    return *tills_[sim::world().Process() - 1];
}

void Run::Go() {
    const uint64_t first = options_.from_step > 0 ? (options_.from_step - 1) / kExchangesAShop : 0;
    step_ = first * kExchangesAShop;
    for (uint64_t shop = first; step_ < options_.exchanges; ++shop)
        RunShop(shop, std::min(kExchangesAShop, options_.exchanges - step_));
}

void Run::OpenShop(Draw& draw, bool first_start, int tills) {
    shop_.Open(draw, first_start, options_.log_mode);
    sim::world().observer = this;
    next_thread_ = kFirstExtraThread;
    armed_by_ = nullptr;
    for (int i = 0; i < tills; ++i)
        tills_[static_cast<size_t>(i)]->Start();
    report_.starts += static_cast<uint64_t>(tills);
}

void Run::RunShop(uint64_t number, uint64_t exchanges) {
    draw_ = Draw(SeedOf(options_.seed, number));
    const int drawn = static_cast<int>(draw_.Between(1, Library::kCopies));
    const int tills = options_.processes > 0 ? options_.processes : drawn;
    OpenShop(draw_, draw_.OneIn(8), tills);
    left_ = exchanges;
    Fibers fibers;
    fibers_ = &fibers;
    sim::world().clock.turns = &fibers;
    for (int i = 0; i < tills; ++i) {
        Till& till = *tills_[static_cast<size_t>(i)];
        fibers.Add(till.Number(), till.Number(), [this, &till] { TillBody(till); });
    }
    fibers.Run();
    fibers_ = nullptr;
    sim::world().clock.turns = nullptr;
    report_.virtual_us += sim::world().clock.NowUs();
    report_.calls += sim::world().faults.Total();
    report_.calls_failed += sim::world().faults.Fired();
}

void Run::TillBody(Till& till) {
    Plan plan;
    while (left_ > 0) {
        --left_;
        steps_[till.Number() - 1] = ++step_;
        DrawPlan(draw_, &plan);
        sim::world().clock.AdvanceUs(plan.pause_us);
        if (draw_.OneIn(100)) shop_.ChangeIni(draw_, options_.log_mode);
        RunPlan(till, plan);
        // Settings that could not be read are read again at the next call, for the file is a new one then.
        if (!till.Judge().Sure()) shop_.WriteIni();
        AfterExchange(till);
    }
}

void Run::RunPlan(Till& till, const Plan& plan) {
    sim::World& world = sim::world();
    if (options_.trace)
        std::printf("%10.6f till %u exchange %llu\n", static_cast<double>(world.clock.NowUs()) / 1e6,
                    till.Number(), static_cast<unsigned long long>(steps_[till.Number() - 1]));
    shop_.HoldLock(plan);
    if (plan.clock_jump_s != 0) JumpAfter(plan.clock_jump_delay_us, plan.clock_jump_s);
    if (plan.CallsFail() && armed_by_ == nullptr) {
        armed_by_ = &till;
        Arm(plan);
    }
    till.Run(plan, &report_);
    if (armed_by_ != &till) return;
    world.faults.Clear();
    armed_by_ = nullptr;
}

/** Somebody sets the calendar. A link clock without a counter goes by it, in every exchange under way. */
void Run::JumpAfter(int64_t delay_us, int64_t seconds) {
    // Set back by a day, it would keep a call waiting for a day, and the simulation for a minute.
    constexpr int64_t kMostBackwards = -5;
    if (sim::world().clock.CounterFrequency() == 0) seconds = std::max(seconds, kMostBackwards);
    sim::world().clock.After(delay_us, [this, seconds] {
        sim::world().clock.ShiftUtc(seconds);
        for (const auto& till : tills_)
            till->Disturb();
    });
}

void Run::Arm(const Plan& plan) {
    sim::Faults& faults = sim::world().faults;
    if (plan.fail_call != 0) faults.FailCallNumber(plan.fail_call, plan.fail_way);
    if (plan.reads_fail != 0)
        faults.FailNth(sim::Call::PortRead, plan.transfer_fails, plan.reads_fail, plan.fail_way);
    if (plan.writes_fail != 0)
        faults.FailNth(sim::Call::PortWrite, plan.transfer_fails, plan.writes_fail, plan.fail_way);
    if (plan.kill_at_call != 0) faults.KillAtCall(plan.kill_at_call);
}

/** Brings back to order what an exchange could not leave in order. */
void Run::AfterExchange(Till& till) {
    sim::World& world = sim::world();
    // Whoever finds the lock taken for long has a coffee, or everybody would be waiting most of the time.
    if (till.LastOutcome() == Outcome::LockTimeout) world.clock.AdvanceUs(draw_.Between(0, 60'000'000));
    if (till.KeptLock() || till.MustRestart()) world.EndThread(world.Thread());
    if (till.KeptLock()) fibers_->SetThread(next_thread_++);
    if (!till.MustRestart()) return;
    world.EndProcess(till.Number());
    till.Start();
    ++report_.starts;
}

void Run::TakeLock(Till& till) {
    for (const auto& other : tills_) {
        if (other.get() == &till || !other->Judge().Locked()) continue;
        other->Disturb();
        till.Disturb();
    }
    shop_.Arrange(draw_, till.CurrentPlan());
    till.Judge().SetRoute(shop_.RouteFor(till.CurrentPlan(), till.EmulatorOn()),
                          shop_.RouteWithoutDevice(till.EmulatorOn()));
}

void Run::OnCall(sim::Call call, int64_t argument, int64_t result) {
    Note(call, argument, result, nullptr, 0);
    Till& till = Running();
    const bool was_locked = till.Judge().Locked();
    till.Judge().OnCall(call, argument, result);
    if (!was_locked && till.Judge().Locked()) TakeLock(till);
}

void Run::OnOpen(const char* path, plat_handle port) {
    Note(sim::Call::PortOpen, 0, port, reinterpret_cast<const uint8_t*>(path) + 4, 6);
    Till& till = Running();
    till.Judge().OnOpen(path, port);
    if (plat_handle_valid(port)) shop_.PortOpened(till.CurrentPlan());
}

void Run::OnRead(const uint8_t* buffer, uint32_t size, uint32_t read) {
    Note(sim::Call::PortRead, size, read, buffer, read);
    Running().Judge().OnRead(buffer, size, read);
}

void Run::OnWrite(const uint8_t* bytes, uint32_t size, uint32_t written) {
    Note(sim::Call::PortWrite, size, written, bytes, written);
    Running().Judge().OnWrite(bytes, size, written);
}

void Run::OnFault(sim::Call call, int way) {
    Note(call, -1, way, nullptr, 0);
    shop_.Doubt();
    Running().Judge().OnFault(call, way);
}

void Run::Note(sim::Call call, int64_t argument, int64_t result, const uint8_t* bytes, uint32_t size) {
    Event& event = events_[event_count_++ % events_.size()];
    event = {sim::world().clock.NowUs(), sim::world().Process(), call, argument, result, 0};
    for (uint32_t i = 0; i < std::min(size, 4U); ++i)
        event.bytes = event.bytes << 8 | bytes[i];
    report_.Add(static_cast<uint64_t>(event.at_us) << 8 | static_cast<uint64_t>(call));
    report_.Add(static_cast<uint64_t>(argument) << 32 ^ static_cast<uint64_t>(result) ^ event.process);
    report_.Add(event.bytes);
    if (options_.trace) std::printf("%s\n", Text(event).c_str());
}

std::string Run::Text(const Event& event) {
    char text[160];
    if (event.argument == -1 && event.result == -1) {
        snprintf(text, sizeof text, "%12.6f till %u ends at %s", static_cast<double>(event.at_us) / 1e6,
                 event.process, CallName(event.call));
    } else if (event.argument == -1) {
        snprintf(text, sizeof text, "%12.6f till %u %s made to fail: %s",
                 static_cast<double>(event.at_us) / 1e6, event.process, CallName(event.call),
                 WayText(event.call, static_cast<int>(event.result)));
    } else {
        snprintf(text, sizeof text, "%12.6f till %u %s %lld gives %lld %08X",
                 static_cast<double>(event.at_us) / 1e6, event.process, CallName(event.call),
                 static_cast<long long>(event.argument), static_cast<long long>(event.result), event.bytes);
    }
    return text;
}

std::string Run::Where() const {
    const uint32_t process = sim::world().Process();
    std::string text = "seed " + std::to_string(options_.seed) + ", exchange " +
                       std::to_string(steps_[process - 1]) + " (till " + std::to_string(process) + ")\n";
    const uint64_t count = std::min<uint64_t>(event_count_, 40);
    for (uint64_t i = event_count_ - count; i < event_count_; ++i)
        text += "  " + Text(events_[i % events_.size()]) + "\n";
    return text;
}

}  // namespace simulate

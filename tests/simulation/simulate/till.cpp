#include "till.h"

#include <algorithm>
#include <cstring>

#include "broken.h"

namespace simulate {

namespace {

constexpr size_t kBufferSize = 10485760;

/** So much behind what may be used is looked at too. */
constexpr size_t kLookBehind = 256;

}  // namespace

void Till::Start() {
    library_.Reload();
    clock_.Reset();
    buffer_ = nullptr;
    buffer_used_ = 0;
    must_restart_ = false;
    kept_lock_ = false;
}

void Till::Prepare(const Plan& plan) {
    plan_ = &plan;
    disturbed_ = false;
    kept_lock_ = false;
    // The library looks at the file's time at every call, so these are in force from now on.
    settings_ = shop_.Ini();
    const bool command = plan.request.command != kVersion;
    command_text_ = command ? CommandText(plan.request) : std::string();
    judge_.Begin(command ? kCommands[plan.request.command].name : "VersaoDllZantir", command_text_,
                 command ? settings_.TimeoutS(plan.request.command) : 0, true, &clock_);
    doubts_before_ = shop_.Doubts();
    live_before_ = sim::world().LiveAllocations();
}

void Till::Run(const Plan& plan, Report* report) {
    Prepare(plan);
    const char* text = nullptr;
    try {
        text = library_.Call(plan.request);
    } catch (const sim::Killed&) {
        judge_.Abort();
        must_restart_ = true;
    }
    Outcome outcome = Outcome::Killed;
    if (text != nullptr) {
        outcome = judge_.JudgeEnd(text);
        JudgeBuffer(text);
        JudgeMachine(outcome);
        JudgeDuration(outcome);
        JudgeResultFile(text);
        JudgePromise(outcome);
        kept_lock_ = outcome == Outcome::KeptLock;
        // A refusal is no reason to start anew when nothing is left behind by it.
        must_restart_ = sim::world().ports.OpenCountOf(number_) != 0 ||
                        (sim::world().mutexes.Owner(kLockName) == sim::world().Thread() && !kept_lock_);
        for (const char* byte = text; *byte != '\0' && byte < text + 64; ++byte)
            report->Add(static_cast<uint8_t>(*byte));
    }
    last_outcome_ = outcome;
    shop_.Close();
    report->Count(plan, outcome);
    report->Add(static_cast<uint64_t>(sim::world().clock.NowUs()));
    report->Add(static_cast<uint64_t>(outcome));
}

/** The text to the byte, and nothing of an earlier call behind it. */
void Till::JudgeBuffer(const char* text) {
    if (buffer_ != nullptr && text != buffer_) Break("the export returned another buffer than before");
    buffer_ = text;
    const std::string& image = judge_.Image();
    if (std::memcmp(text, image.data(), image.size()) != 0) {
        Break("the caller got %s where %s is due", Shown({text, image.size()}).c_str(), Shown(image).c_str());
    }
    const size_t end = std::min(std::max(image.size(), buffer_used_) + kLookBehind, kBufferSize);
    for (size_t i = image.size(); i < end; ++i)
        if (text[i] != '\0')
            Break("byte %zu of the reply buffer is %02X, behind a text of %zu", i,
                  static_cast<unsigned>(static_cast<uint8_t>(text[i])), image.size());
    buffer_used_ = std::max(image.size(), command_text_.size() + 3);
}

/** Nothing is left open, held or allocated but what is left on purpose. */
void Till::JudgeMachine(Outcome outcome) const {
    const sim::World& world = sim::world();
    if (!judge_.PortStuck() && world.ports.OpenCountOf(number_) != 0) Break("a port is left open");
    const bool owner = world.mutexes.Owner(kLockName) == world.Thread();
    if (outcome == Outcome::KeptLock && !judge_.LockInDoubt() && !disturbed_ && !owner)
        Break("the lock is not kept");
    if (outcome != Outcome::KeptLock && !judge_.LockStuck() && owner) Break("the lock is left taken");
    if (judge_.Faults() != 0) return;
    for (const sim::World::DeviceSet& set : world.device_sets)
        if (set.handle != 0 && set.process == number_) Break("a device set is left open");
    if (world.files.OpenFiles() != 0) Break("a file is left open");
    if (world.files.OpenAppends() > Library::kCopies || world.files.OpenSearches() > Library::kCopies)
        Break("%zu protocol logs and %zu searches are open", world.files.OpenAppends(),
              world.files.OpenSearches());
    if (shop_.Doubts() == doubts_before_ && world.LiveAllocations() != live_before_)
        Break("%lld allocations are left", static_cast<long long>(world.LiveAllocations() - live_before_));
}

/** No longer than the time-outs allow; without a fault hardly longer than the device took. */
void Till::JudgeDuration(Outcome outcome) const {
    // A call that failed may have left other time-outs in force.
    if (disturbed_ || !judge_.Sure()) return;
    const int64_t took_us = sim::world().clock.NowUs() - judge_.WaitedUntilUs();
    // A read that fails at once costs a millisecond, whatever its time-outs say.
    constexpr int64_t kFailedCallUs = 1000;
    int64_t allowed_us = judge_.AllowedUs() + kFailedCallUs * static_cast<int64_t>(judge_.Faults());
    if (plan_->clean && judge_.Faults() == 0 && outcome == Outcome::Reply) {
        // A millisecond behind each block that is sent, ten in which nothing more of the reply comes, two
        // behind the close, and what a read takes to see that the reply is not there yet.
        const auto blocks = static_cast<int64_t>(command_text_.size() / sim::kBlockSize + 1);
        allowed_us = std::min(allowed_us, plan_->reply_delay_us + 1000 * blocks + 15'000);
    }
    if (took_us > allowed_us)
        Break("the call took %.3f s, its time-outs allow %.3f s", static_cast<double>(took_us) / 1e6,
              static_cast<double>(allowed_us) / 1e6);
}

/** The text is saved, to the byte, when the settings want it and the folder is there. */
void Till::JudgeResultFile(const char* text) const {
    const int command = plan_->request.command;
    if (!settings_.result_files || judge_.Faults() != 0 || command == kVersion) return;
    const char* front = kCommands[command].result_file;
    if (front == nullptr) return;
    sim::World& world = sim::world();
    if (!world.files.IsFolder(settings_.result_folder)) return;
    const plat_calendar now = world.clock.Calendar(true);
    const int session = Reduced(plan_->request.session);
    char name[128];
    snprintf(name, sizeof name, "%s\\%s%02d%02d%02d%02d-%02d-1.sat", settings_.result_folder.c_str(), front,
             now.day, now.hour, now.minute, now.second, session);
    if (!world.files.Exists(name)) Break("there is no result file %s", name);
    if (std::strlen(text) < 1 << 20 && world.files.Text(name) != text)
        Break("the result file %s holds %s", name, Shown(world.files.Text(name)).c_str());
    world.files.Remove(name);
}

/** No text comes that the device did not send, unless what it sent ran together with something else. */
void Till::JudgeOrigin() const {
    static constexpr Fault kMixed[] = {Fault::JunkBeforeAck, Fault::DuplicateAck, Fault::LostByte,
                                       Fault::ControlBytes,  Fault::JunkInstead,  Fault::EndlessJunk,
                                       Fault::JunkBehind,    Fault::StaleReply};
    for (const Fault fault : kMixed)
        if (plan_->faulty[static_cast<size_t>(fault)]) return;
    const ShopDevice* device = shop_.DeviceAt(judge_.Taken().port);
    if (device != nullptr && !device->SentText(judge_.Link().Reply()))
        Break("the device has not sent %s", Shown(judge_.Link().Reply()).c_str());
}

/** Without a fault the device's reply comes. */
void Till::JudgePromise(Outcome outcome) const {
    if (disturbed_ || judge_.Faults() != 0) return;
    if (outcome == Outcome::Reply) JudgeOrigin();
    if (!plan_->clean || outcome == Outcome::Version || outcome == Outcome::LockTimeout ||
        outcome == Outcome::TooLong)
        return;
    // With the settings of this moment the call may lead to a port without the device.
    if (judge_.Taken().kind != Route::Kind::Open || shop_.DeviceAt(judge_.Taken().port) == nullptr) return;
    if (outcome != Outcome::Reply)
        Break("nothing went wrong, yet the call ended with \"%s\"", OutcomeName(outcome));
    if (judge_.Link().Reply() != plan_->reply) Break("the device answered %s", Shown(plan_->reply).c_str());
}

}  // namespace simulate

#include "fibers.h"

#include <stdexcept>
#include <utility>

#include "sim_platform.h"

#if defined(__SANITIZE_ADDRESS__)
#define SIMULATE_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SIMULATE_ADDRESS_SANITIZER 1
#endif
#endif
#ifdef SIMULATE_ADDRESS_SANITIZER
#include <sanitizer/common_interface_defs.h>
#endif

namespace simulate {

namespace {

// An exchange needs little; an instrumented one several times as much.
constexpr size_t kStackSize = 1 << 20;

/** The one that is at work; a context is entered without arguments. */
Fibers* g_fibers = nullptr;

#ifdef SIMULATE_ADDRESS_SANITIZER
/** The program's own stack, as the sanitizer tells it to the first fiber that is entered from there. */
const void* g_main_stack = nullptr;
size_t g_main_stack_size = 0;
#endif

}  // namespace

Fibers::~Fibers() {
    if (g_fibers == this) g_fibers = nullptr;
}

void Fibers::Add(uint32_t process, uint32_t thread, std::function<void()> body) {
    auto fiber = std::make_unique<Fiber>();
    fiber->stack = std::make_unique_for_overwrite<char[]>(kStackSize);
    fiber->body = std::move(body);
    fiber->process = process;
    fiber->thread = thread;
    fiber->order = ++orders_;
    getcontext(&fiber->context);
    fiber->context.uc_stack.ss_sp = fiber->stack.get();
    fiber->context.uc_stack.ss_size = kStackSize;
    fiber->context.uc_link = nullptr;
    makecontext(&fiber->context, &Fibers::Enter, 0);
    fibers_.push_back(std::move(fiber));
}

void Fibers::Run() {
    g_fibers = this;
    running_ = &main_;
    if (Fiber* first = Earliest()) SwitchTo(first);
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

void Fibers::Enter() {
#ifdef SIMULATE_ADDRESS_SANITIZER
    const bool from_main = g_main_stack == nullptr;
    __sanitizer_finish_switch_fiber(nullptr, from_main ? &g_main_stack : nullptr,
                                    from_main ? &g_main_stack_size : nullptr);
#endif
    g_fibers->Body();
}

void Fibers::Body() {
    try {
        running_->body();
    } catch (...) {
        failure_ = std::current_exception();
    }
    running_->done = true;
    Fiber* next = failure_ ? nullptr : Earliest();
    SwitchTo(next != nullptr ? next : &main_);
}

Fibers::Fiber* Fibers::Earliest() {
    Fiber* earliest = nullptr;
    for (const auto& fiber : fibers_) {
        if (fiber->done) continue;
        if (earliest == nullptr || fiber->wake_us < earliest->wake_us ||
            (fiber->wake_us == earliest->wake_us && fiber->order < earliest->order))
            earliest = fiber.get();
    }
    return earliest;
}

void Fibers::SwitchTo(Fiber* next) {
    Fiber* self = running_;
    running_ = next;
    if (next != &main_) {
        sim::world().SetThread(next->process, next->thread);
        sim::world().clock.RunTo(next->wake_us);
    }
#ifdef SIMULATE_ADDRESS_SANITIZER
    const bool to_main = next == &main_;
    __sanitizer_start_switch_fiber(self->done ? nullptr : &self->fake_stack,
                                   to_main ? g_main_stack : next->stack.get(),
                                   to_main ? g_main_stack_size : kStackSize);
#endif
    swapcontext(&self->context, &next->context);
#ifdef SIMULATE_ADDRESS_SANITIZER
    __sanitizer_finish_switch_fiber(self->fake_stack, nullptr, nullptr);
#endif
}

void Fibers::SetThread(uint32_t thread) {
    running_->thread = thread;
    sim::world().SetThread(running_->process, thread);
}

void Fibers::WaitUntil(int64_t at_us, bool wakes) {
    Fiber* self = running_;
    if (self == nullptr || self == &main_) return sim::world().clock.RunTo(at_us);
    self->wake_us = at_us;
    self->wakes = wakes;
    self->order = ++orders_;
    Fiber* next = Earliest();
    if (next->wake_us == sim::kForever) throw sim::Stuck("every process waits for ever");
    if (next != self) {
        SwitchTo(next);
    } else {
        sim::world().clock.RunTo(at_us);
    }
    self->wakes = false;
}

void Fibers::Wake() {
    const int64_t now_us = sim::world().clock.NowUs();
    for (const auto& fiber : fibers_)
        if (fiber->wakes && fiber->wake_us > now_us) fiber->wake_us = now_us;
}

}  // namespace simulate

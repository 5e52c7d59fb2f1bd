/*
 * Simulated processes that take turns: each has a stack of its own and runs until it waits; then the one
 * whose wait ends first goes on. Nothing depends on the real machine's threads.
 */
#pragma once

#include <ucontext.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <vector>

#include "sim_clock.h"

namespace simulate {

class Fibers : public sim::Turns {
  public:
    ~Fibers() override;

    /** A process that runs `body`. World::SetThread names it, and the thread, while it runs. */
    void Add(uint32_t process, uint32_t thread, std::function<void()> body);

    /** Runs until all bodies are done. Throws what a body throws; the others then stay where they are. */
    void Run();

    /** The running process goes on as another thread. */
    void SetThread(uint32_t thread);

    void WaitUntil(int64_t at_us, bool wakes) override;
    void Wake() override;

  private:
    struct Fiber {
        ucontext_t context{};
        std::unique_ptr<char[]> stack;
        std::function<void()> body;
        uint32_t process = 0;
        uint32_t thread = 0;
        int64_t wake_us = 0;
        uint64_t order = 0;
        bool wakes = false;
        bool done = false;
        void* fake_stack = nullptr;  ///< the address sanitizer's
    };

    static void Enter();
    void Body();
    Fiber* Earliest();
    void SwitchTo(Fiber* next);

    Fiber main_;
    Fiber* running_ = nullptr;
    std::vector<std::unique_ptr<Fiber>> fibers_;
    uint64_t orders_ = 0;
    std::exception_ptr failure_;
};

}  // namespace simulate

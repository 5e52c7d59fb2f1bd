/*
 * The machine's named mutexes.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"
#include "sim_clock.h"

namespace sim {

/** How an owner that the test plays gives a mutex up: properly, or by ending while it owns it. */
enum class HoldEnd { Released, Abandoned };

/** Owners are thread ids; 0 is nobody. Which thread runs is set with World::SetThread. */
class Mutexes {
  public:
    /**
     * Lets another thread own the mutex from now on, until the steady clock reaches `until_us`. The mutex is
     * created when it does not exist.
     */
    void Hold(std::string_view name, uint32_t owner, int64_t until_us = kForever,
              HoldEnd end = HoldEnd::Released);

    /** Ends what Hold began. */
    void Release(std::string_view name);

    /** The owner, 0 when there is none or no such mutex, and how often it has taken the mutex. */
    uint32_t Owner(std::string_view name) const;
    uint32_t Depth(std::string_view name) const;

    /** Handles that plat_mutex_create gave out since the reset; the library keeps them all. */
    size_t HandlesCreated() const { return handles_created_; }

    /** The names created so far, in order. */
    std::vector<std::string> Names() const;

    /** Every mutex that the thread owns becomes abandoned. World::EndThread calls it. */
    void Abandon(uint32_t thread);

    // Used by the platform's routines.
    plat_handle Create(const char* name);
    uint32_t Wait(plat_handle handle, uint32_t milliseconds, uint32_t thread);
    uint32_t TakeAbandoned(plat_handle handle, uint32_t thread);
    bool ReleaseOnce(plat_handle handle, uint32_t thread);

  private:
    struct Mutex {
        std::string name;
        uint32_t owner = 0;
        uint32_t depth = 0;
        bool abandoned = false;
        int64_t until_us = kForever;
        HoldEnd end = HoldEnd::Released;
    };

    Mutex& Named(std::string_view name);
    const Mutex* Find(std::string_view name) const;
    Mutex* FromHandle(plat_handle handle);
    static void Expire(Mutex& mutex, int64_t now_us);
    static void GiveUp(Mutex& mutex, bool abandoned);

    std::deque<Mutex> mutexes_;  // a timer may add one while a wait looks at another
    size_t handles_created_ = 0;
};

}  // namespace sim

/*
 * What a process's link clock shows: it starts at its first use, and time-outs count its whole seconds.
 */
#pragma once

#include "sim_platform.h"

namespace simulate {

class LinkClockModel {
  public:
    /** A process that has just been loaded. */
    void Reset() { *this = LinkClockModel(); }

    /** The link is used. `has_counter` tells whether the machine's counter was there when it was asked. */
    void Start(bool has_counter) {
        if (started_) return;
        started_ = true;
        has_counter_ = has_counter;
        origin_us_ = sim::world().clock.NowUs();
    }

    /** The counter was asked for at that first use, and the call failed. */
    void LoseCounter() { has_counter_ = false; }

    /** The seconds field. Without a counter it is the calendar's, which may jump. */
    int64_t Seconds() const {
        const sim::Clock& clock = sim::world().clock;
        return (has_counter_ ? clock.NowUs() - origin_us_ : clock.UtcUs()) / 1'000'000;
    }

    /** Milliseconds since the seconds field had a value. */
    int64_t SinceMs(int64_t seconds) const { return (Seconds() - seconds) * 1000; }

  private:
    bool started_ = false;
    bool has_counter_ = true;
    int64_t origin_us_ = 0;
};

}  // namespace simulate

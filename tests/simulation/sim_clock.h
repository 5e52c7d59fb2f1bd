/*
 * Virtual time. Nothing passes but what a sleep, a waiting call or the test lets pass.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <stdexcept>
#include <vector>

#include "platform/platform.h"

namespace sim {

/** The calendar after a reset, microseconds since 1970: 2026-01-15 12:00:00 UTC. */
constexpr int64_t kStartUtcUs = 1'768'478'400'000'000;

/** A moment that never comes. */
constexpr int64_t kForever = std::numeric_limits<int64_t>::max();

/** Thrown by a call that would wait for ever: nothing is left that could end its wait. */
struct Stuck : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** Who runs while somebody waits, when several simulated processes take turns. */
class Turns {
  public:
    virtual ~Turns() = default;

    /**
     * The running process waits for a moment; it calls Clock::RunTo when the moment is there. A wait that
     * `wakes` also ends with the next Wake, whatever the time.
     */
    virtual void WaitUntil(int64_t at_us, bool wakes) = 0;

    /** Something was given up that others may be waiting for. */
    virtual void Wake() = 0;
};

/**
 * Two clocks with microsecond resolution. The steady one counts from 0 at the reset, never runs backwards,
 * and drives the counter and every wait. The calendar is the steady clock plus an offset that the test may
 * change.
 */
class Clock {
  public:
    /** Sets the calendar, forwards or backwards. The steady clock does not notice. */
    void SetUtc(int year, int month, int day, int hour, int minute, int second, int millisecond = 0);

    /** The same by a number of seconds, forwards or backwards. */
    void ShiftUtc(int64_t seconds) { utc_offset_us_ += seconds * 1'000'000; }

    /** Local time minus UTC, in minutes; -180 after a reset. */
    void SetZone(int minutes) { zone_minutes_ = minutes; }

    /** Ticks a second of plat_counter; 0 takes the counter away. 10000000 after a reset. */
    void SetCounterFrequency(int64_t ticks_a_second) { counter_frequency_ = ticks_a_second; }

    /** Lets time pass. Timers that fall due run in between, at their moments. */
    void Advance(int64_t milliseconds) { AdvanceTo(now_us_ + milliseconds * 1000); }
    void AdvanceUs(int64_t microseconds) { AdvanceTo(now_us_ + microseconds); }

    /** Runs `action` when the steady clock reaches `at_us`, or `delay_us` from now. Equal moments keep their
     * order. */
    void At(int64_t at_us, std::function<void()> action);
    void After(int64_t delay_us, std::function<void()> action) { At(now_us_ + delay_us, std::move(action)); }

    /** The steady clock, and the calendar since 1970, in microseconds. */
    int64_t NowUs() const { return now_us_; }
    int64_t UtcUs() const { return now_us_ + utc_offset_us_; }

    /** What plat_sleep_ms was asked for since the reset, in all, and how often. */
    uint64_t SleptMs() const { return slept_ms_; }
    uint64_t Sleeps() const { return sleeps_; }

    /** Called in each plat_sleep_ms when its time has passed, with its milliseconds. May throw. */
    std::function<void(uint32_t milliseconds)> on_sleep;

    /** Not owned; nullptr, as after a reset, when whoever waits keeps the machine to himself. */
    Turns* turns = nullptr;

    /** What a call that would return nothing in no time costs, so that a loop around it ends; 1000 after a
     * reset. */
    int64_t idle_cost_us = 1000;

    // Used by the platform's routines.
    void AdvanceTo(int64_t at_us, bool wakes = false) {
        if (turns != nullptr) {
            turns->WaitUntil(at_us, wakes);
        } else {
            RunTo(at_us);
        }
    }
    void RunTo(int64_t at_us);
    void Wake() {
        if (turns != nullptr) turns->Wake();
    }
    int64_t NextTimerUs() const { return timers_.empty() ? kForever : timers_.front().at_us; }
    void Sleep(uint32_t milliseconds);
    plat_calendar Calendar(bool local) const;
    int64_t CounterFrequency() const { return counter_frequency_; }
    int64_t Counter() const;

  private:
    struct Timer {
        int64_t at_us;
        uint64_t order;
        std::function<void()> action;
    };
    static bool Later(const Timer& a, const Timer& b);

    int64_t now_us_ = 0;
    int64_t utc_offset_us_ = kStartUtcUs;
    int zone_minutes_ = -180;
    int64_t counter_frequency_ = 10'000'000;
    uint64_t slept_ms_ = 0;
    uint64_t sleeps_ = 0;
    uint64_t next_order_ = 0;
    std::vector<Timer> timers_;  // a heap, the earliest in front
};

/** Days since 1970-01-01 of a date, and the way back. */
int64_t DaysFromDate(int64_t year, int month, int day);
void DateFromDays(int64_t days, plat_calendar* calendar);

}  // namespace sim

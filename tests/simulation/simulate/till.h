/*
 * A till: one simulated process that calls the library, and the judge of what comes back.
 */
#pragma once

#include <cstdint>
#include <string>

#include "exchange_judge.h"
#include "library.h"
#include "plan.h"
#include "report.h"
#include "shop.h"

namespace simulate {

class Till {
  public:
    Till(int number, Shop& shop) : number_(static_cast<uint32_t>(number)), library_(number), shop_(shop) {}

    /** The process starts: nothing of an earlier one is left. */
    void Start();

    /** Makes the planned call and judges it. While it waits other tills run. */
    void Run(const Plan& plan, Report* report);

    /** Whether the process must end and start anew: killed, or left with a port or lock that it cannot get
     * rid of. */
    bool MustRestart() const { return must_restart_; }

    /** Whether the thread kept the lock, as it does when the emulator's port is not configured. */
    bool KeptLock() const { return kept_lock_; }

    /** Something happened that no plan of this till knows of: another till was inside its exchange at the
     * same time, which the lock prevents unless a call failed, or the calendar jumped. */
    void Disturb() { disturbed_ = true; }

    Outcome LastOutcome() const { return last_outcome_; }
    uint32_t Number() const { return number_; }
    const Plan& CurrentPlan() const { return *plan_; }
    ExchangeJudge& Judge() { return judge_; }
    bool EmulatorOn() const { return settings_.emulator; }

  private:
    void Prepare(const Plan& plan);
    void JudgeBuffer(const char* text);
    void JudgeMachine(Outcome outcome) const;
    void JudgeResultFile(const char* text) const;
    void JudgePromise(Outcome outcome) const;
    void JudgeOrigin() const;
    void JudgeDuration(Outcome outcome) const;

    uint32_t number_;
    Library library_;
    Shop& shop_;
    LinkClockModel clock_;
    ExchangeJudge judge_;
    const Plan* plan_ = nullptr;
    Settings settings_;  ///< those in force
    std::string command_text_;
    const char* buffer_ = nullptr;  ///< the library's reply buffer, the same at every call
    size_t buffer_used_ = 0;        ///< so much of it may differ from zero
    int64_t live_before_ = 0;
    uint64_t doubts_before_ = 0;
    Outcome last_outcome_ = Outcome::Version;
    bool disturbed_ = false;
    bool must_restart_ = false;
    bool kept_lock_ = false;
};

}  // namespace simulate

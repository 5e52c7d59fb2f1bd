/*
 * One exchange as seen from the platform: which call must come next, and which text the caller must get.
 */
#pragma once

#include <cstdint>
#include <string>

#include "link_judge.h"
#include "sim_platform.h"

namespace simulate {

constexpr const char* kLockName = "Global My shared memory mutex";

/** Where an exchange must turn once it has the lock. */
struct Route {
    enum class Kind { Open, NoDevice, NoCom, NoNumber, KeepsLock };
    Kind kind = Kind::NoDevice;
    std::string name;  ///< of the port, as the error text shows it behind "\\?\"
    int port = 0;
};

/** How an exchange ended, in the order of the error texts' table. */
enum class Outcome : uint8_t {
    NoLock,
    LockTimeout,
    NoDevice,
    NoCom,
    NoNumber,
    NotOpened,
    NotConfigured,
    NotSentOnCom1,
    NotSent,
    NotReceived,
    TooLong,
    KeptLock,  ///< the emulator's port is not configured: the command comes back and the lock stays
    Version,
    Reply,
    Killed,
    Count
};
const char* OutcomeName(Outcome outcome);

class ExchangeJudge {
  public:
    /**
     * A call is about to be made.
     *
     * @param text  the command between STX and checksum; of VersaoDllZantir nothing is expected
     * @param sure  whether the settings in force are known
     */
    void Begin(const char* name, std::string_view text, int timeout_s, bool sure, LinkClockModel* clock);

    /** The lock is taken and the machine looks like this: where the exchange must go, and where it would go
     * if it saw no device. */
    void SetRoute(const Route& route, const Route& without_device) {
        route_ = route;
        without_device_ = without_device;
    }

    /** The process has ended in the middle of the call. */
    void Abort() { locked_ = false; }

    void OnCall(sim::Call call, int64_t argument, int64_t result);
    void OnOpen(const char* path, plat_handle port);
    void OnRead(const uint8_t* buffer, uint32_t size, uint32_t read);
    void OnWrite(const uint8_t* bytes, uint32_t size, uint32_t written);
    void OnFault(sim::Call call, int way);

    /** The call has returned `text`; says how it ended, or throws Broken. */
    Outcome JudgeEnd(const char* text);

    /** What the reply buffer must hold from its first byte on; zero follows. */
    const std::string& Image() const { return image_; }

    bool Sure() const { return sure_; }
    unsigned Faults() const { return faults_; }
    bool Locked() const { return locked_; }              ///< from the lock taken to the lock released
    bool PortStuck() const { return port_stuck_; }       ///< the system refused to close it
    bool LockStuck() const { return lock_stuck_; }       ///< the system refused to release it
    bool LockInDoubt() const { return lock_in_doubt_; }  ///< a wait failed, yet counted as acquired

    /** When the wait for the lock ended, and the longest that may have passed since then. */
    int64_t WaitedUntilUs() const { return waited_until_us_; }
    int64_t AllowedUs() const { return allowed_us_ + link_.AllowedUs(); }

    const LinkJudge& Link() const { return link_; }
    const Route& Taken() const { return route_; }

  private:
    enum class Step {
        Entry,
        Created,
        TimedOut,
        Discovery,
        Refused,
        Opening,
        Settings,
        Link,
        Close,
        Pause,
        Release,
        Over
    };

    void OnMutex(sim::Call call, int64_t argument, int64_t result);
    void OnSetting(sim::Call call, int64_t argument, int64_t result);
    void OnClose(int64_t port, bool closed);
    void OnSleep(int64_t milliseconds);
    void CheckLine() const;
    void FailWith(Outcome outcome, int result);
    void FinishLink();
    Outcome EarlyOutcome(const char* text);
    void MakeImage(Outcome outcome);
    std::string ErrorText(Outcome outcome) const;
    [[noreturn]] void Unexpected(const char* what) const;

    Step step_ = Step::Over;
    Outcome outcome_ = Outcome::Version;
    int result_ = 0;
    const char* name_ = "";
    std::string text_;
    int timeout_s_ = 0;
    bool sure_ = true;
    unsigned faults_ = 0;
    bool locked_ = false;
    bool early_ = false;  ///< the exchange gave up before it opened a port
    bool port_stuck_ = false;
    bool lock_stuck_ = false;
    bool lock_in_doubt_ = false;
    int64_t waited_until_us_ = 0;
    int64_t allowed_us_ = 0;
    int releases_ = 0;
    int tries_ = 0;
    size_t setting_ = 0;
    std::string path_;
    plat_handle port_ = 0;
    Route route_;
    Route without_device_;
    LinkClockModel* clock_ = nullptr;
    LinkJudge link_;
    std::string image_;
};

}  // namespace simulate

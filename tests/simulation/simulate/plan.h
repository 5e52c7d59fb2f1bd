/*
 * One exchange, planned before it happens: the call, the device's answer, and all that goes wrong with it.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "commands.h"
#include "sim_devices.h"

namespace simulate {

/** Everything that can go wrong, in the order of the table in plan_faults.cpp. */
enum class Fault : uint8_t {
    NoAck,
    NakBlock,
    JunkBeforeAck,
    DuplicateAck,
    LateAck,
    NoReply,
    LateReply,
    LostByte,
    CorruptByte,
    WrongChecksum,
    Stall,
    Truncated,
    Drip,
    Pause,
    JunkDrips,
    OtherSession,
    BusyReply,
    ControlBytes,
    NulBytes,
    JunkInstead,
    EndlessJunk,
    JunkBehind,
    Paced,
    StaleReply,
    SlowResend,
    Unplugged,
    ShortWrites,
    StuckLine,
    PortHeld,
    NoDevice,
    OddPort,
    LockHeld,
    LockAbandoned,
    CallFails,
    ReadsFail,
    WritesFail,
    Killed,
    ClockJumps,
    Count
};
constexpr size_t kFaultCount = static_cast<size_t>(Fault::Count);

const char* FaultName(Fault fault);

/** Which ports discovery sees. */
enum class Presence : uint8_t {
    Usual,      ///< the device, with another port before or behind it
    Alone,      ///< nothing but the device
    Second,     ///< two devices of ours: the later one counts
    LowerCase,  ///< its port's name is in small letters
    None,       ///< no device of ours
    Com0,       ///< a port without a number that counts
    Com1,       ///< the device on the port that every machine has
};

struct Plan {
    Request request;
    std::string reply;  ///< the device's text
    bool faulty[kFaultCount] = {};
    bool clean = true;  ///< nothing goes wrong: the reply must come

    // The device and its line.
    sim::DeviceFaults device;
    int64_t reply_delay_us = 0;
    int64_t resend_delay_us = 0;
    bool resets_on_open = true;
    uint32_t baud = 0;
    std::string instead;   ///< sent in place of the reply's frame when not empty
    std::string behind;    ///< sent behind each frame
    size_t junk_size = 0;  ///< the frame becomes so many bytes without ETX
    int64_t unplug_after_us = -1;
    size_t accept_at_most = sim::Line::kAll;
    size_t stop_accepting_after = sim::Line::kAll;

    // The machine.
    Presence presence = Presence::Usual;
    bool new_port = false;  ///< the device has moved to another port
    int64_t hold_port_us = 0;
    int64_t hold_lock_us = 0;
    bool abandon_lock = false;
    uint64_t fail_call = 0;  ///< the n-th platform call fails; 0 for none
    int fail_way = 0;
    uint64_t reads_fail = 0;  ///< so many reads in a row, from the n-th on
    uint64_t writes_fail = 0;
    uint64_t transfer_fails = 0;  ///< that n
    uint64_t kill_at_call = 0;
    int64_t clock_jump_s = 0;
    int64_t clock_jump_delay_us = 0;
    int64_t pause_us = 0;  ///< before the call

    bool CallsFail() const {
        return fail_call != 0 || reads_fail != 0 || writes_fail != 0 || kill_at_call != 0;
    }
};

/** Draws a call with its answer, and in every second plan one or two faults. */
void DrawPlan(Draw& draw, Plan* plan);

/** Makes one thing go wrong. */
void AddFault(Draw& draw, Fault fault, Plan* plan);

/** One of the faults, by weight. */
Fault DrawFault(Draw& draw);

}  // namespace simulate

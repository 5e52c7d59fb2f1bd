/*
 * The device's side of the line: receives one command frame in acknowledged blocks, has it answered, and
 * sends the reply frame in blocks, each of which the caller must acknowledge. Whatever arrives, the line ends
 * up idle again, waiting for an STX. A plan of faults, where there is one, spoils exchanges on demand.
 */
#pragma once

#include <functional>
#include <string>

#include "fault_plan.h"
#include "frame.h"
#include "port.h"

namespace emulator {

enum class Outcome {
    Idle,             ///< no STX came
    Answered,         ///< the reply was acknowledged to its end
    BadChecksum,      ///< the command was refused with NAK
    CommandStalled,   ///< the command stopped in its middle
    CommandTooLong,   ///< the command was refused with NAK
    CommandRefused,   ///< a fault refused a block of the command with NAK
    CommandIgnored,   ///< a fault kept the ACK of a block back
    NoReply,          ///< a fault kept the reply back
    ReplyNotTaken,    ///< the caller stopped reading
    ReplyUnanswered,  ///< no acknowledgement came
    ReplyRefused,     ///< the caller sent NAK to every transmission
    Interrupted,      ///< a new command began where an acknowledgement was due
    Unplugged,        ///< a fault took the port away; the program is to close it and open it again
    PortGone,         ///< the port vanished, or the program is to stop
};

/** A short text for an outcome, to be shown. */
const char* OutcomeText(Outcome outcome);

/** A word for an outcome, for programs: "answered". */
const char* OutcomeWord(Outcome outcome);

struct LineSettings {
    int64_t stall_ms = 1000;  ///< longest silence inside a command
    /** A caller that misses bytes notices only when its read of a whole block runs out, at 1 ms a byte. */
    int64_t acknowledge_ms = 20000;
    size_t longest_command = size_t{12} * 1024 * 1024;  ///< bytes of a frame
    int transmissions = 3;  ///< how often a reply is sent before the exchange is given up
};

/** A port and what the line remembers between exchanges. */
struct Line {
    Port& port;
    LineSettings settings;
    FaultPlan* plan = nullptr;  ///< NULL where nothing is to go wrong
    std::string input = {};     ///< bytes read and not used yet
    size_t next = 0;            ///< the first of them
    bool stx_pending = false;   ///< the last exchange was interrupted by this STX
};

/** What happened in one exchange. */
struct Exchange {
    Outcome outcome = Outcome::Idle;
    std::string command;      ///< text, without STX, checksum and ETX; what came of it when it failed
    std::string reply;        ///< text; empty when the command was not answered
    int transmissions = 0;    ///< how often the reply was sent, whole or in part
    int64_t duration_ms = 0;  ///< from the command's STX to the end of the exchange
    Faults armed;             ///< what was to go wrong
    Faults faults;            ///< the same afterwards: `used` tells which acted
};

/** Turns a command text into a reply text. */
using AnswerFunction = std::function<std::string(const std::string& command)>;

/** Waits at most `idle_ms` for a command, and serves it. */
Exchange ServeExchange(Line& line, const AnswerFunction& answer, int64_t idle_ms);

}  // namespace emulator

/*
 * Faults on demand: what the device can do wrong, and the small text that asks for it.
 *
 *     name[:parameter=value[,parameter=value]...]          checksum:times=3
 *
 * Faults of one exchange are joined with "+": "junk:bytes=40+checksum". "ok" asks for none. Bytes of a reply
 * are counted from its STX, which is byte 1; blocks of a command from 1.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace emulator {

enum class FaultKind {
    // Where a block of the command is acknowledged.
    NoAck,
    Nak,
    Junk,
    DoubleAck,
    AckDelay,
    // What the reply says, and whether there is one.
    Silence,
    Busy,
    OtherSession,
    Size,
    // Each transmission of the reply.
    LostFirst,
    Corrupt,
    Checksum,
    Stall,
    Truncate,
    Drip,
    Unplug,
};

/** No session was asked for: the one behind the caller's is taken. */
constexpr int64_t NEXT_SESSION = -1;

/** One fault with its parameters. Those that its kind does not have are 0. */
struct Fault {
    FaultKind kind = FaultKind::Silence;
    int64_t block = 0;   ///< of the command
    int64_t byte = 0;    ///< of the reply's frame
    int64_t bytes = 0;   ///< how many
    int64_t ms = 0;      ///< how long
    int64_t number = 0;  ///< a session number, or NEXT_SESSION
    int64_t times = 1;   ///< how often it still acts
    std::string as;      ///< the port's next name; empty keeps the old one
    int used = 0;        ///< how often it acted in the exchange that goes on
};

/** The faults of one exchange. */
using Faults = std::vector<Fault>;

/** Reads "a:x=1+b". False, and `error` tells what was expected, for a text that asks for no known fault. */
bool ParseFaults(std::string_view text, Faults* faults, std::string* error);

/** Reads faults of several exchanges, "a:x=1,y=2,b+c": a comma in front of a name begins another choice. */
bool ParseChoices(std::string_view text, std::vector<Faults>* choices, std::string* error);

/** The text that asks for the fault; parameters that have their usual value are left out. */
std::string FaultText(const Fault& fault);

/** The same for the faults of an exchange; "ok" for none. */
std::string FaultsText(const Faults& faults);

/** Every fault by itself with its usual parameters, but for the one that takes the port away. */
std::vector<Faults> UsualFaults();

/** A page about every fault and its parameters. */
std::string FaultHelp();

/**
 * The first fault of a kind that is still to act, counted as acting now; NULL for none. `block` other than 0
 * asks only for faults of that block.
 */
const Fault* TakeFault(Faults& faults, FaultKind kind, int64_t block = 0);

/** The fault of a kind that acted in the exchange; NULL for none. */
const Fault* UsedFault(const Faults& faults, FaultKind kind);

/** A whole number from `least` to `most` and nothing else. */
bool ParseNumber(std::string_view text, int64_t least, int64_t most, int64_t* number);

/** A text without the blanks around it. */
std::string_view Trimmed(std::string_view text);

}  // namespace emulator

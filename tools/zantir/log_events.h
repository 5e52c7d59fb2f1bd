/*
 * What an entry of the diagnostic log means for an exchange.
 */
#pragma once

#include <string>
#include <vector>

#include "log_lines.h"

namespace tool {

enum class EventKind {
    Begin,
    LockTimeout,
    NoDevice,
    Port,
    NotOpened,
    Sent,
    Ack,
    Nak,
    AckTimeout,
    BlockAck,
    Received,
    Rejected,
    Stall,
    ReplyTimeout,
    TooManyErrors,
    SentAck,
    SentNak,
    End,
    Failed,
    Error,
    Other,
};

/** One step of an exchange. */
struct LogEvent {
    EventKind kind = EventKind::Other;
    LogTime time = 0;
    bool bad = false;      ///< something went wrong here
    std::string words;     ///< in the chosen language; "" for what nobody needs to read
    std::string function;  ///< the routine; for Failed the exported function
    std::string detail;    ///< port, bytes, or the result's text
    std::string raw;
};

/** Reads the entry's meaning. */
LogEvent MakeEvent(const DiagnosticEntry& entry);

}  // namespace tool

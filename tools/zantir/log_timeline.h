/*
 * A day of both logs as a list of exchanges.
 */
#pragma once

#include <string>
#include <vector>

#include "log_events.h"
#include "log_lines.h"
#include "reply.h"

namespace tool {

/** One exchange, as far as the logs tell. */
struct Exchange {
    LogTime begin = 0;
    LogTime end = 0;
    bool exact = false;   ///< the times are those of the diagnostic log, to the millisecond
    std::string command;  ///< "" when no log says
    std::string session;
    std::string port;
    std::string result;  ///< the reply's or the error's text; "" when none is in the logs
    Reply reply;         ///< `result` taken apart
    std::vector<LogEvent> events;
    std::vector<std::string> raw;  ///< the lines of both logs
};

/** Puts the entries of both logs together. Entries have to stand in the order of their files. */
std::vector<Exchange> BuildTimeline(const std::vector<DiagnosticEntry>& diagnostic,
                                    const std::vector<ProtocolEntry>& protocol);

/** How an exchange ended, as one word for programs: aceito, recusado, falha, sem_resposta. */
const char* OutcomeName(const Exchange& exchange);

}  // namespace tool

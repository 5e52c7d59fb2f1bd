/*
 * What the program shows: a line for each thing that happens, as text or as a JSON object.
 */
#pragma once

#include "line.h"
#include "receipt.h"

namespace emulator {

struct Reporter {
    bool json = false;
    bool quiet = false;  ///< no exchanges
};

/** The line of an exchange: time, command, session, sizes in bytes, return code, outcome, span, faults. */
std::string ExchangeText(const Exchange& exchange, LocalTime now);

/** The same as a JSON object. Bytes that are no UTF-8 are replaced. */
std::string ExchangeJson(const Exchange& exchange, LocalTime now);

void ReportExchange(const Reporter& reporter, const Exchange& exchange, LocalTime now);

/** "pronto ADDRESS [LINK]": from now on a caller is served there. */
void ReportReady(const Reporter& reporter, const std::string& address, const std::string& link);

/** The seed of faults by chance that was not given. */
void ReportSeed(const Reporter& reporter, uint64_t seed);

/** An answer to whoever typed a command; it may have several lines. */
void ReportAnswer(const Reporter& reporter, const std::string& text);

/** To the error output, and as an object to the output where objects are asked for. */
void ReportError(const Reporter& reporter, const std::string& text);

}  // namespace emulator

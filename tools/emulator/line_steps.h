/*
 * The steps of an exchange, shared by the files of the line only.
 */
#pragma once

#include "line.h"

namespace emulator {

constexpr int NO_BYTE = -1;
constexpr int GONE = -2;

/** The next byte of the line as 0 to 255, NO_BYTE after `wait_ms` of silence, or GONE. */
int NextByte(Line& line, int64_t wait_ms);

/** Receives the command behind its STX. Answered when it is whole and acknowledged. */
Outcome ReceiveCommand(Line& line, Exchange& exchange);

/** Sends `exchange.reply`, again for each NAK. */
Outcome SendReply(Line& line, Exchange& exchange);

}  // namespace emulator

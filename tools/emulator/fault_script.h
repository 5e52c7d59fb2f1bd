/*
 * Faults from a file: a line for each exchange, "repeat N" for the exchange above N times more, "repeat N
 * FAULTS" for N exchanges, "#" in front of a comment.
 */
#pragma once

#include <deque>

#include "fault.h"

namespace emulator {

/** Reads a script's text. False, and `error` begins with "name:line:", for a line that says nothing known. */
bool ParseFaultScript(const std::string& name, std::string_view text, std::deque<Faults>* exchanges,
                      std::string* error);

/** Reads a whole file. */
bool ReadFaultScript(const std::string& path, std::deque<Faults>* exchanges, std::string* error);

}  // namespace emulator

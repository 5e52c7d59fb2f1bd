/*
 * What faults make of a reply: of its text, and of each transmission of its frame. Pure: texts in, texts out.
 */
#pragma once

#include <optional>
#include <string>

#include "fault.h"

namespace emulator {

/** The standard's busy reply to a command, with the command's own prefix. */
std::string BusyReply(const std::string& command);

/** The faults that change what the reply says: another session, another size. */
void ApplyTextFaults(Faults& faults, std::string& reply);

/** One transmission: the bytes and where it does not simply go on. Positions count the bytes sent before. */
struct Transmission {
    std::string bytes;
    size_t end = 0;                  ///< no byte from here on is sent
    std::optional<size_t> stall;     ///< a pause stands here
    int64_t stall_ms = 0;            ///< as long as this
    std::optional<size_t> unplug;    ///< the port goes here
    std::optional<int64_t> drip_ms;  ///< each byte by itself, so far apart
};

/** Takes the faults of one transmission of a frame. */
Transmission ShapeTransmission(Faults& faults, const std::string& frame);

}  // namespace emulator

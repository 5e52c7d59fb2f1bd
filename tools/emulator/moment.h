/* Moments as the device's clock shows them and its texts carry them. */
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace emulator {

/** A moment in the machine's own time zone. */
using LocalTime = std::chrono::local_seconds;

/** AAAAMMDD. */
std::string DateText(LocalTime time);

/** HHMMSS. */
std::string TimeText(LocalTime time);

/** AAAAMMDDHHMMSS. */
std::string TimeStamp(LocalTime time);

/** Reads AAAAMMDDHHMMSS. False for anything that is no moment of the calendar. */
bool ParseTimeStamp(std::string_view text, LocalTime* time);

}  // namespace emulator

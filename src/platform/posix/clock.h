/*
 * The arithmetic of times, and sleeping.
 */
#pragma once

#include <chrono>
#include <ctime>

#include "../platform.h"

/** Puts a moment and its broken-down form together. A leap second, which Windows never shows, reads 59. */
void ComposeCalendar(const timespec& now, const tm& parts, plat_calendar* calendar);

/** A span of time as the system's calls take it. */
timespec ToTimespec(uint64_t microseconds);

/** The moment that lies a span behind another. */
timespec TimeAfter(const timespec& moment, uint64_t microseconds);

/** Blocks the calling thread for at least so long, however many signals come in between. */
void SleepFor(std::chrono::microseconds span);

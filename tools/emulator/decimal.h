/*
 * Decimal values of a receipt as scaled whole numbers: no binary fraction ever rounds a cent away.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace emulator {

/**
 * Reads digits with an optional point, such as "12.50", as value x 10^decimals. False for an empty text,
 * other characters, more than `decimals` decimals, or more than eleven digits in front of the point.
 */
bool ParseDecimal(std::string_view text, int decimals, int64_t* scaled);

/** Multiplies two scaled values and drops `drop` decimals, to the nearest or cut off. False when it
 * overflows. */
bool MultiplyScaled(int64_t left, int64_t right, int drop, bool round, int64_t* product);

/** part x value / whole, to the nearest. All three 0 or above, `whole` not 0, `value` at most `whole`. */
int64_t ShareOf(int64_t part, int64_t value, int64_t whole);

/** Cents as "12.50". */
std::string FormatCents(int64_t cents);

}  // namespace emulator

/*
 * Amounts of money in an XML text: reading the caller's, writing the device's own.
 */
#pragma once

#include <cstdint>
#include <string>

#include "xml.h"

namespace emulator {

/** Adds cents. False when the sum leaves what a receipt may be worth. */
bool AddUp(int64_t* sum, int64_t cents);

/** Reads a mandatory child as value x 10^decimals. Returns an empty text, or what is wrong with it. */
std::string ReadValue(const Element* parent, const std::string& path, const char* name, int decimals,
                      int64_t* scaled);

/** Reads an amount in cents that may be missing, which counts as 0. */
std::string ReadOptional(const Element* parent, const std::string& path, const char* name, int64_t* cents);

/**
 * Writes a value that the device reckons, in front of `place`, or behind the last child when that is NULL.
 * Returns an empty text, or, when the caller has reckoned another value, which one was expected.
 */
std::string WriteReckoned(Element* parent, const std::string& path, Element* place, const char* name,
                          int64_t cents);

}  // namespace emulator

/*
 * What every fuzz target begins with: the input as a source of values, and properties that say what they
 * expected when they fail.
 *
 * Texts come from the front of an input, numbers from its end. A text ends at a backslash and the byte behind
 * it (two backslashes are one), so seeds can be written and read as texts, with the numbers as digits or
 * letters at their end.
 */
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/** One run of the target. libFuzzer calls it. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

using Input = FuzzedDataProvider;

/** A value for a failure's message; unprintable bytes as "<02>", long texts by their ends. */
inline std::string Shown(std::string_view bytes) {
    constexpr size_t kEnd = 2000;
    if (bytes.size() > 2 * kEnd) {
        return Shown(bytes.substr(0, kEnd)) + " ... (" + std::to_string(bytes.size()) + " bytes) ... " +
               Shown(bytes.substr(bytes.size() - kEnd));
    }
    std::string shown;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        if (code >= ' ' && code < 0x7F) {
            shown += byte;
            continue;
        }
        char text[8];
        snprintf(text, sizeof text, "<%02X>", static_cast<unsigned>(code));
        shown += text;
    }
    return shown;
}
inline std::string Shown(const std::string& bytes) {
    return Shown(std::string_view(bytes));
}
inline std::string Shown(const char* text) {
    return text != nullptr ? Shown(std::string_view(text)) : "NULL";
}
template <class Number>
std::string Shown(Number number) {
    return std::to_string(number);
}

/** Ends the run as a finding. */
[[noreturn]] inline void Fail(const std::string& what) {
    fprintf(stderr, "PROPERTY FAILED: %s\n", what.c_str());
    abort();
}

/** A statement that must hold. */
inline void Expect(bool holds, const char* what) {
    if (!holds) Fail(what);
}

/** Two values that must be the same. */
template <class Actual, class Expected>
void ExpectEqual(const char* what, const Actual& actual, const Expected& expected) {
    if (actual == expected) return;
    Fail(std::string(what) + "\n  expected: " + Shown(expected) + "\n  actual:   " + Shown(actual));
}

/** A number that must lie within two bounds, both included. */
template <class Number>
void ExpectWithin(const char* what, Number actual, Number lowest, Number highest) {
    if (actual >= lowest && actual <= highest) return;
    Fail(std::string(what) + "\n  expected: " + Shown(lowest) + " to " + Shown(highest) +
         "\n  actual:   " + Shown(actual));
}

}  // namespace fuzz

/*
 * One call of the library, with its progress, which always comes to an end.
 */
#pragma once

#include <string>
#include <vector>

#include "functions.h"
#include "library.h"

namespace tool {

/** How a call ended. */
enum class CallEnd { Returned, Interrupted, GivenUp };

struct CallResult {
    CallEnd end = CallEnd::Returned;
    std::string text;  ///< the library's bytes; "" unless it returned
    long milliseconds = 0;
};

/** A call to make. */
struct Call {
    const Function* function = nullptr;
    void* address = nullptr;  ///< of the export
    int session = 0;
    std::vector<std::string> values;
    int timeout_s = 0;  ///< what the progress line shows as the longest wait
    int limit_s = 0;    ///< when to stop waiting for the library
};

/**
 * Makes the call on a thread of its own and shows the time that passes on standard error, when that is a
 * terminal. Ends on Ctrl-C and at the limit; the library is then still in the call, so that the process must
 * be left without waiting for it.
 */
CallResult RunCall(const Call& call);

/** The progress line: "ConsultarSAT 3 s / 10 s [######----]". Pure. */
std::string ProgressLine(const std::string& name, long elapsed_ms, int timeout_s, size_t columns);

/** Seconds after which a call that waits `timeout_s` for its reply must have come back. */
int LongestCall(int timeout_s);

}  // namespace tool

/*
 * A timeline for programs, and for the page that is drawn from it.
 */
#pragma once

#include <string>
#include <vector>

#include "log_timeline.h"
#include "screen.h"

namespace tool {

/** All exchanges of a day: times, command, outcome, reason, steps, lines. Everything in it is UTF-8. */
Json TimelineJson(const std::string& day, const std::vector<Exchange>& timeline);

/** Why an exchange ended as it did, in one line. */
std::string ReasonOf(const Exchange& exchange);

/** What to do about it; "" when nothing. */
std::string RemedyOf(const Exchange& exchange);

}  // namespace tool

/*
 * The day's timeline as one page that needs nothing but a browser.
 */
#pragma once

#include <string>

#include "screen.h"

namespace tool {

/** The page for a timeline in JSON. Pure; whatever the texts hold, they are data in it and never markup. */
std::string HtmlPage(const Json& timeline);

}  // namespace tool

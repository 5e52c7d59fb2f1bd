/*
 * Style, body and script of the timeline's page.
 */
#pragma once

namespace tool {

extern const char* const PAGE_STYLE;
extern const char* const PAGE_BODY;

/** Draws `timeline`, with the texts of `words`. Makes text nodes only, never markup out of data. */
extern const char* const PAGE_SCRIPT;

}  // namespace tool

/*
 * A look over an XML text before the parser sees it. The parser descends one call deeper for each nested
 * element and trusts its input more than a device on a line can, so whatever is nested too deep, or is not
 * plainly well-formed, stops here.
 */
#pragma once

#include <string_view>

namespace emulator {

/** Elements may be nested this deep; a receipt needs eight levels. */
constexpr int DEEPEST_ELEMENT = 64;

/**
 * True for one root element with at most DEEPEST_ELEMENT levels, ASCII names, quoted attributes, comments,
 * CDATA and processing instructions; false for document types, control characters and everything else.
 * Matching of closing names is left to the parser.
 */
bool IsSafeXml(std::string_view text);

}  // namespace emulator

/*
 * An XML tree as text: what may stand in it, and the one way in which it is written.
 */
#pragma once

#include <string>
#include <string_view>

#include "xml.h"

namespace emulator {

/** The encoding that a parsed document declares; "UTF-8" when it declares none. */
std::string DeclaredEncoding(const rapidxml::xml_document<char>& document);

/** True for the encodings in which a byte below 0x80 is ASCII, and which any reader knows. */
bool IsKnownEncoding(std::string_view encoding);

/** True for UTF-8 by whichever spelling. */
bool IsUnicode(std::string_view encoding);

/**
 * True when the tree can be written again as well-formed XML: no control characters, not even by a character
 * reference, no attribute twice, and, when `unicode`, nothing but UTF-8.
 */
bool IsPrintable(const Element* element, bool unicode);

/**
 * An element in the canonical form over which signatures are made: no declaration, no comments, attributes
 * sorted, empty elements with both tags, fixed escapes. Parsed and written again it stays the same.
 */
std::string CanonicalText(const Element* element);

}  // namespace emulator

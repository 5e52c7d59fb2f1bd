/*
 * The encodings in which an XML text may come: those that both systems have built in, and one of our own.
 */
#pragma once

#include <string_view>

namespace emulator {

/** True for UTF-8, US-ASCII, ISO-8859-1 and windows-1252, however written. */
bool IsKnownEncoding(std::string_view encoding);

/** Makes windows-1252 known to the parser. To be called before it is used; any number of times. */
void AddEncodings();

}  // namespace emulator

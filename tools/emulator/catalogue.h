/*
 * What the device says, and how it packs what it hands over: the door to the return-code catalogue and the
 * Base64 codec.
 */
#pragma once

#include <string>
#include <string_view>

namespace emulator {

/** The catalogue's message for a return code such as 6000. */
std::string ReturnMessage(int code);

/** True when the catalogue has a message for the code. */
bool IsCatalogued(int code);

/** The bytes in Base64, without line breaks. Empty for no bytes. */
std::string ToBase64(std::string_view bytes);

}  // namespace emulator

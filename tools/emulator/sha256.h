/* The digest that a signature's reference carries. */
#pragma once

#include <string>
#include <string_view>

namespace emulator {

/** The 32 bytes of SHA-256 over a text. */
std::string Sha256(std::string_view text);

}  // namespace emulator

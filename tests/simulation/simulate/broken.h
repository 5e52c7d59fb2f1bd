/*
 * A broken promise.
 */
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/platform.h"

namespace simulate {

/** Thrown where a promise is found broken; ends the run. */
struct Broken : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** Throws Broken with a formatted text. */
[[noreturn]] void Break(const char* format, ...) PLAT_PRINTF_CHECK(1, 2);

/** Bytes as text that can be printed, "<02>ConsultarSAT|000001<03>", long ones cut. */
std::string Shown(std::string_view bytes);

}  // namespace simulate

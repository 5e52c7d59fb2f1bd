/*
 * The texts by which the library says that an exchange failed: cause and remedy of each.
 */
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "text.h"

namespace tool {

/** An error text of the library, explained. */
struct LibraryError {
    int code = 0;          ///< the number behind "SAT Erro["; 0 for a text without one
    int line = 0;          ///< the number behind "L["
    std::string message;   ///< the library's words
    std::string port;      ///< the port in the message, where it names one
    std::string function;  ///< the routine behind "F["
    std::string cause;     ///< in the chosen language
    std::string remedy;    ///< in the chosen language
};

/** Explains a result of the library that is no reply of the device; nothing when it is one. */
std::optional<LibraryError> ExplainLibraryError(std::string_view text);

}  // namespace tool

/*
 * Field values in words: dates, keys, states, Base64.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "shapes.h"

namespace tool {

/** A value explained. */
struct ValueMeaning {
    std::string shown;  ///< for a person's eye, in the chosen language; "" when the value says it itself
    std::string fault;  ///< what is wrong with the value, in the chosen language; "" when nothing is
};

ValueMeaning ExplainValue(FieldKind kind, std::string_view value);

/** Whether the 44 digits of a key, "CFe" in front or not, have the right check digit. */
bool KeyIsRight(std::string_view key);

/** Whether a text of eight digits AAAAMMDD is a day of the calendar. */
bool IsDate(std::string_view text);

/** Whether a text of fourteen digits AAAAMMDDHHMMSS is a moment. */
bool IsMoment(std::string_view text);

/** Whether the text is Base64 of whole groups. */
bool IsBase64(std::string_view text);

/** The bytes of a Base64 text; "" when it is none. */
std::string FromBase64(std::string_view text);

}  // namespace tool

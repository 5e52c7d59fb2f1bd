/*
 * Return codes of the device: what they say and what to do about them.
 */
#pragma once

#include <string>
#include <vector>

#include "text.h"

namespace tool {

/** A return code explained. */
struct CodeMeaning {
    int code = 0;
    bool known = false;    ///< it stands in the catalogue
    bool success = false;  ///< the device did what it was told
    std::string command;   ///< the function that answers with it; "" when none does
    std::string message;   ///< the catalogue's, in Portuguese as the device has it
    std::string remedy;    ///< what to do, in the chosen language; "" when there is nothing
};

/** Explains a code such as 6010. */
CodeMeaning ExplainCode(int code);

/** Whether a code means that the command was carried out. */
bool IsSuccess(int code);

/** All codes of the catalogue, in its order. */
std::vector<int> CatalogueCodes();

}  // namespace tool

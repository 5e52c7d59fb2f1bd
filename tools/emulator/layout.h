/*
 * The shape of a sale or cancellation, apart from what its values are: which elements hold others, and which
 * may stand there more than once.
 */
#pragma once

#include <string>

#include "xml.h"

namespace emulator {

/**
 * Returns an empty text, or which element below `group` is repeated although the layout has it once, or
 * holds elements where the layout has a value: two readers of such a text would each see another sale.
 * `path` is in front of the names that are told; empty for the outermost group.
 */
std::string CheckLayout(const Element* group, const std::string& path);

}  // namespace emulator

/*
 * The taxes of one item, from the caller's rates and the item's own value.
 */
#pragma once

#include <cstdint>
#include <string>

#include "totals.h"

namespace emulator {

/**
 * Writes the taxes of an item into its element "imposto" and adds them up.
 *
 * @param path   where the item stands, such as "det 3"
 * @param value  cents of the item, its shares of discount and surcharge included
 * @return an empty text, or what is wrong
 */
std::string AddTaxes(Element* taxes, const std::string& path, int64_t value, Totals* totals);

}  // namespace emulator

/*
 * The sums of a receipt: item values, taxes and totals, worked out from the caller's quantities and prices.
 */
#pragma once

#include <cstdint>
#include <string>

#include "xml.h"

namespace emulator {

/** Cents, added up over the items. */
struct Totals {
    int64_t icms = 0;
    int64_t products = 0;
    int64_t discounts = 0;
    int64_t pis = 0;
    int64_t cofins = 0;
    int64_t pis_st = 0;
    int64_t cofins_st = 0;
    int64_t others = 0;
    int64_t receipt = 0;  ///< what the buyer owes
};

/**
 * Writes the value of every item and its taxes into the sale, and adds them up, with the discount or
 * surcharge on the whole sale. Returns an empty text, or what is wrong.
 */
std::string AddItems(Xml& xml, Element* sale, Totals* totals);

/** Writes the totals into the sale's element "total". */
void WriteTotals(Xml& xml, Element* total, const Totals& totals);

/** Writes the change into the sale's element "pgto". Returns an empty text, or what is wrong. */
std::string WriteChange(Xml& xml, Element* payment, int64_t owed);

}  // namespace emulator

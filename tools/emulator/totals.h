/*
 * The sums of a receipt: item values, taxes and totals, worked out from the caller's quantities and prices.
 */
#pragma once

#include <cstdint>
#include <string>

#include "xml.h"

namespace emulator {

/** Cents of the contributions, added up over goods or over services. */
struct Contributions {
    int64_t pis = 0;
    int64_t cofins = 0;
    int64_t pis_st = 0;
    int64_t cofins_st = 0;
};

/** Cents, added up over the items. */
struct Totals {
    int64_t icms = 0;
    int64_t products = 0;
    int64_t discounts = 0;
    int64_t others = 0;
    Contributions goods;
    Contributions services;
    bool has_services = false;  ///< at least one item is taxed by ISSQN
    int64_t service_base = 0;
    int64_t service_tax = 0;
    int64_t approximate_taxes = 0;  ///< sum of vItem12741
    int64_t receipt = 0;            ///< what the buyer owes
};

/**
 * Writes the value of every item, its share of a discount or surcharge on the whole sale, and its taxes into
 * the sale, and adds them up. A value that the caller reckoned already must be the same. Returns an empty
 * text, or what is wrong.
 */
std::string AddItems(Element* sale, Totals* totals);

/** Writes the totals into the sale's element "total". Returns an empty text, or which given one is wrong. */
std::string WriteTotals(Element* total, const Totals& totals);

/** Writes the change into the sale's element "pgto". Returns an empty text, or what is wrong. */
std::string WriteChange(Element* payment, int64_t owed);

}  // namespace emulator

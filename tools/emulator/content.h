/*
 * What a caller's sale or cancellation must contain before the device works on it: mandatory elements, the
 * shape of their texts, and the numbers of seller and buyer.
 */
#pragma once

#include <string>

#include "xml.h"

namespace emulator {

/**
 * The element "infCFe" below the given root; NULL, and `problem` says why, when there is none. Without a tree
 * `problem` stays as it is.
 */
Element* Information(const Xml* xml, const char* root_name, std::string* problem);

/** Everything of a sale but its items, totals and payments. `taxpayer` may be empty: any seller then. */
std::string CheckSale(const Element* information, const std::string& taxpayer);

/** The product group of an item. */
std::string CheckProduct(const Element* product, const std::string& path);

/** A means of payment. */
std::string CheckPayment(const Element* means, const std::string& path);

/** A cancellation's groups and the application's identification. */
std::string CheckCancellation(const Element* information);

/** The buyer's CPF or CNPJ; empty when the buyer remains unknown. */
std::string BuyerOf(const Element* information);

}  // namespace emulator

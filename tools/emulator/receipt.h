/*
 * Receipts: from the caller's sale to the receipt that the device issues, and from a cancellation to its own.
 * Pure: everything that changes from one receipt to the next comes in with the call.
 */
#pragma once

#include <string>
#include <string_view>

#include "moment.h"

namespace emulator {

/** What the device adds to a receipt of its own. */
struct Issue {
    LocalTime now;
    int state = 0;          ///< IBGE code
    std::string serial;     ///< the device's number, nine digits
    std::string software;   ///< version of the device's software, six digits
    std::string taxpayer;   ///< CNPJ that a sale must carry, fourteen digits; empty accepts any that is valid
    std::string proof;      ///< text of assinaturaQRCODE
    std::string signature;  ///< text of the XML signature's value
    std::string certificate;  ///< text of the XML signature's certificate
    int document = 0;         ///< number of the receipt
    int random = 0;           ///< the key's random number
};

/** A receipt as the device issued it. */
struct Receipt {
    std::string xml;
    std::string key;       ///< 44 digits
    std::string taxpayer;  ///< CNPJ of the seller
    std::string total;     ///< such as "12.50"
    std::string buyer;     ///< CPF or CNPJ of the buyer; empty when there is none
    LocalTime issued;
    std::string application;            ///< CNPJ of the application's maker, as the caller's text has it
    std::string application_signature;  ///< signAC, as the caller's text has it
};

/** Issues the receipt of a sale. Returns an empty text, or what is wrong with the sale. */
std::string IssueSale(std::string_view sale, const Issue& issue, Receipt* receipt);

/**
 * Issues the cancellation of `sale`. Returns an empty text, or what is wrong with the cancellation. A
 * cancellation that names another receipt sets `other_receipt`.
 */
std::string IssueCancellation(std::string_view cancellation, const Receipt& sale, const Issue& issue,
                              Receipt* receipt, bool* other_receipt);

}  // namespace emulator

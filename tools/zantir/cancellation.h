/*
 * What CancelarUltimaVenda needs, from what a technician has at hand: the key, an XML, the sale's XML.
 */
#pragma once

#include <string>
#include <string_view>

namespace tool {

struct Cancellation {
    std::string key;   ///< "CFe" and 44 digits
    std::string xml;   ///< of the cancellation
    std::string sale;  ///< the XML of the sale, which tells who sold
};

/** Whether an argument is a key and not a file: 44 digits, "CFe" in front or not. */
bool LooksLikeKey(std::string_view argument);

/** A key with "CFe" in front. */
std::string NormalKey(std::string_view key);

/**
 * Fills in what is missing: the key from the XML's chCanc, or the XML from the key and the sale. Returns why
 * that is not possible, in the chosen language; "" when it was.
 */
std::string CompleteCancellation(Cancellation* cancellation);

}  // namespace tool

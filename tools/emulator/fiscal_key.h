/*
 * The access key of a fiscal receipt, and the check digit that it shares with the taxpayer number.
 */
#pragma once

#include <string>
#include <string_view>

namespace emulator {

/** True when the text is exactly `count` decimal digits. */
bool IsDigits(std::string_view text, size_t count);

/** `value` with leading zeros to `width` digits; the lowest `width` digits when it has more. */
std::string Padded(long long value, int width);

/** Modulo 11 with weights 2 to 9 from the right; 10 and 11 give '0'. The text must be digits. */
char CheckDigit(std::string_view digits);

/** True for fourteen digits, not all the same, of which the last two are right. */
bool IsTaxpayer(std::string_view cnpj);

/** True for eleven digits, a CPF, of which the last two are right. */
bool IsPerson(std::string_view cpf);

/** What a key is made of. */
struct KeyParts {
    int state = 0;              ///< IBGE code, two digits
    int year = 0;               ///< its last two digits count
    int month = 0;              ///< 1 to 12
    std::string_view taxpayer;  ///< CNPJ, fourteen digits
    std::string_view serial;    ///< the device's number, nine digits
    int document = 0;           ///< number of the receipt, six digits
    int random = 0;             ///< six digits that nobody can guess
};

/** The 44 digits: state, year and month, taxpayer, model 59, serial, document, random number, check digit. */
std::string BuildKey(const KeyParts& parts);

}  // namespace emulator

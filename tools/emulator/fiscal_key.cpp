#include "fiscal_key.h"

#include <algorithm>

namespace emulator {

bool IsDigits(std::string_view text, size_t count) {
    return text.size() == count &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string Padded(long long value, int width) {
    std::string digits(static_cast<size_t>(width), '0');
    for (auto place = digits.rbegin(); place != digits.rend() && value > 0; ++place, value /= 10) {
        *place = static_cast<char>('0' + value % 10);
    }
    return digits;
}

char CheckDigit(std::string_view digits) {
    int sum = 0;
    int weight = 2;
    for (auto place = digits.rbegin(); place != digits.rend(); ++place) {
        sum += (*place - '0') * weight;
        weight = weight == 9 ? 2 : weight + 1;
    }
    const int digit = 11 - sum % 11;
    return digit >= 10 ? '0' : static_cast<char>('0' + digit);
}

bool IsTaxpayer(std::string_view cnpj) {
    // One digit fourteen times may have the right check digits, and is a number that nobody has.
    return IsDigits(cnpj, 14) && cnpj.find_first_not_of(cnpj[0]) != cnpj.npos &&
           cnpj[12] == CheckDigit(cnpj.substr(0, 12)) && cnpj[13] == CheckDigit(cnpj.substr(0, 13));
}

bool IsPerson(std::string_view cpf) {
    if (!IsDigits(cpf, 11)) return false;
    for (const size_t place : {size_t{9}, size_t{10}}) {
        // Unlike a company's number, a person's has weights that go on rising.
        int sum = 0;
        for (size_t i = 0; i < place; ++i) {
            sum += (cpf[i] - '0') * static_cast<int>(place + 1 - i);
        }
        const int digit = 11 - sum % 11;
        if (cpf[place] != (digit >= 10 ? '0' : static_cast<char>('0' + digit))) return false;
    }
    return true;
}

std::string BuildKey(const KeyParts& parts) {
    std::string key = Padded(parts.state, 2) + Padded(parts.year, 2) + Padded(parts.month, 2);
    key += parts.taxpayer;
    key += "59";
    key += parts.serial;
    key += Padded(parts.document, 6) + Padded(parts.random, 6);
    key += CheckDigit(key);
    return key;
}

}  // namespace emulator

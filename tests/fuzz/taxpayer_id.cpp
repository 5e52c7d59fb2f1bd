/*
 * CNPJ and CPF: any text, and numbers that are put together with the right digits and punctuation.
 */
#include <vector>

#include "machine.h"

using fuzz::ExpectEqual;

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/** How one kind of number is written. */
struct Kind {
    size_t digits;
    size_t punctuated;
    const char* separators;
    int error;  ///< of a punctuated text; the others follow one by one
};
constexpr Kind kCnpj = {14, 18, "./-", -3002};
constexpr Kind kCpf = {11, 14, ".-", -3012};

/** The digits of a text; a negative result says what is wrong with it. */
int DigitsByTheRules(const Kind& kind, const std::string& text, std::vector<int>& digits) {
    const bool punctuated = text.size() == kind.punctuated;
    if (!punctuated && text.size() != kind.digits) {
        const size_t wanted = text.find('.') == std::string::npos ? kind.digits : kind.punctuated;
        return kind.error - (text.size() < wanted ? 2 : 3);
    }
    const std::string separators = punctuated ? kind.separators : "";
    for (const char c : text) {
        if (IsDigit(c)) {
            digits.push_back(c - '0');
        } else if (separators.find(c) == std::string::npos) {
            return kind.error - (punctuated ? 0 : 1);
        }
    }
    return digits.size() > 14 ? kind.error : 0;
}

int DigitOf(int sum) {
    return sum % 11 < 2 ? 0 : 11 - sum % 11;
}

/** The weights from the left for a CNPJ's first digit; the second digit shifts them by one. */
int CnpjDigit(const std::vector<int>& digits, size_t shift, int sum) {
    static constexpr int weights[] = {6, 5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3, 2};
    for (size_t i = 0; i < 12; ++i)
        sum = (sum + digits[i] * weights[i + 1 - shift]) % 256;
    return DigitOf(sum);
}

int CnpjByTheRules(const std::string& text) {
    std::vector<int> digits;
    const int error = DigitsByTheRules(kCnpj, text, digits);
    if (error != 0) return error;
    digits.resize(14);  // missing digits count as 0
    const int first = CnpjDigit(digits, 0, 0);
    const int second = CnpjDigit(digits, 1, 2 * first);
    return digits[12] == first && digits[13] == second ? 0 : -3007;
}

int CpfDigit(const std::vector<int>& digits, int count) {
    int sum = 0;
    for (int i = 0; i < count; ++i)
        sum += digits[static_cast<size_t>(i)] * (count + 1 - i);
    return DigitOf(sum);
}

int CpfByTheRules(const std::string& text) {
    std::vector<int> digits;
    const int error = DigitsByTheRules(kCpf, text, digits);
    if (error != 0) return error;
    if (digits.size() != 11) return -3017;
    return digits[9] == CpfDigit(digits, 9) && digits[10] == CpfDigit(digits, 10) ? 0 : -3007;
}

void CheckAny(const std::string& text) {
    ExpectEqual("the CNPJ", VKO_Check_CNPJ(text.c_str()), CnpjByTheRules(text));
    ExpectEqual("the CPF", VKO_Check_CPF(text.c_str()), CpfByTheRules(text));
}

std::string Punctuated(const std::string& digits, const std::string& pattern) {
    std::string text = pattern;
    size_t next = 0;
    for (char& place : text)
        if (place == 'N') place = digits[next++];
    return text;
}

/** Twelve and nine digits of the input with their check digits are right in either form; no others are. */
void CheckMade(fuzz::Input& input) {
    std::vector<int> digits;
    for (int i = 0; i < 12; ++i)
        digits.push_back(input.ConsumeIntegralInRange(0, 9));
    std::string cnpj;
    for (const int digit : digits)
        cnpj += static_cast<char>('0' + digit);
    std::string cpf = cnpj.substr(0, 9);
    const int first = CnpjDigit(digits, 0, 0);
    cnpj += std::to_string(first) + std::to_string(CnpjDigit(digits, 1, 2 * first));
    digits.resize(9);
    digits.push_back(CpfDigit(digits, 9));
    cpf += std::to_string(digits[9]) + std::to_string(CpfDigit(digits, 10));

    ExpectEqual("a right CNPJ", VKO_Check_CNPJ(cnpj.c_str()), 0);
    ExpectEqual("its punctuated form", VKO_Check_CNPJ(Punctuated(cnpj, "NN.NNN.NNN/NNNN-NN").c_str()), 0);
    ExpectEqual("a right CPF", VKO_Check_CPF(cpf.c_str()), 0);
    ExpectEqual("its punctuated form", VKO_Check_CPF(Punctuated(cpf, "NNN.NNN.NNN-NN").c_str()), 0);
    cnpj[13] = cnpj[13] == '9' ? '0' : static_cast<char>(cnpj[13] + 1);
    cpf[10] = cpf[10] == '9' ? '0' : static_cast<char>(cpf[10] + 1);
    ExpectEqual("a wrong CNPJ", VKO_Check_CNPJ(cnpj.c_str()), -3007);
    ExpectEqual("a wrong CPF", VKO_Check_CPF(cpf.c_str()), -3007);
}

void CheckDigitRoutine(const std::string& text, int32_t weight) {
    const int32_t digit = VKO_GetCPFCheckDigit(text.c_str(), weight);
    if (text.size() != 11) {
        ExpectEqual("a check digit of another length", digit, -3017);
    } else if (text.find_first_not_of("0123456789") == std::string::npos && weight >= 2 && weight <= 11) {
        std::vector<int> digits;
        for (const char c : text.substr(0, static_cast<size_t>(weight) - 1))
            digits.push_back(c - '0');
        ExpectEqual("the check digit", digit, CpfDigit(digits, weight - 1));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    std::string text = input.ConsumeRandomLengthString(40);
    text = text.substr(0, text.find('\0'));
    fuzz::FreshMachine(input.ConsumeIntegral<uint8_t>() % 8 == 7 ? '5' : '0');
    CheckAny(text);
    const int32_t weight =
        input.ConsumeBool() ? input.ConsumeIntegral<int32_t>() : input.ConsumeIntegralInRange(0, 13);
    CheckDigitRoutine(text, weight);
    CheckMade(input);
    ExpectEqual("allocations", sim::world().LiveAllocations(), int64_t{0});
    return 0;
}

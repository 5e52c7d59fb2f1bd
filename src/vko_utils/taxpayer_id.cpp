#include "taxpayer_id.h"

#include <cstring>

#include "log.h"
#include "utils_source.h"

namespace {

/** Holds the digits of either number and a NUL. */
constexpr size_t DIGITS_SIZE = 15;

/** How one kind of number is written, and the codes of what can be wrong with that. */
struct IdFormat {
    const char* function;  ///< the check in whose name the lines are written
    const char* name;
    size_t numeric_length;
    size_t punctuated_length;
    const char* separators;
    int32_t punctuated_error;
    int32_t numeric_error;
    int32_t too_short;
    int32_t too_long;
    int32_t other_length;
};

constexpr IdFormat CNPJ = {"VKO_Check_CNPJ",
                           "CNPJ",
                           14,
                           18,
                           "./-",
                           VKO_ERR_CNPJ_FORMATTED,
                           VKO_ERR_CNPJ_NUMERIC,
                           VKO_ERR_CNPJ_TOO_SHORT,
                           VKO_ERR_CNPJ_TOO_LONG,
                           VKO_ERR_CNPJ_LENGTH};
constexpr IdFormat CPF = {"VKO_Check_CPF",
                          "CPF",
                          11,
                          14,
                          ".-",
                          VKO_ERR_CPF_FORMATTED,
                          VKO_ERR_CPF_NUMERIC,
                          VKO_ERR_CPF_TOO_SHORT,
                          VKO_ERR_CPF_TOO_LONG,
                          VKO_ERR_CPF_LENGTH};

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

/** Collects the digits, passing over `separators`. False for any other character or more digits than fit. */
bool CollectDigits(const char* text, const char* separators, char (&digits)[DIGITS_SIZE]) {
    size_t count = 0;
    for (const char* at = text; *at; at++) {
        if (IsDigit(*at) && count < DIGITS_SIZE - 1) {
            digits[count++] = *at;
        } else if (IsDigit(*at) || !strchr(separators, *at)) {
            return false;
        }
    }
    return true;
}

/** The error of a text that has neither of the two lengths. */
int32_t LengthError(const IdFormat& format, const char* text, size_t length) {
    const size_t expected = strchr(text, '.') ? format.punctuated_length : format.numeric_length;
    if (length < expected) {
        return format.too_short;
    }
    return length > expected ? format.too_long : format.other_length;
}

void LogInvalid(const IdFormat& format, const char* text, size_t length, int32_t error) {
    if (!VKO_LogEnabled(VKO_LOG_INF)) {
        return;
    }
    const char* form = error == format.punctuated_error ? "Formated "
                       : error == format.numeric_error  ? "Numeric   "
                                                        : "-------   ";
    const char* reason = error == format.too_short  ? "too short"
                         : error == format.too_long ? "Too Big "
                                                    : "INVALID!!!";
    VKO_LogWrite(gl_pLogBaseName, VKO_LOG_INF, "[%04d] [%s] [%s]ER %s%s[%02d:%s]%s\n", __LINE__,
                 VKO_UTILS_SOURCE, format.function, form, format.name, static_cast<int>(length), text,
                 reason);
}

/** Reads the digits of either form into the zero-filled `digits`. 0, or the error, which is logged. */
int32_t ReadDigits(const IdFormat& format, const char* text, char (&digits)[DIGITS_SIZE]) {
    const size_t length = strlen(text);
    int32_t error = 0;
    if (length == format.punctuated_length) {
        error = CollectDigits(text, format.separators, digits) ? 0 : format.punctuated_error;
    } else if (length == format.numeric_length) {
        error = CollectDigits(text, "", digits) ? 0 : format.numeric_error;
    } else {
        error = LengthError(format, text, length);
    }
    if (error != 0) {
        LogInvalid(format, text, length, error);
    }
    return error;
}

/** The low four bits: a missing digit, whose place holds a NUL, counts as 0. */
unsigned DigitValue(char digit) {
    return static_cast<unsigned>(digit) & 0x0FU;
}

int32_t DigitOfSum(int32_t sum) {
    const int32_t rest = sum % 11;
    return rest < 2 ? 0 : 11 - rest;
}

/** Adds the weighted first 12 digits of a CNPJ to `sum`. The weights fall from `weight` to 2, then from 9. */
int32_t CnpjCheckDigit(const char* digits, unsigned weight, uint8_t sum) {
    for (int i = 0; i < 12; i++) {
        // Eight bits on purpose: the sum wraps after each addition.
        sum = static_cast<uint8_t>(sum + DigitValue(digits[i]) * weight);
        weight = weight == 2 ? 9 : weight - 1;
    }
    return DigitOfSum(sum);
}

}  // namespace

int32_t VKO_Check_CNPJ(const char* pCNPJ) {
    if (!pCNPJ) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR, "rc[%06d]ER pCNPJ=NULL\n", VKO_ERR_CNPJ_NULL);
        return VKO_ERR_CNPJ_NULL;
    }
    char digits[DIGITS_SIZE] = {};
    const int32_t error = ReadDigits(CNPJ, pCNPJ, digits);
    if (error != 0) {
        return error;
    }
    const int32_t first = CnpjCheckDigit(digits, 5, 0);
    const int32_t second = CnpjCheckDigit(digits, 6, static_cast<uint8_t>(2 * first));
    const auto given_first = static_cast<int32_t>(DigitValue(digits[12]));
    const auto given_second = static_cast<int32_t>(DigitValue(digits[13]));
    const int length = static_cast<int>(strlen(pCNPJ));
    if (given_first != first || given_second != second) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR,
                "rc[%06d]ER CNPJ[%02d:%s]Given[%d%d] Computed[%d%d]VERYFY:FAILED\n", VKO_ERR_CHECK_DIGITS,
                length, pCNPJ, given_first, given_second, first, second);
        return VKO_ERR_CHECK_DIGITS;
    }
    VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_INF, "OK CNPJ[%02d:%s]VERYFY:SUCCESS!!!\n", length,
            pCNPJ);
    return 0;
}

int32_t VKO_Check_CPF(const char* pCPF) {
    if (!pCPF) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR, "rc[%06d]ER pCPF=NULL\n", VKO_ERR_CPF_NULL);
        return VKO_ERR_CPF_NULL;
    }
    char digits[DIGITS_SIZE] = {};
    const int32_t error = ReadDigits(CPF, pCPF, digits);
    if (error != 0) {
        return error;
    }
    const int length = static_cast<int>(strlen(pCPF));
    const int32_t first = VKO_GetCPFCheckDigit(digits, 10);
    // The second digit is computed over the given first one, not over the computed.
    const int32_t second = first < 0 ? first : VKO_GetCPFCheckDigit(digits, 11);
    if (second < 0) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_INF, "CPF[%02d:%s]INVALID!!!\n", length, pCPF);
        return second;
    }
    const auto given = static_cast<int32_t>(DigitValue(digits[9]) * 10 + DigitValue(digits[10]));
    if (given != first * 10 + second) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR,
                "rc[%06d]ER CPF[%02d:%s]Given[%02d] Computed[%d%d]VERYFY:FAIL\n", VKO_ERR_CHECK_DIGITS,
                length, pCPF, given, first, second);
        return VKO_ERR_CHECK_DIGITS;
    }
    VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_INF, "CPF[%02d:%s]VERYFY:PASS\n", length, pCPF);
    return 0;
}

int32_t VKO_GetCPFCheckDigit(const char* pCPF, int32_t iWeight) {
    constexpr size_t cpf_length = 11;
    if (!pCPF) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR, "ER pCPF=NULL\n");
        return VKO_ERR_CPF_DIGITS;
    }
    const size_t length = strlen(pCPF);
    if (length != cpf_length) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR, "ER pCPF[%02d:%s]Invalid Len Expected 11\n",
                static_cast<int>(length), pCPF);
        return VKO_ERR_CPF_DIGITS;
    }
    // Unsigned, so that a senseless weight wraps as the 32-bit sum does; it never leads behind the text
    // either.
    uint32_t sum = 0;
    for (size_t i = 0; i < cpf_length && iWeight >= 2; i++, iWeight--) {
        sum += static_cast<uint32_t>(pCPF[i] - '0') * static_cast<uint32_t>(iWeight);
    }
    return DigitOfSum(static_cast<int32_t>(sum));
}

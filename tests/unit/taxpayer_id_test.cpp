#include "vko_utils/taxpayer_id.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "captured_log.h"

namespace {

TEST(Cnpj, GoodAndBadCheckDigits) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Check_CNPJ("11.222.333/0001-81"), 0);
    EXPECT_EQ(VKO_Check_CNPJ("11222333000181"), 0);
    EXPECT_EQ(VKO_Check_CNPJ("11222333000182"), -3007);
    EXPECT_EQ(VKO_Check_CNPJ("11222333000171"), -3007);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "OK CNPJ[18:11.222.333/0001-81]VERYFY:SUCCESS!!!"));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "OK CNPJ[14:11222333000181]VERYFY:SUCCESS!!!"));
    EXPECT_TRUE(
        log.Has(VKO_LOG_ERR, "rc[-03007]ER CNPJ[14:11222333000182]Given[82] Computed[81]VERYFY:FAILED"));
    for (const LogLine& line : log.Lines()) {
        EXPECT_EQ(line.source, "../src/vko_utils/vko_utils");
        EXPECT_EQ(line.function, "VKO_Check_CNPJ");
        EXPECT_GT(line.line, 0);
    }
}

TEST(Cnpj, SumsWrapAtEightBits) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Check_CNPJ("99999999999917"), 0);
    EXPECT_EQ(VKO_Check_CNPJ("99999999999962"), -3007);
}

TEST(Cnpj, FormsThatAreRefused) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Check_CNPJ(nullptr), -3001);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-03001]ER pCNPJ=NULL"));
    EXPECT_EQ(VKO_Check_CNPJ("11.222.333/0001x81"), -3002);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ER Formated CNPJ[18:11.222.333/0001x81]INVALID!!!"));
    EXPECT_EQ(VKO_Check_CNPJ("1122233300018a"), -3003);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ER Numeric   CNPJ[14:1122233300018a]INVALID!!!"));
    EXPECT_EQ(VKO_Check_CNPJ("11.222.333-000"), -3003) << "14 characters are the numeric form";
    EXPECT_EQ(VKO_Check_CNPJ("1122233300018"), -3004);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ER -------   CNPJ[13:1122233300018]too short"));
    EXPECT_EQ(VKO_Check_CNPJ(""), -3004);
    EXPECT_EQ(VKO_Check_CNPJ("11.222.333/0001-8"), -3004);
    EXPECT_EQ(VKO_Check_CNPJ("112223330001812"), -3005);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ER -------   CNPJ[15:112223330001812]Too Big "));
    EXPECT_EQ(VKO_Check_CNPJ("11.222.333/0001-812"), -3005);
    EXPECT_EQ(VKO_Check_CNPJ("11/222/333/0001-8"), -3005) << "17 characters without a point";
}

TEST(Cnpj, PunctuatedFormWithTooManyDigits) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Check_CNPJ("111222333000181234"), -3002);
    EXPECT_EQ(VKO_Check_CNPJ("11.222.333000181.9"), -3002);
    EXPECT_EQ(VKO_Check_CNPJ("112223330001810-.."), -3002);
    EXPECT_EQ(VKO_Check_CNPJ("11222333000181-.-."), 0) << "where the separators stand is not checked";
}

TEST(Cnpj, MissingDigitsCountAsZero) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Check_CNPJ(".................."), 0);
    EXPECT_EQ(VKO_Check_CNPJ("00000000000000"), 0);
    EXPECT_EQ(VKO_Check_CNPJ("1................."), VKO_Check_CNPJ("10000000000000"));
}

TEST(Cpf, GoodAndBadCheckDigits) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Check_CPF("529.982.247-25"), 0);
    EXPECT_EQ(VKO_Check_CPF("52998224725"), 0);
    EXPECT_EQ(VKO_Check_CPF("111.444.777-35"), 0);
    EXPECT_EQ(VKO_Check_CPF("52998224724"), -3007);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "CPF[14:529.982.247-25]VERYFY:PASS"));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "CPF[11:52998224725]VERYFY:PASS"));
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-03007]ER CPF[11:52998224724]Given[24] Computed[25]VERYFY:FAIL"));
    EXPECT_EQ(log.Lines()[0].function, "VKO_Check_CPF");
}

TEST(Cpf, TheSecondDigitIsComputedOverTheGivenFirst) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Check_CPF("52998224735"), -3007);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-03007]ER CPF[11:52998224735]Given[35] Computed[23]VERYFY:FAIL"));
}

TEST(Cpf, FormsThatAreRefused) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Check_CPF(nullptr), -3011);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-03011]ER pCPF=NULL"));
    EXPECT_EQ(VKO_Check_CPF("123.456.789/09"), -3012);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ER Formated CPF[14:123.456.789/09]INVALID!!!"));
    EXPECT_EQ(VKO_Check_CPF("1234567890a"), -3013);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ER Numeric   CPF[11:1234567890a]INVALID!!!"));
    EXPECT_EQ(VKO_Check_CPF("1234567890"), -3014);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ER -------   CPF[10:1234567890]too short"));
    EXPECT_EQ(VKO_Check_CPF("123.456.789-0"), -3014);
    EXPECT_EQ(VKO_Check_CPF("123456789012"), -3015);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "ER -------   CPF[12:123456789012]Too Big "));
    EXPECT_EQ(VKO_Check_CPF("123.456.789-012"), -3015);
}

TEST(Cpf, PunctuatedFormWithAnotherNumberOfDigits) {
    const CapturedLog log;
    EXPECT_EQ(VKO_Check_CPF("...12345678-01"), -3017);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "ER pCPF[10:1234567801]Invalid Len Expected 11"));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "CPF[14:...12345678-01]INVALID!!!"));
    EXPECT_EQ(log.Lines().size(), 2U);
    EXPECT_EQ(VKO_Check_CPF("12345678901234"), -3017);
    EXPECT_EQ(VKO_Check_CPF(".............."), -3017);
}

TEST(Cpf, CheckDigit) {
    const CapturedLog log;
    EXPECT_EQ(VKO_GetCPFCheckDigit("52998224725", 10), 2);
    EXPECT_EQ(VKO_GetCPFCheckDigit("52998224725", 11), 5);
    EXPECT_EQ(VKO_GetCPFCheckDigit("52998224725", 1), 0) << "no digit is weighed";
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_EQ(VKO_GetCPFCheckDigit(nullptr, 10), -3017);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "ER pCPF=NULL"));
    EXPECT_EQ(VKO_GetCPFCheckDigit("5299822472", 10), -3017);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "ER pCPF[10:5299822472]Invalid Len Expected 11"));
    EXPECT_EQ(VKO_GetCPFCheckDigit("529982247255", 10), -3017);
}

TEST(Cpf, SenselessWeightsStayInsideTheText) {
    const CapturedLog log;
    for (const int32_t weight : {12, 13, 1000, INT32_MAX, 0, -1, INT32_MIN}) {
        const int32_t digit = VKO_GetCPFCheckDigit("99999999999", weight);
        EXPECT_GE(digit, 0) << weight;
        EXPECT_LE(digit, 21) << weight;
    }
    // The weights 13 to 3.
    EXPECT_EQ(VKO_GetCPFCheckDigit("99999999999", 13), 0);
}

// ------------------------------------------------------------------------------------------------------
// The same digits from tables of weights.

int DigitOf(int sum) {
    return sum % 11 <= 1 ? 0 : 11 - sum % 11;
}

std::string CnpjDigits(const std::string& base) {
    static const std::vector<int> first_weights = {5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3, 2};
    static const std::vector<int> second_weights = {6, 5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3};
    int first_sum = 0;
    int second_sum = 0;
    for (size_t i = 0; i < 12; i++) {
        first_sum += (base[i] - '0') * first_weights[i];
        second_sum += (base[i] - '0') * second_weights[i];
    }
    // Wrapping after each addition leaves the same as wrapping once at the end.
    const int first = DigitOf(first_sum % 256);
    const int second = DigitOf((second_sum + 2 * first) % 256);
    return std::to_string(first) + std::to_string(second);
}

std::string CpfDigits(const std::string& base) {
    static const std::vector<int> weights = {11, 10, 9, 8, 7, 6, 5, 4, 3, 2};
    int first_sum = 0;
    for (size_t i = 0; i < 9; i++) {
        first_sum += (base[i] - '0') * weights[i + 1];
    }
    const std::string first = std::to_string(DigitOf(first_sum));
    int second_sum = 0;
    for (size_t i = 0; i < 10; i++) {
        second_sum += ((base + first)[i] - '0') * weights[i];
    }
    return first + std::to_string(DigitOf(second_sum));
}

std::string RandomDigits(std::mt19937& random, size_t count) {
    std::string digits;
    for (size_t i = 0; i < count; i++) {
        digits += static_cast<char>('0' + random() % 10);
    }
    return digits;
}

TEST(Cnpj, AgreesWithTablesOfWeights) {
    const CapturedLog log('0');
    std::mt19937 random(35);
    for (int round = 0; round < 20000; round++) {
        const std::string base = RandomDigits(random, 12);
        const std::string good = CnpjDigits(base);
        const std::string given = random() % 2 == 0 ? good : RandomDigits(random, 2);
        const std::string number = base + given;
        const std::string punctuated = base.substr(0, 2) + "." + base.substr(2, 3) + "." + base.substr(5, 3) +
                                       "/" + base.substr(8) + "-" + given;
        const int32_t expected = given == good ? 0 : -3007;
        ASSERT_EQ(VKO_Check_CNPJ(number.c_str()), expected) << number;
        ASSERT_EQ(VKO_Check_CNPJ(punctuated.c_str()), expected) << punctuated;
    }
}

TEST(Cpf, AgreesWithTablesOfWeights) {
    const CapturedLog log('0');
    std::mt19937 random(36);
    for (int round = 0; round < 20000; round++) {
        const std::string base = RandomDigits(random, 9);
        const std::string good = CpfDigits(base);
        const std::string given = random() % 2 == 0 ? good : RandomDigits(random, 2);
        const std::string number = base + given;
        const std::string punctuated =
            base.substr(0, 3) + "." + base.substr(3, 3) + "." + base.substr(6) + "-" + given;
        const int32_t expected = given == good ? 0 : -3007;
        ASSERT_EQ(VKO_Check_CPF(number.c_str()), expected) << number;
        ASSERT_EQ(VKO_Check_CPF(punctuated.c_str()), expected) << punctuated;
    }
}

/** The outcome by the length and the kinds of characters alone; 0 where the digits decide. */
int32_t FormError(const std::string& text, size_t numeric, size_t punctuated, const char* separators,
                  int32_t base) {
    const std::string digits = "0123456789";
    if (text.size() == punctuated) {
        return text.find_first_not_of(digits + separators) == std::string::npos ? 0 : base - 2;
    }
    if (text.size() == numeric) {
        return text.find_first_not_of(digits) == std::string::npos ? 0 : base - 3;
    }
    const size_t expected = text.find('.') == std::string::npos ? numeric : punctuated;
    return text.size() < expected ? base - 4 : base - 5;
}

TEST(TaxpayerId, FormsAgreeWithTheirDefinition) {
    const CapturedLog log('0');
    std::mt19937 random(37);
    for (int round = 0; round < 20000; round++) {
        static constexpr char alphabet[] = "0123456789012345678901234567890123456789../-x";
        std::string text;
        const size_t length = random() % 22;
        for (size_t i = 0; i < length; i++) {
            text += alphabet[random() % (sizeof alphabet - 1)];
        }
        const int32_t cnpj = FormError(text, 14, 18, "./-", -3000);
        const int32_t cnpj_result = VKO_Check_CNPJ(text.c_str());
        size_t digits = 0;
        for (const char character : text) {
            digits += character >= '0' && character <= '9' ? 1 : 0;
        }
        if (cnpj != 0) {
            ASSERT_EQ(cnpj_result, cnpj) << text;
        } else if (digits > 14) {
            ASSERT_EQ(cnpj_result, -3002) << text;
        } else {
            ASSERT_TRUE(cnpj_result == 0 || cnpj_result == -3007) << text;
        }
        const int32_t cpf = FormError(text, 11, 14, ".-", -3010);
        const int32_t cpf_result = VKO_Check_CPF(text.c_str());
        if (cpf != 0) {
            ASSERT_EQ(cpf_result, cpf) << text;
        } else if (digits != 11) {
            ASSERT_EQ(cpf_result, -3017) << text;
        } else {
            ASSERT_TRUE(cpf_result == 0 || cpf_result == -3007) << text;
        }
    }
}

}  // namespace

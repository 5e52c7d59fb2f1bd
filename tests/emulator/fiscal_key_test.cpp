#include "fiscal_key.h"

#include <gtest/gtest.h>

namespace emulator {

// A key that is known to be right.
constexpr char KNOWN_KEY[] = "35150808723218000186599000040190000241114257";

TEST(FiscalKey, BuildsTheKnownKey) {
    KeyParts parts;
    parts.state = 35;
    parts.year = 2015;
    parts.month = 8;
    parts.taxpayer = "08723218000186";
    parts.serial = "900004019";
    parts.document = 24;
    parts.random = 111425;
    EXPECT_EQ(BuildKey(parts), KNOWN_KEY);
}

TEST(FiscalKey, CheckDigitOfTheKnownKey) {
    EXPECT_EQ(CheckDigit(std::string_view(KNOWN_KEY, 43)), '7');
}

TEST(FiscalKey, TenAndElevenGiveZero) {
    EXPECT_EQ(CheckDigit("6"), '0');   // sum 12, 11 - 1 = 10
    EXPECT_EQ(CheckDigit("00"), '0');  // sum 0, 11 - 0 = 11
    EXPECT_EQ(CheckDigit("5"), '1');
}

TEST(FiscalKey, Taxpayer) {
    EXPECT_TRUE(IsTaxpayer("11222333000181"));
    EXPECT_FALSE(IsTaxpayer("11222333000182"));
    EXPECT_FALSE(IsTaxpayer("11222333000171"));
    EXPECT_FALSE(IsTaxpayer("1122233300018"));
    EXPECT_FALSE(IsTaxpayer("1122233300018x"));
    EXPECT_FALSE(IsTaxpayer(""));
    for (char digit = '0'; digit <= '9'; ++digit) {
        EXPECT_FALSE(IsTaxpayer(std::string(14, digit))) << digit;
    }
}

TEST(FiscalKey, Padding) {
    EXPECT_EQ(Padded(24, 6), "000024");
    EXPECT_EQ(Padded(2015, 2), "15");
    EXPECT_EQ(Padded(0, 2), "00");
}

TEST(FiscalKey, Digits) {
    EXPECT_TRUE(IsDigits("0123456789", 10));
    EXPECT_FALSE(IsDigits("12", 3));
    EXPECT_FALSE(IsDigits("-1", 2));
    EXPECT_FALSE(IsDigits("1\xb2", 2));
}

TEST(Person, LastTwoDigitsMustBeRight) {
    for (const char* number : {"52998224725", "11144477735", "00000000191"}) {
        EXPECT_TRUE(IsPerson(number)) << number;
    }
    for (const char* number :
         {"52998224724", "52998224735", "5299822472", "529982247255", "5299822472x", ""}) {
        EXPECT_FALSE(IsPerson(number)) << number;
    }
}

}  // namespace emulator

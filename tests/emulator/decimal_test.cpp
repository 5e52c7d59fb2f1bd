#include "decimal.h"

#include <gtest/gtest.h>

#include <climits>

namespace emulator {

TEST(Decimal, ReadsWithAndWithoutAPoint) {
    int64_t value = 0;
    EXPECT_TRUE(ParseDecimal("12.5", 2, &value));
    EXPECT_EQ(value, 1250);
    EXPECT_TRUE(ParseDecimal("7", 4, &value));
    EXPECT_EQ(value, 70000);
    EXPECT_TRUE(ParseDecimal("99999999999.99", 2, &value));
    EXPECT_EQ(value, 9999999999999);
}

TEST(Decimal, RefusesWhatIsNoValue) {
    for (const char* text :
         {"", ".", "1.", ".5", "-1", "+1", "1,5", "1.234", "1.2.3", " 1", "1e3", "123456789012"}) {
        int64_t value = 77;
        EXPECT_FALSE(ParseDecimal(text, 2, &value)) << text;
        EXPECT_EQ(value, 77) << text;
    }
}

TEST(Decimal, RoundsHalfUpOrCutsOff) {
    int64_t product = 0;
    EXPECT_TRUE(MultiplyScaled(5, 1, 1, true, &product));
    EXPECT_EQ(product, 1);
    EXPECT_TRUE(MultiplyScaled(4, 1, 1, true, &product));
    EXPECT_EQ(product, 0);
    EXPECT_TRUE(MultiplyScaled(9, 1, 1, false, &product));
    EXPECT_EQ(product, 0);
}

TEST(Decimal, TellsAnOverflow) {
    int64_t product = 0;
    EXPECT_FALSE(MultiplyScaled(LLONG_MAX, 2, 5, true, &product));
    EXPECT_TRUE(MultiplyScaled(LLONG_MAX, 1, 2, true, &product));
}

TEST(Decimal, SharesAreExactFarBeyondSixtyFourBits) {
    EXPECT_EQ(ShareOf(100, 1, 3), 33);
    EXPECT_EQ(ShareOf(1, 1, 2), 1);
    EXPECT_EQ(ShareOf(999999999999999, 999999999999999, 999999999999999), 999999999999999);
}

TEST(Decimal, FormatsCents) {
    EXPECT_EQ(FormatCents(0), "0.00");
    EXPECT_EQ(FormatCents(5), "0.05");
    EXPECT_EQ(FormatCents(123456), "1234.56");
}

}  // namespace emulator

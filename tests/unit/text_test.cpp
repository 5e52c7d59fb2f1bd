/*
 * Copying and formatting into buffers of a fixed size.
 */
#include <cstring>
#include <string>

#include "vko_utils/text.h"

/** What stands in a buffer of six bytes and in the two behind it. */
struct TextBuffer : testing::Test {
    char bytes[8] = {'#', '#', '#', '#', '#', '#', '#', '#'};
    static constexpr size_t kSize = 6;

    std::string Behind() const { return {bytes + kSize, sizeof bytes - kSize}; }
};

TEST_F(TextBuffer, ATextThatFitsIsCopiedWhole) {
    for (const char* text : {"", "a", "abcde"}) {
        EXPECT_TRUE(VKO_CopyText(bytes, kSize, text)) << text;
        EXPECT_STREQ(bytes, text);
        EXPECT_EQ(Behind(), "##");
    }
}

TEST_F(TextBuffer, ATextThatDoesNotFitIsCutAndTerminated) {
    for (const char* text : {"abcdef", "abcdefg", "abcdefghijklmnop"}) {
        EXPECT_FALSE(VKO_CopyText(bytes, kSize, text)) << text;
        EXPECT_STREQ(bytes, "abcde");
        EXPECT_EQ(Behind(), "##");
    }
}

TEST_F(TextBuffer, ATextMayBeCopiedOntoItself) {
    memcpy(bytes, "abcde", 6);
    EXPECT_TRUE(VKO_CopyText(bytes, kSize, bytes + 2));
    EXPECT_STREQ(bytes, "cde");
}

TEST_F(TextBuffer, FormattingTellsWhetherEverythingFits) {
    EXPECT_TRUE(VKO_FormatText(bytes, kSize, "%s", ""));
    EXPECT_STREQ(bytes, "");
    EXPECT_TRUE(VKO_FormatText(bytes, kSize, "%s", "abcde"));
    EXPECT_STREQ(bytes, "abcde");
    EXPECT_FALSE(VKO_FormatText(bytes, kSize, "%s", "abcdef"));
    EXPECT_STREQ(bytes, "abcde");
    EXPECT_EQ(Behind(), "##");
}

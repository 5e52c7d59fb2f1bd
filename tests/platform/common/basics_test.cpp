#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "platform/platform.h"

TEST(Memory, IsZeroedAndDistinct) {
    unsigned char* first = static_cast<unsigned char*>(plat_alloc(5000));
    ASSERT_NE(first, nullptr);
    for (int index = 0; index < 5000; ++index) {
        ASSERT_EQ(first[index], 0) << index;
    }
    memset(first, 0xAA, 5000);
    void* second = plat_alloc(0);
    EXPECT_NE(second, nullptr);
    EXPECT_NE(second, first);
    plat_free(first);
    plat_free(second);
    plat_free(nullptr);
}

TEST(Handles, ValidIsNeitherZeroNorAllOnes) {
    EXPECT_FALSE(plat_handle_valid(0));
    EXPECT_FALSE(plat_handle_valid(PLAT_INVALID_HANDLE));
    EXPECT_TRUE(plat_handle_valid(4));
}

TEST(Errors, TextsAreThereAndEndAsWideTextsToo) {
    for (const uint32_t code : {PLAT_ERROR_FILE_NOT_FOUND, PLAT_ERROR_ACCESS_DENIED}) {
        char* text = plat_error_text(code);
        ASSERT_NE(text, nullptr) << code;
        const size_t length = strlen(text);
        EXPECT_GT(length, 0u);
        EXPECT_EQ(memcmp(text + length, "\0\0\0\0\0\0\0\0", 8), 0);
        plat_free(text);
    }
}

TEST(Errors, ACodeWithoutATextGivesNone) {
    EXPECT_EQ(plat_error_text(0xDEAD1234), nullptr);
}

TEST(Errors, AMissingFileIsTwo) {
    EXPECT_FALSE(plat_remove_file("no-such-file-anywhere"));
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_FILE_NOT_FOUND);
}

TEST(Text, CapitalsOfAsciiAlone) {
    char text[] = "com4 azAZ09@[`{";
    plat_upper(text);
    EXPECT_STREQ(text, "COM4 AZAZ09@[`{");
    char empty[] = "";
    plat_upper(empty);
    EXPECT_STREQ(empty, "");
}

TEST(Text, WideTextIsCutToWhatFits) {
    char bytes[8];
    plat_wide_to_bytes(L"abc", bytes, sizeof bytes);
    EXPECT_STREQ(bytes, "abc");
    plat_wide_to_bytes(L"abcdefg", bytes, sizeof bytes);
    EXPECT_STREQ(bytes, "abcdefg");
    plat_wide_to_bytes(L"abcdefghij", bytes, sizeof bytes);
    EXPECT_STREQ(bytes, "abcdefg");
    plat_wide_to_bytes(L"abc", bytes, 1);
    EXPECT_STREQ(bytes, "");
    plat_wide_to_bytes(L"", bytes, sizeof bytes);
    EXPECT_STREQ(bytes, "");
    char untouched = 'x';
    plat_wide_to_bytes(L"abc", &untouched, 0);
    EXPECT_EQ(untouched, 'x');
}

TEST(Text, AWideCharacterThatIsMissingBecomesABlank) {
    // Chinese characters are in no code page of the West.
    char bytes[8];
    plat_wide_to_bytes(L"a\u4e2d\u6587b", bytes, sizeof bytes);
    EXPECT_STREQ(bytes, "a  b");
}

TEST(Text, PrintGoesToStandardOutput) {
    testing::internal::CaptureStdout();
    plat_print("100%s printed\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "100%s printed\n");
}

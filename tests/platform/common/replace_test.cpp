/*
 * A file's content replaced as a whole.
 */
#include <string>

#include "scratch_folder.h"

struct Replace : ScratchFolder {
    static bool Put(const char* path, const std::string& text) {
        return plat_file_replace(path, text.data(), text.size());
    }
    /** Names in the folder: nothing may be left beside the file. */
    static size_t Names() {
        size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("."))
            count += entry.exists() ? 1U : 0U;
        return count;
    }
};

TEST_F(Replace, MakesTheFileAndLeavesNothingBesideIt) {
    EXPECT_TRUE(Put("a.ini", "first"));
    EXPECT_EQ(ReadText("a.ini"), "first");
    EXPECT_EQ(Names(), 1U);
}

TEST_F(Replace, TakesThePlaceOfALongerAndAShorterContent) {
    WriteText("a.ini", "a longer text than the next");
    EXPECT_TRUE(Put("a.ini", "short"));
    EXPECT_EQ(ReadText("a.ini"), "short");
    EXPECT_TRUE(Put("a.ini", std::string(100000, 'x')));
    EXPECT_EQ(ReadText("a.ini"), std::string(100000, 'x'));
    EXPECT_TRUE(Put("a.ini", ""));
    EXPECT_EQ(ReadText("a.ini"), "");
    EXPECT_EQ(Names(), 1U);
}

TEST_F(Replace, UnderstandsAFolderInFront) {
    std::filesystem::create_directory("sub");
    EXPECT_TRUE(Put("sub\\a.ini", "1"));
    EXPECT_TRUE(Put(".\\sub/b.ini", "2"));
    EXPECT_EQ(ReadText("sub/a.ini"), "1");
    EXPECT_EQ(ReadText("sub/b.ini"), "2");
}

TEST_F(Replace, WhatCannotBeReplacedStaysAndLeavesNothingBesideIt) {
    std::filesystem::create_directory("folder");
    WriteText("folder/kept", "1");
    EXPECT_FALSE(Put("folder", "text"));
    EXPECT_EQ(ReadText("folder/kept"), "1");
    EXPECT_FALSE(Put("missing\\a.ini", "text"));
    EXPECT_FALSE(Put(std::string(100000, 'x').c_str(), "text"));
    EXPECT_FALSE(Put("", "text"));
    EXPECT_EQ(Names(), 1U);
}

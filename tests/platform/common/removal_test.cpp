/*
 * The shell commands that remove folders and files.
 */
#include "removal_folder.h"

TEST_F(Removal, ShellRemovesATree) {
    std::filesystem::create_directories("tree/deep/deeper");
    WriteText("tree/deep/file", "x");
    std::filesystem::create_directories("other");
    EXPECT_EQ(plat_shell("rmdir /S /Q tree"), 0);
    EXPECT_FALSE(std::filesystem::exists("tree"));
    EXPECT_TRUE(std::filesystem::exists("other"));
}

TEST_F(Removal, ShellSplitsNamesAtBlanks) {
    std::filesystem::create_directories("one");
    std::filesystem::create_directories("two/deep");
    EXPECT_EQ(plat_shell("rmdir /S /Q one two\\deep"), 0);
    EXPECT_FALSE(std::filesystem::exists("one"));
    EXPECT_TRUE(std::filesystem::exists("two"));
    EXPECT_FALSE(std::filesystem::exists("two/deep"));
}

TEST_F(Removal, ShellRemovesAFileAndItsNamesakesBelow) {
    std::filesystem::create_directories("sub/deep");
    for (const char* name : {"x.txt", "sub/x.txt", "sub/deep/x.txt", "y.txt", "sub/y.txt"}) {
        WriteText(name, "");
    }
    EXPECT_EQ(plat_shell("del /S x.txt"), 0);
    EXPECT_FALSE(std::filesystem::exists("x.txt"));
    EXPECT_FALSE(std::filesystem::exists("sub/x.txt"));
    EXPECT_FALSE(std::filesystem::exists("sub/deep/x.txt"));
    EXPECT_TRUE(std::filesystem::exists("y.txt"));
    EXPECT_EQ(plat_shell("del /S sub\\y.txt"), 0);
    EXPECT_FALSE(std::filesystem::exists("sub/y.txt"));
    EXPECT_TRUE(std::filesystem::exists("y.txt"));
}

/*
 * Paths and searches: bounds, what is left out, and how many searches stay open.
 */
#include <cerrno>
#include <string>
#include <vector>

#include "platform/posix/last_error.h"
#include "platform/posix/path.h"
#include "scratch_folder.h"

struct UnixSearch : ScratchFolder {
    static std::vector<std::string> Names(const char* pattern) {
        std::vector<std::string> names;
        char name[64] = "";
        const plat_handle search = plat_find_open(pattern, name, sizeof name);
        if (!plat_handle_valid(search)) return names;
        do {
            names.emplace_back(name);
        } while (plat_find_next(search, name, sizeof name) && names.size() < 100);
        plat_find_close(search);
        return names;
    }
};

TEST_F(UnixSearch, GivesAFoldersHiddenNamesButNotItselfNorItsParent) {
    WriteText(".hidden", "");
    WriteText("a", "");
    WriteText("..b", "");
    EXPECT_EQ(Names("*"), (std::vector<std::string>{"..b", ".hidden", "a"}));
    EXPECT_EQ(Names(".*"), (std::vector<std::string>{"..b", ".hidden"}));
    EXPECT_EQ(Names("."), std::vector<std::string>{});
    EXPECT_EQ(Names("a"), (std::vector<std::string>{"a"}));
}

TEST_F(UnixSearch, SixtyFourStayOpenAndTheNextTakesTheOldestsPlace) {
    WriteText("a", "");
    WriteText("b", "");
    char name[8] = "";
    std::vector<plat_handle> searches;
    for (int count = 0; count < 64; ++count) {
        searches.push_back(plat_find_open("*", name, sizeof name));
    }
    for (const plat_handle search : searches) {
        EXPECT_TRUE(plat_find_next(search, name, sizeof name));
        EXPECT_STREQ(name, "b");
    }
    for (size_t count = 0; count < 2; ++count) {
        searches.push_back(plat_find_open("*", name, sizeof name));
        SetLastErrno(0);
        EXPECT_FALSE(plat_find_next(searches[count], name, sizeof name));
        EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EBADF)) << "dropped";
        EXPECT_FALSE(plat_find_next(searches[count + 1], name, sizeof name));
        EXPECT_EQ(plat_last_error(), PLAT_ERROR_FILE_NOT_FOUND) << "still there, and at its end";
    }
    for (const plat_handle search : searches) {
        plat_find_close(search);
    }
}

TEST_F(UnixSearch, SaysWhyItFindsNothing) {
    char name[8] = "";
    SetLastErrno(0);
    EXPECT_EQ(plat_find_open("*", name, sizeof name), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_FILE_NOT_FOUND);
    SetLastErrno(0);
    EXPECT_EQ(plat_find_open("missing/*", name, sizeof name), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_FILE_NOT_FOUND);
    WriteText("file", "");
    EXPECT_EQ(plat_find_open("file/*", name, sizeof name), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(ENOTDIR));
}

TEST(UnixPath, Has4095BytesAtMost) {
    const PosixPath longest = ToPosixPath((std::string(4094, 'x') + "\\").c_str());
    EXPECT_TRUE(longest.valid);
    EXPECT_EQ(std::string(longest.text), std::string(4094, 'x') + "/");
    SetLastErrno(0);
    EXPECT_FALSE(ToPosixPath(std::string(4096, 'x').c_str()).valid);
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(ENAMETOOLONG));
    EXPECT_STREQ(ToPosixPath("").text, "");
}

TEST(UnixPath, IsCopiedAsFarAsItFits) {
    char target[6] = "vwxyz";
    CopyCut(target, 0, "abc");
    EXPECT_STREQ(target, "vwxyz");
    CopyCut(target, 1, "abc");
    EXPECT_EQ(std::string(target, 6), std::string("\0wxyz\0", 6));
    CopyCut(target, 3, "abc");
    EXPECT_EQ(std::string(target, 6), std::string("ab\0yz\0", 6));
    CopyCut(target, 4, "abc");
    EXPECT_EQ(std::string(target, 6), std::string("abc\0z\0", 6));
    CopyCut(target, 6, "d");
    EXPECT_EQ(std::string(target, 6), std::string("d\0c\0z\0", 6));
}

TEST(UnixPath, PatternsMatchWhatIsLeftBehindAStar) {
    EXPECT_TRUE(MatchesPattern("", ""));
    EXPECT_TRUE(MatchesPattern("a", "a**"));
    EXPECT_TRUE(MatchesPattern("aab", "*ab"));
    EXPECT_TRUE(MatchesPattern("abab", "a*?b"));
    EXPECT_FALSE(MatchesPattern("", "?"));
    EXPECT_FALSE(MatchesPattern("ab", "b"));
    EXPECT_FALSE(MatchesPattern("abc", "a*b"));
    EXPECT_FALSE(MatchesPattern("a", "a*b"));
}

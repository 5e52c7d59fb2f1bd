/*
 * Paths that no file can have, paths at the root, and files used otherwise than they were opened.
 */
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/last_error.h"
#include "scratch_folder.h"

namespace fs = std::filesystem;

struct OddPaths : ScratchFolder {
    const std::string longest = std::string(5000, 'x');
};

TEST_F(OddPaths, APathThatIsTooLongIsRefusedEverywhere) {
    const char* path = longest.c_str();
    char name[64] = "";
    plat_file_status status = {};
    EXPECT_FALSE(plat_file_query(path, &status));
    EXPECT_EQ(plat_file_open(path, "r"), nullptr);
    EXPECT_EQ(plat_file_open(path, "w"), nullptr);
    EXPECT_EQ(plat_append_open(path), -1);
    EXPECT_FALSE(plat_append_text(path, "x", 1));
    EXPECT_FALSE(plat_file_replace(path, "x", 1));
    EXPECT_FALSE(plat_create_folder(path));
    WriteText("a", "1");
    EXPECT_FALSE(plat_move_file("a", path));
    EXPECT_FALSE(plat_move_file(path, "b"));
    EXPECT_FALSE(plat_remove_file(path));
    EXPECT_EQ(plat_find_open(path, name, sizeof name), PLAT_INVALID_HANDLE);
    EXPECT_EQ(ReadText("a"), "1");
}

TEST_F(OddPaths, NamesAtTheRootAreLookedForThere) {
    char name[64] = "";
    const plat_handle search = plat_find_open("/et*", name, sizeof name);
    ASSERT_TRUE(plat_handle_valid(search));
    EXPECT_STREQ(name, "etc");
    plat_find_close(search);
}

TEST_F(OddPaths, AFileIsUsedOnlyAsItWasOpened) {
    WriteText("a", "text");
    char buffer[8] = "";
    plat_file* written = plat_file_open("a", "a");
    ASSERT_NE(written, nullptr);
    SetLastErrno(0);
    EXPECT_EQ(plat_file_read(written, buffer, sizeof buffer), 0u);
    EXPECT_NE(plat_last_error(), 0u);
    plat_file_close(written);

    plat_file* read = plat_file_open("a", "r");
    ASSERT_NE(read, nullptr);
    EXPECT_FALSE(Print(read, "%s", "more"));
    EXPECT_FALSE(plat_file_write(read, "more", 4));
    EXPECT_FALSE(plat_file_close(read));
    EXPECT_EQ(ReadText("a"), "text");
}

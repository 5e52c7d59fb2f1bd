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
    size_t length = 0;
    EXPECT_FALSE(plat_read_text(path, name, sizeof name, &length));
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

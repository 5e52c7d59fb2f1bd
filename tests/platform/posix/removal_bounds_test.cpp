/*
 * Removals: what they must not touch.
 */
#include <unistd.h>

#include <string>

#include "platform/posix/last_error.h"
#include "removal_folder.h"

namespace fs = std::filesystem;

struct UnixRemovalBounds : Removal {};

TEST_F(UnixRemovalBounds, OfATreeLeavesWhatLinksLeadTo) {
    fs::create_directories("tree/sub");
    fs::create_directories("kept");
    WriteText("kept/file", "x");
    fs::create_directory_symlink("../kept", "tree/link");
    fs::create_symlink("../kept/file", "tree/file-link");
    EXPECT_EQ(plat_shell("rmdir /S /Q tree/"), 0);
    EXPECT_FALSE(fs::exists("tree"));
    EXPECT_TRUE(fs::exists("kept/file"));

    fs::create_directory_symlink("kept", "link");
    EXPECT_EQ(plat_shell("rmdir /S /Q link/"), 0);
    EXPECT_FALSE(fs::is_symlink("link"));
    EXPECT_TRUE(fs::exists("kept/file"));
}

TEST_F(UnixRemovalBounds, RefusesTheTreesThatHoldUs) {
    fs::create_directories("inner/deep");
    fs::current_path("inner");
    for (const char* name : {".", "./", "..", "../", "deep/..", "../inner", "../../", ".\\."}) {
        EXPECT_NE(plat_shell((std::string("rmdir /S /Q ") + name).c_str()), 0) << name;
        ASSERT_TRUE(fs::exists("deep")) << name;
    }
    EXPECT_NE(plat_shell(("rmdir /S /Q " + folder.string()).c_str()), 0);
    EXPECT_TRUE(fs::exists("deep"));
    fs::current_path("..");
}

TEST_F(UnixRemovalBounds, RefusesTheRootEvenFromOutsideOfIt) {
    fs::create_directories("deep");
    for (const char* name : {"/", "//", "\\", "/.", "/.."}) {
        SetLastErrno(0);
        EXPECT_NE(plat_shell((std::string("rmdir /S /Q ") + name).c_str()), 0) << name;
        EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED) << name;
        ASSERT_TRUE(fs::exists("deep")) << name;
    }
}

TEST_F(UnixRemovalBounds, OfWhatIsNoFolderOrNotThereFails) {
    WriteText("file", "x");
    EXPECT_NE(plat_shell("rmdir /S /Q file"), 0);
    EXPECT_TRUE(fs::exists("file"));
    EXPECT_NE(plat_shell("rmdir /S /Q missing"), 0);
    EXPECT_NE(plat_shell("del /S missing"), 0);
    EXPECT_NE(plat_shell("rmdir /S /Q "), 0);
    EXPECT_NE(plat_shell("del /S "), 0);
}

TEST_F(UnixRemovalBounds, OfFilesStaysInItsTree) {
    fs::create_directories("tree/x.txt");
    fs::create_directories("outside");
    WriteText("outside/a.txt", "");
    WriteText("tree/a.txt", "");
    WriteText("tree/x.txt/b.txt", "");
    fs::create_directory_symlink("../outside", "tree/link");
    fs::create_directory_symlink("../outside", "tree/link.txt");
    EXPECT_EQ(plat_shell("del /S tree\\*.txt"), 0);
    EXPECT_FALSE(fs::exists("tree/a.txt"));
    EXPECT_FALSE(fs::exists("tree/x.txt/b.txt"));
    EXPECT_TRUE(fs::exists("tree/x.txt"));
    EXPECT_TRUE(fs::exists("tree/link.txt"));
    EXPECT_TRUE(fs::exists("outside/a.txt"));
}

TEST_F(UnixRemovalBounds, NoShellIsStarted) {
    WriteText("kept", "");
    WriteText("$(touch", "");
    EXPECT_NE(plat_shell("del /S missing; touch made"), 0);
    EXPECT_EQ(plat_shell("del /S $(touch"), 0);
    EXPECT_NE(plat_shell("rm kept"), 0);
    EXPECT_NE(plat_shell("touch made"), 0);
    EXPECT_NE(plat_shell(""), 0);
    EXPECT_NE(plat_shell("RMDIR /S /Q kept"), 0);
    EXPECT_TRUE(fs::exists("kept"));
    EXPECT_FALSE(fs::exists("made"));
    EXPECT_FALSE(fs::exists("$(touch"));
}

TEST_F(UnixRemovalBounds, FilesOfAFolderThatIsNotThereCannotBeRemoved) {
    EXPECT_NE(plat_shell("del /S missing\\a.txt"), 0);
    EXPECT_NE(plat_shell("rmdir /S /Q missing"), 0);
}

TEST_F(UnixRemovalBounds, ALinkToAFolderGoesAndTheFolderStays) {
    fs::create_directory("kept");
    WriteText("kept/a", "1");
    fs::create_directory_symlink("kept", "link");
    EXPECT_EQ(plat_shell("rmdir /S /Q link"), 0);
    EXPECT_FALSE(fs::exists(fs::symlink_status("link")));
    EXPECT_EQ(ReadText("kept/a"), "1");
    fs::create_directory_symlink("kept", "link");
    EXPECT_NE(plat_shell("del /S link"), 0);
    EXPECT_TRUE(fs::is_symlink("link"));
    fs::create_symlink("kept/a", "file-link");
    EXPECT_EQ(plat_shell("del /S file-link"), 0);
    EXPECT_EQ(ReadText("kept/a"), "1");
}

TEST_F(UnixRemovalBounds, OfFilesOfTheRootLeavesTheirNamesakesBelow) {
    const std::string own = "zantir-odd-" + std::to_string(getpid());
    WriteText(own.c_str(), "1");
    EXPECT_NE(plat_shell(("del /S \\" + own).c_str()), 0);
    EXPECT_TRUE(fs::exists(own));
}

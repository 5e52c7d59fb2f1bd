/*
 * Removals: what is left alone, what a failure in the middle leaves, and how it is told.
 */
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/last_error.h"
#include "processes.h"
#include "removal_folder.h"
#include "system_calls.h"

namespace fs = std::filesystem;

struct UnixRemoval : Removal {
    void TearDown() override {
        ResetSystemCalls();
        Removal::TearDown();
    }

    /** Runs a command that must fail, and gives the last error. */
    static uint32_t ErrorOf(const std::string& command) {
        SetLastErrno(0);
        EXPECT_EQ(plat_shell(command.c_str()), 1) << command;
        return plat_last_error();
    }
};

TEST_F(UnixRemoval, SaysWhyItFails) {
    WriteText("file", "");
    const std::string longest(5000, 'x');
    EXPECT_EQ(ErrorOf("rmdir /S /Q missing"), PLAT_ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ErrorOf("rmdir /S /Q file"), static_cast<uint32_t>(ENOTDIR));
    EXPECT_EQ(ErrorOf("rmdir /S /Q ."), PLAT_ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOf("rmdir /S /Q " + longest), static_cast<uint32_t>(ENAMETOOLONG));
    EXPECT_EQ(ErrorOf("del /S missing"), PLAT_ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ErrorOf("del /S file/missing"), static_cast<uint32_t>(ENOTDIR));
    EXPECT_EQ(ErrorOf("del /S " + longest), static_cast<uint32_t>(ENAMETOOLONG));
    EXPECT_EQ(ErrorOf("touch made"), static_cast<uint32_t>(EINVAL));
}

TEST_F(UnixRemoval, OneOfSeveralNamesThatFailsIsAFailureWhereverItStands) {
    for (const char* names : {"missing one two", "one missing two", "one two missing"}) {
        fs::create_directory("one");
        fs::create_directory("two");
        EXPECT_EQ(ErrorOf(std::string("rmdir /S /Q ") + names), PLAT_ERROR_FILE_NOT_FOUND);
        EXPECT_FALSE(fs::exists("one")) << names;
        EXPECT_FALSE(fs::exists("two")) << names;
    }
}

TEST_F(UnixRemoval, OfATreeGoesOnBehindWhatCannotBeRemoved) {
    fs::create_directories("tree/sub");
    for (const char* name : {"tree/a", "tree/b", "tree/c", "tree/sub/d"}) {
        WriteText(name, "");
    }
    FailNext(&system_calls.unlinkat, 1, EPERM);
    EXPECT_EQ(ErrorOf("rmdir /S /Q tree"), PLAT_ERROR_ACCESS_DENIED);
    const auto left = fs::recursive_directory_iterator("tree");
    EXPECT_LE(std::distance(begin(left), {}), 2) << "one file, perhaps with its folder";
    EXPECT_GE(std::distance(fs::directory_iterator("tree"), {}), 1);
}

TEST_F(UnixRemoval, OfATreeThatCannotBeReadLeavesNothingOpen) {
    fs::create_directories("tree/sub");
    const long count_before = OpenDescriptors();
    FailNext(&system_calls.openat, 1, EMFILE, 1);
    EXPECT_EQ(ErrorOf("rmdir /S /Q tree"), static_cast<uint32_t>(EMFILE));
    EXPECT_TRUE(fs::exists("tree/sub"));
    EXPECT_EQ(plat_shell("rmdir /S /Q tree"), 0);
    EXPECT_EQ(OpenDescriptors(), count_before);
}

TEST_F(UnixRemoval, OfFilesGoesOnBehindWhatCannotBeRemoved) {
    fs::create_directories("sub");
    for (const char* name : {"x1", "x2", "x3", "sub/x4"}) {
        WriteText(name, "");
    }
    FailNext(&system_calls.unlinkat, 1, EPERM);
    EXPECT_EQ(ErrorOf("del /S x*"), PLAT_ERROR_ACCESS_DENIED);
    const long left = std::distance(fs::directory_iterator("."), {}) - 1;
    EXPECT_EQ(left + std::distance(fs::directory_iterator("sub"), {}), 1);
}

TEST_F(UnixRemoval, OfFilesGoesOnBehindAFolderThatCannotBeRead) {
    fs::create_directories("one");
    fs::create_directories("two");
    for (const char* name : {"x", "one/x", "two/x"}) {
        WriteText(name, "");
    }
    FailNext(&system_calls.openat, 1, EACCES);
    EXPECT_EQ(ErrorOf("del /S x"), PLAT_ERROR_ACCESS_DENIED);
    EXPECT_FALSE(fs::exists("x"));
    EXPECT_NE(fs::exists("one/x"), fs::exists("two/x"));
    const long count_before = OpenDescriptors();
    EXPECT_EQ(plat_shell("del /S x"), 0);
    EXPECT_EQ(OpenDescriptors(), count_before);
}

TEST_F(UnixRemoval, OfFilesTakesLinksButNoPipesAndNoFolders) {
    fs::create_directory("x.d");
    ASSERT_EQ(mkfifo("x.pipe", 0600), 0);
    EXPECT_EQ(ErrorOf("del /S x*"), PLAT_ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(fs::exists("x.pipe"));
    EXPECT_TRUE(fs::exists("x.d"));
    fs::create_symlink("nowhere", "x.dangling");
    fs::create_directory_symlink("x.d", "x.folder");
    EXPECT_EQ(plat_shell("del /S x*"), 0);
    EXPECT_FALSE(fs::is_symlink("x.dangling"));
    EXPECT_TRUE(fs::is_symlink("x.folder"));
}

TEST_F(UnixRemoval, OfATreeLeavesALinkToAFileAlone) {
    WriteText("file", "1");
    fs::create_symlink("file", "link");
    EXPECT_EQ(plat_shell("rmdir /S /Q link"), 1);
    EXPECT_TRUE(fs::is_symlink("link"));
    EXPECT_EQ(ReadText("file"), "1");
}

TEST_F(UnixRemoval, TakesAFolderWithSlashesAtItsEndOrALetterForAName) {
    for (const char* name : {"d", "e//", "f\\"}) {
        fs::create_directory(std::string(name, 1));
        EXPECT_EQ(plat_shell((std::string("rmdir /S /Q ") + name).c_str()), 0) << name;
        EXPECT_FALSE(fs::exists(std::string(name, 1))) << name;
    }
}

TEST_F(UnixRemoval, OfALinkWithASlashBehindItLeavesTheFolderAlone) {
    fs::create_directory("kept");
    WriteText("kept/file", "1");
    for (const char* name : {"l", "link"}) {
        fs::create_directory_symlink("kept", name);
        EXPECT_EQ(plat_shell((std::string("rmdir /S /Q ") + name + "\\").c_str()), 0) << name;
        EXPECT_FALSE(fs::is_symlink(name)) << name;
        EXPECT_EQ(ReadText("kept/file"), "1") << name;
    }
}

TEST_F(UnixRemoval, FromAFolderTooDeepToClimbIsRefused) {
    fs::create_directory("tree");
    // The way back up, "./.." and so on, has 4095 letters at most.
    for (int depth = 0; depth < 1400; ++depth) {
        ASSERT_EQ(mkdir("d", 0700), 0);
        ASSERT_EQ(chdir("d"), 0);
    }
    EXPECT_EQ(ErrorOf("rmdir /S /Q " + (folder / "tree").string()), PLAT_ERROR_ACCESS_DENIED);
    EXPECT_TRUE(fs::exists(folder / "tree"));
    fs::current_path(folder);
    EXPECT_EQ(plat_shell("rmdir /S /Q tree"), 0);
    EXPECT_FALSE(fs::exists("tree"));
}

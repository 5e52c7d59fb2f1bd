/*
 * A file's content replaced: what is forced to the disk, where it gets stuck, and how a failure is told.
 */
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/last_error.h"
#include "processes.h"
#include "scratch_folder.h"
#include "system_calls.h"

namespace fs = std::filesystem;

struct ReplaceCalls : ScratchFolder {
    void TearDown() override {
        ResetSystemCalls();
        ScratchFolder::TearDown();
    }

    static bool Put(const std::string& path, const std::string& text) {
        return plat_file_replace(path.c_str(), text.data(), text.size());
    }

    static long Names() { return std::distance(fs::directory_iterator("."), {}); }

    static std::string Beside(int number) {
        return "a.ini." + std::to_string(getpid()) + "-" + std::to_string(number);
    }

    /** Whether the last thing forced to the disk was the list of names of a folder. */
    static void ExpectSynced(const char* path) {
        struct stat status = {};
        ASSERT_EQ(stat(path, &status), 0);
        EXPECT_EQ(system_calls.fsync.calls, 2) << path;
        EXPECT_EQ(system_calls.synced_device, status.st_dev) << path;
        EXPECT_EQ(system_calls.synced_file, status.st_ino) << path;
        system_calls.fsync.calls = 0;
    }
};

TEST_F(ReplaceCalls, TheFileAndThenItsFolderAreForcedToTheDisk) {
    fs::create_directory("sub");
    const long count_before = OpenDescriptors();
    EXPECT_TRUE(Put("new", "1"));
    ExpectSynced(".");
    EXPECT_TRUE(Put("new", "2"));
    ExpectSynced(".");
    EXPECT_TRUE(Put("sub\\new", "1"));
    ExpectSynced("sub");
    EXPECT_TRUE(Put("sub/new", "2"));
    ExpectSynced("sub");
    EXPECT_EQ(OpenDescriptors(), count_before);
}

TEST_F(ReplaceCalls, AWriteInPiecesOrInterruptedIsFinished) {
    system_calls.longest_write = 3;
    FailNext(&system_calls.write, 1, EINTR, 1);
    EXPECT_TRUE(Put("a.ini", "abcdefgh"));
    EXPECT_EQ(ReadText("a.ini"), "abcdefgh");
    EXPECT_EQ(system_calls.write.calls, 4);
}

TEST_F(ReplaceCalls, WhatTheDiskRefusesIsNotReplaced) {
    WriteText("a.ini", "old");
    const long count_before = OpenDescriptors();
    struct Row {
        SystemCall* call;
        int error;
        uint32_t code;
    };
    const Row kRows[] = {{&system_calls.write, ENOSPC, ENOSPC},
                         {&system_calls.fsync, EIO, kErrorIoDevice},
                         {&system_calls.fchmod, EPERM, PLAT_ERROR_ACCESS_DENIED},
                         {&system_calls.open, EROFS, EROFS}};
    for (const auto& [call, error, code] : kRows) {
        FailNext(call, 1, error);
        SetLastErrno(0);
        EXPECT_FALSE(Put("a.ini", "new")) << error;
        EXPECT_EQ(plat_last_error(), code);
        EXPECT_EQ(ReadText("a.ini"), "old") << error;
        EXPECT_EQ(Names(), 1) << error;
    }
    system_calls.longest_write = 0;
    EXPECT_FALSE(Put("a.ini", "new")) << "a disk that takes nothing";
    EXPECT_EQ(Names(), 1);
    EXPECT_EQ(OpenDescriptors(), count_before);
}

TEST_F(ReplaceCalls, AFolderThatCannotBeForcedToTheDiskIsNoFailure) {
    FailNext(&system_calls.fsync, 1, EINVAL, 1);
    EXPECT_TRUE(Put("a.ini", "text"));
    FailNext(&system_calls.open, 1, EACCES, 1);
    const long count_before = OpenDescriptors();
    EXPECT_TRUE(Put("a.ini", "other"));
    EXPECT_EQ(ReadText("a.ini"), "other");
    EXPECT_EQ(OpenDescriptors(), count_before);
}

TEST_F(ReplaceCalls, OfAThousandNamesBesideTheFileOneMustBeFree) {
    for (int number = 0; number < 999; ++number) {
        WriteText(Beside(number), "taken");
    }
    EXPECT_TRUE(Put("a.ini", "1"));
    WriteText(Beside(999), "taken");
    SetLastErrno(0);
    EXPECT_FALSE(Put("a.ini", "2"));
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EEXIST));
    fs::remove(Beside(0));
    EXPECT_TRUE(Put("a.ini", "3"));
    EXPECT_EQ(ReadText("a.ini"), "3");
    EXPECT_EQ(ReadText(Beside(1)), "taken");
}

TEST_F(ReplaceCalls, WhatIsNoFileIsAccessRefused) {
    fs::create_directory("folder");
    SetLastErrno(0);
    EXPECT_FALSE(Put("folder", "1"));
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
    SetLastErrno(0);
    EXPECT_FALSE(Put("missing/file", "1"));
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_FILE_NOT_FOUND);
}

/*
 * The file behind a mutex: its folder, its making among others, and system calls that fail.
 */
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/posix/last_error.h"
#include "platform/posix/lock_file.h"
#include "processes.h"
#include "scratch_folder.h"
#include "stopwatch.h"
#include "system_calls.h"

struct LockFiles : ScratchFolder {
    void SetUp() override {
        ScratchFolder::SetUp();
        name = "zantir lock " + std::to_string(plat_counter());
    }

    void TearDown() override {
        ResetSystemCalls();
        if (file.descriptor >= 0) CloseLockFile(&file);
        unlink(file.path.c_str());
        ScratchFolder::TearDown();
    }

    std::string Chosen(mode_t mode) const {
        EXPECT_EQ(chmod(folder.c_str(), mode), 0);
        const std::string chosen = ChooseLockFolder(folder.c_str(), "other");
        EXPECT_EQ(chmod(folder.c_str(), 0700), 0);
        return chosen;
    }

    std::string name;
    LockFile file = {};
};

TEST_F(LockFiles, GoToAFolderThatEverybodyMayWriteTo) {
    EXPECT_EQ(Chosen(01777), folder.string());
    EXPECT_EQ(Chosen(0777), folder.string());
    EXPECT_EQ(Chosen(0775), "other");
    EXPECT_EQ(Chosen(0755), "other");
    WriteText("file", "");
    ASSERT_EQ(chmod("file", 0777), 0);
    EXPECT_STREQ(ChooseLockFolder("file", "other"), "other");
    EXPECT_STREQ(ChooseLockFolder("missing", "other"), "other");
}

TEST_F(LockFiles, GoElsewhereWhenThisProcessMayNotWriteThere) {
    ASSERT_EQ(chmod(folder.c_str(), 0557), 0);
    WriteText("probe", "");
    const bool may_write = std::filesystem::exists("probe");
    ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
    EXPECT_EQ(Chosen(0557), may_write ? folder.string() : "other");
}

TEST_F(LockFiles, AFileThatAnotherMakesInBetweenIsTaken) {
    ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
    CloseLockFile(&file);
    EXPECT_EQ(file.descriptor, -1);
    system_calls.open.calls = 0;
    FailNext(&system_calls.open, 1, ENOENT);
    ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
    EXPECT_EQ(system_calls.open.calls, 3);
}

TEST_F(LockFiles, AFileThatRefusesForAMomentIsTriedTwentyTimes) {
    ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
    CloseLockFile(&file);
    const Stopwatch watch;
    FailNext(&system_calls.open, 19, EACCES);
    EXPECT_TRUE(OpenLockFile(name.c_str(), &file));
    EXPECT_GE(watch.Milliseconds(), 19);
    CloseLockFile(&file);
    FailNext(&system_calls.open, 20, EACCES);
    EXPECT_FALSE(OpenLockFile(name.c_str(), &file));
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
    EXPECT_EQ(system_calls.open.failures, 0);
}

TEST_F(LockFiles, AFileThatVanishesForAMomentIsTriedTwentyTimes) {
    ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
    CloseLockFile(&file);
    // Each try asks for the file first, and then to make it.
    FailNext(&system_calls.open, 38, ENOENT);
    EXPECT_TRUE(OpenLockFile(name.c_str(), &file));
    CloseLockFile(&file);
    FailNext(&system_calls.open, 40, ENOENT);
    EXPECT_FALSE(OpenLockFile(name.c_str(), &file));
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_FILE_NOT_FOUND);
}

TEST_F(LockFiles, AnyOtherFailureIsFinal) {
    system_calls.open.calls = 0;
    FailNext(&system_calls.open, 1, EMFILE);
    EXPECT_FALSE(OpenLockFile(name.c_str(), &file));
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EMFILE));
    EXPECT_EQ(system_calls.open.calls, 1);
}

TEST_F(LockFiles, WhatIsNoFileIsNotKeptOpen) {
    ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
    CloseLockFile(&file);
    ASSERT_EQ(unlink(file.path.c_str()), 0);
    ASSERT_EQ(mkfifo(file.path.c_str(), 0666), 0);
    const long count_before = OpenDescriptors();
    SetLastErrno(0);
    EXPECT_FALSE(OpenLockFile(name.c_str(), &file));
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
    EXPECT_EQ(file.descriptor, -1);
    EXPECT_EQ(OpenDescriptors(), count_before);
    SetLastErrno(0);
    EXPECT_EQ(TryLock(&file), LockResult::failed);
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
}

TEST_F(LockFiles, AFileThatIsAlwaysCleanedAwayIsGivenUpAfterThreeTries) {
    ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
    const long count_before = OpenDescriptors();
    FailNext(&system_calls.lstat, 2, ENOENT);
    EXPECT_EQ(TryLock(&file), LockResult::taken);
    EXPECT_EQ(OpenDescriptors(), count_before);
    Unlock(&file);
    FailNext(&system_calls.lstat, 3, ENOENT);
    EXPECT_EQ(TryLock(&file), LockResult::busy);
    EXPECT_EQ(system_calls.lstat.failures, 0);
    EXPECT_EQ(file.descriptor, -1);
    EXPECT_EQ(OpenDescriptors(), count_before - 1);
}

TEST_F(LockFiles, AnInterruptedLockIsBusyAndAFailedOneSaysWhy) {
    ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
    FailNext(&system_calls.flock, 1, EINTR);
    EXPECT_EQ(TryLock(&file), LockResult::busy);
    FailNext(&system_calls.flock, 1, ENOLCK);
    EXPECT_EQ(TryLock(&file), LockResult::failed);
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(ENOLCK));
    EXPECT_EQ(TryLock(&file), LockResult::taken);
}

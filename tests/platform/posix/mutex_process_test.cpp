/*
 * The mutex and what Unix adds to processes: forks, lock files, other users.
 */
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include <gtest/gtest.h>

#include "child_process.h"
#include "platform/platform.h"
#include "platform/posix/lock_file.h"
#include "process_mutex.h"
#include "processes.h"

TEST_F(ProcessMutex, AForkedChildOwnsNothing) {
    ASSERT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
    EXPECT_EQ(InFork([this] {
                  if (plat_mutex_release(mutex)) return 1;
                  return plat_mutex_wait(mutex, 0) == PLAT_WAIT_TIMEOUT ? 0 : 2;
              }),
              0);
    ChildProcess other = {};
    EXPECT_FALSE(StartMutexHolder(name.c_str(), &other)) << "the child gave away what is not its own";
    KillChild(&other);
    EXPECT_TRUE(plat_mutex_release(mutex));
    EXPECT_EQ(InFork([this] { return plat_mutex_wait(mutex, 0) == PLAT_WAIT_ACQUIRED ? 0 : 1; }), 0);
}

TEST_F(ProcessMutex, AChildThatLivesOnDoesNotKeepItsParentsLock) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t owner = fork();
    if (owner == 0) {
        if (plat_mutex_wait(mutex, 0) != PLAT_WAIT_ACQUIRED) _exit(1);
        const pid_t survivor = fork();
        if (survivor == 0) {
            for (;;)
                pause();
        }
        if (write(ready[1], &survivor, sizeof survivor) != sizeof survivor) _exit(1);
        for (;;)
            pause();
    }
    pid_t survivor = 0;
    ASSERT_EQ(read(ready[0], &survivor, sizeof survivor), static_cast<ssize_t>(sizeof survivor));
    EXPECT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_TIMEOUT);
    kill(owner, SIGKILL);
    waitpid(owner, nullptr, 0);
    EXPECT_EQ(plat_mutex_wait(mutex, 20000), PLAT_WAIT_ACQUIRED);
    EXPECT_TRUE(plat_mutex_release(mutex));
    kill(survivor, SIGKILL);
    close(ready[0]);
    close(ready[1]);
}

TEST_F(ProcessMutex, AnAbandonedMutexGoesToAnotherProcess) {
    EXPECT_EQ(InFork([this] { return plat_mutex_wait(mutex, 0) == PLAT_WAIT_ACQUIRED ? 0 : 1; }), 0);
    EXPECT_EQ(plat_mutex_wait(mutex, 20000), PLAT_WAIT_ACQUIRED);
    EXPECT_TRUE(plat_mutex_release(mutex));
}

TEST_F(ProcessMutex, OneDescriptorHoweverOftenItIsCreated) {
    const long before = OpenDescriptors();
    for (int count = 0; count < 100; ++count) {
        ASSERT_EQ(plat_mutex_create(name.c_str()), mutex);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(ProcessMutex, TheFileIsForEverybody) {
    struct stat status = {};
    ASSERT_EQ(lstat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0666u);
}

TEST_F(ProcessMutex, AFileThatWasCleanedAwayStillExcludes) {
    ASSERT_EQ(unlink(path.c_str()), 0);
    ChildProcess other = {};
    ASSERT_TRUE(StartMutexHolder(name.c_str(), &other));
    // Our descriptor is of the old file, which nobody else has locked.
    EXPECT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_TIMEOUT);
    KillChild(&other);
    EXPECT_EQ(plat_mutex_wait(mutex, 20000), PLAT_WAIT_ACQUIRED);
    EXPECT_TRUE(plat_mutex_release(mutex));
}

TEST_F(ProcessMutex, AFileThatIsNotOursIsRefused) {
    const std::string other_name = name + "x";
    LockFile other = {};
    ASSERT_TRUE(OpenLockFile(other_name.c_str(), &other));
    CloseLockFile(&other);
    ASSERT_EQ(unlink(other.path.c_str()), 0);

    ASSERT_EQ(symlink(path.c_str(), other.path.c_str()), 0);
    EXPECT_EQ(plat_mutex_create(other_name.c_str()), 0);
    ASSERT_EQ(unlink(other.path.c_str()), 0);
    ASSERT_EQ(mkfifo(other.path.c_str(), 0666), 0);
    EXPECT_EQ(plat_mutex_create(other_name.c_str()), 0);
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
    ASSERT_EQ(unlink(other.path.c_str()), 0);
}

TEST(LockFileName, NoTwoNamesShareAFile) {
    LockFile files[3] = {};
    const char* names[3] = {"zantir a/b", "zantir a_2Fb", "zantir_20a/b"};
    for (int index = 0; index < 3; ++index) {
        ASSERT_TRUE(OpenLockFile(names[index], &files[index]));
        CloseLockFile(&files[index]);
        unlink(files[index].path.c_str());
    }
    EXPECT_NE(files[0].path, files[1].path);
    EXPECT_NE(files[0].path, files[2].path);
    EXPECT_NE(files[1].path, files[2].path);
}

TEST(LockFileName, KeepsLettersAndDigitsAndSpellsOutTheRest) {
    LockFile file = {};
    ASSERT_TRUE(OpenLockFile("zZ09 /_\x80\xe9", &file));
    CloseLockFile(&file);
    unlink(file.path.c_str());
    EXPECT_EQ(file.path.substr(file.path.rfind('/')), "/mutex-zZ09_20_2F_5F_80_E9.lock");
}

TEST(LockFileName, TooLongAName) {
    EXPECT_EQ(plat_mutex_create(std::string(1000, 'x').c_str()), 0);
    EXPECT_EQ(plat_mutex_create(std::string(1000, ' ').c_str()), 0);
}

/*
 * A program without standard input: the first file that the library opens gets the descriptor 0.
 */
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/lock_file.h"
#include "processes.h"
#include "pty_port.h"
#include "scratch_folder.h"

namespace fs = std::filesystem;

/** A folder of its own, and the descriptor 0 free until the end. */
struct NoStandardInput : ScratchFolder {
    void SetUp() override {
        ScratchFolder::SetUp();
        kept = fcntl(0, F_DUPFD_CLOEXEC, 3);
        close(0);
    }

    void TearDown() override {
        if (kept >= 0) {
            dup2(kept, 0);
            close(kept);
        }
        ScratchFolder::TearDown();
    }

    static bool IsFree(int descriptor) { return fcntl(descriptor, F_GETFD) == -1; }

    int kept = -1;
};

TEST_F(NoStandardInput, AppendingDoesNotTakeItsPlace) {
    const int descriptor = plat_append_open("log");
    EXPECT_GE(descriptor, 3);
    EXPECT_TRUE(IsFree(0));
    EXPECT_TRUE(plat_append_write(descriptor, "x", 1));
    plat_append_close(descriptor);
    EXPECT_TRUE(IsFree(descriptor));
    EXPECT_EQ(ReadText("log"), "x");
}

TEST_F(NoStandardInput, AppendingStaysAwayFromAllThreeStandardStreams) {
    EXPECT_EQ(InFork([] {
                  close_range(0, ~0U, 0);
                  return plat_append_open("log");
              }),
              3);
}

TEST_F(NoStandardInput, AFileIsReadAndWrittenOnDescriptorZero) {
    plat_file* file = plat_file_open("a", "w");
    ASSERT_NE(file, nullptr);
    EXPECT_FALSE(IsFree(0));
    EXPECT_TRUE(plat_file_write(file, "text", 4));
    EXPECT_TRUE(plat_file_close(file));
    EXPECT_TRUE(IsFree(0));
    EXPECT_EQ(ReadText("a"), "text");
}

TEST_F(NoStandardInput, AFileIsReplacedAndNothingStaysOpenOrBeside) {
    // Left over from some earlier call: it must not be taken for this one's.
    for (const int stale : {EEXIST, ENOENT}) {
        errno = stale;
        EXPECT_TRUE(plat_file_replace("a", "text", 4)) << stale;
        EXPECT_TRUE(IsFree(0)) << stale;
        EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 1) << stale;
    }
}

TEST_F(NoStandardInput, ATreeIsRemoved) {
    fs::create_directories("tree/sub");
    EXPECT_EQ(plat_shell("rmdir /S /Q tree"), 0);
    EXPECT_FALSE(fs::exists("tree"));
}

TEST_F(NoStandardInput, TheLocksFileMayBeDescriptorZero) {
    const std::string name = "zantir no input " + std::to_string(plat_counter());
    const mode_t mask = umask(077);
    LockFile file = {};
    const bool opened = OpenLockFile(name.c_str(), &file);
    umask(mask);
    ASSERT_TRUE(opened);
    EXPECT_EQ(file.descriptor, 0);
    struct stat status = {};
    ASSERT_EQ(fstat(0, &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0666u);
    EXPECT_EQ(TryLock(&file), LockResult::taken);
    EXPECT_EQ(file.descriptor, 0);
    CloseLockFile(&file);
    EXPECT_TRUE(IsFree(0));

    errno = ENOENT;
    ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
    EXPECT_EQ(file.descriptor, 0);
    CloseLockFile(&file);
    unlink(file.path.c_str());
}

TEST_F(NoStandardInput, AFileOfALockThatIsNotThereIsOpenedOnce) {
    const std::string name = "zantir no input " + std::to_string(plat_counter());
    LockFile file = {};
    const long count_before = OpenDescriptors();
    ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
    EXPECT_EQ(OpenDescriptors(), count_before + 1);
    CloseLockFile(&file);
    errno = EACCES;
    ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
    EXPECT_EQ(OpenDescriptors(), count_before + 1);
    CloseLockFile(&file);
    EXPECT_EQ(file.descriptor, -1);
    EXPECT_EQ(OpenDescriptors(), count_before);
    unlink(file.path.c_str());
}

TEST_F(PtyPort, OpensAsDescriptorZeroToo) {
    ASSERT_TRUE(plat_port_close(port));
    const int kept = fcntl(0, F_DUPFD_CLOEXEC, 3);
    close(0);
    port = plat_port_open(path.c_str());
    const bool took_zero = fcntl(0, F_GETFD) >= 0;
    EXPECT_TRUE(plat_handle_valid(port));
    EXPECT_TRUE(took_zero);
    EXPECT_TRUE(plat_port_close(port));
    if (kept >= 0) {
        dup2(kept, 0);
        close(kept);
    }
}

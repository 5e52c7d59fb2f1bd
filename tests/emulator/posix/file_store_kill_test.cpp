/*
 * The program ends, or the disk fails, at every single step of replacing a file. The linker leads the steps
 * through this test, which lets each of them go wrong in turn.
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <set>

#include "../device_fixture.h"
#include "file_store.h"
#include "state.h"

namespace {

enum class Trouble { None, KilledBefore, KilledAfter, Fails };

struct {
    Trouble trouble = Trouble::None;
    int at = 0;    // the step that meets it, from 1
    int step = 0;  // steps taken so far
} plan;

bool Meets(Trouble trouble) {
    return plan.trouble == trouble && plan.step == plan.at;
}

// Takes a step that returns a number below 0 when it fails.
template <typename Step>
auto Take(Step step) -> decltype(step()) {
    if (plan.trouble == Trouble::None) return step();
    ++plan.step;
    if (Meets(Trouble::KilledBefore)) raise(SIGKILL);
    if (Meets(Trouble::Fails)) {
        errno = ENOSPC;
        return -1;
    }
    const auto result = step();
    if (Meets(Trouble::KilledAfter)) raise(SIGKILL);
    return result;
}

}  // namespace

// The names are the linker's.
extern "C" {
int __real_open(const char* path, int flags, ...);
ssize_t __real_write(int descriptor, const void* bytes, size_t size);
int __real_fsync(int descriptor);
int __real_close(int descriptor);
int __real_rename(const char* from, const char* to);

int __wrap_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(rest, unsigned) : 0;
    va_end(rest);
    return Take([&] { return __real_open(path, flags, mode); });
}

ssize_t __wrap_write(int descriptor, const void* bytes, size_t size);
ssize_t __wrap_write(int descriptor, const void* bytes, size_t size) {
    // Never more than a part at once, so that a file can be half written.
    const size_t part = plan.trouble == Trouble::None ? size : std::min<size_t>(size, 1000);
    return Take([&] { return __real_write(descriptor, bytes, part); });
}

int __wrap_fsync(int descriptor);
int __wrap_fsync(int descriptor) {
    return Take([&] { return __real_fsync(descriptor); });
}

int __wrap_close(int descriptor);
int __wrap_close(int descriptor) {
    return Take([&] { return __real_close(descriptor); });
}

int __wrap_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to) {
    return Take([&] { return __real_rename(from, to); });
}
}

namespace emulator {

namespace {

struct FileStoreTest : testing::Test {
    std::string path = testing::TempDir() + "sat-kill-" + std::to_string(getpid()) + ".json";
    std::string error;
    Device device = NewDevice({}, 59);
    std::string before = StateText(device);
    std::string command = std::string("EnviarDadosVenda|000001|12345678|") + DEMO_SALE;

    void SetUp() override { ASSERT_EQ(SaveState(path, device), ""); }
    void TearDown() override {
        std::remove(path.c_str());
        std::remove(TemporaryName(path).c_str());
    }

    // A sale in a process of its own, which meets trouble at a step. Returns how the process ended.
    int SellWithTrouble(Trouble trouble, int at) {
        const pid_t child = fork();
        if (child == 0) {
            plan = {trouble, at, 0};
            const std::string reply = AnswerAndKeep(
                device, command, MORNING, [&](const Device& d) { return SaveState(path, d).empty(); });
            _exit(reply.substr(7, 5) == "06000" ? 0 : 1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return status;
    }

    // Receipts that a device knows about after a restart.
    int DocumentsAfterRestart() {
        Device restarted = NewDevice({}, 1);
        EXPECT_EQ(LoadOrCreateState(path, &restarted), "");
        return restarted.documents;
    }
};

}  // namespace

TEST_F(FileStoreTest, AKillAtAnyStepLeavesTheOldOrTheNewState) {
    for (const Trouble trouble : {Trouble::KilledBefore, Trouble::KilledAfter}) {
        std::set<int> seen;
        int deaths = 0;
        for (int at = 1;; ++at) {
            SetUp();
            const int status = SellWithTrouble(trouble, at);
            seen.insert(DocumentsAfterRestart());
            if (!WIFSIGNALED(status)) {
                EXPECT_EQ(WEXITSTATUS(status), 0);
                EXPECT_EQ(DocumentsAfterRestart(), 1);
                break;
            }
            EXPECT_EQ(WTERMSIG(status), SIGKILL);
            ++deaths;
        }
        // Opening, more than ten parts, bringing to the disk, closing, renaming, and three for the folder.
        EXPECT_GT(deaths, 15);
        EXPECT_EQ(seen, (std::set<int>{0, 1}));
    }
}

TEST_F(FileStoreTest, AStepThatFailsLeavesTheOldStateAndIsTold) {
    int failures = 0;
    for (int at = 1;; ++at) {
        SetUp();
        const int status = SellWithTrouble(Trouble::Fails, at);
        ASSERT_TRUE(WIFEXITED(status));
        if (WEXITSTATUS(status) == 0) break;
        ++failures;
        EXPECT_EQ(ReadWholeFile(path, &error), before) << "step " << at;
        EXPECT_NE(access(TemporaryName(path).c_str(), F_OK), 0) << "step " << at;
    }
    EXPECT_GT(failures, 12);
    EXPECT_EQ(DocumentsAfterRestart(), 1) << "only the folder's steps may fail unseen";
}

TEST_F(FileStoreTest, NobodyElseReadsTheState) {
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

}  // namespace emulator

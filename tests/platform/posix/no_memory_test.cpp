/*
 * No memory at any one moment of a call: it fails, says so, and keeps nothing.
 */
#include <malloc.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>

#include <cerrno>
#include <string>

#include "made_up_devices.h"
#include "platform/posix/last_error.h"
#include "process_mutex.h"
#include "processes.h"
#include "pty_port.h"
#include "removal_folder.h"
#include "system_calls.h"

/** Makes the first, the second, the third ... allocation of `action` fail, until it succeeds without a
 * failure. Gives how often it failed. */
template <class Action, class Check>
static int WithoutMemory(Action action, Check check) {
    for (int moment = 0; moment < 100; ++moment) {
        const long count_before = OpenDescriptors();
        SetLastErrno(0);
        FailNext(&system_calls.allocate, 1, 0, moment);
        const bool success = action();
        const uint32_t error = plat_last_error();
        const bool had_enough = system_calls.allocate.failures > 0;
        ResetSystemCalls();
        EXPECT_EQ(success, had_enough) << moment;
        if (success) return moment;
        EXPECT_EQ(error, static_cast<uint32_t>(ENOMEM)) << moment;
        EXPECT_EQ(OpenDescriptors(), count_before) << moment;
        check();
    }
    return -1;
}

TEST_F(PtyPort, WithoutMemoryStaysFreeForOthers) {
    ASSERT_TRUE(plat_port_close(port));
    const int failed = WithoutMemory(
        [this] {
            port = plat_port_open(path.c_str());
            return plat_handle_valid(port);
        },
        [this] {
            int exclusive = 1;
            EXPECT_EQ(ioctl(other, TIOCGEXCL, &exclusive), 0);
            EXPECT_EQ(exclusive, 0);
            EXPECT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
            EXPECT_EQ(flock(other, LOCK_UN), 0);
        });
    EXPECT_GT(failed, 0);
}

TEST_F(ProcessMutex, WithoutMemoryIsNotCreated) {
    plat_handle created = 1;
    const std::string another = name + std::string(100, 'y');
    const int failed = WithoutMemory(
        [&] {
            created = plat_mutex_create(another.c_str());
            return created != 0;
        },
        [&] { EXPECT_EQ(created, 0); });
    EXPECT_GT(failed, 0);
    LockFile file = {};
    ASSERT_TRUE(OpenLockFile(another.c_str(), &file));
    CloseLockFile(&file);
    unlink(file.path.c_str());
}

TEST_F(Devices, WithoutMemoryAreNoSet) {
    AddUsb("ttyUSB0", "1-1", 2, "a product text that is longer than a short one\n");
    AddUsb("ttyACM0", "1-2", 1, "a product text that is longer than a short one\n");
    const int failed = WithoutMemory(
        [this] {
            devices = OpenDevicesBelow("class", "events");
            return plat_handle_valid(devices);
        },
        [this] { EXPECT_EQ(devices, PLAT_INVALID_HANDLE); });
    EXPECT_GT(failed, 0);
}

struct NoMemory : Removal {
    void TearDown() override {
        ResetSystemCalls();
        Removal::TearDown();
    }
};

TEST_F(NoMemory, ASearchFails) {
    WriteText("a name of more than a few letters", "");
    char name[64] = "";
    plat_handle search = PLAT_INVALID_HANDLE;
    const int failed = WithoutMemory(
        [&] {
            search = plat_find_open("*", name, sizeof name);
            return search != PLAT_INVALID_HANDLE;
        },
        [] {});
    EXPECT_GT(failed, 0);
    plat_find_close(search);
}

TEST_F(NoMemory, NoMoreIsTakenThanWasAskedFor) {
    void* memory = plat_alloc(50000);
    EXPECT_LT(malloc_usable_size(memory), 60000u);
    plat_free(memory);
}

static size_t MemoryInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

TEST_F(NoMemory, NothingLargeIsKept) {
    constexpr size_t kLarge = 2000000;
    const std::string command = "del /S " + std::string(kLarge, 'x');
    const size_t used_before = MemoryInUse();
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(plat_shell(command.c_str()), 1);
        plat_free(plat_alloc(kLarge));
    }
    EXPECT_LT(MemoryInUse(), used_before + kLarge);
}

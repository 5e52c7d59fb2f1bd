/*
 * Threads that wait for a mutex: who wakes them, and what a fork in the middle of it leaves.
 */
#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

#include "child_process.h"
#include "platform/posix/last_error.h"
#include "process_mutex.h"
#include "processes.h"
#include "stopwatch.h"

// Longer than any test may take: who waits so long was not woken.
constexpr uint32_t kNotWokenMs = 4 * static_cast<uint32_t>(kGenerousMs);

/** A thread that waits for a mutex, and what came of it. */
struct Waiter {
    Waiter(plat_handle mutex, uint32_t milliseconds)
        : thread([this, mutex, milliseconds] {
              SetLastErrno(0);
              id = gettid();
              result = plat_mutex_wait(mutex, milliseconds);
              error = plat_last_error();
              if (result == PLAT_WAIT_ACQUIRED || result == PLAT_WAIT_ABANDONED) plat_mutex_release(mutex);
          }) {}

    void WaitUntilAsleep() const {
        while (id == 0 || !IsAsleep(id)) {
            std::this_thread::yield();
        }
    }

    std::atomic<pid_t> id{0};
    uint32_t result = 0xDEAD;
    uint32_t error = 0;
    std::thread thread;  // last: it uses the others
};

TEST_F(ProcessMutex, AWaiterIsWokenByARelease) {
    ASSERT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
    Waiter waiter(mutex, kNotWokenMs);
    waiter.WaitUntilAsleep();
    const Stopwatch watch;
    EXPECT_TRUE(plat_mutex_release(mutex));
    waiter.thread.join();
    EXPECT_EQ(waiter.result, PLAT_WAIT_ACQUIRED);
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
}

TEST_F(ProcessMutex, AWaiterIsWokenByAThreadThatAbandonsIt) {
    std::atomic<int> step{0};
    std::thread owner([&] {
        plat_mutex_wait(mutex, 0);
        step = 1;
        while (step != 2) {
            std::this_thread::yield();
        }
    });
    while (step != 1) {
        std::this_thread::yield();
    }
    Waiter waiter(mutex, kNotWokenMs);
    waiter.WaitUntilAsleep();
    const Stopwatch watch;
    step = 2;
    owner.join();
    waiter.thread.join();
    EXPECT_EQ(waiter.result, PLAT_WAIT_ABANDONED);
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
}

TEST_F(ProcessMutex, AWaiterIsWokenByOneWhoFailsToGetIt) {
    ChildProcess child = {};
    ASSERT_TRUE(StartMutexHolder(name.c_str(), &child));
    Waiter first(mutex, kNotWokenMs);
    first.WaitUntilAsleep();
    Waiter second(mutex, kNotWokenMs);
    second.WaitUntilAsleep();
    const Stopwatch watch;
    // Only the first looks at the other process's lock.
    FailNext(&system_calls.flock, 1, ENOLCK);
    first.thread.join();
    KillChild(&child);
    second.thread.join();
    EXPECT_EQ(first.result, PLAT_WAIT_FAILED);
    EXPECT_EQ(first.error, static_cast<uint32_t>(ENOLCK));
    EXPECT_EQ(second.result, PLAT_WAIT_ACQUIRED);
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
}

TEST_F(ProcessMutex, WaitingForAnotherProcessLeavesTheProcessorToOthers) {
    ChildProcess child = {};
    ASSERT_TRUE(StartMutexHolder(name.c_str(), &child));
    system_calls.flock.calls = 0;
    EXPECT_EQ(plat_mutex_wait(mutex, 60), PLAT_WAIT_TIMEOUT);
    EXPECT_GE(system_calls.flock.calls, 2);
    EXPECT_LE(system_calls.flock.calls, 40);
    KillChild(&child);
}

TEST_F(ProcessMutex, WhatAThreadAbandonsGoesToAnotherProcessToo) {
    std::thread([this] { plat_mutex_wait(mutex, 0); }).join();
    ChildProcess child = {};
    EXPECT_TRUE(StartMutexHolder(name.c_str(), &child));
    KillChild(&child);
}

TEST_F(ProcessMutex, AForkedChildKnowsNothingOfWhatAThreadAbandoned) {
    std::thread([this] { plat_mutex_wait(mutex, 0); }).join();
    EXPECT_EQ(InFork([this] { return static_cast<int>(plat_mutex_wait(mutex, 0)); }),
              static_cast<int>(PLAT_WAIT_ACQUIRED));
    EXPECT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ABANDONED);
    EXPECT_TRUE(plat_mutex_release(mutex));
}

TEST_F(ProcessMutex, AForkWhileAThreadWaitsLeavesTheChildNoWaiters) {
    ASSERT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
    Waiter waiter(mutex, kNotWokenMs);
    waiter.WaitUntilAsleep();
    const int result = InFork([this] {
        // Were the parent's waiter still counted, the child would wait for it for ever.
        alarm(10);
        const plat_handle own = plat_mutex_create((name + "own").c_str());
        for (int round = 0; round < 3; ++round) {
            if (plat_mutex_wait(own, 0) != PLAT_WAIT_ACQUIRED) return 1;
            Waiter child_waiter(own, kNotWokenMs);
            child_waiter.WaitUntilAsleep();
            if (!plat_mutex_release(own)) return 2;
            child_waiter.thread.join();
            if (child_waiter.result != PLAT_WAIT_ACQUIRED) return 3;
        }
        LockFile file = {};
        OpenLockFile((name + "own").c_str(), &file);
        unlink(file.path.c_str());
        return 0;
    });
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(plat_mutex_release(mutex));
    waiter.thread.join();
    EXPECT_EQ(waiter.result, PLAT_WAIT_ACQUIRED);
}

TEST_F(ProcessMutex, AForkWaitsForAThreadThatIsAtWork) {
    system_calls.hold_flock = true;
    system_calls.flock.calls = 0;
    Waiter worker(mutex, 0);
    while (system_calls.flock.calls == 0) {
        std::this_thread::yield();
    }
    std::atomic<pid_t> id{0};
    std::atomic<bool> forked{false};
    std::thread forker([&] {
        id = gettid();
        const pid_t child = fork();
        if (child == 0) _exit(0);
        forked = true;
        waitpid(child, nullptr, 0);
    });
    while (!forked && (id == 0 || !IsAsleep(id))) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(forked);
    system_calls.hold_flock = false;
    forker.join();
    worker.thread.join();
    EXPECT_EQ(worker.result, PLAT_WAIT_ACQUIRED);
}

TEST_F(ProcessMutex, MisuseSaysWhatIsWrong) {
    SetLastErrno(0);
    EXPECT_FALSE(plat_mutex_release(mutex));
    EXPECT_EQ(plat_last_error(), kErrorNotOwner);
    SetLastErrno(0);
    EXPECT_FALSE(plat_mutex_release(mutex + 1));
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EBADF));
    SetLastErrno(0);
    EXPECT_EQ(plat_mutex_wait(mutex + 1, 0), PLAT_WAIT_FAILED);
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EBADF));
}

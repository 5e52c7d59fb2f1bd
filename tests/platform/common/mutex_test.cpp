#include <atomic>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "child_process.h"
#include "platform/platform.h"
#include "stopwatch.h"

/** A name that no other run uses, with the characters that the engine's own name has. */
static std::string FreshName() {
    return "zantir test " + std::to_string(plat_system_time()) + std::to_string(plat_counter());
}

/** What a thread of its own is told when it waits, and gives the mutex back if it got it. */
static uint32_t WaitInThread(plat_handle mutex, uint32_t milliseconds) {
    uint32_t result = 0;
    std::thread([&] {
        result = plat_mutex_wait(mutex, milliseconds);
        if (result == PLAT_WAIT_ACQUIRED || result == PLAT_WAIT_ABANDONED) plat_mutex_release(mutex);
    }).join();
    return result;
}

TEST(Mutex, IsCreatedFree) {
    const plat_handle mutex = plat_mutex_create(FreshName().c_str());
    ASSERT_TRUE(plat_handle_valid(mutex));
    EXPECT_FALSE(plat_mutex_release(mutex));
    EXPECT_EQ(WaitInThread(mutex, 0), PLAT_WAIT_ACQUIRED);
}

TEST(Mutex, TheOwnerTakesItAgainAndReleasesItAsOften) {
    const plat_handle mutex = plat_mutex_create(FreshName().c_str());
    ASSERT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
    ASSERT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
    EXPECT_TRUE(plat_mutex_release(mutex));
    EXPECT_EQ(WaitInThread(mutex, 0), PLAT_WAIT_TIMEOUT);
    EXPECT_TRUE(plat_mutex_release(mutex));
    EXPECT_FALSE(plat_mutex_release(mutex));
    EXPECT_EQ(WaitInThread(mutex, 0), PLAT_WAIT_ACQUIRED);
}

TEST(Mutex, OtherThreadsWaitTheirTimeAndCannotReleaseIt) {
    const plat_handle mutex = plat_mutex_create(FreshName().c_str());
    ASSERT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
    const Stopwatch watch;
    EXPECT_EQ(WaitInThread(mutex, 60), PLAT_WAIT_TIMEOUT);
    EXPECT_GE(watch.Milliseconds(), 60);
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
    bool released = true;
    std::thread([&] { released = plat_mutex_release(mutex); }).join();
    EXPECT_FALSE(released);
    EXPECT_TRUE(plat_mutex_release(mutex));
}

TEST(Mutex, AWaitingThreadGetsItWhenItIsReleased) {
    const plat_handle mutex = plat_mutex_create(FreshName().c_str());
    const Stopwatch watch;
    // When the waiter is really asleep cannot be seen from here: in fifty rounds it is, and one that nobody
    // wakes sleeps for longer than all rounds may take.
    for (int round = 0; round < 50; ++round) {
        ASSERT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
        uint32_t result = PLAT_WAIT_FAILED;
        std::atomic<bool> begun = false;
        std::thread waiter([&] {
            begun = true;
            result = plat_mutex_wait(mutex, 20000);
            plat_mutex_release(mutex);
        });
        while (!begun)
            std::this_thread::yield();
        for (int turn = 0; turn < round; ++turn)
            std::this_thread::yield();
        EXPECT_TRUE(plat_mutex_release(mutex));
        waiter.join();
        EXPECT_EQ(result, PLAT_WAIT_ACQUIRED);
        ASSERT_LT(watch.Milliseconds(), kGenerousMs);
    }
}

TEST(Mutex, AThreadThatEndsAbandonsIt) {
    const plat_handle mutex = plat_mutex_create(FreshName().c_str());
    std::thread([&] {
        plat_mutex_wait(mutex, 0);
        plat_mutex_wait(mutex, 0);
    }).join();
    EXPECT_EQ(plat_mutex_wait(mutex, 1000), PLAT_WAIT_ABANDONED);
    EXPECT_TRUE(plat_mutex_release(mutex));
    EXPECT_FALSE(plat_mutex_release(mutex));
    EXPECT_EQ(WaitInThread(mutex, 0), PLAT_WAIT_ACQUIRED);
}

TEST(Mutex, AThreadThatWaitsGetsWhatAnotherAbandons) {
    const plat_handle mutex = plat_mutex_create(FreshName().c_str());
    std::thread owner;
    uint32_t taken = PLAT_WAIT_FAILED;
    owner = std::thread([&] {
        taken = plat_mutex_wait(mutex, 0);
        // Ends while the test's thread waits, or before: both must come out the same.
    });
    owner.join();
    ASSERT_EQ(taken, PLAT_WAIT_ACQUIRED);
    EXPECT_EQ(plat_mutex_wait(mutex, 20000), PLAT_WAIT_ABANDONED);
    EXPECT_TRUE(plat_mutex_release(mutex));
}

TEST(Mutex, TwoHandlesOfANameAreOneMutexAndTwoNamesAreTwo) {
    const std::string name = FreshName();
    const plat_handle one = plat_mutex_create(name.c_str());
    const plat_handle same = plat_mutex_create(name.c_str());
    const plat_handle other = plat_mutex_create((name + "_").c_str());
    ASSERT_EQ(plat_mutex_wait(one, 0), PLAT_WAIT_ACQUIRED);
    EXPECT_EQ(WaitInThread(same, 0), PLAT_WAIT_TIMEOUT);
    EXPECT_EQ(WaitInThread(other, 0), PLAT_WAIT_ACQUIRED);
    EXPECT_TRUE(plat_mutex_release(same));
    EXPECT_FALSE(plat_mutex_release(one));
}

TEST(Mutex, CreatingItAtEveryExchangeExhaustsNothing) {
    const std::string name = FreshName();
    for (int count = 0; count < 5000; ++count) {
        ASSERT_TRUE(plat_handle_valid(plat_mutex_create(name.c_str()))) << count;
    }
    EXPECT_EQ(WaitInThread(plat_mutex_create(name.c_str()), 0), PLAT_WAIT_ACQUIRED);
}

TEST(Mutex, AWaitOnWhatIsNoMutexFails) {
    EXPECT_EQ(plat_mutex_wait(0, 0), PLAT_WAIT_FAILED);
    EXPECT_FALSE(plat_mutex_release(0));
}

TEST(Mutex, OnlyOneThreadIsInsideAtATime) {
    const plat_handle mutex = plat_mutex_create(FreshName().c_str());
    int unguarded_count = 0;
    constexpr int kRounds = 200;
    const auto work = [&] {
        for (int round = 0; round < kRounds; ++round) {
            if (plat_mutex_wait(mutex, 60000) != PLAT_WAIT_ACQUIRED) return;
            ++unguarded_count;
            plat_mutex_release(mutex);
        }
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();
    EXPECT_EQ(unguarded_count, 2 * kRounds);
}

TEST(Mutex, AnotherProcessKeepsItUntilItIsKilled) {
    const std::string name = FreshName();
    const plat_handle mutex = plat_mutex_create(name.c_str());
    ChildProcess child = {};
    ASSERT_TRUE(StartMutexHolder(name.c_str(), &child));
    const Stopwatch watch;
    EXPECT_EQ(plat_mutex_wait(mutex, 80), PLAT_WAIT_TIMEOUT);
    EXPECT_GE(watch.Milliseconds(), 80);
    EXPECT_FALSE(plat_mutex_release(mutex));
    KillChild(&child);
    EXPECT_EQ(plat_mutex_wait(mutex, 20000), kResultAfterKill);
    EXPECT_TRUE(plat_mutex_release(mutex));
}

TEST(Mutex, AnotherProcessIsRefusedWhileItIsOwnedHere) {
    const std::string name = FreshName();
    const plat_handle mutex = plat_mutex_create(name.c_str());
    ASSERT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
    ChildProcess child = {};
    EXPECT_FALSE(StartMutexHolder(name.c_str(), &child));
    KillChild(&child);
    EXPECT_TRUE(plat_mutex_release(mutex));
    ASSERT_TRUE(StartMutexHolder(name.c_str(), &child));
    KillChild(&child);
}

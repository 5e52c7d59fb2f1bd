/*
 * The simulated machine itself: time, mutexes, memory, errors, text, present devices.
 */
#include "sim_platform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

namespace {

constexpr const char* kLock = "a lock";

class SimPlatform : public ::testing::Test {
  protected:
    void SetUp() override { world.Reset(); }
    sim::World& world = sim::world();
};

std::string Text(const plat_calendar& t) {
    char text[64];
    snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", t.year, t.month, t.day, t.hour,
             t.minute, t.second, t.millisecond);
    return text;
}
std::string Utc() {
    plat_calendar now;
    plat_utc_now(&now);
    return Text(now);
}
std::string Local() {
    plat_calendar now;
    plat_local_now(&now);
    return Text(now);
}

// ------------------------------------------------------------------------------------------------------ time

TEST_F(SimPlatform, TimeStandsStillUntilSomebodyWaits) {
    world.clock.SetUtc(2026, 11, 20, 13, 4, 5, 123);
    EXPECT_EQ(Utc(), "2026-11-20 13:04:05.123");
    EXPECT_EQ(Local(), "2026-11-20 10:04:05.123");
    plat_sleep_ms(900);
    EXPECT_EQ(Utc(), "2026-11-20 13:04:06.023");
    world.clock.Advance(60'000);
    EXPECT_EQ(Utc(), "2026-11-20 13:05:06.023");
    EXPECT_EQ(world.clock.SleptMs(), 900u);
    EXPECT_EQ(world.clock.Sleeps(), 1u);
}

TEST_F(SimPlatform, TheZoneMayCrossMidnightAndAYear) {
    world.clock.SetUtc(2027, 1, 1, 2, 59, 59, 999);
    EXPECT_EQ(Local(), "2026-12-31 23:59:59.999");
    world.clock.SetZone(330);
    EXPECT_EQ(Local(), "2027-01-01 08:29:59.999");
}

TEST_F(SimPlatform, LeapDaysAreInTheCalendar) {
    world.clock.SetUtc(2028, 2, 28, 23, 59, 59, 0);
    world.clock.Advance(1000);
    EXPECT_EQ(Utc(), "2028-02-29 00:00:00.000");
    world.clock.Advance(24 * 3600 * 1000);
    EXPECT_EQ(Utc(), "2028-03-01 00:00:00.000");
    world.clock.SetUtc(1900, 2, 28, 23, 59, 59, 0);
    world.clock.Advance(1000);
    EXPECT_EQ(Utc(), "1900-03-01 00:00:00.000");
}

TEST_F(SimPlatform, SystemTimeIsTheCalendarInUnitsOf100ns) {
    plat_calendar epoch{1970, 1, 1, 0, 0, 0, 0};
    EXPECT_EQ(plat_calendar_to_system_time(&epoch), 116'444'736'000'000'000);
    world.clock.SetUtc(2026, 11, 20, 13, 4, 5, 123);
    plat_calendar now;
    plat_utc_now(&now);
    EXPECT_EQ(plat_system_time(), plat_calendar_to_system_time(&now));
    world.clock.AdvanceUs(7);
    EXPECT_EQ(plat_system_time(), plat_calendar_to_system_time(&now) + 70);
}

TEST_F(SimPlatform, TheCounterFollowsTheSteadyClockOnly) {
    world.clock.SetCounterFrequency(3'000'000);
    EXPECT_EQ(plat_counter_frequency(), 3'000'000);
    const int64_t before = plat_counter();
    world.clock.SetUtc(1999, 1, 1, 0, 0, 0);
    EXPECT_EQ(plat_counter(), before);
    EXPECT_EQ(Utc(), "1999-01-01 00:00:00.000");
    plat_sleep_ms(1500);
    EXPECT_EQ(plat_counter(), before + 4'500'000);
    world.clock.SetCounterFrequency(0);
    EXPECT_EQ(plat_counter_frequency(), 0);
}

TEST_F(SimPlatform, TheCounterSurvivesYears) {
    const int64_t before = plat_counter();
    for (int year = 0; year < 300; ++year)
        world.clock.Advance(int64_t{365} * 86'400'000);
    EXPECT_EQ(plat_counter() - before, int64_t{300} * 365 * 86'400 * 10'000'000);
}

TEST_F(SimPlatform, TheSleepHookRunsAfterTheSleepAndMayThrow) {
    int64_t seen_us = -1;
    world.clock.on_sleep = [&](uint32_t milliseconds) {
        seen_us = world.clock.NowUs();
        if (milliseconds == 5000) throw std::runtime_error("enough");
    };
    plat_sleep_ms(2);
    EXPECT_EQ(seen_us, 2000);
    EXPECT_THROW(plat_sleep_ms(5000), std::runtime_error);
    EXPECT_EQ(world.clock.NowUs(), 5'002'000);
}

TEST_F(SimPlatform, TimersRunInOrderAtTheirMoments) {
    std::string order;
    world.clock.After(2000, [&] { order += "b" + std::to_string(world.clock.NowUs()) + " "; });
    world.clock.After(1000, [&] { order += "a" + std::to_string(world.clock.NowUs()) + " "; });
    world.clock.After(2000, [&] { order += "c" + std::to_string(world.clock.NowUs()) + " "; });
    world.clock.After(9000, [&] { order += "never"; });
    plat_sleep_ms(5);
    EXPECT_EQ(order, "a1000 b2000 c2000 ");
}

TEST_F(SimPlatform, ResetMakesAFreshMachine) {
    world.clock.Advance(1000);
    world.files.SetText("x", "y");
    world.faults.FailAlways(sim::Call::MutexCreate);
    world.clock.on_sleep = [](uint32_t) { throw std::runtime_error("old hook"); };
    plat_print("text");
    world.Reset();
    EXPECT_EQ(world.clock.NowUs(), 0);
    EXPECT_EQ(Utc(), "2026-01-15 12:00:00.000");
    EXPECT_FALSE(world.files.Exists("x"));
    EXPECT_EQ(world.printed, "");
    plat_sleep_ms(1);
    EXPECT_NE(plat_mutex_create(kLock), 0);
}

// --------------------------------------------------------------------------------------------------- mutexes

TEST_F(SimPlatform, TheOwnerTakesAMutexAgainAndGivesItBackAsOften) {
    const plat_handle mutex = plat_mutex_create(kLock);
    EXPECT_TRUE(plat_handle_valid(mutex));
    EXPECT_EQ(world.mutexes.Owner(kLock), 0u);
    EXPECT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
    EXPECT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
    EXPECT_EQ(world.mutexes.Owner(kLock), 1u);
    EXPECT_EQ(world.mutexes.Depth(kLock), 2u);
    EXPECT_TRUE(plat_mutex_release(mutex));
    world.SetThread(1, 2);
    EXPECT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_TIMEOUT);
    EXPECT_FALSE(plat_mutex_release(mutex));
    world.SetThread(1, 1);
    EXPECT_TRUE(plat_mutex_release(mutex));
    EXPECT_FALSE(plat_mutex_release(mutex));
    world.SetThread(1, 2);
    EXPECT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
}

TEST_F(SimPlatform, EachCreateGivesANewHandleOfTheSameMutex) {
    const plat_handle first = plat_mutex_create(kLock);
    const plat_handle second = plat_mutex_create(kLock);
    const plat_handle other = plat_mutex_create("another");
    EXPECT_NE(first, second);
    EXPECT_EQ(plat_mutex_wait(first, 0), PLAT_WAIT_ACQUIRED);
    world.SetThread(2, 2);
    EXPECT_EQ(plat_mutex_wait(second, 0), PLAT_WAIT_TIMEOUT);
    EXPECT_EQ(plat_mutex_wait(other, 0), PLAT_WAIT_ACQUIRED);
    EXPECT_EQ(world.mutexes.HandlesCreated(), 3u);
    EXPECT_EQ(world.mutexes.Names(), (std::vector<std::string>{kLock, "another"}));
}

TEST_F(SimPlatform, AWaitEndsAtItsTimeoutOrWhenTheHolderLetsGo) {
    world.mutexes.Hold(kLock, 77);
    const plat_handle mutex = plat_mutex_create(kLock);
    EXPECT_EQ(plat_mutex_wait(mutex, 3000), PLAT_WAIT_TIMEOUT);
    EXPECT_EQ(world.clock.NowUs(), 3'000'000);

    world.mutexes.Hold(kLock, 77, world.clock.NowUs() + 1'200'000);
    EXPECT_EQ(world.mutexes.Owner(kLock), 77u);
    EXPECT_EQ(plat_mutex_wait(mutex, 3000), PLAT_WAIT_ACQUIRED);
    EXPECT_EQ(world.clock.NowUs(), 4'200'000);
}

TEST_F(SimPlatform, ATimerMayFreeTheMutexDuringTheWait) {
    world.mutexes.Hold(kLock, 77);
    const plat_handle mutex = plat_mutex_create(kLock);
    world.clock.After(500'000, [&] { world.mutexes.Release(kLock); });
    EXPECT_EQ(plat_mutex_wait(mutex, 3000), PLAT_WAIT_ACQUIRED);
    EXPECT_EQ(world.clock.NowUs(), 500'000);
}

TEST_F(SimPlatform, AMutexWhoseOwnerEndedIsAbandonedOnce) {
    const plat_handle mutex = plat_mutex_create(kLock);
    world.mutexes.Hold(kLock, 77, 1000, sim::HoldEnd::Abandoned);
    EXPECT_EQ(plat_mutex_wait(mutex, 3000), PLAT_WAIT_ABANDONED);
    EXPECT_EQ(plat_mutex_wait(mutex, 3000), PLAT_WAIT_ACQUIRED);
    world.EndThread(1);
    world.SetThread(2, 5);
    EXPECT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ABANDONED);
    world.EndProcess(2);
    world.SetThread(3, 6);
    EXPECT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ABANDONED);
    EXPECT_TRUE(plat_mutex_release(mutex));
    EXPECT_EQ(plat_mutex_wait(mutex, 0), PLAT_WAIT_ACQUIRED);
}

TEST_F(SimPlatform, WaitingForEverIsReportedInsteadOfHanging) {
    world.mutexes.Hold(kLock, 77);
    const plat_handle mutex = plat_mutex_create(kLock);
    EXPECT_THROW(plat_mutex_wait(mutex, 0xFFFFFFFF), sim::Stuck);
}

TEST_F(SimPlatform, AHandleOfAnotherKindIsNoMutex) {
    EXPECT_EQ(plat_mutex_wait(0, 0), PLAT_WAIT_FAILED);
    EXPECT_EQ(plat_mutex_wait(PLAT_INVALID_HANDLE, 0), PLAT_WAIT_FAILED);
    EXPECT_EQ(plat_mutex_wait(plat_devices_open("Ports"), 0), PLAT_WAIT_FAILED);
    EXPECT_EQ(plat_last_error(), 6u);
}

// -------------------------------------------------------------------------------------- memory, errors, text

TEST_F(SimPlatform, AllocationsAreZeroedAndCounted) {
    auto* memory = static_cast<unsigned char*>(plat_alloc(64));
    for (int i = 0; i < 64; ++i)
        EXPECT_EQ(memory[i], 0) << i;
    void* empty = plat_alloc(0);
    EXPECT_NE(empty, nullptr);
    EXPECT_EQ(world.LiveAllocations(), 2);
    plat_free(memory);
    plat_free(empty);
    plat_free(nullptr);
    EXPECT_EQ(world.LiveAllocations(), 0);
}

TEST_F(SimPlatform, EachThreadHasItsOwnLastError) {
    EXPECT_EQ(plat_port_open("\\\\?\\COM9"), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), 2u);
    world.SetThread(1, 2);
    EXPECT_EQ(plat_last_error(), 0u);
    world.SetThread(1, 1);
    EXPECT_EQ(plat_last_error(), 2u);
}

TEST_F(SimPlatform, AnErrorTextEndsInEightZeroBytes) {
    char* text = plat_error_text(5);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "Simulated error 5.\r\n");
    for (size_t i = 0; i < 8; ++i)
        EXPECT_EQ(text[strlen(text) + i], '\0') << i;
    EXPECT_EQ(world.LiveAllocations(), 1);
    plat_free(text);
    EXPECT_EQ(plat_error_text(0xE0000001), nullptr);
}

TEST_F(SimPlatform, TextRoutines) {
    char name[] = "com4 \xE7z{`";
    plat_upper(name);
    EXPECT_STREQ(name, "COM4 \xE7Z{`");

    char bytes[8];
    plat_wide_to_bytes(L"a\u00E9\u4E2Db", bytes, sizeof bytes);
    EXPECT_STREQ(bytes, "a\xE9 b");
    plat_wide_to_bytes(L"123456789", bytes, sizeof bytes);
    EXPECT_STREQ(bytes, "1234567");
    bytes[0] = 'x';
    plat_wide_to_bytes(L"1", bytes, 0);
    EXPECT_EQ(bytes[0], 'x');
}

// ------------------------------------------------------------------------------------------- present devices

TEST_F(SimPlatform, DevicesOfOneClassInTheirOrder) {
    world.devices.push_back({.port_name = "COM3", .friendly = "ZANTIR (COM3)"});
    world.devices.push_back({.class_name = "Mouse", .friendly = "A mouse"});
    world.devices.push_back({.port_name = "com12345678901234567"});
    world.devices.push_back({.has_key = false, .friendly = "no key"});
    EXPECT_EQ(plat_devices_open("Modem"), PLAT_INVALID_HANDLE);
    const plat_handle set = plat_devices_open("Ports");
    ASSERT_TRUE(plat_handle_valid(set));
    EXPECT_EQ(world.OpenDeviceSets(), 1u);

    char name[16] = "as it was";
    char friendly[32] = "";
    EXPECT_FALSE(plat_devices_port_name(set, name, sizeof name));  // nothing is selected yet
    ASSERT_TRUE(plat_devices_select(set, 0));
    EXPECT_TRUE(plat_devices_port_name(set, name, sizeof name));
    EXPECT_STREQ(name, "COM3");
    EXPECT_EQ(plat_devices_friendly_size(set), 14u);
    EXPECT_FALSE(plat_devices_friendly(set, friendly, 13));
    EXPECT_TRUE(plat_devices_friendly(set, friendly, 14));
    EXPECT_STREQ(friendly, "ZANTIR (COM3)");

    ASSERT_TRUE(plat_devices_select(set, 1));
    EXPECT_TRUE(plat_devices_port_name(set, name, sizeof name));
    EXPECT_STREQ(name, "COM3") << "a name that does not fit leaves the buffer alone";
    EXPECT_EQ(plat_devices_friendly_size(set), 0u);
    EXPECT_FALSE(plat_devices_friendly(set, friendly, sizeof friendly));

    ASSERT_TRUE(plat_devices_select(set, 2));
    EXPECT_FALSE(plat_devices_port_name(set, name, sizeof name));
    world.devices[3].friendly_read_fails = true;
    EXPECT_EQ(plat_devices_friendly_size(set), 7u);
    EXPECT_FALSE(plat_devices_friendly(set, friendly, sizeof friendly));

    EXPECT_FALSE(plat_devices_select(set, 3));
    EXPECT_TRUE(plat_devices_close(set));
    EXPECT_FALSE(plat_devices_close(set));
    EXPECT_EQ(world.OpenDeviceSets(), 0u);
}

TEST_F(SimPlatform, PrintIsCaptured) {
    plat_print("one ");
    plat_print("two");
    EXPECT_EQ(world.printed, "one two");
    world.keep_printed = false;
    plat_print("three");
    EXPECT_EQ(world.printed, "one two");
}

}  // namespace

/*
 * Failing calls, counters, traces, and processes that are killed.
 */
#include "sim_faults.h"

#include <gtest/gtest.h>

#include <string>

#include "sim_platform.h"

namespace {

using sim::Call;

class SimFaults : public ::testing::Test {
  protected:
    void SetUp() override { world.Reset(); }
    sim::World& world = sim::world();
    sim::Faults& faults = sim::world().faults;
};

bool FolderMade(const char* path) {
    return plat_create_folder(path);
}

TEST_F(SimFaults, CallsAreCountedByKindAndInAll) {
    plat_sleep_ms(1);
    plat_sleep_ms(1);
    plat_counter();
    EXPECT_EQ(faults.Count(Call::SleepMs), 2u);
    EXPECT_EQ(faults.Count(Call::Counter), 1u);
    EXPECT_EQ(faults.Total(), 3u);
}

TEST_F(SimFaults, TheNthCallOfAKindFails) {
    FolderMade("before");
    faults.FailNth(Call::CreateFolder, 2, 2);
    EXPECT_TRUE(FolderMade("a"));
    plat_counter();
    EXPECT_FALSE(FolderMade("b"));
    EXPECT_FALSE(FolderMade("b"));
    EXPECT_TRUE(FolderMade("b"));
    EXPECT_EQ(faults.Fired(), 2u);
    EXPECT_EQ(faults.LastFired(), "5 CreateFolder: error 5: refused");
    EXPECT_EQ(plat_last_error(), 5u);
}

TEST_F(SimFaults, EveryCallOfAKindFailsUntilCleared) {
    faults.FailAlways(Call::MutexWait, 2);
    const plat_handle mutex = plat_mutex_create("m");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(plat_mutex_wait(mutex, 5), PLAT_WAIT_FAILED);
    faults.Clear();
    EXPECT_EQ(plat_mutex_wait(mutex, 5), PLAT_WAIT_ACQUIRED);
}

TEST_F(SimFaults, TheKthCallOfAnyKindFails) {
    for (uint64_t k = 1; k <= 4; ++k) {
        world.Reset();
        faults.FailCallNumber(k);
        const plat_handle mutex = plat_mutex_create("m");
        void* memory = plat_alloc(1);
        plat_counter();
        const bool made = FolderMade("a");
        EXPECT_EQ(mutex == 0, k == 1);
        EXPECT_EQ(memory == nullptr, k == 2);
        EXPECT_EQ(made, k != 4);
        EXPECT_EQ(faults.Fired(), k == 3 ? 0u : 1u) << "the counter cannot fail";
        plat_free(memory);
    }
}

TEST_F(SimFaults, AWayThatACallDoesNotHaveLetsItThrough) {
    faults.FailCallNumber(1, 1);
    EXPECT_TRUE(FolderMade("a"));
    EXPECT_EQ(faults.Fired(), 0u);
}

TEST_F(SimFaults, EveryCallHasANameAndATextForEachWay) {
    size_t ways = 0;
    for (size_t i = 0; i < sim::kCallCount; ++i) {
        const Call call = static_cast<Call>(i);
        EXPECT_NE(std::string(sim::CallName(call)), "");
        for (int way = 0; way < sim::Ways(call); ++way) {
            EXPECT_NE(std::string(sim::WayText(call, way)), "") << sim::CallName(call);
            ++ways;
        }
        EXPECT_STREQ(sim::WayText(call, sim::Ways(call)), "");
    }
    EXPECT_STREQ(sim::CallName(Call::WideToBytes), "WideToBytes");
    EXPECT_GT(ways, sim::kCallCount / 2);
}

TEST_F(SimFaults, MutexWaysAreWhatTheySay) {
    const plat_handle mutex = plat_mutex_create("m");
    faults.FailNth(Call::MutexWait, 1, 1, 0);
    faults.FailNth(Call::MutexWait, 2, 1, 1);
    EXPECT_EQ(plat_mutex_wait(mutex, 3000), PLAT_WAIT_TIMEOUT);
    EXPECT_EQ(world.clock.NowUs(), 3'000'000);
    EXPECT_EQ(world.mutexes.Owner("m"), 0u);
    EXPECT_EQ(plat_mutex_wait(mutex, 3000), PLAT_WAIT_ABANDONED);
    EXPECT_EQ(world.mutexes.Owner("m"), 1u);
    faults.FailNth(Call::MutexRelease, 1);
    EXPECT_FALSE(plat_mutex_release(mutex));
    EXPECT_EQ(world.mutexes.Owner("m"), 1u);
}

TEST_F(SimFaults, PlainCallsFailAsTheirContractSays) {
    world.devices.push_back({.port_name = "COM3", .friendly = "f"});
    const plat_handle set = plat_devices_open("Ports");
    plat_devices_select(set, 0);
    char text[16] = "kept";
    plat_line_settings settings;
    plat_file_status status;
    for (const Call call :
         {Call::Alloc, Call::CounterFrequency, Call::ErrorText, Call::MutexCreate, Call::DevicesOpen,
          Call::DevicesSelect, Call::DevicesFriendlySize, Call::DevicesFriendly, Call::DevicesClose,
          Call::PortParseMode, Call::CommonDataFolder, Call::FindOpen, Call::AppendOpen, Call::Shell})
        faults.FailAlways(call);
    faults.FailAlways(Call::DevicesPortName, 1);
    EXPECT_EQ(plat_alloc(1), nullptr);
    EXPECT_EQ(world.LiveAllocations(), 0);
    EXPECT_EQ(plat_counter_frequency(), 0);
    EXPECT_EQ(plat_error_text(5), nullptr);
    EXPECT_EQ(plat_mutex_create("m"), 0);
    EXPECT_EQ(plat_devices_open("Ports"), PLAT_INVALID_HANDLE);
    EXPECT_FALSE(plat_devices_select(set, 0));
    EXPECT_EQ(plat_devices_friendly_size(set), 0u);
    EXPECT_FALSE(plat_devices_friendly(set, text, sizeof text));
    EXPECT_TRUE(plat_devices_port_name(set, text, sizeof text));
    EXPECT_STREQ(text, "kept");
    EXPECT_FALSE(plat_devices_close(set));
    EXPECT_EQ(world.OpenDeviceSets(), 0u);
    EXPECT_FALSE(plat_port_parse_mode("115200,n,8,1", &settings));
    EXPECT_FALSE(plat_common_data_folder(text, sizeof text));
    EXPECT_EQ(plat_find_open("*", text, sizeof text), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_append_open("a"), -1);
    world.files.MakeFolder("Log");
    EXPECT_EQ(plat_shell("rmdir /S /Q Log"), 1);
    EXPECT_TRUE(plat_file_query("Log", &status));
    EXPECT_EQ(world.files.commands.size(), 1u);
}

TEST_F(SimFaults, TheTraceShowsCallsWithTheirArguments) {
    faults.TraceOn();
    plat_sleep_ms(7);
    FolderMade("Log");
    plat_counter();
    EXPECT_EQ(faults.trace, (std::vector<std::string>{"SleepMs 7", "CreateFolder Log", "Counter"}));
    faults.trace.clear();
    faults.TraceOn({Call::SleepMs});
    plat_counter();
    plat_sleep_ms(8);
    faults.TraceOff();
    plat_sleep_ms(9);
    EXPECT_EQ(faults.trace, std::vector<std::string>{"SleepMs 8"});
}

TEST_F(SimFaults, AnEndlessLoopIsStoppedAtTheLimit) {
    faults.LimitCalls(3);
    for (int i = 0; i < 3; ++i)
        plat_counter();
    EXPECT_THROW(plat_counter(), sim::TooManyCalls);
    faults.Clear();
    plat_counter();
}

TEST_F(SimFaults, AKilledProcessLeavesItsMutexAbandonedAndNothingOpen) {
    sim::Line& line = world.ports.Add("\\\\?\\COM7", nullptr);
    const plat_handle mutex = plat_mutex_create("m");
    plat_mutex_wait(mutex, 0);
    plat_port_open("\\\\?\\COM7");
    plat_devices_open("Ports");
    plat_append_open("log");
    plat_file* file = plat_file_open("f", "w");
    plat_file_write(file, "lost", 4);
    faults.KillAtCall(2);
    plat_counter();
    EXPECT_THROW(plat_sleep_ms(1000), sim::Killed);
    EXPECT_EQ(world.clock.NowUs(), 0) << "the call it died in did nothing";

    EXPECT_FALSE(line.IsOpen());
    EXPECT_EQ(world.OpenDeviceSets(), 0u);
    EXPECT_EQ(world.files.OpenAppends() + world.files.OpenFiles(), 0u);
    EXPECT_EQ(world.files.Text("f"), "");
    world.SetThread(2, 2);
    EXPECT_EQ(plat_mutex_wait(plat_mutex_create("m"), 0), PLAT_WAIT_ABANDONED);
}

}  // namespace

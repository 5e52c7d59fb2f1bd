#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "sim_platform.h"

using testing::ElementsAre;

namespace {

/** Notes what it is told, a line a call. */
class Notes : public sim::Observer {
  public:
    void OnCall(sim::Call call, int64_t argument, int64_t result) override {
        Note(sim::CallName(call), argument, result);
    }
    void OnOpen(const char* path, plat_handle port) override {
        Note(path, 0, plat_handle_valid(port) ? 1 : 0);
    }
    void OnRead(const uint8_t*, uint32_t size, uint32_t read) override { Note("read", size, read); }
    void OnWrite(const uint8_t*, uint32_t size, uint32_t written) override { Note("write", size, written); }
    void OnFault(sim::Call call, int way) override { Note(sim::CallName(call), -1, way); }

    std::vector<std::string> lines;

  private:
    void Note(const std::string& what, int64_t argument, int64_t result) {
        lines.push_back(what + " " + std::to_string(argument) + " " + std::to_string(result));
    }
};

/** Lets time pass by itself, and notes who would have waited. */
class OneTurn : public sim::Turns {
  public:
    void WaitUntil(int64_t at_us, bool wakes) override {
        waits.push_back(at_us);
        waking_waits += wakes ? 1 : 0;
        sim::world().clock.RunTo(at_us);
        if (when_waiting) when_waiting();
    }
    void Wake() override { ++wake_count; }

    std::vector<int64_t> waits;
    int waking_waits = 0;
    int wake_count = 0;
    std::function<void()> when_waiting;
};

class SimObserver : public testing::Test {
  protected:
    void SetUp() override {
        sim::world().Reset();
        sim::world().observer = &notes;
    }
    void TearDown() override { sim::world().Reset(); }
    Notes notes;
};

}  // namespace

TEST_F(SimObserver, IsToldOfEachCallOfAnExchangeWithItsResult) {
    sim::ScriptedDevice device;
    device.ExpectBytes("AB").SendRaw("xyz");
    sim::world().ports.Add("\\\\?\\COM7", &device);
    const plat_handle mutex = plat_mutex_create("lock");
    plat_mutex_wait(mutex, 3000);
    const plat_handle port = plat_port_open("\\\\?\\COM7");
    plat_line_settings settings{};
    plat_port_parse_mode("115200,n,8,1", &settings);
    plat_port_apply(port, &settings);
    plat_port_set_queues(port, 16, 16);
    plat_port_raise(port, PLAT_SIGNAL_RTS);
    const plat_port_timeouts timeouts = {10, 1, 1, 1, 1000};
    plat_port_set_timeouts(port, &timeouts);
    plat_port_flush(port);
    plat_port_write(port, "AB", 2);
    char buffer[4];
    plat_port_read(port, buffer, 4);
    plat_sleep_ms(5);
    notes.lines.erase(notes.lines.begin());  // the handle in it is any number
    plat_mutex_release(mutex);
    EXPECT_THAT(notes.lines,
                ElementsAre("MutexWait 3000 0", "\\\\?\\COM7 0 1", "PortParseMode 0 1", "PortApply 0 1",
                            "PortSetQueues 0 1", "PortRaise 1 1", "PortSetTimeouts 0 1", "PortFlush 0 1",
                            "write 2 2", "read 4 3", "SleepMs 5 0", "MutexRelease 0 1"));
    notes.lines.clear();
    plat_port_close(port);
    EXPECT_THAT(notes.lines, ElementsAre("PortClose " + std::to_string(port) + " 1"));
}

TEST_F(SimObserver, IsToldOfAFailureBeforeTheCallFails) {
    sim::world().faults.FailNth(sim::Call::MutexCreate, 1);
    plat_mutex_create("lock");
    EXPECT_THAT(notes.lines, ElementsAre("MutexCreate -1 0", "MutexCreate 0 0"));
}

TEST_F(SimObserver, IsToldOfTheCallAtWhichAProcessEnds) {
    sim::world().faults.KillAtCall(1);
    EXPECT_THROW(plat_sleep_ms(1), sim::Killed);
    EXPECT_THAT(notes.lines, ElementsAre("SleepMs -1 -1"));
}

TEST(SimTurns, EveryWaitGoesThroughThem) {
    sim::world().Reset();
    OneTurn turns;
    sim::world().clock.turns = &turns;
    plat_sleep_ms(3);
    EXPECT_THAT(turns.waits, ElementsAre(3000));
    EXPECT_EQ(turns.waking_waits, 0);
    EXPECT_EQ(sim::world().clock.NowUs(), 3000);
    sim::world().Reset();
    EXPECT_EQ(sim::world().clock.turns, nullptr);
}

TEST(SimTurns, AReleasedMutexWakesWhoeverWaitsForIt) {
    sim::world().Reset();
    OneTurn turns;
    sim::world().clock.turns = &turns;
    sim::world().SetThread(2, 2);
    const plat_handle mutex = plat_mutex_create("lock");
    EXPECT_EQ(plat_mutex_wait(mutex, 10), PLAT_WAIT_ACQUIRED);
    sim::world().SetThread(1, 1);
    turns.when_waiting = [mutex] {
        sim::world().SetThread(2, 2);
        plat_mutex_release(mutex);
        sim::world().SetThread(1, 1);
    };
    EXPECT_EQ(plat_mutex_wait(mutex, 3000), PLAT_WAIT_ACQUIRED);
    EXPECT_EQ(turns.waking_waits, 1);
    EXPECT_EQ(turns.wake_count, 1);
    sim::world().Reset();
}

TEST(SimPorts, OpenPortsAreCountedByProcess) {
    sim::world().Reset();
    sim::world().ports.Add("\\\\?\\COM7", nullptr);
    sim::world().ports.Add("\\\\?\\COM8", nullptr);
    plat_port_open("\\\\?\\COM7");
    sim::world().SetThread(2, 2);
    plat_port_open("\\\\?\\COM8");
    EXPECT_EQ(sim::world().ports.OpenCountOf(1), 1U);
    EXPECT_EQ(sim::world().ports.OpenCountOf(2), 1U);
    sim::world().ports.Unplug("\\\\?\\COM8");
    EXPECT_EQ(sim::world().ports.OpenCountOf(2), 1U) << "the handle is still there";
    EXPECT_EQ(sim::world().ports.OpenCountOf(3), 0U);
    sim::world().Reset();
}

/*
 * Serial ports of the simulated machine: opening, settings, time-outs, unplugging.
 */
#include "sim_serial.h"

#include <gtest/gtest.h>

#include <string>

#include "sim_platform.h"

namespace {

using sim::Call;

constexpr const char* kPath = "\\\\?\\COM7";
constexpr uint32_t kMax = 0xFFFFFFFF;

/** Remembers what it hears and says nothing by itself. */
class Ear : public sim::Device {
  public:
    void OnBytes(sim::Line&, const uint8_t* bytes, size_t size) override {
        heard.append(reinterpret_cast<const char*>(bytes), size);
    }
    void OnOpen(sim::Line&) override { heard += "<"; }
    void OnClose(sim::Line&) override { heard += ">"; }
    std::string heard;
};

class SimSerial : public ::testing::Test {
  protected:
    void SetUp() override {
        world.Reset();
        line = &world.ports.Add(kPath, &ear);
    }
    plat_handle Open(const plat_port_timeouts& timeouts) {
        const plat_handle port = plat_port_open(kPath);
        EXPECT_TRUE(plat_port_set_timeouts(port, &timeouts));
        return port;
    }
    /** Reads and tells what came, and how many microseconds that took. */
    std::string Read(plat_handle port, uint32_t size) {
        const int64_t start_us = world.clock.NowUs();
        std::string bytes(size, '?');
        bytes.resize(plat_port_read(port, bytes.data(), size));
        return bytes + " " + std::to_string(world.clock.NowUs() - start_us);
    }
    uint32_t Write(plat_handle port, const std::string& bytes) {
        return plat_port_write(port, bytes.data(), static_cast<uint32_t>(bytes.size()));
    }

    sim::World& world = sim::world();
    Ear ear;
    sim::Line* line = nullptr;
};

// The library's own values: 10 ms between bytes, 1 ms a byte and 1 ms in all, 1 ms a byte and 1 s for writes.
constexpr plat_port_timeouts kUsual{10, 1, 1, 1, 1000};

// ------------------------------------------------------------------------------------- opening and settings

TEST_F(SimSerial, APortBelongsToOneAtATime) {
    const plat_handle port = plat_port_open(kPath);
    ASSERT_TRUE(plat_handle_valid(port));
    EXPECT_EQ(world.ports.OpenCount(), 1u);
    EXPECT_EQ(plat_port_open(kPath), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), 5u);
    EXPECT_TRUE(plat_port_close(port));
    EXPECT_FALSE(plat_port_close(port));
    EXPECT_EQ(world.ports.OpenCount(), 0u);
    const plat_handle again = plat_port_open(kPath);
    EXPECT_TRUE(plat_handle_valid(again));
    EXPECT_NE(again, port);
    EXPECT_EQ(plat_port_open("\\\\?\\COM8"), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), 2u);
    EXPECT_EQ(line->Record().opens, 2u);
    EXPECT_EQ(line->Record().refused_opens, 1u);
    EXPECT_EQ(ear.heard, "<><");
}

TEST_F(SimSerial, AnotherProgramMayHoldThePort) {
    world.ports.Hold(kPath, 10'000'000);
    EXPECT_EQ(plat_port_open(kPath), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), 5u);
    plat_sleep_ms(10'000);
    EXPECT_TRUE(plat_port_close(plat_port_open(kPath)));
    world.ports.Hold(kPath);
    plat_sleep_ms(1'000'000);
    EXPECT_EQ(plat_port_open(kPath), PLAT_INVALID_HANDLE);
    world.ports.Hold(kPath, 0);
    EXPECT_NE(plat_port_open(kPath), PLAT_INVALID_HANDLE);
}

TEST_F(SimSerial, SettingsAreRecorded) {
    const plat_handle port = Open(kUsual);
    plat_line_settings settings;
    ASSERT_TRUE(plat_port_parse_mode("9600,e,7,2", &settings));
    EXPECT_EQ(settings.baud_rate, 9600u);
    EXPECT_EQ(settings.parity, 2);
    EXPECT_EQ(settings.data_bits, 7);
    EXPECT_EQ(settings.stop_bits, 2);
    EXPECT_TRUE(plat_port_apply(port, &settings));
    EXPECT_TRUE(plat_port_set_queues(port, 16384, 16385));
    EXPECT_TRUE(plat_port_raise(port, PLAT_SIGNAL_DTR));
    EXPECT_TRUE(plat_port_flush(port));
    const sim::LineRecord& record = line->Record();
    EXPECT_EQ(record.mode, "9600,e,7,2");
    EXPECT_EQ(record.settings.baud_rate, 9600u);
    EXPECT_EQ(record.input_queue, 16384u);
    EXPECT_EQ(record.output_queue, 16385u);
    EXPECT_TRUE(record.dtr);
    EXPECT_FALSE(record.rts);
    EXPECT_EQ(record.flushes, 1u);
    EXPECT_EQ(record.timeouts.read_interval, 10u);
    EXPECT_EQ(record.timeouts.write_total_constant, 1000u);
    EXPECT_TRUE(plat_port_raise(port, PLAT_SIGNAL_RTS));
    EXPECT_TRUE(record.rts);
}

TEST_F(SimSerial, ModesThatAreNotUnderstood) {
    plat_line_settings settings;
    EXPECT_TRUE(plat_port_parse_mode("115200,n,8,1", &settings));
    EXPECT_EQ(settings.stop_bits, 0);
    for (const char* mode : {"", "115200", "115200,n,8", "115200,n,8,1,x", "x,n,8,1", "115200,q,8,1",
                             "115200,n,9,1", "115200,n,8,3", "0,n,8,1", "99999999,n,8,1", "115200,,8,1"})
        EXPECT_FALSE(plat_port_parse_mode(mode, &settings)) << mode;
}

TEST_F(SimSerial, NothingWorksOnAClosedPort) {
    const plat_handle port = Open(kUsual);
    plat_line_settings settings;
    plat_port_parse_mode("115200,n,8,1", &settings);
    plat_port_close(port);
    EXPECT_FALSE(plat_port_apply(port, &settings));
    EXPECT_FALSE(plat_port_set_queues(port, 1, 1));
    EXPECT_FALSE(plat_port_set_timeouts(port, &kUsual));
    EXPECT_FALSE(plat_port_raise(port, PLAT_SIGNAL_RTS));
    EXPECT_FALSE(plat_port_flush(port));
    EXPECT_EQ(Write(port, "x"), 0u);
    EXPECT_EQ(Read(port, 1), " 1000") << "a failed read costs a little, so that a loop around it ends";
    EXPECT_EQ(plat_last_error(), 6u);
}

// ---------------------------------------------------------------------------------------------------- reads

TEST_F(SimSerial, AReadThatIsFilledReturnsAtOnce) {
    const plat_handle port = Open(kUsual);
    line->Send("abc");
    EXPECT_EQ(Read(port, 2), "ab 0");
    EXPECT_EQ(Read(port, 1), "c 0");
    EXPECT_EQ(line->Record().bytes_read, 3u);
}

TEST_F(SimSerial, ASilentLineCostsTheTotalTimeout) {
    const plat_handle port = Open(kUsual);
    EXPECT_EQ(Read(port, 1), " 2000");
    EXPECT_EQ(Read(port, 100), " 101000");
}

TEST_F(SimSerial, AGapLongerThanTheIntervalEndsTheRead) {
    const plat_handle port = Open(kUsual);
    line->SendAfter(5000, "a");
    line->SendAfter(15'000, "b");
    line->SendAfter(25'001, "c");
    // The byte at exactly the limit still belongs to it.
    EXPECT_EQ(Read(port, 100), "ab 25000");
    EXPECT_EQ(Read(port, 100), "c 10001");
}

TEST_F(SimSerial, BytesThatWaitStartTheIntervalWithTheRead) {
    const plat_handle port = Open(kUsual);
    line->Send("ab");
    plat_sleep_ms(50);
    EXPECT_EQ(Read(port, 100), "ab 10000");
}

TEST_F(SimSerial, TheTotalEndsAReadWhoseGapsAreShort) {
    const plat_handle port = Open(kUsual);
    for (int i = 1; i <= 10; ++i)
        line->SendAfter(i * 1500, "x");
    EXPECT_EQ(Read(port, 5), "xxxx 6000");
}

TEST_F(SimSerial, PacedBytesArriveOneByOne) {
    const plat_handle port = Open(kUsual);
    line->SetBaud(10'000);
    line->Send("abcd");
    line->Send("efgh");
    EXPECT_EQ(Read(port, 3), "abc 3000");
    EXPECT_EQ(Read(port, 2), "de 2000");
    EXPECT_EQ(line->Pending(), 3u);
    plat_sleep_ms(2);
    EXPECT_EQ(Read(port, 10), "fgh 11000");
}

TEST_F(SimSerial, ABlockAtFullSpeedTakesItsTime) {
    const plat_handle port = Open(kUsual);
    line->SetBaud(115'200);
    line->Send(std::string(16'384, 'x'));
    const std::string read = Read(port, 16'384);
    EXPECT_EQ(read.substr(16'384), " 1422222");
}

TEST_F(SimSerial, WithoutTotalsTheFirstByteMayTakeForEver) {
    const plat_handle port = Open({10, 0, 0, 0, 0});
    line->SendAfter(3'600'000'000, "a");
    EXPECT_EQ(Read(port, 5), "a 3600010000");
    EXPECT_THROW(Read(port, 5), sim::Stuck);
}

TEST_F(SimSerial, WithoutIntervalOnlyTheTotalCounts) {
    const plat_handle port = Open({0, 0, 100, 0, 0});
    line->SendAfter(90'000, "a");
    line->SendAfter(101'000, "b");
    EXPECT_EQ(Read(port, 5), "a 100000");
    EXPECT_EQ(Read(port, 5), "b 100000");
}

TEST_F(SimSerial, AllBitsSetAsIntervalReturnsWhatIsThere) {
    const plat_handle port = Open({kMax, 0, 0, 0, 0});
    EXPECT_EQ(Read(port, 5), " 1000") << "returns at once; the cost keeps a polling loop from standing still";
    line->Send("ab");
    EXPECT_EQ(Read(port, 5), "ab 0");
}

TEST_F(SimSerial, AllBitsSetTwiceWaitsForOneByte) {
    const plat_handle port = Open({kMax, kMax, 50, 0, 0});
    line->Send("a");
    EXPECT_EQ(Read(port, 5), "a 0");
    line->SendAfter(30'000, "bc");
    line->SendAfter(40'000, "d");
    EXPECT_EQ(Read(port, 5), "bc 30000");
    EXPECT_EQ(Read(port, 5), "d 10000");
    EXPECT_EQ(Read(port, 5), " 50000");
}

TEST_F(SimSerial, ReadsFailInTheirWays) {
    const plat_handle port = Open(kUsual);
    line->Send("abcdef");
    for (int way = 0; way < 3; ++way)
        world.faults.FailNth(Call::PortRead, static_cast<uint64_t>(way) + 1, 1, way);
    EXPECT_EQ(Read(port, 3), " 1000");
    EXPECT_EQ(plat_last_error(), 31u);
    EXPECT_EQ(Read(port, 3), " 4000");
    EXPECT_EQ(Read(port, 3), "a 0");
    EXPECT_EQ(Read(port, 3), "bcd 0");
}

// --------------------------------------------------------------------------------------------------- writes

TEST_F(SimSerial, WritesReachTheDeviceAtOnce) {
    const plat_handle port = Open(kUsual);
    EXPECT_EQ(Write(port, "abc"), 3u);
    EXPECT_EQ(ear.heard, "<abc");
    EXPECT_EQ(world.clock.NowUs(), 0);
    EXPECT_EQ(line->Record().bytes_written, 3u);
}

TEST_F(SimSerial, AWriteThatIsNotTakenWholeCostsItsTimeout) {
    const plat_handle port = Open(kUsual);
    line->AcceptAtMost(2);
    EXPECT_EQ(Write(port, "abc"), 2u);
    EXPECT_EQ(world.clock.NowUs(), 1'003'000);
    EXPECT_EQ(Write(port, "de"), 2u);
    EXPECT_EQ(world.clock.NowUs(), 1'003'000);
    line->AcceptAtMost(0);
    EXPECT_EQ(Write(port, "f"), 0u);
    EXPECT_EQ(world.clock.NowUs(), 2'004'000);
    EXPECT_EQ(ear.heard, "<abde");
}

TEST_F(SimSerial, ALineMayStopAccepting) {
    const plat_handle port = Open(kUsual);
    line->StopAcceptingAfter(4);
    EXPECT_EQ(Write(port, "abc"), 3u);
    EXPECT_EQ(Write(port, "def"), 1u);
    EXPECT_EQ(Write(port, "ef"), 0u);
    line->StopAcceptingAfter(sim::Line::kAll);
    EXPECT_EQ(Write(port, "ef"), 2u);
    EXPECT_EQ(ear.heard, "<abcdef");
}

TEST_F(SimSerial, WritesFailInTheirWays) {
    const plat_handle port = Open(kUsual);
    for (int way = 0; way < 3; ++way)
        world.faults.FailNth(Call::PortWrite, static_cast<uint64_t>(way) + 1, 1, way);
    EXPECT_EQ(Write(port, "abcd"), 0u);
    EXPECT_EQ(world.clock.NowUs(), 1000);
    EXPECT_EQ(Write(port, "abcd"), 0u);
    EXPECT_EQ(world.clock.NowUs(), 1'005'000);
    EXPECT_EQ(Write(port, "abcd"), 2u);
    EXPECT_EQ(ear.heard, "<ab");
}

// ----------------------------------------------------------------------------------- coming, going, closing

TEST_F(SimSerial, AnUnpluggedPortIsGone) {
    const plat_handle port = Open(kUsual);
    line->Send("abc");
    world.ports.Unplug(kPath);
    EXPECT_EQ(Read(port, 3), " 1000");
    EXPECT_EQ(plat_last_error(), 22u);
    EXPECT_EQ(Write(port, "x"), 0u);
    EXPECT_FALSE(plat_port_flush(port));
    EXPECT_EQ(plat_port_open(kPath), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), 2u);
    EXPECT_EQ(world.ports.OpenCount(), 1u) << "the library still has its handle";
    EXPECT_TRUE(plat_port_close(port));
    EXPECT_EQ(world.ports.OpenCount(), 0u);
}

TEST_F(SimSerial, ItMayComeBackUnderAnotherName) {
    const plat_handle dead = Open(kUsual);
    world.ports.Unplug(kPath);
    world.ports.Replug(*line, "\\\\?\\COM9");
    EXPECT_EQ(world.ports.Find(kPath), nullptr);
    const plat_handle port = plat_port_open("\\\\?\\COM9");
    EXPECT_EQ(Write(dead, "x"), 0u);
    EXPECT_EQ(Write(port, "y"), 1u);
    EXPECT_EQ(ear.heard, "<><y");
}

TEST_F(SimSerial, UnpluggingEndsAReadUnderWay) {
    const plat_handle port = Open(kUsual);
    world.clock.After(3000, [this] { world.ports.Unplug(kPath); });
    line->Send("a");
    EXPECT_EQ(Read(port, 100), " 3000");
    EXPECT_EQ(plat_last_error(), 22u);
}

TEST_F(SimSerial, WhatArrivedBeforeTheOpeningIsLost) {
    line->Send("lost");
    line->SendAfter(5000, "late");
    const plat_handle port = Open(kUsual);
    EXPECT_EQ(Read(port, 4), "late 5000");
}

TEST_F(SimSerial, ADeviceMayThinkBetterOfIt) {
    const plat_handle port = Open(kUsual);
    line->SetBaud(10'000);
    line->Send("abcd");
    line->Send("efgh");
    plat_sleep_ms(2);
    line->DropUnsent();
    line->Send("X");
    EXPECT_EQ(Read(port, 3), "abX 1000");
    line->Send("abcd");
    line->DropPending();
    EXPECT_EQ(Read(port, 1), " 2000");
}

TEST_F(SimSerial, ClosingMayBeRefused) {
    plat_handle port = Open(kUsual);
    world.faults.FailNth(Call::PortClose, 1, 1, 0);
    world.faults.FailNth(Call::PortClose, 2, 1, 1);
    EXPECT_FALSE(plat_port_close(port));
    EXPECT_EQ(world.ports.OpenCount(), 0u);
    port = Open(kUsual);
    EXPECT_FALSE(plat_port_close(port));
    EXPECT_EQ(world.ports.OpenCount(), 1u);
    EXPECT_TRUE(plat_port_close(port));
}

TEST_F(SimSerial, OpeningFailsInItsWays) {
    for (int way = 0; way < 3; ++way)
        world.faults.FailNth(Call::PortOpen, static_cast<uint64_t>(way) + 1, 1, way);
    for (const uint32_t error : {2u, 5u, 31u}) {
        EXPECT_EQ(plat_port_open(kPath), PLAT_INVALID_HANDLE);
        EXPECT_EQ(plat_last_error(), error);
    }
    EXPECT_NE(plat_port_open(kPath), PLAT_INVALID_HANDLE);
}

}  // namespace

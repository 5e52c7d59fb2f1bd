/*
 * The devices at the far end: the scripted one and the honest one.
 */
#include "sim_devices.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "sim_platform.h"

namespace {

const std::string kAckText(1, sim::kAck);
const std::string kNakText(1, sim::kNak);

/** The computer's end of the line, byte by byte as a test wants it. */
class SimDevice : public ::testing::Test {
  protected:
    void SetUp() override { world.Reset(); }

    sim::Line& Connect(sim::Device& device) {
        line = &world.ports.Add("\\\\?\\COM7", &device);
        Reopen();
        return *line;
    }
    void Reopen() {
        if (line->IsOpen()) plat_port_close(port);
        port = plat_port_open("\\\\?\\COM7");
        constexpr plat_port_timeouts kTimeouts{10, 1, 1, 1, 1000};
        plat_port_set_timeouts(port, &kTimeouts);
    }
    void Write(const std::string& bytes) {
        ASSERT_EQ(plat_port_write(port, bytes.data(), static_cast<uint32_t>(bytes.size())), bytes.size());
    }
    /** Whatever can be read within a read's time-out. */
    std::string Read(size_t size = 64) {
        std::string bytes(size, '?');
        bytes.resize(plat_port_read(port, bytes.data(), static_cast<uint32_t>(size)));
        return bytes;
    }

    sim::World& world = sim::world();
    sim::Line* line = nullptr;
    plat_handle port = 0;
};

TEST_F(SimDevice, Frames) {
    EXPECT_EQ(sim::MakeFrame("AB"),
              "\x02"
              "AB\x83\x03");
    EXPECT_EQ(sim::FrameChecksum("\x01\x02"), 4) << "3 would read as the end of the frame";
    EXPECT_EQ(sim::FrameChecksum(std::string(256, 'x')), 0);
    EXPECT_EQ(sim::FrameChecksum(""), 0);
}

// ------------------------------------------------------------------------------------------- ScriptedDevice

TEST_F(SimDevice, AScriptAnswersStepByStep) {
    sim::ScriptedDevice device;
    device.ExpectFrame().Ack(1000).SendFrame("AB").ExpectFrame().Nak().SendRaw("junk");
    Connect(device);
    Write(sim::MakeFrame("command"));
    EXPECT_EQ(Read(1), kAckText);
    EXPECT_EQ(world.clock.NowUs(), 1000);
    EXPECT_EQ(Read(5), sim::MakeFrame("AB"));
    Write(kAckText);
    EXPECT_FALSE(device.Done());
    Write(sim::MakeFrame("two"));
    EXPECT_EQ(Read(), kNakText + "junk");
    EXPECT_TRUE(device.Done());
    EXPECT_EQ(device.frames, (std::vector<std::string>{sim::MakeFrame("command"), sim::MakeFrame("two")}));
    EXPECT_TRUE(device.errors.empty());
}

TEST_F(SimDevice, AScriptSendsBlocksAndGoesOnAfterNak) {
    const std::string first(20'000, 'a');
    sim::ScriptedDevice device;
    device.SendFrame(first).SendFrame("again");
    Connect(device);  // the first steps run as soon as somebody opens the port
    EXPECT_EQ(Read(20'000), sim::MakeFrame(first).substr(0, 16'384));
    Write(kAckText);
    EXPECT_EQ(Read(20'000), sim::MakeFrame(first).substr(16'384));
    Write("x");
    EXPECT_EQ(device.errors, std::vector<std::string>{"step 0: expected 06 or 15, got 78"});
    Write(kNakText);
    EXPECT_EQ(Read(), sim::MakeFrame("again"));
    Write(kAckText);
    EXPECT_TRUE(device.Done());
}

TEST_F(SimDevice, AScriptNotesWhatItDidNotExpect) {
    sim::ScriptedDevice device;
    int runs = 0;
    device.ExpectAck().Do([&](sim::Line&) { ++runs; }).Loop();
    Connect(device);
    Write(kNakText + kAckText);
    EXPECT_EQ(device.errors, std::vector<std::string>{"step 0: expected 06, got 15"});
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(device.received, kNakText + kAckText);
    sim::ScriptedDevice endless;
    EXPECT_THROW(endless.Ack().Loop(), std::logic_error);
}

TEST_F(SimDevice, AScriptTakesALongCommandInBlocks) {
    sim::ScriptedDevice device;
    device.ExpectFrame().Ack().ExpectFrame().Ack();
    Connect(device);
    const std::string frame = sim::MakeFrame(std::string(16'382, 'x'));  // 16385 bytes
    Write(frame.substr(0, 16'384));
    EXPECT_EQ(Read(1), kAckText);
    Write(frame.substr(16'384));
    EXPECT_EQ(Read(1), kAckText);
    EXPECT_EQ(device.frames[1], "\x03");
}

// --------------------------------------------------------------------------------------------- HonestDevice

class SimHonestDevice : public SimDevice {
  protected:
    void SetUp() override {
        SimDevice::SetUp();
        Connect(device);
    }
    /** Sends a command and takes the ACK; what follows is the reply. */
    void Command(const std::string& text) {
        Write(sim::MakeFrame(text));
        ASSERT_EQ(Read(1), kAckText);
    }

    std::string reply = "000042|08000|ok";
    sim::HonestDevice device{[this](const std::string&) { return reply; }};
};

TEST_F(SimHonestDevice, ACompleteExchange) {
    Command("ConsultarSAT|000042");
    EXPECT_EQ(device.last_command, "ConsultarSAT|000042");
    EXPECT_EQ(Read(), sim::MakeFrame(reply));
    Write(kAckText);
    EXPECT_EQ(device.commands_taken, 1u);
    EXPECT_EQ(device.replies_acknowledged, 1u);
    EXPECT_EQ(device.stray_bytes, 0u);
    Command("ConsultarSAT|000043");
    EXPECT_EQ(device.commands, (std::vector<std::string>{"ConsultarSAT|000042", "ConsultarSAT|000043"}));
}

TEST_F(SimHonestDevice, AWrongChecksumIsRefused) {
    Write(
        "\x02"
        "AB\x84\x03");
    EXPECT_EQ(Read(), kNakText);
    Write("\x02\x03");
    EXPECT_EQ(Read(), kNakText);
    EXPECT_EQ(device.commands_refused, 2u);
    EXPECT_EQ(device.commands_taken, 0u);
    Write("\x01\x06noise");
    EXPECT_EQ(Read(), "") << "without STX nothing begins";
    EXPECT_EQ(device.stray_bytes, 7u);
    Command("fine");
}

TEST_F(SimHonestDevice, ACommandOfSeveralBlocks) {
    for (const size_t length : {size_t{16'381}, size_t{16'382}, size_t{32'765}, size_t{40'000}}) {
        const std::string frame = sim::MakeFrame(std::string(length, 'c'));
        for (size_t at = 0; at < frame.size(); at += sim::kBlockSize) {
            Write(frame.substr(at, sim::kBlockSize));
            ASSERT_EQ(Read(1), kAckText) << length << " at " << at;
        }
        EXPECT_EQ(device.last_command.size(), length);
        EXPECT_EQ(Read(), sim::MakeFrame(reply)) << length;
        Write(kAckText);
    }
    EXPECT_EQ(device.acks_sent, 1u + 2u + 2u + 3u) << "a full last block gets one ACK, not two";
}

TEST_F(SimHonestDevice, AReplyOfSeveralBlocks) {
    for (const size_t length : {size_t{16'381}, size_t{16'382}, size_t{40'000}}) {
        reply.assign(length, 'r');
        const std::string frame = sim::MakeFrame(reply);
        Command("c");
        for (size_t at = 0; at < frame.size(); at += sim::kBlockSize) {
            ASSERT_EQ(Read(20'000), frame.substr(at, sim::kBlockSize)) << length << " at " << at;
            Write(kAckText);
        }
    }
    EXPECT_EQ(device.replies_acknowledged, 3u);
}

TEST_F(SimHonestDevice, NakBringsTheWholeReplyAgain) {
    reply.assign(20'000, 'r');
    const std::string frame = sim::MakeFrame(reply);
    device.faults.bad_checksum_times = 1;
    Command("c");
    EXPECT_EQ(Read(20'000), frame.substr(0, sim::kBlockSize));
    Write(kAckText);
    const std::string end = Read(20'000);
    EXPECT_NE(end, frame.substr(sim::kBlockSize));
    EXPECT_EQ(end.size(), frame.size() - sim::kBlockSize);
    Write(kNakText);
    EXPECT_EQ(Read(20'000), frame.substr(0, sim::kBlockSize));
    Write(kAckText);
    EXPECT_EQ(Read(20'000), frame.substr(sim::kBlockSize));
    Write(kAckText);
    EXPECT_EQ(device.frames_sent, 2u);
    EXPECT_EQ(device.naks_received, 1u);
    EXPECT_EQ(device.acks_received, 3u);
    EXPECT_EQ(device.replies_acknowledged, 1u);
}

TEST_F(SimHonestDevice, ASpoiledChecksumIsNeverTheEndOfTheFrame) {
    reply = "\x02";  // the checksum 2 would become 3
    device.faults.bad_checksum_times = 1;
    Command("c");
    EXPECT_EQ(Read(), "\x02\x02\x04\x03");
}

TEST_F(SimHonestDevice, FaultsOfTheReply) {
    const std::string frame = sim::MakeFrame(reply);
    device.faults.lose_first_byte_times = 1;
    device.faults.stall_times = 2;
    device.faults.stall_at = 5;
    device.faults.corrupt_times = 3;
    device.faults.corrupt_at = 1;
    Command("c");
    EXPECT_EQ(Read(),
              "\x10"
              "000");
    Write(kNakText);
    EXPECT_EQ(Read(),
              "\x02\x10"
              "000");
    Write(kNakText);
    const std::string corrupt = Read();
    EXPECT_EQ(corrupt, "\x02\x10" + frame.substr(2));
    device.faults.on_frame = [](std::string& whole, unsigned attempt) {
        whole = "frame " + std::to_string(attempt);
    };
    Write(kNakText);
    EXPECT_EQ(Read(), "frame 3");
    device.faults.on_frame = nullptr;
    Write(kNakText);
    EXPECT_EQ(Read(), frame);
}

TEST_F(SimHonestDevice, ALostByteShortensItsBlockOnly) {
    reply.assign(20'000, 'r');
    device.faults.lose_first_byte_times = 1;
    Command("c");
    const std::string frame = sim::MakeFrame(reply);
    EXPECT_EQ(Read(20'000), frame.substr(1, sim::kBlockSize - 1));
    Write(kAckText);
    EXPECT_EQ(Read(20'000), frame.substr(sim::kBlockSize));
}

TEST_F(SimHonestDevice, FaultsOfTheAck) {
    device.faults.junk_before_ack = "xy";
    device.faults.duplicate_ack = true;
    device.faults.ack_delay_us = 3000;
    Write(sim::MakeFrame("c"));
    EXPECT_EQ(Read(4), "xy" + kAckText + kAckText);
    EXPECT_EQ(world.clock.NowUs(), 3000);
    EXPECT_EQ(Read(), sim::MakeFrame(reply));
}

TEST_F(SimHonestDevice, ABlockMayBeRefused) {
    device.faults.nak_block = 1;
    const std::string frame = sim::MakeFrame(std::string(40'000, 'c'));
    Write(frame.substr(0, sim::kBlockSize));
    EXPECT_EQ(Read(1), kAckText);
    Write(frame.substr(sim::kBlockSize, sim::kBlockSize));
    EXPECT_EQ(Read(1), kNakText);
    EXPECT_EQ(device.naks_sent, 1u);
    device.faults.nak_block = 0;
    device.faults.nak_block_times = 1;
    Write(sim::MakeFrame("c"));
    EXPECT_EQ(Read(), kNakText);
    Command("c");
}

TEST_F(SimHonestDevice, Silence) {
    device.faults.silent = true;
    Write(sim::MakeFrame("c"));
    EXPECT_EQ(Read(), "");
    device.faults.silent = false;
    device.faults.silent_reply = true;
    Command("c");
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(device.frames_sent, 0u);
}

TEST_F(SimHonestDevice, DelaysAreInVirtualTime) {
    device.reply_delay_us = 40'000;
    device.resend_delay_us = 20'000;
    Command("c");
    EXPECT_EQ(Read(18), "") << "the read's 19 ms are over before";
    EXPECT_EQ(Read(), sim::MakeFrame(reply));
    Write(kNakText);
    EXPECT_EQ(Read(18), "");
    EXPECT_EQ(Read(18), sim::MakeFrame(reply));
    EXPECT_EQ(world.clock.NowUs(), 40'000 + 10'000 + 20'000);
}

TEST_F(SimHonestDevice, ANewCommandEndsTheReplyUnderWay) {
    device.reply_delay_us = 1000;
    Command("one");
    Write(sim::MakeFrame("two"));
    EXPECT_EQ(Read(1), kAckText) << "the first reply was not sent yet, and never is";
    EXPECT_EQ(Read(), sim::MakeFrame(reply));
    EXPECT_EQ(device.last_command, "two");
}

TEST_F(SimHonestDevice, OpeningThePortEndsTheReplyUnlessTheDeviceIsStubborn) {
    device.reply_delay_us = 1'000'000;
    Command("one");
    Reopen();
    plat_sleep_ms(1000);
    EXPECT_EQ(Read(), "");
    device.resets_on_open = false;
    Command("two");
    Reopen();
    plat_sleep_ms(1000);
    EXPECT_EQ(Read(), sim::MakeFrame(reply)) << "the late reply of the exchange before";
}

TEST_F(SimDevice, APauseComesBeforeItsByteAndTheRestFollows) {
    sim::HonestDevice device([](const std::string&) { return "reply"; });
    device.faults.pause_at = 3;
    device.faults.pause_us = 500'000;
    Connect(device);
    Write(sim::MakeFrame("AB"));
    const std::string frame = sim::MakeFrame("reply");
    EXPECT_EQ(Read(), kAckText + frame.substr(0, 3));
    plat_sleep_ms(400);
    EXPECT_EQ(Read(1), "");
    plat_sleep_ms(100);
    EXPECT_EQ(Read(), frame.substr(3));
}

}  // namespace

#include "paced_port.h"

#include <gmock/gmock.h>

#include "line.h"
#include "scripted_port.h"

namespace emulator {

namespace {

constexpr int64_t BAUD = 115200;

// How long so many bytes take, rounded up to a microsecond.
int64_t WireUs(size_t bytes) {
    return (static_cast<int64_t>(bytes) * 10000000 + BAUD - 1) / BAUD;
}

struct PacedPortTest : testing::Test {
    ScriptedPort* wire = new ScriptedPort;
    PacedPort port{std::unique_ptr<Port>(wire), BAUD};

    struct Portion {
        int64_t at_us;
        size_t end;  // how many bytes were out with it
    };
    std::vector<Portion> portions;

    void SetUp() override {
        wire->react = [this](const std::string&) {
            portions.push_back({wire->now_us, wire->written.size()});
        };
    }

    // Reads until so many bytes came; when each portion came.
    std::vector<Portion> Receive(size_t size) {
        std::vector<Portion> came;
        std::vector<char> buffer(BLOCK_SIZE);
        for (size_t done = 0; done < size;) {
            const int count = port.Read(buffer.data(), buffer.size(), 1000);
            if (count <= 0) {
                ADD_FAILURE() << "after " << done << " bytes: " << count;
                break;
            }
            received.append(buffer.data(), static_cast<size_t>(count));
            done += static_cast<size_t>(count);
            came.push_back({wire->now_us, done});
        }
        return came;
    }
    std::string received;

    // Nothing before its last bit can have arrived, nothing much later, and no gap that ends a caller's read.
    // Each run of bytes is rounded to a microsecond.
    static void ExpectPaced(const std::vector<Portion>& came, int64_t start_us, size_t size) {
        ASSERT_FALSE(came.empty());
        int64_t before = start_us;
        for (const Portion& portion : came) {
            ASSERT_GE(portion.at_us, start_us + WireUs(portion.end) - 2);
            ASSERT_LE(portion.at_us, start_us + WireUs(portion.end) + 1000);
            ASSERT_LT(portion.at_us - before, 10000);
            before = portion.at_us;
        }
        EXPECT_EQ(came.back().end, size);
        EXPECT_LE(came.back().at_us, start_us + WireUs(size) + 2);
    }
};

}  // namespace

TEST_F(PacedPortTest, WritesAtThePaceOfTheWireWithoutDrift) {
    wire->now_us = 5000;
    const std::string bytes(30000, 'x');
    ASSERT_TRUE(port.Write(bytes.data(), bytes.size(), 1000));
    EXPECT_TRUE(wire->written == bytes);
    ExpectPaced(portions, 5000, bytes.size());
}

TEST_F(PacedPortTest, TheLastPortionIsNoSmallerThanTheOthers) {
    // A caller waits as many milliseconds as it misses bytes.
    for (size_t size = 300; size < 400; ++size) {
        portions.clear();
        wire->written.clear();
        const std::string bytes(size, 'x');
        ASSERT_TRUE(port.Write(bytes.data(), bytes.size(), 1000));
        ASSERT_GE(portions.size(), 3U);
        ASSERT_GE(size - portions[portions.size() - 2].end, 46U) << size;
    }
}

TEST_F(PacedPortTest, ASlowWireCarriesByteByByte) {
    auto* slow_wire = new ScriptedPort;
    PacedPort slow{std::unique_ptr<Port>(slow_wire), 300};
    std::vector<int64_t> moments;
    slow_wire->react = [&](const std::string&) { moments.push_back(slow_wire->now_us); };
    ASSERT_TRUE(slow.Write("abcd", 4, 1000));
    EXPECT_THAT(moments, testing::ElementsAre(33334, 66667, 100000, 133334));
}

TEST_F(PacedPortTest, AWriteWaitsForTheOneBeforeIt) {
    ASSERT_TRUE(port.Write("abc", 3, 1000));
    ASSERT_TRUE(port.Write("d", 1, 1000));
    EXPECT_EQ(portions.back().at_us, WireUs(3) + WireUs(1));
}

TEST_F(PacedPortTest, ALateWakeUpIsCaughtUp) {
    // Whatever the system's timer adds to each sleep, the last byte is no later than its own sleep.
    struct LatePort : ScriptedPort {
        bool SleepUntil(int64_t moment_us) override { return ScriptedPort::SleepUntil(moment_us + 3000); }
    };
    auto* late = new LatePort;
    PacedPort slow{std::unique_ptr<Port>(late), BAUD};
    const std::string bytes(30000, 'x');
    ASSERT_TRUE(slow.Write(bytes.data(), bytes.size(), 1000));
    EXPECT_GE(late->now_us, WireUs(bytes.size()));
    EXPECT_LE(late->now_us, WireUs(bytes.size()) + 3000);
}

TEST_F(PacedPortTest, ReadsOnlyWhatTheWireCanHaveCarried) {
    wire->now_us = 7000;
    wire->incoming = std::string(20000, 'y') + "z";
    ExpectPaced(Receive(20001), 7000, 20001);
    EXPECT_TRUE(received == std::string(20000, 'y') + "z");
}

TEST_F(PacedPortTest, BytesThatComeLaterTravelBehindThoseBefore) {
    wire->incoming = std::string(1000, 'a');
    char byte = 0;
    ASSERT_EQ(port.Read(&byte, 1, 1000), 1);
    wire->incoming = std::string(1000, 'b');
    ExpectPaced(Receive(1999), WireUs(1), 1999);
    EXPECT_NEAR(static_cast<double>(wire->now_us), static_cast<double>(WireUs(2000)), 2);
}

TEST_F(PacedPortTest, ASilentWireIsWaitedForNoLongerThanAsked) {
    char byte = 0;
    EXPECT_EQ(port.Read(&byte, 1, 20), 0);
    EXPECT_EQ(wire->now_us, 20000);
}

TEST_F(PacedPortTest, AByteThatTravelsLongerThanTheWaitIsNotLost) {
    auto* slow_wire = new ScriptedPort;
    PacedPort slow{std::unique_ptr<Port>(slow_wire), 300};
    slow_wire->incoming = "x";
    char byte = 0;
    EXPECT_EQ(slow.Read(&byte, 1, 20), 0);
    EXPECT_EQ(slow_wire->now_us, 20000);
    EXPECT_EQ(slow.Read(&byte, 1, 20), 1);
    EXPECT_EQ(slow_wire->now_us, 33334);
}

TEST_F(PacedPortTest, WhatCameBeforeThePortWentIsStillRead) {
    wire->incoming = "ab";
    char bytes[8] = {};
    ASSERT_EQ(port.Read(bytes, 1, 1000), 1);
    wire->gone = true;
    char rest = 0;
    int count = -1;
    // The scripted port refuses to sleep once it is gone: its clock is moved by hand.
    wire->now_us += WireUs(2);
    count = port.Read(&rest, 1, 1000);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(rest, 'b');
    EXPECT_EQ(port.Read(&rest, 1, 1000), -1);
}

TEST_F(PacedPortTest, ACallerThatDoesNotReadIsNotWaitedFor) {
    wire->refusing = true;
    EXPECT_FALSE(port.Write("abc", 3, 50));
}

TEST_F(PacedPortTest, TheRestIsTheWires) {
    EXPECT_EQ(port.Address(), "scripted");
    port.DropUnread();
    EXPECT_EQ(wire->dropped, 1);
    port.AwaitTaken(1000);
    EXPECT_EQ(wire->awaited, 1);
}

TEST_F(PacedPortTest, TheAckOfABlockLeavesBehindItsLastByte) {
    std::vector<int64_t> acknowledged;
    wire->react = [&](const std::string& bytes) {
        if (bytes == std::string(1, ACK)) acknowledged.push_back(wire->now_us);
        if (bytes.back() == ETX) wire->incoming += ACK;
    };
    Line line{.port = port, .settings = {}};
    const std::string frame = BuildFrame(std::string(20000 - 3, 'x'));
    wire->incoming = frame;
    const std::string reply(30000 - 3, 'y');
    bool second = false;
    const auto react = wire->react;
    wire->react = [&](const std::string& bytes) {
        react(bytes);
        // The caller acknowledges the first block of the reply, too.
        if (!second && wire->written.size() >= BLOCK_SIZE + 2) {
            second = true;
            wire->incoming += ACK;
        }
    };
    const Exchange exchange = ServeExchange(
        line, [&](const std::string&) { return reply; }, 1000);
    EXPECT_EQ(exchange.outcome, Outcome::Answered);
    ASSERT_EQ(acknowledged.size(), 2U);
    EXPECT_GE(acknowledged[0], WireUs(BLOCK_SIZE));
    EXPECT_GE(acknowledged[1], WireUs(20000));
    // Both directions, the acknowledgements included, and hardly more.
    EXPECT_GE(wire->now_us, WireUs(20000 + 30000));
    EXPECT_LE(wire->now_us, WireUs(20000 + 30000) * 101 / 100);
}

}  // namespace emulator

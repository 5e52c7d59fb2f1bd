#include "line.h"

#include "line_fixture.h"

namespace emulator {

namespace {

constexpr char ACKNOWLEDGED[] = "\x06";

}  // namespace

TEST_F(LineTest, OneExchange) {
    port.incoming = BuildFrame("ConsultarSAT|000001");
    const Exchange exchange = Serve();
    EXPECT_EQ(exchange.outcome, Outcome::Answered);
    EXPECT_EQ(exchange.command, "ConsultarSAT|000001");
    EXPECT_EQ(exchange.reply, reply);
    EXPECT_EQ(exchange.transmissions, 1);
    EXPECT_EQ(port.written, ACKNOWLEDGED + BuildFrame(reply));
    EXPECT_EQ(port.dropped, 1);
}

TEST_F(LineTest, NothingComes) {
    EXPECT_EQ(Serve().outcome, Outcome::Idle);
    EXPECT_EQ(port.NowMs(), 1000);
    EXPECT_EQ(port.written, "");
}

TEST_F(LineTest, NoiseInFrontOfTheFrameIsDropped) {
    port.incoming = std::string("\x06\x15\x03noise\0", 9) + BuildFrame("X");
    EXPECT_EQ(Serve().outcome, Outcome::Answered);
    EXPECT_EQ(commands, std::vector<std::string>{"X"});
}

TEST_F(LineTest, OneByteAtATime) {
    port.slice = 1;
    port.incoming = BuildFrame("ConsultarSAT|000001");
    EXPECT_EQ(Serve().outcome, Outcome::Answered);
}

TEST_F(LineTest, EveryBlockOfACommandIsAcknowledgedOnce) {
    const struct {
        size_t frame;
        size_t acknowledgements;
    } rows[] = {{16383, 1}, {16384, 1}, {16385, 2}, {32768, 2}, {32769, 3}, {1500000, 92}};
    for (const auto& row : rows) {
        port.written.clear();
        port.incoming = BuildFrame(std::string(row.frame - 3, 'x'));
        ASSERT_EQ(Serve().outcome, Outcome::Answered) << row.frame;
        EXPECT_EQ(port.written, std::string(row.acknowledgements, ACK) + BuildFrame(reply)) << row.frame;
    }
}

TEST_F(LineTest, EveryBlockOfAReplyWaitsForItsAcknowledgement) {
    const struct {
        size_t frame;
        std::vector<size_t> blocks;
    } rows[] = {{16383, {16383}},
                {16384, {16384}},
                {16385, {16384, 1}},
                {32768, {16384, 16384}},
                {32770, {16384, 16384, 2}}};
    for (const auto& row : rows) {
        // A block of one byte looks like an acknowledgement to the routine that reacts: it counts by itself
        // here.
        blocks.clear();
        port.react = [this](const std::string& block) {
            if (block == "\x06") return;
            blocks.push_back(block.size());
            port.incoming += ACK;
        };
        reply = std::string(row.frame - 3, 'y');
        port.incoming = BuildFrame("X");
        ASSERT_EQ(Serve().outcome, Outcome::Answered) << row.frame;
        EXPECT_EQ(blocks, row.blocks) << row.frame;
    }
}

TEST_F(LineTest, ABadChecksumIsRefusedAndTheNextCommandIsServed) {
    port.incoming =
        "\x02"
        "AB"
        "\x84\x03" +
        BuildFrame("X");
    const Exchange bad = Serve();
    EXPECT_EQ(bad.outcome, Outcome::BadChecksum);
    EXPECT_EQ(bad.reply, "");
    EXPECT_EQ(port.written, "\x15");
    EXPECT_TRUE(commands.empty());
    EXPECT_EQ(Serve().outcome, Outcome::Answered);
}

TEST_F(LineTest, AFrameWithoutAChecksumIsRefused) {
    port.incoming = "\x02\x03";
    EXPECT_EQ(Serve().outcome, Outcome::BadChecksum);
    EXPECT_EQ(port.written, "\x15");
}

TEST_F(LineTest, ChecksumsThatLookLikeControlBytes) {
    for (const char* text : {"\x01\x01", "\x01\x02", "\xff\x01", "\x05\x01"}) {
        port.incoming = BuildFrame(text);
        EXPECT_EQ(Serve().outcome, Outcome::Answered);
        EXPECT_EQ(commands.back(), text);
    }
}

TEST_F(LineTest, ACommandThatStopsIsForgotten) {
    port.incoming =
        "\x02"
        "Consul";
    EXPECT_EQ(Serve().outcome, Outcome::CommandStalled);
    EXPECT_EQ(port.NowMs(), line.settings.stall_ms);
    EXPECT_EQ(port.written, "");
    port.incoming = BuildFrame("X");
    EXPECT_EQ(Serve().outcome, Outcome::Answered);
}

TEST_F(LineTest, ACommandWithoutAnEndIsRefused) {
    line.settings.longest_command = 40000;
    port.incoming = STX + std::string(50000, 'x');
    EXPECT_EQ(Serve().outcome, Outcome::CommandTooLong);
    EXPECT_EQ(port.written, "\x06\x06\x15");
    EXPECT_EQ(Serve().outcome, Outcome::Idle);
}

TEST_F(LineTest, NakBringsTheWholeFrameAgain) {
    reply = std::string(20000, 'y');
    verdicts = "\x06\x15\x06\x06";
    port.incoming = BuildFrame("X");
    const Exchange exchange = Serve();
    EXPECT_EQ(exchange.outcome, Outcome::Answered);
    EXPECT_EQ(exchange.transmissions, 2);
    EXPECT_EQ(port.written, ACKNOWLEDGED + BuildFrame(reply) + BuildFrame(reply));
}

TEST_F(LineTest, ThreeTransmissionsAndNoMore) {
    verdicts = "\x15\x15\x15";
    port.incoming = BuildFrame("X");
    const Exchange exchange = Serve();
    EXPECT_EQ(exchange.outcome, Outcome::ReplyRefused);
    EXPECT_EQ(exchange.transmissions, 3);
    EXPECT_EQ(blocks.size(), 3U);
    EXPECT_EQ(commands.size(), 1U);
}

TEST_F(LineTest, NoAcknowledgement) {
    port.react = nullptr;
    port.incoming = BuildFrame("X");
    EXPECT_EQ(Serve().outcome, Outcome::ReplyUnanswered);
    EXPECT_EQ(port.NowMs(), line.settings.acknowledge_ms);
    port.react = [this](const std::string& block) {
        if (block.size() > 1) port.incoming += ACK;
    };
    port.incoming = BuildFrame("X");
    EXPECT_EQ(Serve().outcome, Outcome::Answered);
}

TEST_F(LineTest, OtherBytesDoNotCountAsAcknowledgement) {
    verdicts = "z";
    port.incoming = BuildFrame("X");
    EXPECT_EQ(Serve().outcome, Outcome::ReplyUnanswered);
}

TEST_F(LineTest, ANewCommandEndsTheWaitForAnAcknowledgement) {
    bool first = true;
    port.react = [&](const std::string& block) {
        if (block.size() == 1) return;
        port.incoming += first ? BuildFrame("second") : std::string(1, ACK);
        first = false;
    };
    port.incoming = BuildFrame("first");
    EXPECT_EQ(Serve().outcome, Outcome::Interrupted);
    EXPECT_EQ(Serve().outcome, Outcome::Answered);
    EXPECT_EQ(commands, (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(Serve().outcome, Outcome::Idle);
}

TEST_F(LineTest, ACallerThatDoesNotRead) {
    port.refusing = true;
    port.incoming = BuildFrame("X");
    EXPECT_EQ(Serve().outcome, Outcome::ReplyNotTaken);
}

TEST_F(LineTest, ALostPortIsTold) {
    port.gone = true;
    EXPECT_EQ(Serve().outcome, Outcome::PortGone);
    port.incoming =
        "\x02"
        "AB";
    EXPECT_EQ(Serve().outcome, Outcome::PortGone);
    port.react = nullptr;
    port.incoming = BuildFrame("X");
    EXPECT_EQ(Serve().outcome, Outcome::PortGone);
}

}  // namespace emulator

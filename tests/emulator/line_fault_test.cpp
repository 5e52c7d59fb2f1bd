// What each fault does to an exchange, byte by byte.
#include <gmock/gmock.h>

#include "line_fixture.h"

namespace emulator {

namespace {

const std::string COMMAND = "ConsultarSAT|000001";
const std::string A(1, ACK);
const std::string N(1, NAK);

struct LineFaultTest : LineTest {
    Exchange ServeWith(std::string_view faults, const std::string& command = COMMAND) {
        Faults parsed;
        std::string error;
        EXPECT_TRUE(ParseFaults(faults, &parsed, &error)) << error;
        AddFaults(plan, parsed);
        port.incoming = BuildFrame(command);
        port.written.clear();
        blocks.clear();
        return Serve();
    }

    // Every fault of one exchange acts in it and in no other.
    void ExpectNothingLeft() {
        verdicts.clear();
        port.incoming = BuildFrame(COMMAND);
        port.written.clear();
        const Exchange next = Serve();
        EXPECT_EQ(next.outcome, Outcome::Answered);
        EXPECT_EQ(port.written, A + BuildFrame(reply));
    }
};

std::string Frame(const std::string& text) {
    return BuildFrame(text);
}

}  // namespace

TEST_F(LineFaultTest, NoAck) {
    EXPECT_EQ(ServeWith("no-ack").outcome, Outcome::CommandIgnored);
    EXPECT_EQ(port.written, "");
    EXPECT_TRUE(commands.empty());
    ExpectNothingLeft();
}

TEST_F(LineFaultTest, NakOfABlock) {
    const std::string longer(3 * BLOCK_SIZE - 3, 'x');
    EXPECT_EQ(ServeWith("nak", longer).outcome, Outcome::CommandRefused);
    EXPECT_EQ(port.written, N);
    EXPECT_EQ(ServeWith("nak:block=2", longer).outcome, Outcome::CommandRefused);
    EXPECT_EQ(port.written, A + N);
    EXPECT_EQ(ServeWith("nak:block=3", longer).outcome, Outcome::CommandRefused);
    EXPECT_EQ(port.written, A + A + N);
    EXPECT_TRUE(commands.empty());
    EXPECT_EQ(ServeWith("nak:block=4", longer).outcome, Outcome::Answered);
    line.input.clear();
    line.next = 0;
    ExpectNothingLeft();
}

TEST_F(LineFaultTest, ANakAsOftenAsItWasAsked) {
    EXPECT_EQ(ServeWith("nak:times=2").outcome, Outcome::CommandRefused);
    EXPECT_EQ(ServeWith("ok").outcome, Outcome::CommandRefused);
    ExpectNothingLeft();
}

TEST_F(LineFaultTest, JunkBeforeTheAck) {
    EXPECT_EQ(ServeWith("junk:bytes=500").outcome, Outcome::Answered);
    ASSERT_EQ(port.written.size(), 500 + 1 + Frame(reply).size());
    const std::string junk = port.written.substr(0, 500);
    EXPECT_EQ(junk.find(ACK), junk.npos);
    EXPECT_EQ(junk.find(NAK), junk.npos);
    EXPECT_EQ(port.written.substr(500), A + Frame(reply));
    ExpectNothingLeft();
}

TEST_F(LineFaultTest, AnAckTwice) {
    EXPECT_EQ(ServeWith("double-ack").outcome, Outcome::Answered);
    EXPECT_EQ(port.written, A + A + Frame(reply));
    ServeWith("double-ack:block=2", std::string(20000, 'x'));
    EXPECT_EQ(port.written, A + A + A + Frame(reply));
    ExpectNothingLeft();
}

TEST_F(LineFaultTest, ADelayedAck) {
    int64_t acknowledged = 0;
    const auto react = port.react;
    port.react = [&](const std::string& block) {
        if (block == A) acknowledged = port.NowMs();
        react(block);
    };
    EXPECT_EQ(ServeWith("ack-delay:ms=350").outcome, Outcome::Answered);
    EXPECT_EQ(acknowledged, 350);
    EXPECT_EQ(port.written, A + Frame(reply));
}

TEST_F(LineFaultTest, SilenceBehindACommandThatIsCarriedOut) {
    const Exchange exchange = ServeWith("silence");
    EXPECT_EQ(exchange.outcome, Outcome::NoReply);
    EXPECT_EQ(exchange.transmissions, 0);
    EXPECT_EQ(port.written, A);
    EXPECT_EQ(commands, std::vector{COMMAND});
    ExpectNothingLeft();
}

TEST_F(LineFaultTest, BusyDoesNotCarryTheCommandOut) {
    const struct {
        const char* command;
        const char* text;
    } rows[] = {
        {"ConsultarSAT|000042", "000042|08098|SAT em processamento, tente novamente.||"},
        {"EnviarDadosVenda|000001|x|y", "000001|06098|0000|SAT em processamento, tente novamente.||"},
        {"CancelarUltimaVenda|000001|x|y|z", "000001|07098|0000|SAT em processamento, tente novamente.||"},
        {"AtivarSAT|000001|1|x|y|35", "000001|04098|SAT em processamento, tente novamente.||"},
        {"ConsultarUltimaSessaoFiscal|000001|x", "000001|19098|SAT em processamento, tente novamente.||"},
        {"Zap|000001", "000001|00098|SAT em processamento, tente novamente.||"},
        {"Zap", "|00098|SAT em processamento, tente novamente.||"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ServeWith("busy", row.command).reply, row.text);
        EXPECT_EQ(port.written, A + Frame(row.text));
    }
    EXPECT_TRUE(commands.empty());
    ExpectNothingLeft();
}

TEST_F(LineFaultTest, AnotherSessionsReply) {
    ServeWith("other-session");
    EXPECT_EQ(port.written, A + Frame("000002|08000|SAT em operacao||"));
    ServeWith("other-session:number=77");
    EXPECT_EQ(port.written, A + Frame("000077|08000|SAT em operacao||"));
    reply = "999999|08000";
    ServeWith("other-session");
    EXPECT_EQ(port.written, A + Frame("000000|08000"));
    reply = "not a number";
    ServeWith("other-session");
    EXPECT_EQ(port.written, A + Frame("000001"));
}

TEST_F(LineFaultTest, AReplyOfAnySize) {
    for (const size_t size : {reply.size() + 1, size_t{20000}, size_t{12000000}}) {
        const Exchange exchange = ServeWith("size:bytes=" + std::to_string(size));
        EXPECT_EQ(exchange.outcome, Outcome::Answered);
        EXPECT_EQ(exchange.reply.size(), size);
        EXPECT_EQ(exchange.reply.substr(0, reply.size() + 1), reply + "|");
        EXPECT_TRUE(port.written == A + Frame(exchange.reply)) << size;
    }
    EXPECT_EQ(ServeWith("size:bytes=5").reply, reply);
}

TEST_F(LineFaultTest, TheFirstByteIsLost) {
    verdicts = N;
    const Exchange exchange = ServeWith("lost-first");
    EXPECT_EQ(exchange.transmissions, 2);
    EXPECT_EQ(port.written, A + Frame(reply).substr(1) + Frame(reply));
}

TEST_F(LineFaultTest, AByteIsCorrupted) {
    verdicts = N;
    EXPECT_EQ(ServeWith("corrupt:byte=2").transmissions, 2);
    std::string spoilt = Frame(reply);
    spoilt[1] = static_cast<char>(spoilt[1] ^ 0x40);
    EXPECT_EQ(port.written, A + spoilt + Frame(reply));
}

TEST_F(LineFaultTest, ACorruptedByteIsNeverAnEnd) {
    reply = "CCCC";
    ServeWith("corrupt:byte=3");
    EXPECT_EQ(port.written, A +
                                "\x02"
                                "CcCC" +
                                Frame(reply).substr(5));
}

TEST_F(LineFaultTest, ACorruptedByteBehindTheEndIsTheLastOfTheText) {
    reply = "abc";
    ServeWith("corrupt:byte=1000");
    EXPECT_EQ(port.written, A +
                                "\x02"
                                "ab#" +
                                Frame(reply).substr(4));
}

TEST_F(LineFaultTest, AWrongChecksumAsOftenAsItWasAsked) {
    verdicts = N + N;
    const Exchange exchange = ServeWith("checksum:times=2");
    EXPECT_EQ(exchange.outcome, Outcome::Answered);
    EXPECT_EQ(exchange.transmissions, 3);
    std::string spoilt = Frame(reply);
    ++spoilt[spoilt.size() - 2];
    EXPECT_EQ(port.written, A + spoilt + spoilt + Frame(reply));
    ExpectNothingLeft();
}

TEST_F(LineFaultTest, AWrongChecksumIsNeverAnEnd) {
    // The sum of the text is 2: one more would end the frame.
    reply = "\x01\x01";
    ServeWith("checksum");
    EXPECT_EQ(port.written, A + "\x02\x01\x01\x05\x03");
}

TEST_F(LineFaultTest, AStallInTheMiddle) {
    std::vector<int64_t> moments;
    port.react = [&](const std::string& bytes) {
        moments.push_back(port.NowMs());
        if (bytes.back() == ETX) port.incoming += ACK;
    };
    EXPECT_EQ(ServeWith("stall:byte=7,ms=300").outcome, Outcome::Answered);
    EXPECT_EQ(port.written, A + Frame(reply));
    EXPECT_THAT(moments, testing::ElementsAre(0, 0, 300));
}

TEST_F(LineFaultTest, ANakEndsAStallAndAnAckDoesNot) {
    bool stalled = false;
    port.react = [&](const std::string& bytes) {
        if (bytes.size() == 7 && !stalled) {
            stalled = true;
            port.incoming += A + N;
        }
        if (bytes.back() == ETX) port.incoming += ACK;
    };
    EXPECT_EQ(ServeWith("stall:byte=7,ms=3000").transmissions, 2);
    EXPECT_EQ(port.written, A + Frame(reply).substr(0, 7) + Frame(reply));
    EXPECT_LT(port.NowMs(), 3000);
}

TEST_F(LineFaultTest, AStallBetweenTwoBlocks) {
    reply = std::string(20000, 'y');
    std::vector<int64_t> moments;
    port.react = [&](const std::string& bytes) {
        moments.push_back(port.NowMs());
        if (bytes != A) port.incoming += ACK;
    };
    EXPECT_EQ(ServeWith("stall:byte=16384,ms=300").outcome, Outcome::Answered);
    EXPECT_THAT(moments, testing::ElementsAre(0, 0, 300));
}

TEST_F(LineFaultTest, ATruncatedFrame) {
    verdicts = N;
    EXPECT_EQ(ServeWith("truncate:byte=7").transmissions, 2);
    EXPECT_EQ(port.written, A + Frame(reply).substr(0, 7) + Frame(reply));
    // The end of a short frame is missing at least.
    ServeWith("truncate:byte=1000");
    EXPECT_EQ(port.written, A + Frame(reply).substr(0, reply.size() + 2));
    reply = std::string(40000, 'y');
    ServeWith("truncate:byte=20000");
    EXPECT_TRUE(port.written == A + Frame(reply).substr(0, 20000));
}

TEST_F(LineFaultTest, ADripOfOneByteAtATime) {
    std::vector<int64_t> moments;
    port.react = [&](const std::string& bytes) {
        ASSERT_EQ(bytes.size(), 1U);
        moments.push_back(port.NowMs());
        if (bytes[0] == ETX) port.incoming += ACK;
    };
    reply = "ab";
    const Exchange exchange = ServeWith("drip:ms=15");
    EXPECT_EQ(exchange.outcome, Outcome::Answered);
    EXPECT_EQ(port.written, A + Frame(reply));
    EXPECT_THAT(moments, testing::ElementsAre(0, 0, 15, 30, 45, 60));
    EXPECT_EQ(exchange.duration_ms, 60);
}

TEST_F(LineFaultTest, ThePortGoesInTheMiddle) {
    const Exchange exchange = ServeWith("unplug:byte=7,ms=300,as=COM13");
    EXPECT_EQ(exchange.outcome, Outcome::Unplugged);
    EXPECT_EQ(port.awaited, 1);
    EXPECT_EQ(port.written, A + Frame(reply).substr(0, 7));
    const Fault* unplug = UsedFault(exchange.faults, FaultKind::Unplug);
    ASSERT_NE(unplug, nullptr);
    EXPECT_EQ(unplug->as, "COM13");
    ServeWith("unplug:byte=1000");
    EXPECT_EQ(port.written, A + Frame(reply).substr(0, reply.size() + 2));
}

TEST_F(LineFaultTest, TheExchangeTellsWhatActedAndWhatDidNot) {
    const Exchange exchange = ServeWith("junk:bytes=3+nak:block=2");
    ASSERT_EQ(exchange.faults.size(), 2U);
    EXPECT_EQ(exchange.faults[0].used, 1);
    EXPECT_EQ(exchange.faults[1].used, 0);
    EXPECT_EQ(FaultsText(exchange.armed), "junk:bytes=3+nak:block=2");
}

}  // namespace emulator

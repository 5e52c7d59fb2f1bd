/*
 * Bytes and texts that no honest caller sends. The seeds are fixed: a failure is there again on the next run.
 */
#include <gtest/gtest.h>

#include "demo_texts.h"
#include "fiscal_key.h"
#include "line.h"
#include "sample.h"
#include "scripted_port.h"

namespace emulator {

namespace {

// Every reply has a session, a code of five digits and the two fields of the tax authority, and no byte that
// would end its frame.
void ExpectReply(const std::string& reply) {
    EXPECT_EQ(reply.find('\x03'), std::string::npos);
    EXPECT_EQ(reply.find('\x02'), std::string::npos);
    const std::vector<std::string> fields = Fields(reply);
    ASSERT_GE(fields.size(), 5U) << reply;
    EXPECT_TRUE(fields[0].size() == 6) << reply;
    EXPECT_TRUE(fields[1].size() == 5 && fields[1].find_first_not_of("0123456789") == std::string::npos)
        << reply;
}

}  // namespace

TEST(Hostile, NoiseOnTheLineNeverEndsTheService) {
    std::mt19937 random(2);
    ScriptedPort port;
    Line line{.port = port, .settings = {}, .input = {}};
    Device device = NewDevice({}, 3);
    const AnswerFunction answer = [&](const std::string& command) {
        return Answer(device, command, MORNING);
    };
    constexpr char controls[] = "\x02\x03\x06\x15|";
    int served = 0;
    for (int round = 0; round < 20000; ++round) {
        const size_t length = random() % 60;
        for (size_t i = 0; i < length; ++i) {
            const bool control = random() % 4 == 0;
            port.incoming += control ? controls[random() % 5] : static_cast<char>(random() & 0xFF);
        }
        if (ServeExchange(line, answer, 10).outcome != Outcome::Idle) ++served;
    }
    EXPECT_GT(served, 1000);

    // After all that, an honest caller is served at once.
    while (ServeExchange(line, answer, 10).outcome != Outcome::Idle) {
    }
    port.react = [&](const std::string& block) {
        if (block.size() > 1) port.incoming += ACK;
    };
    port.incoming = BuildFrame("ConsultarSAT|000001");
    EXPECT_EQ(ServeExchange(line, answer, 10).outcome, Outcome::Answered);
}

TEST(Hostile, CommandsOfRandomBytes) {
    std::mt19937 random(4);
    Device device = NewDevice({}, 5);
    const char* names[] = {"EnviarDadosVenda",          "AtivarSAT",
                           "ConfigurarInterfaceDeRede", "TrocarCodigoDeAtivacao",
                           "ConsultarNumeroSessao",     ""};
    for (int round = 0; round < 5000; ++round) {
        std::string command = std::string(names[random() % 6]) + "|000001|12345678|";
        const size_t length = random() % 80;
        for (size_t i = 0; i < length; ++i) {
            const char byte = static_cast<char>(random() & 0xFF);
            command += random() % 6 == 0 ? '|' : byte == ETX ? ' ' : byte;
        }
        ExpectReply(Answer(device, command, MORNING));
    }
}

TEST(Hostile, SalesWithBytesChanged) {
    std::mt19937 random(6);
    Device device = NewDevice({}, 7);
    const std::string sale = DEMO_SALE;
    constexpr std::string_view pieces[] = {"<",         ">",   "/",    "&", "&#0;", "\"",
                                           "<![CDATA[", "]]>", "<!--", "9", "|",    "\xff"};
    int refused = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string broken = sale;
        for (unsigned change = 0; change <= random() % 3; ++change) {
            const size_t place = random() % broken.size();
            broken.replace(place, random() % 4, pieces[random() % std::size(pieces)]);
        }
        const std::string reply =
            Answer(device, "EnviarDadosVenda|" + Padded(round, 6) + "|12345678|" + broken, MORNING);
        ExpectReply(reply);
        refused += reply.substr(7, 5) == "06010" ? 1 : 0;
    }
    EXPECT_GT(refused, 1000);
}

TEST(Hostile, SalesCutOffAnywhere) {
    Device device = NewDevice({}, 8);
    const std::string sale = DEMO_SALE;
    for (size_t length = 0; length < sale.size() - 10; ++length) {
        const std::string reply =
            Answer(device, "EnviarDadosVenda|000001|12345678|" + sale.substr(0, length), MORNING);
        ASSERT_EQ(reply.substr(7, 5), "06010") << length;
    }
}

}  // namespace emulator

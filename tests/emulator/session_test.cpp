/*
 * Session numbers: their shape, what is remembered under them, and whom they belong to.
 */
#include "device_fixture.h"

namespace emulator {

using SessionTest = DeviceTest;

TEST_F(SessionTest, StoredRepliesComeAgainWithTheirOwnSession) {
    const std::string sale =
        Answer(device, std::string("EnviarDadosVenda|000001|12345678|") + DEMO_SALE, now);
    const std::string greeting = Answer(device, "ConsultarSAT|000002", now);
    EXPECT_EQ(Answer(device, "ConsultarNumeroSessao|000003|12345678|000001", now), sale);
    EXPECT_EQ(Answer(device, "ConsultarNumeroSessao|000003|12345678|000002", now), greeting);
    EXPECT_EQ(Answer(device, "ConsultarUltimaSessaoFiscal|000004|12345678", now), sale);
    EXPECT_EQ(Ask("ConsultarNumeroSessao|000005|12345678|000003")[1], "11003") << "questions are not stored";
}

TEST_F(SessionTest, NothingStoredYet) {
    const std::vector<std::string> session = {"000001", "11003", "Sessao não existe", "", ""};
    const std::vector<std::string> fiscal = {"000001", "19003", "Nao existe sessao fiscal", "", ""};
    EXPECT_EQ(Ask("ConsultarNumeroSessao|000001|12345678|000009"), session);
    EXPECT_EQ(Ask("ConsultarUltimaSessaoFiscal|000001|12345678"), fiscal);
}

TEST_F(SessionTest, LastFiscalSessionIsTheLatestOfThreeCommands) {
    const std::string key = Sell()[8];
    Ask("ConsultarSAT|000009");
    EXPECT_EQ(Ask("ConsultarUltimaSessaoFiscal|000004|12345678")[1], "06000");
    Cancel(key);
    EXPECT_EQ(Ask("ConsultarUltimaSessaoFiscal|000004|12345678")[1], "07000");
    Ask(std::string("TesteFimAFim|000005|12345678|") + DEMO_SALE);
    EXPECT_EQ(Ask("ConsultarUltimaSessaoFiscal|000004|12345678")[1], "09000");
}

TEST_F(SessionTest, MemoryOfSessionsIsBounded) {
    for (int session = 1; session <= 300; ++session) {
        Ask("ConsultarSAT|" + Padded(session, 6));
    }
    EXPECT_EQ(device.sessions.size(), 100U);
    EXPECT_EQ(Ask("ConsultarNumeroSessao|000001|12345678|000200")[1], "11003");
    EXPECT_EQ(Ask("ConsultarNumeroSessao|000001|12345678|000201")[1], "08000");
}

TEST_F(SessionTest, LargeRepliesPushTheOldestOut) {
    const std::string sale = Replaced(DEMO_SALE, "CAFE TORRADO", std::string(1000000, 'x'));
    for (int session = 1; session <= 8; ++session) {
        ASSERT_EQ(CodeOf("EnviarDadosVenda|" + Padded(session, 6) + "|12345678|" + sale), "06000");
    }
    size_t bytes = 0;
    for (const Session& kept : device.sessions) {
        bytes += kept.reply.size();
    }
    EXPECT_LE(bytes, size_t{8} * 1024 * 1024);
    EXPECT_GE(device.sessions.size(), 5U);
    EXPECT_EQ(device.sessions.back().number, "000008");
    EXPECT_EQ(CodeOf("ConsultarNumeroSessao|000009|12345678|000001"), "11003");
}

TEST_F(SessionTest, SessionsHaveSixDigits) {
    const std::vector<std::string> negative = {"-00005", "08097", "numero de sessao invalido", "", ""};
    EXPECT_EQ(Ask("ConsultarSAT|-00005"), negative);
    EXPECT_EQ(Ask("ConsultarSAT|12")[0], "000000");
    EXPECT_EQ(Ask("ConsultarSAT|12")[1], "08097");
    EXPECT_EQ(Ask("ConsultarSAT|000000")[1], "08000");
}

TEST_F(SessionTest, ANumberIsUsedAgainAndStandsForItsNewestReply) {
    const std::string command = std::string("EnviarDadosVenda|000007|12345678|") + DEMO_SALE;
    EXPECT_EQ(CodeOf("EnviarDadosVenda|000007|12345678|<CFe/>"), "06010");
    EXPECT_EQ(CodeOf(command), "06000");
    const std::string second = Answer(device, command, now);
    EXPECT_EQ(second.substr(7, 5), "06000");
    EXPECT_EQ(device.documents, 2);
    EXPECT_EQ(Answer(device, "ConsultarNumeroSessao|000007|12345678|000007", now), second);
    EXPECT_EQ(Answer(device, "ConsultarUltimaSessaoFiscal|000007|12345678", now), second);
    const std::string greeting = Answer(device, "ConsultarSAT|000007", now);
    EXPECT_EQ(greeting.substr(7, 5), "08000");
    EXPECT_EQ(Answer(device, "ConsultarNumeroSessao|000008|12345678|000007", now), greeting);
    EXPECT_EQ(device.sessions.size(), 1U);
}

TEST_F(SessionTest, ACommandThatLacksFieldsIsNoFiscalSession) {
    Sell();
    Ask("EnviarDadosVenda|000050");
    EXPECT_EQ(CodeOf("ConsultarUltimaSessaoFiscal|000051|12345678"), "06000");
}

TEST_F(SessionTest, ACommandWithoutACodeForBadSessionsSaysUnknown) {
    ExpectBase("AtualizarSoftwareSAT|-00005|12345678", "14099",
               "Erro desconhecido: numero de sessao invalido", "-00005");
}

}  // namespace emulator

#include "device.h"

#include <gtest/gtest.h>

#include "demo_texts.h"
#include "fiscal_key.h"
#include "sample.h"

namespace emulator {

namespace {

struct DeviceTest : testing::Test {
    Device device = NewDevice({}, 59);
    LocalTime now = MORNING;

    std::vector<std::string> Ask(const std::string& command) { return Fields(Answer(device, command, now)); }

    // BASE of a command that has nothing else to say.
    void ExpectBase(const std::string& command, const char* code, const char* message) {
        const std::vector<std::string> expected = {"000001", code, message, "", ""};
        EXPECT_EQ(Ask(command), expected) << command;
    }

    std::vector<std::string> Sell(const std::string& session = "000001") {
        return Ask("EnviarDadosVenda|" + session + "|12345678|" + DEMO_SALE);
    }

    std::vector<std::string> Cancel(const std::string& key) {
        return Ask("CancelarUltimaVenda|000002|12345678|" + key + "|" +
                   Replaced(DEMO_CANCELLATION, "@CHAVE@", key));
    }
};

bool IsMoment(const std::string& text) {
    return IsDigits(text, 14);
}

// A sale's or cancellation's reply, field by field.
void ExpectReceipt(const std::vector<std::string>& reply, const char* session, const char* code) {
    ASSERT_EQ(reply.size(), 12U);
    EXPECT_EQ(reply[0], session);
    EXPECT_EQ(reply[1], code);
    EXPECT_EQ(reply[2], "0000");
    EXPECT_EQ(reply[4], "");
    EXPECT_EQ(reply[5], "");
    EXPECT_TRUE(FromBase64(reply[6]).starts_with("<?xml version=\"1.0\""));
    EXPECT_EQ(reply[7], "20260304050607");
    ASSERT_EQ(reply[8].substr(0, 3), "CFe");
    const std::string key = reply[8].substr(3);
    ASSERT_TRUE(IsDigits(key, 44));
    EXPECT_EQ(key[43], CheckDigit(key.substr(0, 43)));
    EXPECT_NE(FromBase64(reply[6]).find("Id=\"" + reply[8] + "\""), std::string::npos);
    EXPECT_EQ(reply[9], "140.06");
    EXPECT_EQ(reply[10], "52998224725");
    EXPECT_EQ(reply[11].size(), 344U);
    EXPECT_EQ(FromBase64(reply[11]).size(), 256U);
}

}  // namespace

TEST_F(DeviceTest, CommandsWhoseReplyIsTheBase) {
    ExpectBase("ConsultarSAT|000001", "08000", "SAT em operacao");
    ExpectBase("ComunicarCertificadoICPBRASIL|000001|12345678|cert", "05000",
               "Certificado transmitido com Sucesso");
    ExpectBase("ComunicarCertificadoICPBRASIL|000001|12345678|", "05003", "Certificado Inválido");
    ExpectBase("AssociarAssinatura|000001|12345678|4455566600018111222333000181|c2ln", "13000",
               "Assinatura do AC Registrada");
    ExpectBase("AssociarAssinatura|000001|12345678|44555666000181|c2ln", "13004",
               "Erro de validacao do conteudo");
    ExpectBase("AssociarAssinatura|000001|12345678|4455566600018111222333000181|", "13003",
               "Assinatura fora do padrao especificado");
    ExpectBase("AtualizarSoftwareSAT|000001|12345678", "14000", "Software Atualizado com Sucesso");
    ExpectBase("BloquearSAT|000001|12345678", "16000", "Equipamento SAT bloqueado com sucesso");
    ExpectBase("DesbloquearSAT|000001|12345678", "17000", "Equipamento SAT desbloqueado com sucesso");
    ExpectBase("ConfigurarInterfaceDeRede|000001|12345678|<config><lanIP>10.1.2.3</lanIP></config>", "12000",
               "Rede Configurada com Sucesso");
}

TEST_F(DeviceTest, ActivationHandsOverARequestForACertificate) {
    const auto reply = Ask("AtivarSAT|000001|1|12345678|11222333000181|43");
    ASSERT_EQ(reply.size(), 6U);
    EXPECT_EQ(reply[1], "04000");
    EXPECT_EQ(reply[2], "SAT Ativado Corretamente");
    EXPECT_TRUE(reply[5].starts_with("-----BEGIN CERTIFICATE REQUEST-----\n"));
    EXPECT_TRUE(reply[5].ends_with("\n-----END CERTIFICATE REQUEST-----\n"));
    EXPECT_EQ(Ask("AtivarSAT|000001|2|12345678|11222333000181|43")[1], "04006");
    EXPECT_EQ(Ask("AtivarSAT|000001|9|12345678|11222333000181|43")[1], "04099");
    EXPECT_EQ(Ask("AtivarSAT|000001|1|12345678|11222333000182|43")[1], "04002");
    EXPECT_EQ(Ask("AtivarSAT|000001|1|12345678|11222333000181|4")[1], "04250");
    // The state of the activation goes into the keys.
    EXPECT_EQ(Sell()[8].substr(0, 5), "CFe43");
}

TEST_F(DeviceTest, Sale) {
    const auto reply = Sell();
    ExpectReceipt(reply, "000001", "06000");
    EXPECT_EQ(reply[3], "Emitido com sucesso + conteudo notas");
}

TEST_F(DeviceTest, ASaleThatIsNotInOrderHasSixFields) {
    const std::vector<std::string> expected = {
        "000001", "06010", "1999", "Erro de validacao do conteudo: XML malformado", "", ""};
    EXPECT_EQ(Ask("EnviarDadosVenda|000001|12345678|<CFe>"), expected);
    // A separator in the sale belongs to the sale.
    EXPECT_EQ(Ask("EnviarDadosVenda|000001|12345678|<a>|</a>").size(), 6U);
    EXPECT_EQ(Ask("EnviarDadosVenda|000001|12345678|" + std::string(1536001, 'x'))[1], "06005");
    EXPECT_EQ(Ask("EnviarDadosVenda|000001|12345678|" + std::string(1536000, 'x'))[1], "06010");
}

TEST_F(DeviceTest, SeparatorsInASaleAreCarriedThrough) {
    const auto reply = Ask("EnviarDadosVenda|000001|12345678|" + Replaced(DEMO_SALE, "Obrigado", "a|b|c"));
    ASSERT_EQ(reply.size(), 12U);
    EXPECT_NE(FromBase64(reply[6]).find("a|b|c"), std::string::npos);
}

TEST_F(DeviceTest, NumbersOfReceiptsRise) {
    const std::string first = Sell()[8];
    const std::string second = Sell()[8];
    EXPECT_EQ(first.substr(34, 6), "000001");
    EXPECT_EQ(second.substr(34, 6), "000002");
}

TEST_F(DeviceTest, CancellationOfTheLastSale) {
    const std::string key = Sell()[8];
    const auto reply = Cancel(key);
    ExpectReceipt(reply, "000002", "07000");
    EXPECT_NE(reply[8], key);
    EXPECT_EQ(Cancel(key)[1], "07002") << "a sale is cancelled once";
}

TEST_F(DeviceTest, CancellationIsRefused) {
    EXPECT_EQ(Cancel("CFe" + std::string(44, '1'))[1], "07002") << "nothing was sold";
    const std::string key = Sell()[8];
    const auto other = Cancel("CFe" + std::string(44, '1'));
    ASSERT_EQ(other.size(), 6U);
    EXPECT_EQ(other[1], "07002");
    EXPECT_EQ(Ask("CancelarUltimaVenda|000002|12345678|" + key + "|" + DEMO_CANCELLATION)[1], "07002");
    EXPECT_EQ(Ask("CancelarUltimaVenda|000002|12345678|" + key + "|<CFeCanc>")[1], "07010");
    now += std::chrono::minutes(30) + std::chrono::seconds(1);
    EXPECT_EQ(Cancel(key)[1], "07002");
    now -= std::chrono::seconds(1);
    EXPECT_EQ(Cancel(key)[1], "07000");
}

TEST_F(DeviceTest, EndToEndTest) {
    const auto reply = Ask(std::string("TesteFimAFim|000001|12345678|") + DEMO_SALE);
    ASSERT_EQ(reply.size(), 9U);
    EXPECT_EQ(reply[1], "09000");
    EXPECT_EQ(TextOf(FromBase64(reply[5]), "vCFe"), "140.06");
    EXPECT_EQ(reply[6], "20260304050607");
    EXPECT_EQ(reply[7], "000001");
    EXPECT_EQ(reply[8][46], CheckDigit(reply[8].substr(3, 43)));
    EXPECT_EQ(Cancel(reply[8])[1], "07002") << "a test is no sale";
    EXPECT_EQ(Ask("TesteFimAFim|000001|12345678|<CFe>")[1], "09099");
}

TEST_F(DeviceTest, Status) {
    const auto fresh = Ask("ConsultarStatusOperacional|000001|12345678");
    ASSERT_EQ(fresh.size(), 28U);
    const std::vector<std::string> start(fresh.begin(), fresh.begin() + 13);
    const std::vector<std::string> expected = {"000001",
                                               "10000",
                                               "Resposta com Sucesso",
                                               "",
                                               "",
                                               "000123456",
                                               "DHCP",
                                               "192.168.0.59",
                                               "02:00:00:00:00:59",
                                               "255.255.255.0",
                                               "192.168.0.1",
                                               "192.168.0.1",
                                               "0.0.0.0"};
    EXPECT_EQ(start, expected);
    EXPECT_EQ(fresh[13], "CONECTADO");
    EXPECT_EQ(fresh[17], "20260304050607");
    EXPECT_EQ(fresh[19], "0.08");
    EXPECT_EQ(fresh[20], std::string(44, '0'));
    EXPECT_TRUE(IsDigits(fresh[21], 44) && IsDigits(fresh[22], 44));
    EXPECT_TRUE(IsMoment(fresh[23]) && IsMoment(fresh[24]));
    EXPECT_EQ(fresh[25], "20250304");
    EXPECT_TRUE(IsDigits(fresh[26], 8));
    EXPECT_EQ(fresh[27], "0");
}

TEST_F(DeviceTest, StatusFollowsWhatHappened) {
    const std::string key = Sell()[8];
    now += std::chrono::seconds(1);
    Ask("ConfigurarInterfaceDeRede|000001|12345678|<config><tipoLan>IPFIX</tipoLan><lanDNS2>9.9.9.9</lanDNS2></config>");
    Ask("BloquearSAT|000001|12345678");
    const auto status = Ask("ConsultarStatusOperacional|000001|12345678");
    ASSERT_EQ(status.size(), 28U);
    EXPECT_EQ(status[6], "IPFIX");
    EXPECT_EQ(status[12], "9.9.9.9");
    EXPECT_EQ("CFe" + status[20], key);
    EXPECT_EQ(status[23], "20260304050607");
    EXPECT_EQ(status[27], "1");
}

TEST_F(DeviceTest, NetworkSettingsOutOfShapeChangeNothing) {
    for (const char* settings : {"", "<config>", "<other/>", "<config><lanIP>a|b</lanIP></config>",
                                 "<config><tipoLan>IPFIX</tipoLan><lanIP>1 2</lanIP></config>"}) {
        EXPECT_EQ(Ask(std::string("ConfigurarInterfaceDeRede|000001|12345678|") + settings)[1], "12002")
            << settings;
    }
    EXPECT_EQ(Ask("ConsultarStatusOperacional|000001|12345678")[6], "DHCP");
}

TEST_F(DeviceTest, BlockedDeviceSellsNothing) {
    EXPECT_EQ(Ask("DesbloquearSAT|000001|12345678")[1], "17005");
    const std::string key = Sell()[8];
    Ask("BloquearSAT|000001|12345678");
    EXPECT_EQ(Ask("BloquearSAT|000001|12345678")[1], "16002");
    EXPECT_EQ(Sell()[1], "06006");
    EXPECT_EQ(Cancel(key)[1], "07006");
    Ask("DesbloquearSAT|000001|12345678");
    EXPECT_EQ(Sell()[1], "06000");
}

TEST_F(DeviceTest, StoredRepliesComeAgainWithTheirOwnSession) {
    const std::string sale =
        Answer(device, std::string("EnviarDadosVenda|000001|12345678|") + DEMO_SALE, now);
    const std::string greeting = Answer(device, "ConsultarSAT|000002", now);
    EXPECT_EQ(Answer(device, "ConsultarNumeroSessao|000003|12345678|000001", now), sale);
    EXPECT_EQ(Answer(device, "ConsultarNumeroSessao|000003|12345678|000002", now), greeting);
    EXPECT_EQ(Answer(device, "ConsultarUltimaSessaoFiscal|000004|12345678", now), sale);
    EXPECT_EQ(Ask("ConsultarNumeroSessao|000005|12345678|000003")[1], "11003") << "questions are not stored";
}

TEST_F(DeviceTest, NothingStoredYet) {
    const std::vector<std::string> session = {"000001", "11003", "Sessao não existe", "", ""};
    const std::vector<std::string> fiscal = {"000001", "19003", "Nao existe sessao fiscal", "", ""};
    EXPECT_EQ(Ask("ConsultarNumeroSessao|000001|12345678|000009"), session);
    EXPECT_EQ(Ask("ConsultarUltimaSessaoFiscal|000001|12345678"), fiscal);
}

TEST_F(DeviceTest, LastFiscalSessionIsTheLatestOfThreeCommands) {
    const std::string key = Sell()[8];
    Ask("ConsultarSAT|000009");
    EXPECT_EQ(Ask("ConsultarUltimaSessaoFiscal|000004|12345678")[1], "06000");
    Cancel(key);
    EXPECT_EQ(Ask("ConsultarUltimaSessaoFiscal|000004|12345678")[1], "07000");
    Ask(std::string("TesteFimAFim|000005|12345678|") + DEMO_SALE);
    EXPECT_EQ(Ask("ConsultarUltimaSessaoFiscal|000004|12345678")[1], "09000");
}

TEST_F(DeviceTest, MemoryOfSessionsIsBounded) {
    for (int session = 1; session <= 300; ++session) {
        Ask("ConsultarSAT|" + Padded(session, 6));
    }
    EXPECT_EQ(device.sessions.size(), 200U);
    EXPECT_EQ(Ask("ConsultarNumeroSessao|000001|12345678|000100")[1], "11003");
    EXPECT_EQ(Ask("ConsultarNumeroSessao|000001|12345678|000101")[1], "08000");
}

TEST_F(DeviceTest, JournalTellsWhatHappened) {
    EXPECT_EQ(FromBase64(Ask("ExtrairLogs|000001|12345678")[5]), "sem registros\n");
    Ask("ConsultarSAT|000001");
    const auto reply = Ask("ExtrairLogs|000001|12345678");
    ASSERT_EQ(reply.size(), 6U);
    EXPECT_EQ(reply[1], "15000");
    EXPECT_EQ(FromBase64(reply[5]), "20260304050607|ExtrairLogs|15000\n20260304050607|ConsultarSAT|08000\n");
}

TEST_F(DeviceTest, ActivationCodeMustMatchWhereACommandCarriesOne) {
    const struct {
        const char* command;
        const char* code;
    } rows[] = {
        {"AtivarSAT|000001|1|wrong|11222333000181|35", "04001"},
        {"ComunicarCertificadoICPBRASIL|000001|wrong|c", "05001"},
        {"EnviarDadosVenda|000001|wrong|<CFe/>", "06001"},
        {"CancelarUltimaVenda|000001|wrong|k|<x/>", "07001"},
        {"TesteFimAFim|000001|wrong|<CFe/>", "09001"},
        {"ConsultarStatusOperacional|000001|wrong", "10001"},
        {"ConsultarNumeroSessao|000001|wrong|000001", "11001"},
        {"ConfigurarInterfaceDeRede|000001|wrong|<config/>", "12001"},
        {"AssociarAssinatura|000001|wrong|1|2", "13001"},
        {"AtualizarSoftwareSAT|000001|wrong", "14001"},
        {"ExtrairLogs|000001|wrong", "15001"},
        {"BloquearSAT|000001|wrong", "16001"},
        {"DesbloquearSAT|000001|wrong", "17001"},
        {"TrocarCodigoDeAtivacao|000001|wrong|1|n|n", "18001"},
        {"ConsultarUltimaSessaoFiscal|000001|wrong", "19001"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Ask(row.command)[1], row.code) << row.command;
    }
    EXPECT_EQ(Ask("EnviarDadosVenda|000001|wrong|<CFe/>").size(), 6U);
}

TEST_F(DeviceTest, ActivationCodeCanBeChanged) {
    EXPECT_EQ(Ask("TrocarCodigoDeAtivacao|000001|12345678|1|new|other")[1], "18099");
    EXPECT_EQ(Ask("TrocarCodigoDeAtivacao|000001|12345678|3|new|new")[1], "18099");
    EXPECT_EQ(Ask("TrocarCodigoDeAtivacao|000001|12345678|2|new|new")[1], "18002");
    EXPECT_EQ(Ask("TrocarCodigoDeAtivacao|000001|12345678|1|new|new")[1], "18000");
    EXPECT_EQ(Ask("ExtrairLogs|000001|12345678")[1], "15001");
    EXPECT_EQ(Ask("ExtrairLogs|000001|new")[1], "15000");
    EXPECT_EQ(Ask("TrocarCodigoDeAtivacao|000001|87654321|2|again|again")[1], "18000");
    EXPECT_EQ(Ask("ExtrairLogs|000001|again")[1], "15000");
}

TEST_F(DeviceTest, WrongFieldCountIsAnUnknownError) {
    ExpectBase("ConsultarSAT|000001|extra", "08099", "Erro desconhecido");
    ExpectBase("ExtrairLogs|000001", "15099", "Erro desconhecido");
    ExpectBase("ExtrairLogs|000001|12345678|extra", "15099", "Erro desconhecido");
    EXPECT_EQ(Ask("EnviarDadosVenda|000001|12345678")[1], "06099");
    EXPECT_EQ(Ask("EnviarDadosVenda|000001|12345678").size(), 6U);
    EXPECT_EQ(Ask("ConsultarSAT")[1], "08099");
}

TEST_F(DeviceTest, UnknownCommand) {
    ExpectBase("consultarsat|000001", "00099", "SAT Codigo Retorno[00099] Desconhecido");
    EXPECT_EQ(Ask("")[1], "00099");
}

TEST_F(DeviceTest, SessionsHaveSixDigits) {
    const std::vector<std::string> negative = {"-00005", "08097", "numero de sessao invalido", "", ""};
    EXPECT_EQ(Ask("ConsultarSAT|-00005"), negative);
    EXPECT_EQ(Ask("ConsultarSAT|12")[0], "000000");
    EXPECT_EQ(Ask("ConsultarSAT|12")[1], "08097");
    EXPECT_EQ(Ask("ConsultarSAT|000000")[1], "08000");
}

}  // namespace emulator

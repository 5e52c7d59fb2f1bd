#include "device.h"

#include <gtest/gtest.h>

#include "device_fixture.h"
#include "fiscal_key.h"

namespace emulator {

namespace {

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
               "Erro de validacao do conteudo: CNPJvalue: esperado 28 digitos, encontrado 44555666000181");
    ExpectBase("AssociarAssinatura|000001|12345678|4455566600018111222333000181|", "13003",
               "Assinatura fora do padrao especificado");
    ExpectBase("AtualizarSoftwareSAT|000001|12345678", "14000", "Software Atualizado com Sucesso");
    ExpectBase("BloquearSAT|000001|12345678", "16000", "Equipamento SAT bloqueado com sucesso");
    ExpectBase("DesbloquearSAT|000001|12345678", "17000", "Equipamento SAT desbloqueado com sucesso");
    ExpectBase("ConfigurarInterfaceDeRede|000001|12345678|<config><lanIP>10.1.2.3</lanIP></config>", "12000",
               "Rede Configurada com Sucesso");
}

TEST_F(DeviceTest, Sale) {
    const auto reply = Sell();
    ExpectReceipt(reply, "000001", "06000");
    EXPECT_EQ(reply[3], "Emitido com sucesso + conteudo notas");
}

TEST_F(DeviceTest, ASaleThatIsNotInOrderHasSixFields) {
    const std::vector<std::string> expected = {"000001",
                                               "06010",
                                               "1999",
                                               "Erro de validacao do conteudo: XML malformado: linha 1: "
                                               "Premature end of data in tag CFe line 1",
                                               "",
                                               ""};
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
    EXPECT_EQ(other[3], "Cupom invalido: chave: esperado " + key + ", encontrado CFe" + std::string(44, '1'));
    EXPECT_EQ(Ask("CancelarUltimaVenda|000099|12345678|" + key + "|" + DEMO_CANCELLATION)[1], "07002");
    EXPECT_EQ(Ask("CancelarUltimaVenda|000099|12345678|" + key + "|<CFeCanc>")[1], "07010");
    now += std::chrono::minutes(30) + std::chrono::seconds(1);
    EXPECT_EQ(Cancel(key)[1], "07002");
    now -= std::chrono::seconds(1);
    EXPECT_EQ(Cancel(key)[1], "07000");
}

TEST_F(DeviceTest, ASaleFromTheFutureIsNotCancelled) {
    const std::string key = Sell()[8];
    now -= std::chrono::seconds(1);
    const auto reply = Cancel(key);
    EXPECT_EQ(reply[1], "07002");
    EXPECT_EQ(reply[3], "Cupom invalido: venda posterior ao relogio do equipamento");
    now += std::chrono::seconds(1);
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
    Ask("ConfigurarInterfaceDeRede|000009|12345678|<config><tipoLan>PPPoE</tipoLan><usuario>u</usuario>"
        "<senha>s</senha><lanDNS2>9.9.9.9</lanDNS2></config>");
    Ask("BloquearSAT|000009|12345678");
    const auto status = Ask("ConsultarStatusOperacional|000009|12345678");
    ASSERT_EQ(status.size(), 28U);
    EXPECT_EQ(status[6], "PPPoE");
    EXPECT_EQ(status[12], "9.9.9.9");
    EXPECT_EQ("CFe" + status[20], key);
    EXPECT_EQ(status[23], "20260304050607");
    EXPECT_EQ(status[27], "2");
}

TEST_F(DeviceTest, JournalTellsWhatHappened) {
    EXPECT_EQ(FromBase64(Ask("ExtrairLogs|000001|12345678")[5]), "sem registros\n");
    Ask("ConsultarSAT|000001");
    const auto reply = Ask("ExtrairLogs|000001|12345678");
    ASSERT_EQ(reply.size(), 6U);
    EXPECT_EQ(reply[1], "15000");
    EXPECT_EQ(FromBase64(reply[5]), "20260304050607|ExtrairLogs|15000\n20260304050607|ConsultarSAT|08000\n");
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

}  // namespace emulator

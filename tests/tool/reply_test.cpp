#include "reply.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "show_reply.h"

namespace tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* SALE =
    "000123|06000|0000|Emitido com sucesso + conteudo notas|||Q0ZlPg==|20261120155407|"
    "CFe35261111222333000181590001234560000012436775|140.06|52998224725|cXI=";

TEST(ReplyTest, SaleIsNamedFieldByField) {
    const Reply reply = ParseReply(SALE, "EnviarDadosVenda");
    EXPECT_EQ(reply.verdict, Verdict::Accepted);
    EXPECT_THAT(reply.faults, IsEmpty());
    ASSERT_EQ(reply.fields.size(), 12U);
    EXPECT_EQ(reply.fields[2].name, "CCCC");
    EXPECT_EQ(ValueOf(reply, "valorTotalCFe"), "140.06");
    EXPECT_EQ(ValueOf(reply, "assinaturaQRCODE"), "cXI=");
}

TEST(ReplyTest, RefusedSaleHasSixFields) {
    const Reply reply = ParseReply("123456|06010|1218|CF-e-SAT rejeitado||", "EnviarDadosVenda");
    EXPECT_EQ(reply.verdict, Verdict::Refused);
    EXPECT_EQ(reply.code.code, 6010);
    EXPECT_EQ(ValueOf(reply, "CCCC"), "1218");
    EXPECT_EQ(ValueOf(reply, "mensagem"), "CF-e-SAT rejeitado");
    EXPECT_THAT(reply.faults, IsEmpty());
}

TEST(ReplyTest, MissingAndSurplusFieldsAreTold) {
    EXPECT_THAT(ParseReply("123456|08000|SAT em operacao|").faults,
                ElementsAre("faltam campos: 4 em vez de 5"));
    const Reply more = ParseReply("123456|08000|SAT em operacao||||");
    EXPECT_THAT(more.faults, ElementsAre("campos a mais: 7 em vez de 5"));
    EXPECT_EQ(more.fields[6].name, "campo 7");
}

TEST(ReplyTest, CertificateRequestMayBeMissing) {
    EXPECT_THAT(ParseReply("123456|04000|SAT Ativado Corretamente||").faults, IsEmpty());
    EXPECT_EQ(ValueOf(ParseReply("123456|04006|CSR||x|-----BEGIN"), "CSR"), "-----BEGIN");
}

TEST(ReplyTest, ShapeFollowsTheCodeWhenASessionIsAskedFor) {
    const Reply reply = ParseReply(SALE, "ConsultarNumeroSessao");
    EXPECT_EQ(reply.command, "EnviarDadosVenda");
    EXPECT_THAT(reply.faults, IsEmpty());
    EXPECT_EQ(ParseReply("000001|11003|Sessao nao existe||", "ConsultarNumeroSessao").command,
              "ConsultarNumeroSessao");
}

TEST(ReplyTest, CodeOfAnotherCommandIsAFault) {
    const Reply reply = ParseReply("000001|06001|0000|x||", "ConsultarSAT");
    EXPECT_THAT(reply.faults, testing::Contains(HasSubstr("EnviarDadosVenda")));
}

TEST(ReplyTest, UnknownCodeAndBadValuesAreFaults) {
    EXPECT_THAT(ParseReply("000001|08055|x||").faults, ElementsAre("o código 08055 não está no catálogo"));
    EXPECT_THAT(ParseReply("00001|08000|x||").faults, ElementsAre(HasSubstr("numeroSessao")));
    EXPECT_THAT(ParseReply("000001|8000|x||").faults, testing::Contains(HasSubstr("EEEEE")));
}

TEST(ReplyTest, ErrorOfTheLibraryIsNoReply) {
    const Reply reply = ParseReply("SAT Erro[-01000]Win SAT Nao encontrado!!! L[2013] F[Communicate] ");
    EXPECT_EQ(reply.verdict, Verdict::LibraryFailed);
    EXPECT_EQ(ExitCodeOf(reply), EXIT_NO_DEVICE);
}

TEST(ReplyTest, OtherTextsAreNoReply) {
    for (const char* const text :
         {"", "|", "hello", "000001|abc|x", "ZANTIR DLL Ver. 02.00", "1|99999999999999"}) {
        EXPECT_EQ(ParseReply(text).verdict, Verdict::NoReply) << text;
    }
}

TEST(ReplyTest, ExitCodeTellsAcceptedFromRefused) {
    EXPECT_EQ(ExitCodeOf(ParseReply("000001|08000|x||")), EXIT_OK);
    EXPECT_EQ(ExitCodeOf(ParseReply("000001|08098|x||")), EXIT_REFUSED);
    EXPECT_EQ(ExitCodeOf(ParseReply("x")), EXIT_NO_DEVICE);
}

TEST(FramingTest, FramesAndProtocolLinesAreUnpacked) {
    const std::string text = "000001|08000|SAT em operacao||";
    EXPECT_EQ(WithoutFraming(text + "\r\n"), text);
    EXPECT_EQ(WithoutFraming("\x02" + text + "M\x03"), text);
    EXPECT_EQ(WithoutFraming("<02>" + text + "<4D><03>"), text);
    EXPECT_EQ(WithoutFraming("20261120153942 SAT->PC << [<02>" + text + "<4D><03>]OK:b"), text);
}

TEST(FramingTest, TextsThatOnlyLookAlikeStay) {
    EXPECT_EQ(WithoutFraming("a<4D><03"), "a<4D><03");
    EXPECT_EQ(WithoutFraming("<03>"), "<03>");
    EXPECT_EQ(WithoutFraming(""), "");
}

TEST(ReplyFilesTest, ReceiptIsNamedByItsKey) {
    const std::vector<ReplyFile> files = FilesOf(ParseReply(SALE));
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].name, "CFe35261111222333000181590001234560000012436775.xml");
    EXPECT_EQ(files[0].bytes, "CFe>");
}

TEST(ReplyFilesTest, DeviceCannotChooseTheFolder) {
    const std::vector<ReplyFile> files =
        FilesOf(ParseReply("000123|06000|0000|x|||Q0ZlPg==|20261120155407|../../etc/x|1.00||"));
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].name, "etcx.xml");
}

TEST(ReplyJsonTest, BytesOfAnyKindMakeValidJson) {
    const Json json = ReplyJson(ParseReply("000001|08000|Opera\xE7\xE3o\x01||"));
    const std::string text = json.dump();
    EXPECT_THAT(text, HasSubstr("Opera\xC3\xA7\xC3\xA3o\\u0001"));
    EXPECT_EQ(Json::parse(text), json);
}

TEST(ReplyJsonTest, CommandThatCameBackShowsNoActivationCode) {
    const std::string json = ReplyJson(ParseReply("\x02"
                                                  "ExtrairLogs|000001|secret99\x03"))
                                 .dump();
    EXPECT_THAT(json, testing::Not(HasSubstr("secret99")));
    EXPECT_THAT(json, HasSubstr("********"));
}

}  // namespace
}  // namespace tool

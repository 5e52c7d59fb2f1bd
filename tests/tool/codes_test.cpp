#include "codes.h"

#include <gtest/gtest.h>

#include "shapes.h"

namespace tool {
namespace {

TEST(CodesTest, KnownCodeHasItsCommandMessageAndRemedy) {
    const CodeMeaning meaning = ExplainCode(6010);
    EXPECT_TRUE(meaning.known);
    EXPECT_FALSE(meaning.success);
    EXPECT_EQ(meaning.command, "EnviarDadosVenda");
    EXPECT_EQ(meaning.message, "Erro de validacao do conteudo");
    EXPECT_NE(meaning.remedy.find("CCCC"), std::string::npos) << meaning.remedy;
}

TEST(CodesTest, UnknownCodeIsToldAsUnknown) {
    const CodeMeaning meaning = ExplainCode(7003);
    EXPECT_FALSE(meaning.known);
    EXPECT_EQ(meaning.command, "CancelarUltimaVenda");
    EXPECT_EQ(ExplainCode(99999).command, "");
    EXPECT_EQ(ExplainCode(99999).remedy, "");
}

TEST(CodesTest, FirstCodeOfACommandAndTheCertificateRequestAreSuccesses) {
    for (const int code : {4000, 4006, 6000, 8000, 10000, 19000}) {
        EXPECT_TRUE(IsSuccess(code)) << code;
    }
    for (const int code : {0, 4001, 6010, 8098, 20000, 3000}) {
        EXPECT_FALSE(IsSuccess(code)) << code;
    }
}

TEST(CodesTest, WrongActivationCodeIsNotAdvisedForAFailedCertificate) {
    EXPECT_NE(ExplainCode(6001).remedy, "");
    EXPECT_EQ(ExplainCode(18001).remedy, ExplainCode(6001).remedy);
    EXPECT_EQ(ExplainCode(4001).remedy, "");
    // 12001 is the wrong code, and 12002 is not an "02" of another command.
    EXPECT_EQ(ExplainCode(12001).remedy, ExplainCode(6001).remedy);
    EXPECT_NE(ExplainCode(12002).remedy, ExplainCode(6002).remedy);
}

TEST(CodesTest, EveryCommandSaysWhatToDoWhenTheDeviceIsBusy) {
    for (const int code : CatalogueCodes()) {
        if (code % 100 == 98) {
            EXPECT_NE(ExplainCode(code).remedy.find("ocupado"), std::string::npos) << code;
        }
    }
    EXPECT_EQ(CatalogueCodes().size(), 138U);
}

TEST(ShapesTest, EveryShapeHasTheFieldsOfTheDocuments) {
    EXPECT_EQ(ShapeOf("ConsultarSAT").fields.size(), 5U);
    EXPECT_EQ(ShapeOf("AtivarSAT").fields.size(), 6U);
    EXPECT_EQ(ShapeOf("ExtrairLogs").fields.size(), 6U);
    EXPECT_EQ(ShapeOf("TesteFimAFim").fields.size(), 9U);
    EXPECT_EQ(ShapeOf("EnviarDadosVenda").fields.size(), 12U);
    EXPECT_EQ(ShapeOf("CancelarUltimaVenda").fields.size(), 12U);
    EXPECT_EQ(ShapeOf("ConsultarStatusOperacional").fields.size(), 28U);
    EXPECT_STREQ(ShapeOf("ConsultarStatusOperacional").fields.back().name, "ESTADO_OPERACAO");
    EXPECT_EQ(ShapeOf("EnviarDadosVenda").refused, 6U);
    EXPECT_EQ(ShapeOf("TesteFimAFim").refused, 5U);
}

TEST(ShapesTest, CodeTellsItsCommand) {
    EXPECT_EQ(CommandOfCode("06010"), "EnviarDadosVenda");
    EXPECT_EQ(CommandOfCode("19003"), "ConsultarUltimaSessaoFiscal");
    EXPECT_EQ(CommandOfCode("20000"), "");
    EXPECT_EQ(CommandOfCode("6010"), "");
    EXPECT_EQ(CommandOfCode("06x10"), "");
}

}  // namespace
}  // namespace tool

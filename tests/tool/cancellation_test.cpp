#include "cancellation.h"

#include <gtest/gtest.h>

namespace tool {
namespace {

constexpr const char* KEY = "CFe35261111222333000181590001234560000012436775";

TEST(CancellationTest, KeyIsToldFromAFileName) {
    EXPECT_TRUE(LooksLikeKey(KEY));
    EXPECT_TRUE(LooksLikeKey(KEY + 3));
    EXPECT_FALSE(LooksLikeKey("cancelamento.xml"));
    EXPECT_FALSE(LooksLikeKey("CFe3526"));
    EXPECT_EQ(NormalKey(KEY + 3), KEY);
}

TEST(CancellationTest, XmlAloneGivesTheKey) {
    Cancellation cancellation;
    cancellation.xml = std::string("<CFeCanc><infCFe chCanc=\"") + KEY + "\"></infCFe></CFeCanc>";
    EXPECT_EQ(CompleteCancellation(&cancellation), "");
    EXPECT_EQ(cancellation.key, KEY);
}

TEST(CancellationTest, KeyFillsTheGapOfAnXml) {
    Cancellation cancellation;
    cancellation.key = KEY;
    cancellation.xml = "<infCFe chCanc=\"@CHAVE@\">";
    EXPECT_EQ(CompleteCancellation(&cancellation), "");
    EXPECT_EQ(cancellation.xml, std::string("<infCFe chCanc=\"") + KEY + "\">");
}

TEST(CancellationTest, KeyAndSaleMakeTheXml) {
    Cancellation cancellation;
    cancellation.key = KEY;
    cancellation.sale =
        "<ide><CNPJ>1</CNPJ><signAC>s</signAC><numeroCaixa>001</numeroCaixa></ide><emit><CNPJ>2</CNPJ></emit>"
        "<dest><CPF>3</CPF><xNome>x</xNome></dest>";
    EXPECT_EQ(CompleteCancellation(&cancellation), "");
    EXPECT_EQ(cancellation.xml,
              std::string("<CFeCanc><infCFe chCanc=\"") + KEY +
                  "\"><ide><CNPJ>1</CNPJ><signAC>s</signAC><numeroCaixa>001</numeroCaixa></ide><emit/>"
                  "<dest><CPF>3</CPF></dest><total/></infCFe></CFeCanc>");
}

TEST(CancellationTest, ContradictionsAreTold) {
    std::string other = KEY;
    other.back() = '6';
    Cancellation none;
    EXPECT_NE(CompleteCancellation(&none), "");
    Cancellation wrong;
    wrong.key = other;
    EXPECT_NE(CompleteCancellation(&wrong).find(other), std::string::npos);
    Cancellation two;
    two.key = KEY;
    two.xml = "<infCFe chCanc=\"" + other + "\">";
    EXPECT_NE(CompleteCancellation(&two), "");
}

}  // namespace
}  // namespace tool

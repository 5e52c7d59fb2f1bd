#include "receipt.h"

#include <gmock/gmock.h>

#include "fiscal_key.h"
#include "receipt_fixture.h"

namespace emulator {

TEST(Receipt, TimesAsTheRepliesCarryThem) {
    EXPECT_EQ(DateText(MORNING), "20260304");
    EXPECT_EQ(TimeText(MORNING), "050607");
    EXPECT_EQ(TimeStamp(MORNING), "20260304050607");
}

TEST(Receipt, KeyOfASale) {
    Receipt receipt;
    ASSERT_EQ(IssueSale(DEMO_SALE, TestIssue(), &receipt), "");
    ASSERT_TRUE(IsDigits(receipt.key, 44));
    EXPECT_EQ(receipt.key.substr(0, 43), "3526031122233300018159000123456000007654321");
    EXPECT_EQ(receipt.key[43], CheckDigit(receipt.key.substr(0, 43)));
    EXPECT_EQ(receipt.taxpayer, "11222333000181");
    EXPECT_EQ(receipt.buyer, "52998224725");
}

// 29.80 + 18.49 + 23.97 + 31.74 + 18.66 + 21.90 = 144.56; discounts 1.00 + 2.00 and 1.50 on the whole.
TEST(Receipt, TotalsAreAddedUpFromTheItems) {
    Receipt receipt;
    ASSERT_EQ(IssueSale(DEMO_SALE, TestIssue(), &receipt), "");
    EXPECT_EQ(receipt.total, "140.06");
    EXPECT_EQ(TextOf(receipt.xml, "vCFe"), "140.06");
    EXPECT_EQ(TextOf(receipt.xml, "vTroco"), "9.94");
    const std::string sums = TextOf(receipt.xml, "ICMSTot");
    EXPECT_EQ(TextOf(sums, "vProd"), "144.56");
    EXPECT_EQ(TextOf(sums, "vDesc"), "3.00");
    EXPECT_EQ(TextOf(sums, "vICMS"), "12.84");   // 3.29 + 1.59 + 2.20 + 2.22 + 3.54
    EXPECT_EQ(TextOf(sums, "vPIS"), "0.64");     // 0.31 + 0.33
    EXPECT_EQ(TextOf(sums, "vCOFINS"), "2.92");  // 1.41 + 1.51
}

TEST(Receipt, AddsWhatADeviceAdds) {
    Receipt receipt;
    ASSERT_EQ(IssueSale(DEMO_SALE, TestIssue(), &receipt), "");
    EXPECT_NE(receipt.xml.find("Id=\"CFe" + receipt.key + "\""), std::string::npos);
    EXPECT_NE(receipt.xml.find("versaoDadosEnt=\"0.08\""), std::string::npos);
    EXPECT_NE(
        receipt.xml.find("<ide><cUF>35</cUF><cNF>654321</cNF><mod>59</mod><nserieSAT>000123456</nserieSAT>"
                         "<nCFe>000007</nCFe><dEmi>20260304</dEmi><hEmi>050607</hEmi>"),
        std::string::npos);
    EXPECT_EQ(TextOf(receipt.xml, "assinaturaQRCODE"), "UFJPT0Y=");
    EXPECT_EQ(TextOf(receipt.xml, "vItem"), "29.48");
    EXPECT_EQ(TextOf(receipt.xml, "xNome"), "EMITENTE DE DEMONSTRACAO LTDA");
    EXPECT_NE(receipt.xml.find("preferencia &amp; volte"), std::string::npos);
}

TEST(Receipt, AmountsThatNoDeviceCanHoldAreRefused) {
    const std::string huge = Replaced(DEMO_SALE, "<qCom>3.0000", "<qCom>99999999999.9999");
    EXPECT_EQ(ProblemOf(Replaced(huge, "<vUnCom>7.99", "<vUnCom>99999999999.99")),
              "det 3/prod/vProd: esperado valor que caiba no cupom, encontrado valor grande demais");
}

TEST(Receipt, CutsOffWhereTheSaleSaysSo) {
    Receipt rounded;
    Receipt cut;
    ASSERT_EQ(IssueSale(DEMO_SALE, TestIssue(), &rounded), "");
    // 0.4350 x 42.90 = 18.6615; 2 x 14.905 = 29.81, 3 x 7.995 = 23.985.
    const std::string sale = Replaced(DEMO_SALE, "<vUnCom>7.99<", "<vUnCom>7.995<");
    ASSERT_EQ(IssueSale(Replaced(sale, "<indRegra>A", "<indRegra>T"), TestIssue(), &cut), "");
    EXPECT_EQ(cut.total, "140.07");
    ASSERT_EQ(IssueSale(sale, TestIssue(), &rounded), "");
    EXPECT_EQ(rounded.total, "140.08");
}

TEST(Receipt, WhatADeviceAddsTakesThePlaceOfTheCallers) {
    std::string sale = Replaced(DEMO_SALE, "<ide>", "<ide><cUF>99</cUF><hEmi>1</hEmi>");
    sale = Replaced(sale, "<numeroCaixa>", "<assinaturaQRCODE>mine</assinaturaQRCODE><numeroCaixa>");
    sale = Replaced(sale, "</emit>", "<xNome>mine</xNome><cRegTrib>1</cRegTrib></emit>");
    const Receipt plain = ReceiptOf(DEMO_SALE);
    EXPECT_EQ(Between(ReceiptOf(sale).xml, "<ide>", "<det "), Between(plain.xml, "<ide>", "<det "));
}

TEST(Receipt, ACancellationCarriesTheSaleAndAKeyOfItsOwn) {
    Receipt sale;
    ASSERT_EQ(IssueSale(DEMO_SALE, TestIssue(), &sale), "");
    Issue issue = TestIssue();
    issue.document = 8;
    issue.now += std::chrono::minutes(1);
    Receipt receipt;
    bool other = false;
    const std::string text = Replaced(DEMO_CANCELLATION, "@CHAVE@", "CFe" + sale.key);
    ASSERT_EQ(IssueCancellation(text, sale, issue, &receipt, &other), "");
    EXPECT_NE(receipt.key, sale.key);
    EXPECT_EQ(receipt.total, sale.total);
    EXPECT_NE(receipt.xml.find("chCanc=\"CFe" + sale.key + "\""), std::string::npos);
    EXPECT_NE(receipt.xml.find("<dEmi>20260304</dEmi><hEmi>050607</hEmi><ide>"), std::string::npos);
    EXPECT_NE(receipt.xml.find("<hEmi>050707</hEmi>"), std::string::npos);
    EXPECT_EQ(TextOf(receipt.xml, "vCFe"), "140.06");

    EXPECT_NE(IssueCancellation(DEMO_CANCELLATION, sale, issue, &receipt, &other), "");
    EXPECT_TRUE(other);
    EXPECT_THAT(IssueCancellation("<CFeCanc>", sale, issue, &receipt, &other),
                testing::StartsWith("XML malformado: linha 1: "));
    EXPECT_FALSE(other);
}

}  // namespace emulator

#include "receipt.h"

#include <gtest/gtest.h>

#include "demo_texts.h"
#include "fiscal_key.h"
#include "sample.h"

namespace emulator {

namespace {

Issue TestIssue() {
    Issue issue;
    issue.now = MORNING;
    issue.state = 35;
    issue.serial = "000123456";
    issue.software = "010203";
    issue.proof = "UFJPT0Y=";
    issue.document = 7;
    issue.random = 654321;
    return issue;
}

std::string ProblemOf(const std::string& sale) {
    Receipt receipt;
    return IssueSale(sale, TestIssue(), &receipt);
}

}  // namespace

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
    EXPECT_EQ(TextOf(sums, "vICMS"), "12.98");   // 3.33 + 1.61 + 2.22 + 2.24 + 3.58
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
    EXPECT_EQ(TextOf(receipt.xml, "vItem"), "29.80");
    EXPECT_EQ(TextOf(receipt.xml, "xNome"), "EMITENTE DE DEMONSTRACAO LTDA");
    EXPECT_NE(receipt.xml.find("preferencia &amp; volte"), std::string::npos);
}

TEST(Receipt, NamesWhatIsWrongWithASale) {
    const std::string sale = DEMO_SALE;
    EXPECT_EQ(ProblemOf(sale.substr(0, sale.size() / 2)), "XML malformado");
    EXPECT_EQ(ProblemOf("<CFe/>"), "CFe/infCFe ausente");
    EXPECT_EQ(ProblemOf(Replaced(sale, "ide>", "idx>")), "ide ausente");
    EXPECT_EQ(ProblemOf(Replaced(sale, "pgto>", "pgtx>")), "pgto ausente");
    EXPECT_EQ(ProblemOf(Replaced(sale, "11222333000181", "11222333000182")), "CNPJ do emitente invalido");
    EXPECT_EQ(ProblemOf(Replaced(sale, "52998224725", "529|8224725")), "CPF do destinatario invalido");
    EXPECT_EQ(ProblemOf(Replaced(sale, "<qCom>3.0000", "<qCom>-3")), "qCom invalido no item 3");
    EXPECT_EQ(ProblemOf(Replaced(sale, "<indRegra>A", "<indRegra>B")), "indRegra invalido no item 1");
    EXPECT_EQ(ProblemOf(Replaced(sale, "<vDesc>2.00", "<vDesc>99.00")), "vDesc invalido no item 6");
    EXPECT_EQ(ProblemOf(Replaced(sale, "<pPIS>0.0165", "<pPIS>x")), "pPIS invalido no item 2");
    EXPECT_EQ(ProblemOf(Replaced(sale, "<vDescSubtot>1.50", "<vDescSubtot>999")), "vDescSubtot invalido");
    EXPECT_EQ(ProblemOf(Replaced(sale, "<vMP>100.00", "<vMP>50.00")),
              "pagamento 100.00 menor que o total 140.06");
}

TEST(Receipt, AmountsThatNoDeviceCanHoldAreRefused) {
    const std::string huge = Replaced(DEMO_SALE, "<qCom>3.0000", "<qCom>99999999999.9999");
    EXPECT_EQ(ProblemOf(Replaced(huge, "<vUnCom>7.99", "<vUnCom>99999999999.99")),
              "vProd invalido no item 3");
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

TEST(Receipt, OnlyTheTaxpayerOfTheDevice) {
    Issue issue = TestIssue();
    Receipt receipt;
    issue.taxpayer = "44555666000181";
    EXPECT_EQ(IssueSale(DEMO_SALE, issue, &receipt), "CNPJ do emitente difere do contribuinte");
    issue.taxpayer = "11222333000181";
    EXPECT_EQ(IssueSale(DEMO_SALE, issue, &receipt), "");
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
    EXPECT_EQ(IssueCancellation("<CFeCanc>", sale, issue, &receipt, &other), "XML malformado");
    EXPECT_FALSE(other);
}

}  // namespace emulator

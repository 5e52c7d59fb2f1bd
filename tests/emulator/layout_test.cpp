/*
 * Sales and cancellations that two readers could understand in two ways.
 */
#include "layout.h"

#include <gmock/gmock.h>

#include "receipt_fixture.h"

namespace emulator {

namespace {

const std::string SALE = SaleText(ItemText(1, "10.00"));

// What is wrong with the sale once the text behind `place` is added to it.
std::string WithBehind(const std::string& place, const std::string& added) {
    return ProblemOf(Replaced(SALE, place, place + added));
}

}  // namespace

TEST(Layout, ARepeatedElementOfASaleIsRefusedByItsName) {
    const struct {
        const char* place;
        const char* added;
        const char* problem;
    } rows[] = {
        {"</infCFe>", "<infCFe versaoDadosEnt=\"0.08\"/>", "infCFe repetido"},
        {"</ide>", "<ide/>", "ide repetido"},
        {"</emit>", "<emit/>", "emit repetido"},
        {"<dest/>", "<dest/>", "dest repetido"},
        {"</total>", "<total/>", "total repetido"},
        {"</pgto>", "<pgto/>", "pgto repetido"},
        {"<signAC>c2ln</signAC>", "<signAC>eA==</signAC>", "ide/signAC repetido"},
        {"<CNPJ>11222333000181</CNPJ>", "<CNPJ>44555666000181</CNPJ>", "emit/CNPJ repetido"},
        {"</prod>", "<prod/>", "det 1/prod repetido"},
        {"<qCom>1.0000</qCom>", "<qCom>2</qCom>", "det 1/prod/qCom repetido"},
        {"<pICMS>10.00</pICMS>", "<pICMS>0</pICMS>", "det 1/imposto/ICMS/ICMS00/pICMS repetido"},
        {"<vMP>1000.00</vMP>", "<vMP>1</vMP>", "pgto/MP 1/vMP repetido"},
        {"</pgto>", "<unknown/><unknown/>", "unknown repetido"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(WithBehind(row.place, row.added), row.problem);
    }
}

TEST(Layout, ItemsPaymentsAndRemarksMayRepeat) {
    EXPECT_EQ(ProblemOf(SaleText(ItemText(1, "10.00") + ItemText(2, "10.00"))), "");
    EXPECT_EQ(WithBehind("</MP>", "<MP><cMP>01</cMP><vMP>1.00</vMP></MP>"), "");
    const std::string remark = "<obsFiscoDet xCampoDet=\"a\"><xTextoDet>b</xTextoDet></obsFiscoDet>";
    EXPECT_EQ(WithBehind("</indRegra>", remark + remark), "");
    EXPECT_EQ(WithBehind("</MP>", "<MP><cMP>01</cMP><cMP>02</cMP></MP>"), "pgto/MP 2/cMP repetido");
}

TEST(Layout, AnElementInsideAValueIsRefused) {
    EXPECT_EQ(ProblemOf(Replaced(SALE, "<qCom>1.0000", "<qCom><b>1.0000</b>")),
              "det 1/prod/qCom: esperado um valor, encontrado elemento b");
    EXPECT_EQ(ProblemOf(Replaced(SALE, "<qCom>1.0000", "<qCom>1<b/>.0000")),
              "qCom: esperado texto ou elementos, encontrado ambos");
}

TEST(Layout, AValueThatIsCutUpIsReadWholeEverywhere) {
    EXPECT_EQ(ReceiptOf(Replaced(SALE, "<qCom>1.0000", "<qCom>1<!-- x -->2.0<?x?>0<![CDATA[0]]>0")).total,
              "120.00");
    EXPECT_EQ(ProblemOf(Replaced(SALE, "11222333000181", "11222333000181<!-- -->99")),
              "emit/CNPJ: esperado um CNPJ valido, encontrado 1122233300018199");
    const Receipt receipt = ReceiptOf(Replaced(SALE, "<xProd>X", "<xProd><![CDATA[CAFE & PAO]]>"));
    EXPECT_EQ(TextOf(receipt.xml, "xProd"), "CAFE &amp; PAO");
}

TEST(Layout, ARepeatedElementOfACancellationIsRefusedByItsName) {
    const Receipt sale = ReceiptOf(DEMO_SALE);
    const std::string text = Replaced(DEMO_CANCELLATION, "@CHAVE@", "CFe" + sale.key);
    const struct {
        const char* place;
        const char* added;
        const char* problem;
    } rows[] = {
        {"</ide>", "<ide/>", "ide repetido"},
        {"<emit/>", "<emit/>", "emit repetido"},
        {"</dest>", "<dest/>", "dest repetido"},
        {"<total/>", "<total/>", "total repetido"},
        {"</numeroCaixa>", "<numeroCaixa>2</numeroCaixa>", "ide/numeroCaixa repetido"},
        {"</infCFe>", "<infCFe/>", "infCFe repetido"},
    };
    for (const auto& row : rows) {
        Receipt receipt;
        bool other = false;
        EXPECT_EQ(IssueCancellation(Replaced(text, row.place, std::string(row.place) + row.added), sale,
                                    TestIssue(), &receipt, &other),
                  row.problem);
    }
}

TEST(Layout, ASaleInAnotherEncodingComesBackInUtf8) {
    const std::string named = Replaced(SALE, "<xProd>X", "<xProd>CAF\xc9 &#201;");
    for (const char* encoding : {"ISO-8859-1", "windows-1252"}) {
        const Receipt receipt =
            ReceiptOf("<?xml version=\"1.0\" encoding=\"" + std::string(encoding) + "\"?>" + named);
        EXPECT_THAT(receipt.xml, testing::StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?><CFe>"));
        EXPECT_EQ(TextOf(receipt.xml, "xProd"), "CAF\u00c9 \u00c9") << encoding;
    }
    const std::string bom = "\xef\xbb\xbf" + std::string(DEMO_SALE);
    EXPECT_EQ(ReceiptOf(bom).xml, ReceiptOf(DEMO_SALE).xml);
    EXPECT_EQ(ReceiptOf(Replaced(DEMO_SALE, "UTF-8", "US-ASCII")).xml, ReceiptOf(DEMO_SALE).xml);
}

}  // namespace emulator

/*
 * What a receipt's values come to: shares, taxes of goods and services, sums.
 */
#include "totals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "decimal.h"
#include "receipt_fixture.h"

namespace emulator {

namespace {

using testing::HasSubstr;

// The texts of every element of that name, in order.
std::vector<std::string> All(const std::string& xml, const std::string& name) {
    std::vector<std::string> texts;
    const std::string open = "<" + name + ">";
    for (size_t at = xml.find(open); at != xml.npos; at = xml.find(open, at + 1)) {
        const size_t start = at + open.size();
        texts.push_back(xml.substr(start, xml.find('<', start) - start));
    }
    return texts;
}

std::vector<std::string> Texts(std::initializer_list<const char*> texts) {
    return {texts.begin(), texts.end()};
}

int64_t SumOf(const std::vector<std::string>& amounts) {
    int64_t sum = 0;
    for (const std::string& amount : amounts) {
        int64_t cents = 0;
        EXPECT_TRUE(ParseDecimal(amount, 2, &cents)) << amount;
        sum += cents;
    }
    return sum;
}

}  // namespace

TEST(Totals, ADiscountOnTheSaleIsSharedToTheCent) {
    const std::string items = ItemText(1, "10.00") + ItemText(2, "10.00") + ItemText(3, "10.00");
    const Receipt receipt =
        ReceiptOf(SaleText(items, "<DescAcrEntr><vDescSubtot>1.00</vDescSubtot></DescAcrEntr>"));
    EXPECT_EQ(All(receipt.xml, "vRatDesc"), Texts({"0.33", "0.34", "0.33"}));
    EXPECT_EQ(All(receipt.xml, "vItem"), Texts({"9.67", "9.66", "9.67"}));
    EXPECT_EQ(All(receipt.xml, "vRatAcr"), Texts({}));
    EXPECT_EQ(receipt.total, "29.00");
    EXPECT_EQ(TextOf(TextOf(receipt.xml, "ICMSTot"), "vProd"), "30.00");
}

TEST(Totals, ASurchargeOnTheSaleIsSharedToTheCent) {
    const std::string items = ItemText(1, "1.00") + ItemText(2, "0.01") + ItemText(3, "98.99");
    const Receipt receipt =
        ReceiptOf(SaleText(items, "<DescAcrEntr><vAcresSubtot>10.00</vAcresSubtot></DescAcrEntr>"));
    EXPECT_EQ(All(receipt.xml, "vRatAcr"), Texts({"0.10", "9.90"}));
    EXPECT_EQ(All(receipt.xml, "vItem"), Texts({"1.10", "0.01", "108.89"}));
    EXPECT_EQ(receipt.total, "110.00");
}

TEST(Totals, SharesAddUpWhateverTheItemsCost) {
    std::mt19937 random(11);
    for (int round = 0; round < 200; ++round) {
        std::string items;
        int64_t whole = 0;
        const int count = 1 + static_cast<int>(random() % 12);
        for (int number = 1; number <= count; ++number) {
            const int64_t cents = random() % 3 == 0 ? 0 : static_cast<int64_t>(random() % 4000);
            whole += cents;
            items += ItemText(number, FormatCents(cents));
        }
        const auto discount = static_cast<int64_t>(random() % static_cast<unsigned>(whole + 1));
        const Receipt receipt = ReceiptOf(SaleText(
            items, "<DescAcrEntr><vDescSubtot>" + FormatCents(discount) + "</vDescSubtot></DescAcrEntr>"));
        ASSERT_EQ(SumOf(All(receipt.xml, "vRatDesc")), discount) << items;
        ASSERT_EQ(SumOf(All(receipt.xml, "vItem")), whole - discount) << items;
        ASSERT_EQ(receipt.total, FormatCents(whole - discount));
    }
}

TEST(Totals, ASurchargeOnItemsThatCostNothingIsNotLost) {
    const std::string total = "<DescAcrEntr><vAcresSubtot>2.00</vAcresSubtot></DescAcrEntr>";
    const Receipt receipt = ReceiptOf(SaleText(ItemText(1, "0.00") + ItemText(2, "0.00"), total));
    EXPECT_EQ(All(receipt.xml, "vItem"), Texts({"2.00", "0.00"}));
    EXPECT_EQ(receipt.total, "2.00");
}

TEST(Totals, AServiceBearsIssqnOnItsValueLessTheDeduction) {
    const std::string service =
        std::string(SERVICE_TAX) +
        "<PIS><PISAliq><CST>01</CST><vBC>21.00</vBC><pPIS>0.0100</pPIS></PISAliq></PIS>"
        "<COFINS><COFINSNT><CST>06</CST></COFINSNT></COFINS>";
    const Receipt receipt = ReceiptOf(SaleText(ItemText(1, "10.00") + ItemText(2, "21.00", service)));
    EXPECT_EQ(Between(receipt.xml, "<ISSQN>", "<cMunFG>"),
              "<vDeducISSQN>1.00</vDeducISSQN><vBC>20.00</vBC><vAliq>5.00</vAliq><vISSQN>1.00</vISSQN>");
    EXPECT_EQ(TextOf(receipt.xml, "ISSQNtot"),
              "<vBC>20.00</vBC><vISS>1.00</vISS><vPIS>0.21</vPIS><vCOFINS>0.00</vCOFINS><vPISST>0.00</vPISST>"
              "<vCOFINSST>0.00</vCOFINSST>");
    const std::string goods = TextOf(receipt.xml, "ICMSTot");
    EXPECT_EQ(TextOf(goods, "vICMS"), "1.00");
    EXPECT_EQ(TextOf(goods, "vProd"), "31.00");
    EXPECT_EQ(TextOf(goods, "vPIS"), "0.00");
    EXPECT_THAT(receipt.xml, HasSubstr("</ICMSTot><vCFe>31.00</vCFe><ISSQNtot>"));
}

TEST(Totals, NoServiceNoTotalsOfServices) {
    EXPECT_THAT(ReceiptOf(SaleText(ItemText(1, "10.00"))).xml, testing::Not(HasSubstr("ISSQNtot")));
}

TEST(Totals, ServicesShareADiscountWhereTheSellerSaysSo) {
    const std::string items =
        ItemText(1, "10.00") + ItemText(2, "30.00", std::string(SERVICE_TAX) + NO_CONTRIBUTIONS);
    const std::string total = "<DescAcrEntr><vDescSubtot>4.00</vDescSubtot></DescAcrEntr>";
    EXPECT_EQ(All(ReceiptOf(SaleText(items, total, "S")).xml, "vRatDesc"), Texts({"1.00", "3.00"}));
    EXPECT_EQ(All(ReceiptOf(SaleText(items, total, "N")).xml, "vRatDesc"), Texts({"4.00"}));
    const std::string more = "<DescAcrEntr><vDescSubtot>20.00</vDescSubtot></DescAcrEntr>";
    EXPECT_EQ(All(ReceiptOf(SaleText(items, more, "N")).xml, "vRatDesc"), Texts({"5.00", "15.00"}))
        << "goods cannot bear more than they cost";
}

TEST(Totals, ContributionsByValueByQuantityAndSubstituted) {
    const std::string taxes =
        std::string(GOODS_TAX) +
        "<PIS><PISQtde><CST>03</CST><qBCProd>3.0000</qBCProd><vAliqProd>0.5000</vAliqProd></PISQtde></PIS>"
        "<PISST><vBC>10.00</vBC><pPIS>0.0200</pPIS></PISST>"
        "<COFINS><COFINSOutr><CST>99</CST><vBC>10.00</vBC><pCOFINS>0.0300</pCOFINS></COFINSOutr></COFINS>"
        "<COFINSST><qBCProd>2.0000</qBCProd><vAliqProd>0.2500</vAliqProd></COFINSST>";
    const Receipt receipt = ReceiptOf(SaleText(ItemText(1, "10.00", taxes)));
    EXPECT_EQ(All(receipt.xml, "vPIS"), Texts({"1.50", "0.20", "1.50"}));
    EXPECT_EQ(All(receipt.xml, "vCOFINS"), Texts({"0.30", "0.50", "0.30"}));
    EXPECT_EQ(All(receipt.xml, "vPISST"), Texts({"0.20"}));
    EXPECT_EQ(All(receipt.xml, "vCOFINSST"), Texts({"0.50"}));
}

TEST(Totals, IcmsIsReckonedOnWhatTheItemCostsInTheEnd) {
    const Receipt receipt = ReceiptOf(
        SaleText(ItemText(1, "20.00"), "<DescAcrEntr><vDescSubtot>10.00</vDescSubtot></DescAcrEntr>"));
    EXPECT_EQ(All(receipt.xml, "vICMS"), Texts({"1.00", "1.00"}));
}

TEST(Totals, ApproximateTaxesAreKeptOrAddedUp) {
    const std::string taxes = std::string("<vItem12741>1.25</vItem12741>") + GOODS_TAX + NO_CONTRIBUTIONS;
    const std::string items = ItemText(1, "10.00", taxes) + ItemText(2, "10.00", taxes);
    EXPECT_EQ(All(ReceiptOf(SaleText(items)).xml, "vCFeLei12741"), Texts({"2.50"}));
    EXPECT_EQ(All(ReceiptOf(SaleText(items, "<vCFeLei12741>9.99</vCFeLei12741>")).xml, "vCFeLei12741"),
              Texts({"9.99"}));
    EXPECT_EQ(All(ReceiptOf(SaleText(items)).xml, "vItem12741"), Texts({"1.25", "1.25"}));
}

TEST(Totals, WhatTheCallerReckonedMustBeTheSame) {
    const std::string items = ItemText(1, "10.00");
    EXPECT_EQ(ProblemOf(SaleText(items, "<vCFe>11.00</vCFe>")),
              "total/vCFe: esperado 10.00, encontrado 11.00");
    EXPECT_EQ(All(ReceiptOf(SaleText(items, "<vCFe>10.00</vCFe>")).xml, "vCFe"), Texts({"10.00"}));
    EXPECT_EQ(ProblemOf(SaleText(items, "<ICMSTot><vProd>9.00</vProd></ICMSTot>")),
              "total/ICMSTot/vProd: esperado 10.00, encontrado 9.00");
    EXPECT_EQ(All(ReceiptOf(SaleText(items, "<ICMSTot><vProd>10.00</vProd></ICMSTot>")).xml, "vProd"),
              Texts({"10.00", "10.00"}));
    EXPECT_EQ(ProblemOf(SaleText(Replaced(items, "</prod>", "<vItem>9.99</vItem></prod>"))),
              "det 1/prod/vItem: esperado 10.00, encontrado 9.99");
    EXPECT_EQ(ProblemOf(SaleText(Replaced(items, "</pICMS>", "</pICMS><vICMS>x|y</vICMS>"))),
              "det 1/imposto/ICMS/ICMS00/vICMS: esperado 1.00, encontrado x?y");
    EXPECT_EQ(ProblemOf(Replaced(SaleText(items), "</pgto>", "<vTroco>1</vTroco></pgto>")),
              "pgto/vTroco: esperado 990.00, encontrado 1");
}

TEST(Totals, NamesTheValueThatIsWrong) {
    const std::string items = ItemText(1, "10.00");
    const std::string service = ItemText(1, "10.00", std::string(SERVICE_TAX) + NO_CONTRIBUTIONS);
    const auto adjusted = [&](const std::string& inside) {
        return ProblemOf(SaleText(items, "<DescAcrEntr>" + inside + "</DescAcrEntr>"));
    };
    EXPECT_EQ(adjusted("<vDescSubtot>10.01</vDescSubtot>"),
              "total/DescAcrEntr/vDescSubtot: esperado no maximo 10.00, encontrado 10.01");
    EXPECT_EQ(adjusted("<vDescSubtot>1</vDescSubtot><vAcresSubtot>1</vAcresSubtot>"),
              "total/DescAcrEntr: esperado vDescSubtot ou vAcresSubtot, encontrado ambos");
    EXPECT_EQ(adjusted("<vAcresSubtot>-1</vAcresSubtot>"),
              "total/DescAcrEntr/vAcresSubtot: esperado valor positivo com ate 2 decimais, encontrado -1");
    EXPECT_EQ(ProblemOf(SaleText(Replaced(service, "<vDeducISSQN>1.00", "<vDeducISSQN>10.01"))),
              "det 1/imposto/ISSQN/vDeducISSQN: esperado no maximo 10.00, encontrado 10.01");
    EXPECT_EQ(ProblemOf(SaleText(Replaced(service, "<vAliq>5.00</vAliq>", ""))),
              "det 1/imposto/ISSQN/vAliq ausente");
    EXPECT_EQ(ProblemOf(SaleText(ItemText(1, "1", NO_CONTRIBUTIONS))), "det 1/imposto/ICMS ou ISSQN ausente");
    EXPECT_EQ(ProblemOf(SaleText(ItemText(1, "1", std::string(GOODS_TAX) + SERVICE_TAX))),
              "det 1/imposto: esperado ICMS ou ISSQN, encontrado ambos");
    EXPECT_EQ(ProblemOf(SaleText(ItemText(1, "1", GOODS_TAX))), "det 1/imposto/PIS ausente");
    EXPECT_EQ(ProblemOf(SaleText(Replaced(items, "<pICMS>10.00</pICMS>", ""))),
              "det 1/imposto/ICMS/ICMS00/pICMS ausente");
    EXPECT_EQ(ProblemOf(SaleText(Replaced(items, "PISNT", "PISAliq"))),
              "det 1/imposto/PIS/PISAliq/vBC ausente");
    EXPECT_EQ(ProblemOf(SaleText(Replaced(items, "COFINSNT", "COFINSQtde"))),
              "det 1/imposto/COFINS/COFINSQtde/qBCProd ausente");
    EXPECT_EQ(ProblemOf(SaleText(Replaced(items, "<PISNT><CST>06</CST></PISNT>", ""))),
              "det 1/imposto/PIS/grupo de PIS ausente");
}

}  // namespace emulator

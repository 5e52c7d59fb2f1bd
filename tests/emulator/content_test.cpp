/*
 * What a sale and a cancellation must contain, and the words for what they lack.
 */
#include "content.h"

#include <gmock/gmock.h>

#include "receipt_fixture.h"

namespace emulator {

TEST(Content, ASaleWithoutAMandatoryElementIsRefusedByItsName) {
    const std::string sale = SaleText(ItemText(1, "10.00"));
    ASSERT_EQ(ProblemOf(sale), "");
    const struct {
        const char* removed;
        const char* problem;
    } rows[] = {
        {" versaoDadosEnt=\"0.08\"", "infCFe/versaoDadosEnt ausente"},
        {"<CNPJ>44555666000181</CNPJ>", "ide/CNPJ ausente"},
        {"<signAC>c2ln</signAC>", "ide/signAC ausente"},
        {"<numeroCaixa>001</numeroCaixa>", "ide/numeroCaixa ausente"},
        {"<CNPJ>11222333000181</CNPJ>", "emit/CNPJ ausente"},
        {"<IE>111111111111</IE>", "emit/IE ausente"},
        {"<indRatISSQN>N</indRatISSQN>", "emit/indRatISSQN ausente"},
        {"<dest/>", "dest ausente"},
        {"<cProd>1</cProd>", "det 1/prod/cProd ausente"},
        {"<xProd>X</xProd>", "det 1/prod/xProd ausente"},
        {"<CFOP>5102</CFOP>", "det 1/prod/CFOP ausente"},
        {"<uCom>UN</uCom>", "det 1/prod/uCom ausente"},
        {"<qCom>1.0000</qCom>", "det 1/prod/qCom ausente"},
        {"<vUnCom>10.00</vUnCom>", "det 1/prod/vUnCom ausente"},
        {"<indRegra>A</indRegra>", "det 1/prod/indRegra ausente"},
        {"<total></total>", "total ausente"},
        {"<cMP>01</cMP>", "pgto/MP 1/cMP ausente"},
        {"<vMP>1000.00</vMP>", "pgto/MP 1/vMP ausente"},
        {"<MP><cMP>01</cMP><vMP>1000.00</vMP></MP>", "pgto/MP ausente"},
        {" nItem=\"1\"", "det 1/nItem: esperado 1, encontrado vazio"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ProblemOf(Replaced(sale, row.removed, "")), row.problem);
    }
    EXPECT_EQ(ProblemOf(SaleText("")), "det ausente");
    EXPECT_EQ(ProblemOf(SaleText("<det nItem=\"1\"/>")), "det 1/prod ausente");
    EXPECT_EQ(ProblemOf(SaleText("<det nItem=\"1\"><prod/></det>")), "det 1/imposto ausente");
    EXPECT_EQ(ProblemOf(Replaced(sale, "pgto>", "pgtx>")), "pgto ausente");
    EXPECT_EQ(ProblemOf(Replaced(sale, "ide>", "idx>")), "ide ausente");
    EXPECT_EQ(ProblemOf("<CFe/>"), "CFe/infCFe ausente");
    EXPECT_EQ(ProblemOf("<CFeCanc/>"), "elemento raiz: esperado CFe, encontrado CFeCanc");
    EXPECT_THAT(ProblemOf(sale.substr(0, sale.size() / 2)), testing::StartsWith("XML malformado: linha 1: "));
}

TEST(Content, AnElementInTheWrongShapeIsNamedWithWhatWasExpectedAndFound) {
    const std::string sale = SaleText(ItemText(1, "10.00"));
    const struct {
        const char* from;
        const char* to;
        const char* problem;
    } rows[] = {
        {"44555666000181", "44555666000182", "ide/CNPJ: esperado um CNPJ valido, encontrado 44555666000182"},
        {"11222333000181", "1", "emit/CNPJ: esperado um CNPJ valido, encontrado 1"},
        {"c2ln", "", "ide/signAC: esperado um texto, encontrado vazio"},
        {"<numeroCaixa>001", "<numeroCaixa>1", "ide/numeroCaixa: esperado 3 digitos, encontrado 1"},
        {"<indRatISSQN>N", "<indRatISSQN>X", "emit/indRatISSQN: esperado S ou N, encontrado X"},
        {"<CFOP>5102", "<CFOP>5.102", "det 1/prod/CFOP: esperado 4 digitos, encontrado 5.102"},
        {"<cMP>01", "<cMP>1|", "pgto/MP 1/cMP: esperado 2 digitos, encontrado 1?"},
        {"<indRegra>A", "<indRegra>B", "det 1/prod/indRegra: esperado A ou T, encontrado B"},
        {"<qCom>1.0000", "<qCom>-3",
         "det 1/prod/qCom: esperado valor positivo com ate 4 decimais, encontrado -3"},
        {"<vUnCom>10.00", "<vUnCom>1,5",
         "det 1/prod/vUnCom: esperado valor positivo com ate 3 decimais, encontrado 1,5"},
        {"<vMP>1000.00", "<vMP>-1",
         "pgto/MP 1/vMP: esperado valor positivo com ate 2 decimais, encontrado -1"},
        {"<vMP>1000.00", "<vMP>9.99", "soma de pgto/MP/vMP: esperado ao menos 10.00, encontrado 9.99"},
        {"<det nItem=\"1\"", "<det nItem=\"2\"", "det 1/nItem: esperado 1, encontrado 2"},
        {"</prod>", "<vDesc>10.01</vDesc></prod>",
         "det 1/prod/vDesc: esperado no maximo 10.00, encontrado 10.01"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ProblemOf(Replaced(sale, row.from, row.to)), row.problem);
    }
}

TEST(Content, TheBuyersNumberHasItsCheckDigits) {
    const std::string sale = SaleText(ItemText(1, "10.00"));
    const auto bought = [&](const std::string& inside) {
        return ProblemOf(Replaced(sale, "<dest/>", "<dest>" + inside + "</dest>"));
    };
    EXPECT_EQ(bought("<CPF>52998224725</CPF>"), "");
    EXPECT_EQ(bought("<CNPJ>11222333000181</CNPJ>"), "");
    EXPECT_EQ(bought("<CPF>52998224724</CPF>"), "dest/CPF: esperado um CPF valido, encontrado 52998224724");
    EXPECT_EQ(bought("<CPF>52998224735</CPF>"), "dest/CPF: esperado um CPF valido, encontrado 52998224735");
    EXPECT_EQ(bought("<CPF></CPF>"), "dest/CPF: esperado um CPF valido, encontrado vazio");
    EXPECT_EQ(bought("<CNPJ>11222333000182</CNPJ>"),
              "dest/CNPJ: esperado um CNPJ valido, encontrado 11222333000182");
    EXPECT_EQ(bought("<CPF>52998224725</CPF><CNPJ>11222333000181</CNPJ>"),
              "dest: esperado CPF ou CNPJ, encontrado ambos");
}

TEST(Content, OnlyTheTaxpayerOfTheDevice) {
    Issue issue = TestIssue();
    Receipt receipt;
    issue.taxpayer = "44555666000181";
    EXPECT_EQ(IssueSale(DEMO_SALE, issue, &receipt),
              "emit/CNPJ: esperado 44555666000181, encontrado 11222333000181");
    issue.taxpayer = "11222333000181";
    EXPECT_EQ(IssueSale(DEMO_SALE, issue, &receipt), "");
}

TEST(Content, ACancellationThatContradictsItsSaleIsRefused) {
    const Receipt sale = ReceiptOf(DEMO_SALE);
    const std::string text = Replaced(DEMO_CANCELLATION, "@CHAVE@", "CFe" + sale.key);
    const auto problem = [&](const char* from, const char* to) {
        Receipt receipt;
        bool other = false;
        const std::string found =
            IssueCancellation(Replaced(text, from, to), sale, TestIssue(), &receipt, &other);
        EXPECT_FALSE(other);
        return found;
    };
    EXPECT_EQ(problem("x", "x"), "");
    EXPECT_EQ(problem("<total/>", "<total><vCFe>1.00</vCFe></total>"),
              "total/vCFe: esperado 140.06, encontrado 1.00");
    EXPECT_EQ(problem("<emit/>", "<emit><CNPJ>44555666000181</CNPJ></emit>"),
              "emit/CNPJ: esperado 11222333000181, encontrado 44555666000181");
    EXPECT_EQ(problem("52998224725", "11144477735"), "dest: esperado 52998224725, encontrado 11144477735");
    EXPECT_EQ(problem("52998224725", "52998224724"),
              "dest/CPF: esperado um CPF valido, encontrado 52998224724");
    EXPECT_EQ(problem("<total/>", ""), "total ausente");
    EXPECT_EQ(problem("<emit/>", ""), "emit ausente");
    EXPECT_EQ(problem("<numeroCaixa>001</numeroCaixa>", ""), "ide/numeroCaixa ausente");
    EXPECT_EQ(problem(" chCanc=", " other="),
              "infCFe/chCanc: esperado CFe" + sale.key + ", encontrado vazio");
}

}  // namespace emulator

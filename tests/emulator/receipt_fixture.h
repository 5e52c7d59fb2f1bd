/*
 * What the tests of receipts share: an issue with everything fixed, and small sales made of parts.
 */
#pragma once

#include <string>

#include "demo_texts.h"
#include "receipt.h"
#include "sample.h"

namespace emulator {

/** Everything that a device adds, with values that never change. */
inline Issue TestIssue() {
    Issue issue;
    issue.now = MORNING;
    issue.state = 35;
    issue.serial = "000123456";
    issue.software = "010203";
    issue.proof = "UFJPT0Y=";
    issue.signature = "U0lHTg==";
    issue.certificate = "Q0VSVA==";
    issue.document = 7;
    issue.random = 654321;
    return issue;
}

/** What is wrong with a sale; empty when it is in order. */
inline std::string ProblemOf(const std::string& sale) {
    Receipt receipt;
    return IssueSale(sale, TestIssue(), &receipt);
}

/** The receipt of a sale; its XML tells the problem when there is one. */
inline Receipt ReceiptOf(const std::string& sale) {
    Receipt receipt;
    const std::string problem = IssueSale(sale, TestIssue(), &receipt);
    if (!problem.empty()) receipt.xml = problem;
    return receipt;
}

constexpr char GOODS_TAX[] = "<ICMS><ICMS00><Orig>0</Orig><CST>00</CST><pICMS>10.00</pICMS></ICMS00></ICMS>";
constexpr char SERVICE_TAX[] =
    "<ISSQN><vDeducISSQN>1.00</vDeducISSQN><vAliq>5.00</vAliq><cMunFG>3550308</cMunFG><cNatOp>01</cNatOp>"
    "<indIncFisc>2</indIncFisc></ISSQN>";
constexpr char NO_CONTRIBUTIONS[] =
    "<PIS><PISNT><CST>06</CST></PISNT></PIS><COFINS><COFINSNT><CST>06</CST></COFINSNT></COFINS>";

/** An item of quantity 1. `taxes` is what "imposto" holds. */
inline std::string ItemText(int number, const std::string& price,
                            const std::string& taxes = std::string(GOODS_TAX) + NO_CONTRIBUTIONS) {
    return "<det nItem=\"" + std::to_string(number) +
           "\"><prod><cProd>1</cProd><xProd>X</xProd><CFOP>5102</CFOP><uCom>UN</uCom><qCom>1.0000</qCom><vUnCom>" +
           price + "</vUnCom><indRegra>A</indRegra></prod><imposto>" + taxes + "</imposto></det>";
}

/** A sale of items that is paid with 1000.00. */
inline std::string SaleText(const std::string& items, const std::string& total = "",
                            const std::string& services_share = "N") {
    return "<CFe><infCFe versaoDadosEnt=\"0.08\"><ide><CNPJ>44555666000181</CNPJ><signAC>c2ln</signAC>"
           "<numeroCaixa>001</numeroCaixa></ide><emit><CNPJ>11222333000181</CNPJ><IE>111111111111</IE>"
           "<indRatISSQN>" +
           services_share + "</indRatISSQN></emit><dest/>" + items + "<total>" + total +
           "</total><pgto><MP><cMP>01</cMP><vMP>1000.00</vMP></MP></pgto></infCFe></CFe>";
}

}  // namespace emulator

#include "receipt.h"

#include "content.h"
#include "fiscal_key.h"
#include "reason.h"
#include "signature.h"
#include "totals.h"
#include "xml.h"

namespace emulator {

namespace {

std::string KeyOf(const Issue& issue, const std::string& taxpayer) {
    const std::chrono::year_month_day date(std::chrono::floor<std::chrono::days>(issue.now));
    KeyParts parts;
    parts.state = issue.state;
    parts.year = static_cast<int>(date.year());
    parts.month = static_cast<int>(static_cast<unsigned>(date.month()));
    parts.taxpayer = taxpayer;
    parts.serial = issue.serial;
    parts.document = issue.document;
    parts.random = issue.random;
    return BuildKey(parts);
}

// Inserts an element in front of `place`, instead of whatever the caller has under that name.
void Replace(Element* parent, Element* place, const char* name, std::string_view text) {
    while (place != nullptr && NameOf(place) == name) {
        place = Next(place);
    }
    RemoveChildren(parent, name);
    InsertBefore(parent, place, name, text);
}

// The identification that a device puts in front of the caller's own, in the order of the layout.
void WriteIdentification(Element* identification, const Issue& issue, const Receipt& receipt) {
    const std::string& key = receipt.key;
    const struct {
        const char* name;
        std::string text;
    } rows[] = {
        {"cUF", key.substr(0, 2)},     {"cNF", key.substr(37, 6)},          {"mod", "59"},
        {"nserieSAT", issue.serial},   {"nCFe", Padded(issue.document, 6)}, {"dEmi", DateText(issue.now)},
        {"hEmi", TimeText(issue.now)}, {"cDV", key.substr(43, 1)},          {"tpAmb", "2"},
    };
    for (const auto& row : rows) {
        Replace(identification, Child(identification, "CNPJ"), row.name, row.text);
    }
    Replace(identification, Child(identification, "numeroCaixa"), "assinaturaQRCODE", issue.proof);
}

void WriteHeader(Element* information, const Issue& issue, const Receipt& receipt) {
    SetAttribute(information, "Id", "CFe" + receipt.key);
    SetAttribute(information, "versao", "0.08");
    SetAttribute(information, "versaoSB", issue.software);
}

// The seller's registration stands in the device; a caller sends only the numbers.
void WriteSeller(Element* seller) {
    for (const char* name : {"xNome", "xFant", "enderEmit", "cRegTrib"}) {
        RemoveChildren(seller, name);
    }
    Element* place = Next(Child(seller, "CNPJ"));
    InsertBefore(seller, place, "xNome", "EMITENTE DE DEMONSTRACAO LTDA");
    InsertBefore(seller, place, "xFant", "LOJA DE DEMONSTRACAO");
    Element* address = InsertBefore(seller, place, "enderEmit");
    Append(address, "xLgr", "RUA DO EMULADOR");
    Append(address, "nro", "59");
    Append(address, "xBairro", "CENTRO");
    Append(address, "xMun", "SAO PAULO");
    Append(address, "CEP", "01001000");
}

// The seller's tax regime, in its place between the numbers and what the caller says about services.
void WriteRegime(Element* seller) {
    const bool has_service_regime = Child(seller, "cRegTribISSQN") != nullptr;
    Element* place = Child(seller, has_service_regime ? "cRegTribISSQN" : "indRatISSQN");
    InsertBefore(seller, place, "cRegTrib", "3");
}

// Who made the application, as far as the text tells: the device compares it with what was linked.
void NoteApplication(const Element* information, Receipt* receipt) {
    const Element* identification = Child(information, "ide");
    receipt->application = ChildText(identification, "CNPJ");
    receipt->application_signature = ChildText(identification, "signAC");
}

void Finish(const Xml& xml, Element* information, const Issue& issue, Receipt* receipt) {
    AppendSignature(information, {issue.signature, issue.certificate});
    receipt->xml = PrintXml(xml);
}

std::string Reckon(Element* information) {
    Totals totals;
    std::string problem = AddItems(information, &totals);
    if (problem.empty()) problem = WriteTotals(Child(information, "total"), totals);
    if (problem.empty()) problem = WriteChange(Child(information, "pgto"), totals.receipt);
    return problem;
}

// What a cancellation may repeat of its sale, and must then repeat rightly.
std::string CheckAgainstSale(const Element* information, const Receipt& sale) {
    const Element* seller = Child(information, "emit");
    const Element* total = Child(information, "total");
    const Element* buyer = Child(information, "dest");
    if (Child(seller, "CNPJ") != nullptr && ChildText(seller, "CNPJ") != sale.taxpayer) {
        return Wrong("emit/CNPJ", sale.taxpayer, ChildText(seller, "CNPJ"));
    }
    if (FirstElement(buyer) != nullptr && BuyerOf(information) != sale.buyer) {
        return Wrong("dest", sale.buyer.empty() ? "nenhum CPF ou CNPJ" : sale.buyer, BuyerOf(information));
    }
    if (Child(total, "vCFe") != nullptr && ChildText(total, "vCFe") != sale.total) {
        return Wrong("total/vCFe", sale.total, ChildText(total, "vCFe"));
    }
    return {};
}

// The parties and the total of the sale that is cancelled.
void RepeatSale(Element* information, const Receipt& sale) {
    Element* seller = Child(information, "emit");
    Replace(seller, FirstElement(seller), "CNPJ", sale.taxpayer);
    WriteSeller(seller);
    Element* buyer = Child(information, "dest");
    if (FirstElement(buyer) == nullptr && !sale.buyer.empty()) {
        Append(buyer, sale.buyer.size() == 11 ? "CPF" : "CNPJ", sale.buyer);
    }
    Replace(Child(information, "total"), nullptr, "vCFe", sale.total);
}

}  // namespace

std::string IssueSale(std::string_view sale, const Issue& issue, Receipt* receipt) {
    std::string problem;
    const auto xml = ParseXml(sale, &problem);
    Element* information = Information(xml.get(), "CFe", &problem);
    if (information == nullptr) return problem;
    problem = CheckSale(information, issue.taxpayer);
    if (problem.empty()) problem = Reckon(information);
    if (!problem.empty()) return problem;

    Element* seller = Child(information, "emit");
    receipt->taxpayer = ChildText(seller, "CNPJ");
    receipt->buyer = BuyerOf(information);
    receipt->total = ChildText(Child(information, "total"), "vCFe");
    receipt->key = KeyOf(issue, receipt->taxpayer);
    receipt->issued = issue.now;
    NoteApplication(information, receipt);
    WriteHeader(information, issue, *receipt);
    WriteIdentification(Child(information, "ide"), issue, *receipt);
    WriteSeller(seller);
    WriteRegime(seller);
    Finish(*xml, information, issue, receipt);
    return {};
}

std::string IssueCancellation(std::string_view cancellation, const Receipt& sale, const Issue& issue,
                              Receipt* receipt, bool* other_receipt) {
    std::string problem;
    const auto xml = ParseXml(cancellation, &problem);
    *other_receipt = false;
    Element* information = Information(xml.get(), "CFeCanc", &problem);
    if (information == nullptr) return problem;
    const std::string key = AttributeText(information, "chCanc");
    *other_receipt = !key.empty() && key != "CFe" + sale.key;
    if (key != "CFe" + sale.key) return Wrong("infCFe/chCanc", "CFe" + sale.key, key);
    problem = CheckCancellation(information);
    if (problem.empty()) problem = CheckAgainstSale(information, sale);
    if (!problem.empty()) return problem;

    receipt->taxpayer = sale.taxpayer;
    receipt->buyer = sale.buyer;
    receipt->total = sale.total;
    receipt->issued = issue.now;
    receipt->key = KeyOf(issue, sale.taxpayer);
    NoteApplication(information, receipt);
    WriteHeader(information, issue, *receipt);
    Element* identification = Child(information, "ide");
    WriteIdentification(identification, issue, *receipt);
    // The date and time of the sale that is cancelled; the cancellation's own stand in "ide".
    Replace(information, identification, "dEmi", DateText(sale.issued));
    Replace(information, identification, "hEmi", TimeText(sale.issued));
    RepeatSale(information, sale);
    Finish(*xml, information, issue, receipt);
    return {};
}

}  // namespace emulator

#include "receipt.h"

#include "fiscal_key.h"
#include "totals.h"
#include "xml.h"

namespace emulator {

namespace {

struct Calendar {
    std::chrono::year_month_day date;
    std::chrono::hh_mm_ss<std::chrono::seconds> time;
};

Calendar CalendarOf(LocalTime moment) {
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    return {std::chrono::year_month_day(day), std::chrono::hh_mm_ss<std::chrono::seconds>(moment - day)};
}

std::string KeyOf(const Issue& issue, const std::string& taxpayer) {
    const Calendar now = CalendarOf(issue.now);
    KeyParts parts;
    parts.state = issue.state;
    parts.year = static_cast<int>(now.date.year());
    parts.month = static_cast<int>(static_cast<unsigned>(now.date.month()));
    parts.taxpayer = taxpayer;
    parts.serial = issue.serial;
    parts.document = issue.document;
    parts.random = issue.random;
    return BuildKey(parts);
}

// The element "infCFe" of a text with the given root; NULL, and `problem` says why, when it is not one.
Element* Information(const Xml* xml, const char* root_name, std::string* problem) {
    if (xml == nullptr) {
        *problem = "XML malformado";
        return nullptr;
    }
    Element* information = Child(Child(&xml->tree, root_name), "infCFe");
    if (information == nullptr) *problem = std::string(root_name) + "/infCFe ausente";
    return information;
}

std::string CheckSeller(const Element* information, const Issue& issue, std::string* taxpayer) {
    *taxpayer = ChildText(Child(information, "emit"), "CNPJ");
    if (!IsTaxpayer(*taxpayer)) return "CNPJ do emitente invalido";
    if (!issue.taxpayer.empty() && *taxpayer != issue.taxpayer)
        return "CNPJ do emitente difere do contribuinte";
    return {};
}

std::string CheckBuyer(const Element* information, std::string* buyer) {
    const Element* target = Child(information, "dest");
    *buyer = ChildText(target, "CPF");
    if (!buyer->empty()) return IsDigits(*buyer, 11) ? std::string() : "CPF do destinatario invalido";
    *buyer = ChildText(target, "CNPJ");
    return buyer->empty() || IsTaxpayer(*buyer) ? std::string() : "CNPJ do destinatario invalido";
}

// The identification that a device puts in front of the caller's own, in the order of the layout.
void WriteIdentification(Xml& xml, Element* identification, const Issue& issue, const Receipt& receipt) {
    const std::string& key = receipt.key;
    const struct {
        const char* name;
        std::string text;
    } rows[] = {
        {"cUF", key.substr(0, 2)},     {"cNF", key.substr(37, 6)},          {"mod", "59"},
        {"nserieSAT", issue.serial},   {"nCFe", Padded(issue.document, 6)}, {"dEmi", DateText(issue.now)},
        {"hEmi", TimeText(issue.now)}, {"cDV", key.substr(43, 1)},          {"tpAmb", "2"},
    };
    Element* first = identification->first_node();
    for (const auto& row : rows) {
        InsertBefore(xml, identification, first, row.name, row.text);
    }
    InsertBefore(xml, identification, Child(identification, "numeroCaixa"), "assinaturaQRCODE", issue.proof);
}

void WriteHeader(Xml& xml, Element* information, const Issue& issue, const Receipt& receipt) {
    SetAttribute(xml, information, "Id", "CFe" + receipt.key);
    SetAttribute(xml, information, "versao", "0.08");
    SetAttribute(xml, information, "versaoSB", issue.software);
}

// The seller's registration stands in the device; a caller sends only the numbers.
void WriteSeller(Xml& xml, Element* seller) {
    Element* place = Child(seller, "CNPJ")->next_sibling();
    InsertBefore(xml, seller, place, "xNome", "EMITENTE DE DEMONSTRACAO LTDA");
    Element* address = InsertBefore(xml, seller, place, "enderEmit");
    Append(xml, address, "xLgr", "RUA DO EMULADOR");
    Append(xml, address, "nro", "59");
    Append(xml, address, "xBairro", "CENTRO");
    Append(xml, address, "xMun", "SAO PAULO");
    Append(xml, address, "CEP", "01001000");
}

// Every group that the layout demands.
std::string CheckGroups(const Element* information, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (Child(information, name) == nullptr) return std::string(name) + " ausente";
    }
    return {};
}

}  // namespace

std::string DateText(LocalTime time) {
    const auto date = CalendarOf(time).date;
    return Padded(static_cast<int>(date.year()), 4) + Padded(static_cast<unsigned>(date.month()), 2) +
           Padded(static_cast<unsigned>(date.day()), 2);
}

std::string TimeText(LocalTime time) {
    const auto clock = CalendarOf(time).time;
    return Padded(clock.hours().count(), 2) + Padded(clock.minutes().count(), 2) +
           Padded(clock.seconds().count(), 2);
}

std::string TimeStamp(LocalTime time) {
    return DateText(time) + TimeText(time);
}

std::string IssueSale(std::string_view sale, const Issue& issue, Receipt* receipt) {
    const auto xml = ParseXml(sale);
    std::string problem;
    Element* information = Information(xml.get(), "CFe", &problem);
    if (information == nullptr) return problem;
    problem = CheckGroups(information, {"ide", "emit", "dest", "det", "total", "pgto"});
    if (problem.empty()) problem = CheckSeller(information, issue, &receipt->taxpayer);
    if (problem.empty()) problem = CheckBuyer(information, &receipt->buyer);
    Totals totals;
    if (problem.empty()) problem = AddItems(*xml, information, &totals);
    if (problem.empty()) problem = WriteChange(*xml, Child(information, "pgto"), totals.receipt);
    if (!problem.empty()) return problem;

    receipt->key = KeyOf(issue, receipt->taxpayer);
    receipt->issued = issue.now;
    WriteTotals(*xml, Child(information, "total"), totals);
    receipt->total = ChildText(Child(information, "total"), "vCFe");
    WriteHeader(*xml, information, issue, *receipt);
    WriteIdentification(*xml, Child(information, "ide"), issue, *receipt);
    WriteSeller(*xml, Child(information, "emit"));
    receipt->xml = PrintXml(*xml);
    return {};
}

std::string IssueCancellation(std::string_view cancellation, const Receipt& sale, const Issue& issue,
                              Receipt* receipt, bool* other_receipt) {
    const auto xml = ParseXml(cancellation);
    std::string problem;
    *other_receipt = false;
    Element* information = Information(xml.get(), "CFeCanc", &problem);
    if (information == nullptr) return problem;
    problem = CheckGroups(information, {"ide", "emit", "dest", "total"});
    if (!problem.empty()) return problem;
    if (AttributeText(information, "chCanc") != "CFe" + sale.key) {
        *other_receipt = true;
        return "chCanc nao corresponde ao ultimo CF-e";
    }

    receipt->taxpayer = sale.taxpayer;
    receipt->buyer = sale.buyer;
    receipt->total = sale.total;
    receipt->issued = issue.now;
    receipt->key = KeyOf(issue, sale.taxpayer);
    WriteHeader(*xml, information, issue, *receipt);
    Element* identification = Child(information, "ide");
    WriteIdentification(*xml, identification, issue, *receipt);
    // The date and time of the sale that is cancelled; the cancellation's own stand in "ide".
    InsertBefore(*xml, information, identification, "dEmi", DateText(sale.issued));
    InsertBefore(*xml, information, identification, "hEmi", TimeText(sale.issued));
    RemoveChildren(Child(information, "emit"), "CNPJ");
    Element* seller = Child(information, "emit");
    InsertBefore(*xml, seller, seller->first_node(), "CNPJ", sale.taxpayer);
    WriteSeller(*xml, seller);
    RemoveChildren(Child(information, "total"), "vCFe");
    Append(*xml, Child(information, "total"), "vCFe", sale.total);
    receipt->xml = PrintXml(*xml);
    return {};
}

}  // namespace emulator

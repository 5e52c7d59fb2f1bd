#include "totals.h"

#include "decimal.h"

namespace emulator {

namespace {

// No receipt is worth more; sums of so many items stay far below what 64 bits hold.
constexpr int64_t LARGEST_AMOUNT = 999999999999999;

std::string Wrong(const char* name) {
    return std::string(name) + " invalido";
}

// An amount of money that may be missing, which counts as 0.
bool OptionalCents(const Element* parent, const char* name, int64_t* cents) {
    *cents = 0;
    return Child(parent, name) == nullptr || ParseDecimal(ChildText(parent, name), 2, cents);
}

bool AddUp(int64_t* sum, int64_t amount) {
    *sum += amount;
    return *sum >= 0 && *sum <= LARGEST_AMOUNT;
}

// Quantity (4 decimals) times unit price (3 decimals), rounded or cut off as indRegra says.
std::string ItemProduct(const Element* product, int64_t* value) {
    int64_t quantity = 0;
    int64_t price = 0;
    const std::string rule = ChildText(product, "indRegra");
    if (!ParseDecimal(ChildText(product, "qCom"), 4, &quantity)) return Wrong("qCom");
    if (!ParseDecimal(ChildText(product, "vUnCom"), 3, &price)) return Wrong("vUnCom");
    if (rule != "A" && rule != "T") return Wrong("indRegra");
    return MultiplyScaled(quantity, price, 5, rule == "A", value) ? std::string() : Wrong("vProd");
}

std::string AddProduct(Xml& xml, Element* product, Totals* totals, int64_t* item) {
    int64_t value = 0;
    int64_t discount = 0;
    int64_t other = 0;
    std::string problem = ItemProduct(product, &value);
    if (!problem.empty()) return problem;
    if (!OptionalCents(product, "vDesc", &discount) || discount > value) return Wrong("vDesc");
    if (!OptionalCents(product, "vOutro", &other)) return Wrong("vOutro");
    *item = value - discount + other;
    RemoveChildren(product, "vProd");
    RemoveChildren(product, "vItem");
    InsertBefore(xml, product, Child(product, "indRegra"), "vProd", FormatCents(value));
    InsertBefore(xml, product, Child(product, "obsFiscoDet"), "vItem", FormatCents(*item));
    const bool fits = AddUp(&totals->products, value) && AddUp(&totals->discounts, discount) &&
                      AddUp(&totals->others, other) && AddUp(&totals->receipt, *item);
    return fits ? std::string() : Wrong("vProd");
}

// A tax by value (base and rate) or by quantity. No rate means no tax; a rate that is wrong is told.
struct TaxRule {
    const char* group;       // child of "imposto"
    const char* rate;        // element of the rate, behind a base
    int rate_decimals;       // decimals of the rate that are not percent
    const char* value;       // element that the device adds
    int64_t Totals::*total;  // where it is added up
};

constexpr TaxRule TAX_RULES[] = {
    {"PIS", "pPIS", 4, "vPIS", &Totals::pis},
    {"PISST", "pPIS", 4, "vPIS", &Totals::pis_st},
    {"COFINS", "pCOFINS", 4, "vCOFINS", &Totals::cofins},
    {"COFINSST", "pCOFINS", 4, "vCOFINS", &Totals::cofins_st},
};

// The element that holds a tax's rate: PIS and COFINS have one more level than PISST and COFINSST.
Element* RateHolder(Element* group, const char* rate) {
    if (group == nullptr || Child(group, rate) || Child(group, "vAliqProd")) return group;
    return group->first_node();
}

std::string AddContribution(Xml& xml, const Element* taxes, const TaxRule& rule, Totals* totals) {
    Element* holder = RateHolder(Child(taxes, rule.group), rule.rate);
    int64_t base = 0;
    int64_t rate = 0;
    int64_t value = 0;
    if (Child(holder, rule.rate) != nullptr) {
        if (!ParseDecimal(ChildText(holder, "vBC"), 2, &base)) return Wrong("vBC");
        if (!ParseDecimal(ChildText(holder, rule.rate), rule.rate_decimals, &rate)) return Wrong(rule.rate);
        if (!MultiplyScaled(base, rate, 4, true, &value)) return Wrong(rule.value);
    } else if (Child(holder, "vAliqProd") != nullptr) {
        if (!ParseDecimal(ChildText(holder, "qBCProd"), 4, &base)) return Wrong("qBCProd");
        if (!ParseDecimal(ChildText(holder, "vAliqProd"), 4, &rate)) return Wrong("vAliqProd");
        if (!MultiplyScaled(base, rate, 6, true, &value)) return Wrong(rule.value);
    } else {
        return {};
    }
    RemoveChildren(holder, rule.value);
    Append(xml, holder, rule.value, FormatCents(value));
    return AddUp(&(totals->*rule.total), value) ? std::string() : Wrong(rule.value);
}

// ICMS is a percentage of the item's own value.
std::string AddIcms(Xml& xml, const Element* taxes, int64_t item, Totals* totals) {
    const Element* group = Child(taxes, "ICMS");
    Element* holder = group == nullptr ? nullptr : group->first_node();
    if (Child(holder, "pICMS") == nullptr) return {};
    int64_t rate = 0;
    int64_t value = 0;
    if (!ParseDecimal(ChildText(holder, "pICMS"), 2, &rate)) return Wrong("pICMS");
    if (!MultiplyScaled(item, rate, 4, true, &value)) return Wrong("vICMS");
    RemoveChildren(holder, "vICMS");
    Append(xml, holder, "vICMS", FormatCents(value));
    return AddUp(&totals->icms, value) ? std::string() : Wrong("vICMS");
}

std::string AddItem(Xml& xml, const Element* item, Totals* totals) {
    Element* product = Child(item, "prod");
    const Element* taxes = Child(item, "imposto");
    if (product == nullptr) return "prod ausente";
    if (taxes == nullptr) return "imposto ausente";
    int64_t value = 0;
    std::string problem = AddProduct(xml, product, totals, &value);
    if (problem.empty()) problem = AddIcms(xml, taxes, value, totals);
    for (const TaxRule& rule : TAX_RULES) {
        if (problem.empty()) problem = AddContribution(xml, taxes, rule, totals);
    }
    return problem;
}

}  // namespace

std::string AddItems(Xml& xml, Element* sale, Totals* totals) {
    const Element* item = Child(sale, "det");
    if (item == nullptr) return "det ausente";
    for (; item != nullptr; item = item->next_sibling("det")) {
        std::string problem = AddItem(xml, item, totals);
        if (!problem.empty()) return problem + " no item " + std::string(AttributeText(item, "nItem"), 0, 3);
    }
    const Element* adjustment = Child(Child(sale, "total"), "DescAcrEntr");
    int64_t discount = 0;
    int64_t surcharge = 0;
    if (!OptionalCents(adjustment, "vDescSubtot", &discount) || discount > totals->receipt) {
        return Wrong("vDescSubtot");
    }
    if (!OptionalCents(adjustment, "vAcresSubtot", &surcharge)) return Wrong("vAcresSubtot");
    totals->receipt -= discount;
    return AddUp(&totals->receipt, surcharge) ? std::string() : Wrong("vAcresSubtot");
}

void WriteTotals(Xml& xml, Element* total, const Totals& totals) {
    const struct {
        const char* name;
        int64_t cents;
    } rows[] = {{"vICMS", totals.icms},          {"vProd", totals.products},
                {"vDesc", totals.discounts},     {"vPIS", totals.pis},
                {"vCOFINS", totals.cofins},      {"vPISST", totals.pis_st},
                {"vCOFINSST", totals.cofins_st}, {"vOutro", totals.others}};
    RemoveChildren(total, "ICMSTot");
    RemoveChildren(total, "vCFe");
    Element* first = total->first_node();
    Element* sums = InsertBefore(xml, total, first, "ICMSTot");
    for (const auto& row : rows) {
        Append(xml, sums, row.name, FormatCents(row.cents));
    }
    InsertBefore(xml, total, first, "vCFe", FormatCents(totals.receipt));
}

std::string WriteChange(Xml& xml, Element* payment, int64_t owed) {
    int64_t paid = 0;
    for (const Element* means = Child(payment, "MP"); means != nullptr; means = means->next_sibling("MP")) {
        int64_t amount = 0;
        if (!ParseDecimal(ChildText(means, "vMP"), 2, &amount) || !AddUp(&paid, amount)) return Wrong("vMP");
    }
    if (paid < owed) return "pagamento " + FormatCents(paid) + " menor que o total " + FormatCents(owed);
    RemoveChildren(payment, "vTroco");
    Append(xml, payment, "vTroco", FormatCents(paid - owed));
    return {};
}

}  // namespace emulator

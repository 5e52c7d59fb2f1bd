#include "taxes.h"

#include "amounts.h"
#include "decimal.h"
#include "reason.h"

namespace emulator {

namespace {

std::string TooLarge(const std::string& path, const char* name) {
    return Wrong(path + "/" + name, "valor que caiba no cupom", "valor grande demais");
}

// Base times rate, dropping so many decimals, as the element `name` of `holder`.
std::string WriteProduct(Element* holder, const std::string& path, Element* place, const char* name,
                         int64_t base, int64_t rate, int drop, int64_t* total) {
    int64_t value = 0;
    if (!MultiplyScaled(base, rate, drop, true, &value) || !AddUp(total, value)) return TooLarge(path, name);
    return WriteReckoned(holder, path, place, name, value);
}

// A contribution by value (base and rate) or by quantity (units and price a unit).
struct Contribution {
    const char* group;  // child of "imposto"
    const char* rate;   // element of the rate, behind a base
    const char* value;  // element that the device adds
    bool mandatory;
    int64_t Contributions::*total;
};

constexpr Contribution CONTRIBUTIONS[] = {
    {"PIS", "pPIS", "vPIS", true, &Contributions::pis},
    {"PISST", "pPIS", "vPIS", false, &Contributions::pis_st},
    {"COFINS", "pCOFINS", "vCOFINS", true, &Contributions::cofins},
    {"COFINSST", "pCOFINS", "vCOFINS", false, &Contributions::cofins_st},
};

std::string AddContribution(const Element* taxes, std::string path, const Contribution& rule,
                            Contributions* sums) {
    Element* holder = Child(taxes, rule.group);
    path += std::string("/") + rule.group;
    if (holder == nullptr) return rule.mandatory ? Missing(path) : std::string();
    if (rule.mandatory) {
        // PIS and COFINS have one more level than PISST and COFINSST.
        holder = FirstElement(holder);
        if (holder == nullptr) return Missing(path + "/grupo de " + rule.group);
        path += "/" + NameOf(holder);
    }
    const bool by_quantity = path.ends_with("Qtde") || Child(holder, "qBCProd") != nullptr ||
                             Child(holder, "vAliqProd") != nullptr;
    const bool by_value =
        path.ends_with("Aliq") || Child(holder, "vBC") != nullptr || Child(holder, rule.rate) != nullptr;
    if (!by_quantity && !by_value) return {};
    int64_t base = 0;
    int64_t rate = 0;
    std::string problem =
        by_value ? ReadValue(holder, path, "vBC", 2, &base) : ReadValue(holder, path, "qBCProd", 4, &base);
    if (problem.empty()) problem = ReadValue(holder, path, by_value ? rule.rate : "vAliqProd", 4, &rate);
    if (!problem.empty()) return problem;
    return WriteProduct(holder, path, nullptr, rule.value, base, rate, by_value ? 4 : 6,
                        &(sums->*rule.total));
}

// ICMS is a percentage of the item's own value. Groups without a rate bear none.
std::string AddIcms(Element* group, std::string path, int64_t value, Totals* totals) {
    Element* holder = FirstElement(group);
    if (holder == nullptr) return Missing(path + "/ICMS/grupo de ICMS");
    path += "/ICMS/" + NameOf(holder);
    const bool rated = path.ends_with("ICMS00") || path.ends_with("ICMSSN900");
    if (!rated && Child(holder, "pICMS") == nullptr) return {};
    int64_t rate = 0;
    std::string problem = ReadValue(holder, path, "pICMS", 2, &rate);
    if (!problem.empty()) return problem;
    return WriteProduct(holder, path, nullptr, "vICMS", value, rate, 4, &totals->icms);
}

// Services bear ISSQN, a percentage of their value less what may be deducted.
std::string AddIssqn(Element* group, std::string path, int64_t value, Totals* totals) {
    int64_t deduction = 0;
    int64_t rate = 0;
    path += "/ISSQN";
    totals->has_services = true;
    std::string problem = ReadOptional(group, path, "vDeducISSQN", &deduction);
    if (problem.empty()) problem = ReadValue(group, path, "vAliq", 2, &rate);
    if (!problem.empty()) return problem;
    if (deduction > value) {
        return Wrong(path + "/vDeducISSQN", "no maximo " + FormatCents(value), FormatCents(deduction));
    }
    const int64_t base = value - deduction;
    if (!AddUp(&totals->service_base, base)) return TooLarge(path, "vBC");
    problem = WriteReckoned(group, path, Child(group, "vAliq"), "vBC", base);
    if (!problem.empty()) return problem;
    return WriteProduct(group, path, Next(Child(group, "vAliq")), "vISSQN", base, rate, 4,
                        &totals->service_tax);
}

}  // namespace

std::string AddTaxes(Element* taxes, const std::string& path, int64_t value, Totals* totals) {
    const std::string where = path + "/imposto";
    Element* goods = Child(taxes, "ICMS");
    Element* service = Child(taxes, "ISSQN");
    int64_t approximate = 0;
    if (goods == nullptr && service == nullptr) return Missing(where + "/ICMS ou ISSQN");
    if (goods != nullptr && service != nullptr) return Wrong(where, "ICMS ou ISSQN", "ambos");
    std::string problem = ReadOptional(taxes, where, "vItem12741", &approximate);
    if (problem.empty() && !AddUp(&totals->approximate_taxes, approximate)) {
        problem = TooLarge(where, "vItem12741");
    }
    if (problem.empty()) {
        problem =
            goods != nullptr ? AddIcms(goods, where, value, totals) : AddIssqn(service, where, value, totals);
    }
    Contributions* sums = goods != nullptr ? &totals->goods : &totals->services;
    for (const Contribution& rule : CONTRIBUTIONS) {
        if (problem.empty()) problem = AddContribution(taxes, where, rule, sums);
    }
    return problem;
}

}  // namespace emulator

#include "totals.h"

#include <span>
#include <vector>

#include "amounts.h"
#include "content.h"
#include "decimal.h"
#include "reason.h"
#include "taxes.h"

namespace emulator {

namespace {

// An item and what it is worth, in cents.
struct Item {
    std::string path;  // "det 3"
    Element* product = nullptr;
    Element* taxes = nullptr;
    int64_t price = 0;  // quantity times unit price
    int64_t discount = 0;
    int64_t other = 0;
    int64_t shared_discount = 0;   // of the discount on the whole sale
    int64_t shared_surcharge = 0;  // of the surcharge on the whole sale

    // What the item costs before and after its shares.
    int64_t Own() const { return price - discount + other; }
    int64_t Net() const { return Own() - shared_discount + shared_surcharge; }
};

// Quantity (4 decimals) times unit price (3 decimals), rounded or cut off as indRegra says.
std::string ReadPrice(const Element* product, const std::string& path, int64_t* price) {
    int64_t quantity = 0;
    int64_t unit_price = 0;
    std::string problem = ReadValue(product, path, "qCom", 4, &quantity);
    if (problem.empty()) problem = ReadValue(product, path, "vUnCom", 3, &unit_price);
    if (!problem.empty()) return problem;
    if (Child(product, "indRegra") == nullptr) return Missing(path + "/indRegra");
    const std::string rule = ChildText(product, "indRegra");
    if (rule != "A" && rule != "T") return Wrong(path + "/indRegra", "A ou T", rule);
    if (MultiplyScaled(quantity, unit_price, 5, rule == "A", price)) return {};
    return Wrong(path + "/vProd", "valor que caiba no cupom", "valor grande demais");
}

std::string ReadItem(const Element* element, size_t number, Item* item) {
    item->path = "det " + std::to_string(number);
    item->product = Child(element, "prod");
    item->taxes = Child(element, "imposto");
    const std::string given = AttributeText(element, "nItem");
    if (given != std::to_string(number)) return Wrong(item->path + "/nItem", std::to_string(number), given);
    if (item->product == nullptr) return Missing(item->path + "/prod");
    if (item->taxes == nullptr) return Missing(item->path + "/imposto");
    const std::string path = item->path + "/prod";
    std::string problem = CheckProduct(item->product, path);
    if (problem.empty()) problem = ReadPrice(item->product, path, &item->price);
    if (problem.empty()) problem = ReadOptional(item->product, path, "vDesc", &item->discount);
    if (problem.empty()) problem = ReadOptional(item->product, path, "vOutro", &item->other);
    if (problem.empty() && item->discount > item->price) {
        problem =
            Wrong(path + "/vDesc", "no maximo " + FormatCents(item->price), FormatCents(item->discount));
    }
    return problem;
}

std::string ReadItems(const Element* sale, std::vector<Item>* items, Totals* totals) {
    for (const Element* element = Child(sale, "det"); element != nullptr; element = Next(element, "det")) {
        Item item;
        std::string problem = ReadItem(element, items->size() + 1, &item);
        if (!problem.empty()) return problem;
        const bool fits = AddUp(&totals->products, item.price) && AddUp(&totals->discounts, item.discount) &&
                          AddUp(&totals->others, item.other) && AddUp(&totals->receipt, item.Own());
        if (!fits) return Wrong(item.path + "/prod/vProd", "valor que caiba no cupom", "valor grande demais");
        items->push_back(item);
    }
    return items->empty() ? Missing("det") : std::string();
}

// Deals an amount out over items in proportion to what they cost. Each share is the difference of two rounded
// running sums, so that the shares add up to the cent, and none exceeds its item.
void Deal(std::span<Item*> items, int64_t amount, int64_t Item::*share) {
    int64_t whole = 0;
    for (const Item* item : items) {
        whole += item->Own();
    }
    int64_t running = 0;
    int64_t dealt = 0;
    for (Item* item : items) {
        running += item->Own();
        // Items that cost nothing leave no proportion: the first one bears it all.
        const int64_t due = whole == 0 ? amount : ShareOf(amount, running, whole);
        item->*share = due - dealt;
        dealt = due;
    }
}

// Services share a discount only when the seller says so, or when the goods are worth less than it.
std::vector<Item*> Discounted(std::vector<Item>& items, bool services_share, int64_t discount) {
    std::vector<Item*> all;
    std::vector<Item*> goods;
    int64_t worth = 0;
    for (Item& item : items) {
        all.push_back(&item);
        if (Child(item.taxes, "ISSQN") != nullptr) continue;
        goods.push_back(&item);
        worth += item.Own();
    }
    return services_share || worth < discount ? all : goods;
}

std::string DealAdjustment(const Element* sale, std::vector<Item>& items, Totals* totals) {
    const Element* adjustment = Child(Child(sale, "total"), "DescAcrEntr");
    const std::string path = "total/DescAcrEntr";
    int64_t discount = 0;
    int64_t surcharge = 0;
    std::string problem = ReadOptional(adjustment, path, "vDescSubtot", &discount);
    if (problem.empty()) problem = ReadOptional(adjustment, path, "vAcresSubtot", &surcharge);
    if (!problem.empty()) return problem;
    if (discount > 0 && surcharge > 0) return Wrong(path, "vDescSubtot ou vAcresSubtot", "ambos");
    if (discount > totals->receipt) {
        return Wrong(path + "/vDescSubtot", "no maximo " + FormatCents(totals->receipt),
                     FormatCents(discount));
    }
    const bool services_share = ChildText(Child(sale, "emit"), "indRatISSQN") == "S";
    std::vector<Item*> discounted = Discounted(items, services_share, discount);
    std::vector<Item*> all = Discounted(items, true, 0);
    Deal(discounted, discount, &Item::shared_discount);
    Deal(all, surcharge, &Item::shared_surcharge);
    totals->receipt -= discount;
    if (AddUp(&totals->receipt, surcharge)) return {};
    return Wrong(path + "/vAcresSubtot", "valor que caiba no cupom", FormatCents(surcharge));
}

std::string WriteItem(const Item& item, Totals* totals) {
    Element* product = item.product;
    const std::string path = item.path + "/prod";
    const struct {
        const char* name;
        const char* place;
        int64_t cents;
        bool written;
    } rows[] = {
        {"vProd", "indRegra", item.price, true},
        {"vItem", "obsFiscoDet", item.Net(), true},
        {"vRatDesc", "obsFiscoDet", item.shared_discount, item.shared_discount > 0},
        {"vRatAcr", "obsFiscoDet", item.shared_surcharge, item.shared_surcharge > 0},
    };
    std::string problem;
    for (const auto& row : rows) {
        if (!problem.empty() || (!row.written && Child(product, row.name) == nullptr)) continue;
        problem = WriteReckoned(product, path, Child(product, row.place), row.name, row.cents);
    }
    return problem.empty() ? AddTaxes(item.taxes, item.path, item.Net(), totals) : problem;
}

struct Sum {
    const char* name;
    int64_t cents;
};

// A group of sums in front of `place`, instead of the caller's own, whose values must be the same.
std::string WriteGroup(Element* total, Element* place, const char* name, std::span<const Sum> sums) {
    Element* given = Child(total, name);
    Element* group = InsertBefore(total, place, name);
    std::string problem;
    for (const Sum& sum : sums) {
        // A sum of the caller's stands in the new group for a moment, to be compared there.
        if (Child(given, sum.name) != nullptr) Append(group, sum.name, ChildText(given, sum.name));
        if (!problem.empty()) break;
        problem = WriteReckoned(group, std::string("total/") + name, nullptr, sum.name, sum.cents);
    }
    if (given != nullptr) Remove(given);
    return problem;
}

// The first element behind those that the device writes.
Element* BehindSums(const Element* total) {
    Element* place = FirstElement(total);
    while (place != nullptr) {
        const std::string name = NameOf(place);
        if (name != "ICMSTot" && name != "vCFe" && name != "ISSQNtot") break;
        place = Next(place);
    }
    return place;
}

}  // namespace

std::string AddItems(Element* sale, Totals* totals) {
    std::vector<Item> items;
    std::string problem = ReadItems(sale, &items, totals);
    if (problem.empty()) problem = DealAdjustment(sale, items, totals);
    for (const Item& item : items) {
        if (problem.empty()) problem = WriteItem(item, totals);
    }
    return problem;
}

std::string WriteTotals(Element* total, const Totals& totals) {
    const Contributions& goods = totals.goods;
    const Contributions& services = totals.services;
    const Sum of_goods[] = {{"vICMS", totals.icms},         {"vProd", totals.products},
                            {"vDesc", totals.discounts},    {"vPIS", goods.pis},
                            {"vCOFINS", goods.cofins},      {"vPISST", goods.pis_st},
                            {"vCOFINSST", goods.cofins_st}, {"vOutro", totals.others}};
    const Sum of_services[] = {{"vBC", totals.service_base}, {"vISS", totals.service_tax},
                               {"vPIS", services.pis},       {"vCOFINS", services.cofins},
                               {"vPISST", services.pis_st},  {"vCOFINSST", services.cofins_st}};
    Element* place = BehindSums(total);
    std::string problem = WriteGroup(total, place, "ICMSTot", of_goods);
    if (problem.empty()) problem = WriteReckoned(total, "total", place, "vCFe", totals.receipt);
    if (problem.empty() && totals.has_services) {
        problem = WriteGroup(total, place, "ISSQNtot", of_services);
    }
    if (problem.empty() && totals.approximate_taxes > 0 && Child(total, "vCFeLei12741") == nullptr) {
        Append(total, "vCFeLei12741", FormatCents(totals.approximate_taxes));
    }
    return problem;
}

std::string WriteChange(Element* payment, int64_t owed) {
    int64_t paid = 0;
    int number = 0;
    for (const Element* means = Child(payment, "MP"); means != nullptr; means = Next(means, "MP")) {
        const std::string path = "pgto/MP " + std::to_string(++number);
        int64_t amount = 0;
        std::string problem = CheckPayment(means, path);
        if (problem.empty()) problem = ReadValue(means, path, "vMP", 2, &amount);
        if (!problem.empty()) return problem;
        if (!AddUp(&paid, amount))
            return Wrong(path + "/vMP", "valor que caiba no cupom", FormatCents(amount));
    }
    if (number == 0) return Missing("pgto/MP");
    if (paid < owed) {
        return Wrong("soma de pgto/MP/vMP", "ao menos " + FormatCents(owed), FormatCents(paid));
    }
    return WriteReckoned(payment, "pgto", nullptr, "vTroco", paid - owed);
}

}  // namespace emulator

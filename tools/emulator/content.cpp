#include "content.h"

#include <initializer_list>
#include <span>

#include "fiscal_key.h"
#include "layout.h"
#include "reason.h"

namespace emulator {

namespace {

enum class Shape { Text, Cnpj, TwoDigits, ThreeDigits, FourDigits, YesNo };

// A mandatory element of a group.
struct Demand {
    const char* name;
    Shape shape;
};

constexpr Demand APPLICATION[] = {
    {"CNPJ", Shape::Cnpj}, {"signAC", Shape::Text}, {"numeroCaixa", Shape::ThreeDigits}};
constexpr Demand SELLER[] = {{"CNPJ", Shape::Cnpj}, {"IE", Shape::Text}, {"indRatISSQN", Shape::YesNo}};
// Quantity, price and rule are checked where they are reckoned with.
constexpr Demand PRODUCT[] = {
    {"cProd", Shape::Text}, {"xProd", Shape::Text}, {"CFOP", Shape::FourDigits}, {"uCom", Shape::Text}};
constexpr Demand PAYMENT[] = {{"cMP", Shape::TwoDigits}};

constexpr struct {
    Shape shape;
    const char* words;
    size_t digits;  // 0 when the shape is not a number of digits
} SHAPES[] = {
    {Shape::Text, "um texto", 0},        {Shape::Cnpj, "um CNPJ valido", 0},
    {Shape::TwoDigits, "2 digitos", 2},  {Shape::ThreeDigits, "3 digitos", 3},
    {Shape::FourDigits, "4 digitos", 4}, {Shape::YesNo, "S ou N", 0},
};

bool HasShape(const std::string& text, Shape shape, size_t digits) {
    if (shape == Shape::Text) return !text.empty();
    if (shape == Shape::Cnpj) return IsTaxpayer(text);
    if (shape == Shape::YesNo) return text == "S" || text == "N";
    return IsDigits(text, digits);
}

std::string CheckDemand(const Element* group, const std::string& path, const Demand& demand) {
    const std::string where = path + "/" + demand.name;
    if (Child(group, demand.name) == nullptr) return Missing(where);
    const std::string text = ChildText(group, demand.name);
    for (const auto& row : SHAPES) {
        if (row.shape == demand.shape && !HasShape(text, row.shape, row.digits)) {
            return Wrong(where, row.words, text);
        }
    }
    return {};
}

std::string CheckDemands(const Element* group, const std::string& path, std::span<const Demand> demands) {
    std::string problem;
    for (const Demand& demand : demands) {
        if (problem.empty()) problem = CheckDemand(group, path, demand);
    }
    return problem;
}

std::string CheckGroups(const Element* information, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (Child(information, name) == nullptr) return Missing(name);
    }
    return {};
}

std::string CheckBuyer(const Element* information) {
    const Element* buyer = Child(information, "dest");
    const Element* person = Child(buyer, "CPF");
    const Element* company = Child(buyer, "CNPJ");
    const std::string number = BuyerOf(information);
    if (person != nullptr && company != nullptr) return Wrong("dest", "CPF ou CNPJ", "ambos");
    if (person != nullptr && !IsPerson(number)) return Wrong("dest/CPF", "um CPF valido", number);
    if (company != nullptr && !IsTaxpayer(number)) return Wrong("dest/CNPJ", "um CNPJ valido", number);
    return {};
}

}  // namespace

Element* Information(const Xml* xml, const char* root_name, std::string* problem) {
    if (xml == nullptr) return nullptr;
    const Element* root = Root(*xml);
    if (NameOf(root) != root_name) {
        *problem = Wrong("elemento raiz", root_name, NameOf(root));
        return nullptr;
    }
    Element* information = Child(root, "infCFe");
    if (information == nullptr) {
        *problem = Missing(std::string(root_name) + "/infCFe");
        return nullptr;
    }
    if (Next(information, "infCFe") == nullptr) return information;
    *problem = Repeated("infCFe");
    return nullptr;
}

std::string CheckSale(const Element* information, const std::string& taxpayer) {
    if (AttributeText(information, "versaoDadosEnt").empty()) return Missing("infCFe/versaoDadosEnt");
    std::string problem = CheckGroups(information, {"ide", "emit", "dest", "det", "total", "pgto"});
    if (problem.empty()) problem = CheckLayout(information, "");
    if (problem.empty()) problem = CheckDemands(Child(information, "ide"), "ide", APPLICATION);
    if (problem.empty()) problem = CheckDemands(Child(information, "emit"), "emit", SELLER);
    const std::string seller = ChildText(Child(information, "emit"), "CNPJ");
    if (problem.empty() && !taxpayer.empty() && seller != taxpayer) {
        problem = Wrong("emit/CNPJ", taxpayer, seller);
    }
    return problem.empty() ? CheckBuyer(information) : problem;
}

std::string CheckProduct(const Element* product, const std::string& path) {
    return CheckDemands(product, path, PRODUCT);
}

std::string CheckPayment(const Element* means, const std::string& path) {
    return CheckDemands(means, path, PAYMENT);
}

std::string CheckCancellation(const Element* information) {
    std::string problem = CheckGroups(information, {"ide", "emit", "dest", "total"});
    if (problem.empty()) problem = CheckLayout(information, "");
    if (problem.empty()) problem = CheckDemands(Child(information, "ide"), "ide", APPLICATION);
    return problem.empty() ? CheckBuyer(information) : problem;
}

std::string BuyerOf(const Element* information) {
    const Element* buyer = Child(information, "dest");
    return ChildText(buyer, Child(buyer, "CPF") != nullptr ? "CPF" : "CNPJ");
}

}  // namespace emulator

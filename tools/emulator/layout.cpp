#include "layout.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string_view>

#include "reason.h"

namespace emulator {

namespace {

// The elements that hold others; whatever is not here holds a value.
constexpr std::string_view GROUPS[] = {
    "ide",     "emit",     "enderEmit",   "dest",  "entrega", "det",      "prod",    "obsFiscoDet",
    "imposto", "ICMS",     "PIS",         "PISST", "COFINS",  "COFINSST", "ISSQN",   "total",
    "ICMSTot", "ISSQNtot", "DescAcrEntr", "pgto",  "MP",      "infAdic",  "obsFisco"};

// Below these stands one group, whose name tells how the tax is reckoned.
constexpr std::string_view TAXES[] = {"ICMS", "PIS", "COFINS"};

constexpr std::string_view REPEATABLE[] = {"det", "MP", "obsFisco", "obsFiscoDet"};

template <typename Names>
bool IsAmong(std::string_view name, const Names& names) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

}  // namespace

// The parser bounds the depth.
std::string CheckLayout(const Element* group, const std::string& path) {
    const std::string parent = NameOf(group);
    std::map<std::string, int> seen;
    for (const Element* element = FirstElement(group); element != nullptr; element = Next(element)) {
        const std::string name = NameOf(element);
        const int number = ++seen[name];
        std::string where = path;
        where.append(path.empty() ? "" : "/").append(name);
        if (IsAmong(name, REPEATABLE)) {
            where += " " + std::to_string(number);
        } else if (number > 1) {
            return Repeated(where);
        }
        if (FirstElement(element) == nullptr) continue;
        if (!IsAmong(name, GROUPS) && !IsAmong(parent, TAXES)) {
            return Wrong(where, "um valor", "elemento " + NameOf(FirstElement(element)));
        }
        std::string problem = CheckLayout(element, where);
        if (!problem.empty()) return problem;
    }
    return {};
}

}  // namespace emulator

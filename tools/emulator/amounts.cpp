#include "amounts.h"

#include "decimal.h"
#include "reason.h"

namespace emulator {

bool AddUp(int64_t* sum, int64_t cents) {
    // No receipt is worth more; sums of so many items stay far below what 64 bits hold.
    constexpr int64_t largest_amount = 999999999999999;
    *sum += cents;
    return *sum >= 0 && *sum <= largest_amount;
}

std::string ReadValue(const Element* parent, const std::string& path, const char* name, int decimals,
                      int64_t* scaled) {
    const std::string where = path + "/" + name;
    if (Child(parent, name) == nullptr) return Missing(where);
    const std::string text = ChildText(parent, name);
    if (ParseDecimal(text, decimals, scaled)) return {};
    return Wrong(where, "valor positivo com ate " + std::to_string(decimals) + " decimais", text);
}

std::string ReadOptional(const Element* parent, const std::string& path, const char* name, int64_t* cents) {
    *cents = 0;
    return Child(parent, name) == nullptr ? std::string() : ReadValue(parent, path, name, 2, cents);
}

std::string WriteReckoned(Element* parent, const std::string& path, Element* place, const char* name,
                          int64_t cents) {
    if (Child(parent, name) != nullptr) {
        const std::string given = ChildText(parent, name);
        int64_t value = 0;
        if (!ParseDecimal(given, 2, &value) || value != cents) {
            return Wrong(path + "/" + name, FormatCents(cents), given);
        }
    }
    // The place may be the caller's own element of that name, which goes away.
    while (place != nullptr && NameOf(place) == name) {
        place = Next(place);
    }
    RemoveChildren(parent, name);
    InsertBefore(parent, place, name, FormatCents(cents));
    return {};
}

}  // namespace emulator

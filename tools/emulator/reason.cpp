#include "reason.h"

namespace emulator {

std::string Missing(std::string_view path) {
    return std::string(path) + " ausente";
}

std::string Repeated(std::string_view path) {
    return std::string(path) + " repetido";
}

std::string Wrong(std::string_view path, std::string_view expected, std::string_view found) {
    return std::string(path) + ": esperado " + std::string(expected) + ", encontrado " + Shown(found);
}

std::string Shown(std::string_view text) {
    constexpr size_t longest = 48;
    if (text.empty()) return "vazio";
    std::string shown(text.substr(0, longest));
    for (char& c : shown) {
        // A separator or a control byte would break the reply that carries the reason.
        if (c < ' ' || c > '~' || c == '|') c = '?';
    }
    if (text.size() > longest) shown += "...";
    return shown;
}

}  // namespace emulator

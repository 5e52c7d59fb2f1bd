#include "cancellation.h"

#include "text.h"
#include "values.h"

namespace tool {

namespace {

// clang-format off
constexpr Text NO_KEY = {"informe a chave (CFe e 44 dígitos) ou um XML de cancelamento com chCanc", "give the key (CFe and 44 digits) or a cancellation XML with chCanc"};
constexpr Text WRONG_KEY = {"a chave %1 tem o dígito verificador errado", "the key %1 has a wrong check digit"};
constexpr Text OTHER_KEY = {"o XML cancela %1, e não %2", "the XML cancels %1, not %2"};
// clang-format on

// What an XML may hold in the key's place to have it filled in.
constexpr const char* PLACEHOLDER = "@CHAVE@";

std::string Between(const std::string& text, const std::string& front, const std::string& end) {
    const size_t from = text.find(front);
    if (from == std::string::npos) return "";
    const size_t to = text.find(end, from + front.size());
    return to == std::string::npos ? "" : text.substr(from + front.size(), to - from - front.size());
}

std::string Element(const std::string& xml, const std::string& name) {
    const std::string inner = Between(xml, "<" + name + ">", "</" + name + ">");
    return inner.empty() ? "" : "<" + name + ">" + inner + "</" + name + ">";
}

// Who sold and who bought, as the sale's XML says; a cancellation repeats it.
std::string Compose(const std::string& key, const std::string& sale) {
    const std::string seller = Between(sale, "<ide>", "</ide>");
    const std::string buyer = Between(sale, "<dest>", "</dest>");
    std::string xml = "<CFeCanc><infCFe chCanc=\"" + key + "\"><ide>";
    for (const char* const name : {"CNPJ", "signAC", "numeroCaixa"}) {
        xml += Element(seller, name);
    }
    xml += "</ide><emit/><dest>" + Element(buyer, "CNPJ") + Element(buyer, "CPF");
    return xml + "</dest><total/></infCFe></CFeCanc>";
}

}  // namespace

bool LooksLikeKey(std::string_view argument) {
    const std::string_view digits = argument.substr(0, 3) == "CFe" ? argument.substr(3) : argument;
    return digits.size() == 44 && AllDigits(digits);
}

std::string NormalKey(std::string_view key) {
    return (key.substr(0, 3) == "CFe" ? "" : "CFe") + std::string(key);
}

std::string CompleteCancellation(Cancellation* cancellation) {
    std::string& xml = cancellation->xml;
    std::string& key = cancellation->key;
    const size_t gap = xml.find(PLACEHOLDER);
    if (gap != std::string::npos && !key.empty()) {
        xml.replace(gap, std::string_view(PLACEHOLDER).size(), key);
    }
    const std::string named = Between(xml, "chCanc=\"", "\"");
    if (key.empty()) key = LooksLikeKey(named) ? NormalKey(named) : "";
    if (key.empty()) return Say(NO_KEY);
    if (!KeyIsRight(key)) return Say(WRONG_KEY, {key});
    if (!named.empty() && NormalKey(named) != key) return Say(OTHER_KEY, {named, key});
    if (xml.empty()) xml = Compose(key, cancellation->sale);
    return "";
}

}  // namespace tool

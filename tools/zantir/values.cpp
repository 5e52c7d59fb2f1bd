#include "values.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "codes.h"
#include "vko_sat_utils/ibge.h"
#include "vko_utils/base64.h"
#include "vko_utils/taxpayer_id.h"

namespace tool {

namespace {

// clang-format off
constexpr Text NOT_DIGITS = {"deveria ter %1 dígitos", "should have %1 digits"};
constexpr Text NO_DATE = {"não é uma data AAAAMMDD", "is no date AAAAMMDD"};
constexpr Text NO_MOMENT = {"não é data e hora AAAAMMDDHHMMSS", "is no moment AAAAMMDDHHMMSS"};
constexpr Text NO_KEY = {"não é uma chave de 44 dígitos", "is no key of 44 digits"};
constexpr Text WRONG_KEY = {"dígito verificador da chave errado", "wrong check digit in the key"};
constexpr Text KEY_PARTS = {"%1, %2/20%3, CNPJ %4, SAT %5, cupom %6", "%1, %2/20%3, CNPJ %4, device %5, receipt %6"};
constexpr Text NOTHING_YET = {"nenhum", "none"};
constexpr Text NO_BASE64 = {"não é Base64", "is no Base64"};
constexpr Text BYTES = {"%1 bytes", "%1 bytes"};
constexpr Text NO_AMOUNT = {"não é um valor como 10.00", "is no amount such as 10.00"};
constexpr Text NO_TAXPAYER = {"não é CPF nem CNPJ válido", "is no valid CPF or CNPJ"};
constexpr Text NO_STATE = {"estado que os documentos não conhecem", "a state that the documents do not know"};
const Text STATES[] = {
    {"desbloqueado", "not blocked"},
    {"bloqueado pela SEFAZ", "blocked by the tax office"},
    {"bloqueado pelo contribuinte", "blocked by the taxpayer"},
    {"bloqueio autônomo", "blocked by itself"},
    {"bloqueado para desativação", "blocked for deactivation"},
};
// clang-format on

std::string ShowDate(std::string_view d) {
    return std::string(d.substr(6, 2)) + "/" + std::string(d.substr(4, 2)) + "/" +
           std::string(d.substr(0, 4));
}

bool AllZeros(std::string_view text) {
    return !text.empty() && text.find_first_not_of('0') == std::string_view::npos;
}

std::string_view BareKey(std::string_view key) {
    return key.substr(0, 3) == "CFe" ? key.substr(3) : key;
}

// The parts of a key: state, year and month, CNPJ, model, device, receipt, random number, check digit.
ValueMeaning ExplainKey(std::string_view value) {
    const std::string_view key = BareKey(value);
    if (AllZeros(key)) return {Say(NOTHING_YET), ""};
    if (key.size() != 44 || !AllDigits(key)) return {"", Say(NO_KEY)};
    if (!KeyIsRight(key)) return {"", Say(WRONG_KEY)};
    const char* const state = SAT_Get_IBGE_UF_Name(NumberOf(key.substr(0, 2)));
    return {Say(KEY_PARTS, {state != nullptr ? state : key.substr(0, 2), key.substr(4, 2), key.substr(2, 2),
                            key.substr(6, 14), key.substr(22, 9), key.substr(31, 6)}),
            ""};
}

ValueMeaning ExplainDigits(std::string_view value, size_t count) {
    if (value.size() == count && AllDigits(value)) return {};
    return {"", Say(NOT_DIGITS, {std::to_string(count)})};
}

ValueMeaning ExplainState(std::string_view value) {
    if (!AllDigits(value) || value.size() > 2) return {"", Say(NO_STATE)};
    const auto state = static_cast<size_t>(NumberOf(value));
    if (state >= std::size(STATES)) return {"", Say(NO_STATE)};
    return {Say(STATES[state]), ""};
}

ValueMeaning ExplainBase64(std::string_view value) {
    if (!IsBase64(value)) return {"", Say(NO_BASE64)};
    return {Say(BYTES, {std::to_string(FromBase64(value).size())}), ""};
}

ValueMeaning ExplainTaxpayer(std::string_view value) {
    const std::string number(value);
    if (VKO_Check_CNPJ(number.c_str()) == 0) return {"CNPJ", ""};
    if (VKO_Check_CPF(number.c_str()) == 0) return {"CPF", ""};
    return {"", Say(NO_TAXPAYER)};
}

ValueMeaning ExplainAmount(std::string_view value) {
    const size_t point = value.find('.');
    const bool amount = point != std::string_view::npos && AllDigits(value.substr(0, point)) &&
                        value.size() == point + 3 && AllDigits(value.substr(point + 1));
    return amount ? ValueMeaning{"R$ " + std::string(value), ""} : ValueMeaning{"", Say(NO_AMOUNT)};
}

ValueMeaning ExplainMoment(std::string_view value) {
    if (AllZeros(value)) return {Say(NOTHING_YET), ""};
    if (!IsMoment(value)) return {"", Say(NO_MOMENT)};
    return {ShowDate(value) + " " + std::string(value.substr(8, 2)) + ":" + std::string(value.substr(10, 2)) +
                ":" + std::string(value.substr(12, 2)),
            ""};
}

}  // namespace

ValueMeaning ExplainValue(FieldKind kind, std::string_view value) {
    if (value.empty() && kind != FieldKind::Session && kind != FieldKind::ReturnCode) return {};
    switch (kind) {
        case FieldKind::Plain:
        case FieldKind::SefazCode:
            return {};
        case FieldKind::Session:
            return ExplainDigits(value, 6);
        case FieldKind::AlertCode:
            return ExplainDigits(value, 4);
        case FieldKind::ReturnCode: {
            ValueMeaning meaning = ExplainDigits(value, 5);
            if (meaning.fault.empty()) meaning.shown = ExplainCode(NumberOf(value)).message;
            return meaning;
        }
        case FieldKind::Base64:
            return ExplainBase64(value);
        case FieldKind::Moment:
            return ExplainMoment(value);
        case FieldKind::Date:
            if (AllZeros(value)) return {Say(NOTHING_YET), ""};
            return IsDate(value) ? ValueMeaning{ShowDate(value), ""} : ValueMeaning{"", Say(NO_DATE)};
        case FieldKind::Key:
            return ExplainKey(value);
        case FieldKind::Amount:
            return ExplainAmount(value);
        case FieldKind::Taxpayer:
            return ExplainTaxpayer(value);
        case FieldKind::OperatingState:
            return ExplainState(value);
    }
    return {};
}

bool KeyIsRight(std::string_view value) {
    const std::string_view key = BareKey(value);
    if (key.size() != 44 || !AllDigits(key)) return false;
    // Modulo 11 with the weights 2 to 9 from the right.
    int sum = 0;
    for (size_t at = 0; at < 43; ++at) {
        sum += (key[42 - at] - '0') * (2 + static_cast<int>(at % 8));
    }
    const int rest = sum % 11;
    return key[43] - '0' == (rest < 2 ? 0 : 11 - rest);
}

bool IsDate(std::string_view text) {
    if (text.size() != 8 || !AllDigits(text)) return false;
    const auto date = std::chrono::year(NumberOf(text.substr(0, 4))) /
                      static_cast<unsigned>(NumberOf(text.substr(4, 2))) /
                      static_cast<unsigned>(NumberOf(text.substr(6, 2)));
    return date.ok();
}

bool IsMoment(std::string_view text) {
    return text.size() == 14 && AllDigits(text) && IsDate(text.substr(0, 8)) &&
           NumberOf(text.substr(8, 2)) < 24 && NumberOf(text.substr(10, 2)) < 60 &&
           NumberOf(text.substr(12, 2)) < 60;
}

bool IsBase64(std::string_view text) {
    const size_t end = std::min(text.find('='), text.size());
    const std::string_view digits = text.substr(0, end);
    const std::string_view padding = text.substr(end);
    const bool alphabet = std::all_of(digits.begin(), digits.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
               c == '/';
    });
    return !text.empty() && text.size() % 4 == 0 && alphabet &&
           (padding.empty() || padding == "=" || padding == "==");
}

std::string FromBase64(std::string_view text) {
    if (!IsBase64(text)) return "";
    // The decoder looks at what the buffer holds before it writes there: it has to be clear.
    std::string bytes(text.size() / 4 * 3 + 1, '\0');
    uint64_t size = 0;
    VKO_Base64Decoder(text.data(), text.size(), bytes.data(), &size);
    bytes.resize(static_cast<size_t>(size));
    return bytes;
}

}  // namespace tool

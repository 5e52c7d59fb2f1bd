#include "functions.h"

#include <algorithm>
#include <charconv>

#include "text.h"
#include "vko_utils/ini_file.h"
#include "vko_utils/text.h"
#include "zantir.h"

namespace tool {

namespace {

using Values = std::vector<std::string>;

// A text argument, or a number where the function takes one.
struct Value {
    const std::string& text;
    operator const char*() const { return text.c_str(); }
    operator int() const { return VKO_DecimalValue(text.c_str()); }
};

// Calls through a pointer of the declared type; the declaration in the public header is the only source of
// it.
template <class Declared>
const char* Call(void* address, int session, const Values& v) {
    const auto function = reinterpret_cast<Declared*>(address);
    if constexpr (std::is_invocable_v<Declared, int>) {
        return function(session);
    } else if constexpr (std::is_invocable_v<Declared, int, Value>) {
        return function(session, Value{v[0]});
    } else if constexpr (std::is_invocable_v<Declared, int, Value, Value>) {
        return function(session, Value{v[0]}, Value{v[1]});
    } else if constexpr (std::is_invocable_v<Declared, int, Value, Value, Value>) {
        return function(session, Value{v[0]}, Value{v[1]}, Value{v[2]});
    } else {
        return function(session, Value{v[0]}, Value{v[1]}, Value{v[2]}, Value{v[3]});
    }
}

#define FUNCTION(name, arguments, timeout_s, configurable) \
    { #name, arguments, timeout_s, configurable, Call < decltype(name)> }

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

const std::vector<Function>& Functions() {
    static const std::vector<Function> functions = {
        FUNCTION(AtivarSAT, "#subComando codigoDeAtivacao CNPJ #cUF", 1800, true),
        FUNCTION(ComunicarCertificadoICPBRASIL, "codigoDeAtivacao certificado", 300, true),
        FUNCTION(EnviarDadosVenda, "codigoDeAtivacao dadosVenda", 30, true),
        FUNCTION(CancelarUltimaVenda, "codigoDeAtivacao chave dadosCancelamento", 30, true),
        FUNCTION(ConsultarSAT, "", 10, true),
        FUNCTION(TesteFimAFim, "codigoDeAtivacao dadosVenda", 20, true),
        FUNCTION(ConsultarStatusOperacional, "codigoDeAtivacao", 10, true),
        FUNCTION(ConsultarNumeroSessao, "codigoDeAtivacao #cNumeroDeSessao", 20, false),
        FUNCTION(ConfigurarInterfaceDeRede, "codigoDeAtivacao dadosConfiguracao", 20, false),
        FUNCTION(AssociarAssinatura, "codigoDeAtivacao CNPJvalue assinaturaCNPJs", 1800, false),
        FUNCTION(AtualizarSoftwareSAT, "codigoDeAtivacao", 1800, false),
        FUNCTION(ExtrairLogs, "codigoDeAtivacao", 30, false),
        FUNCTION(BloquearSAT, "codigoDeAtivacao", 300, false),
        FUNCTION(DesbloquearSAT, "codigoDeAtivacao", 20, false),
        FUNCTION(TrocarCodigoDeAtivacao, "codigoDeAtivacao #opcao novoCodigo confNovoCodigo", 30, false),
        FUNCTION(ConsultarUltimaSessaoFiscal, "codigoDeAtivacao", 20, false),
    };
    return functions;
}

const Function* FindFunction(std::string_view name) {
    for (const Function& function : Functions()) {
        const std::string_view own = function.name;
        const bool equal = std::equal(own.begin(), own.end(), name.begin(), name.end(),
                                      [](char a, char b) { return Lower(a) == Lower(b); });
        if (equal) return &function;
    }
    return nullptr;
}

std::vector<std::string> ArgumentNames(const Function& function) {
    if (function.arguments[0] == '\0') return {};
    std::vector<std::string> names = Split(function.arguments, ' ');
    for (std::string& name : names) {
        if (name[0] == '#') name.erase(0, 1);
    }
    return names;
}

size_t ActivationCodeIndex(const Function& function) {
    const std::vector<std::string> names = ArgumentNames(function);
    const auto found = std::find(names.begin(), names.end(), "codigoDeAtivacao");
    return found == names.end() ? SIZE_MAX : static_cast<size_t>(found - names.begin());
}

size_t FirstWrongNumber(const Function& function, const Values& values) {
    if (function.arguments[0] == '\0') return SIZE_MAX;
    const std::vector<std::string> names = Split(function.arguments, ' ');
    for (size_t at = 0; at < names.size() && at < values.size(); ++at) {
        if (names[at][0] != '#') continue;
        const char* const end = values[at].data() + values[at].size();
        int number = 0;
        const auto [stop, failure] = std::from_chars(values[at].data(), end, number);
        if (failure != std::errc() || stop != end) return at;
    }
    return SIZE_MAX;
}

int TimeoutInForce(const Function& function, const std::string& ini_file) {
    char value[128] = {};
    if (!function.configurable_timeout ||
        VKO_GetIniFileValueSized(ini_file.c_str(), "SAT_TIMEOUT", function.name, value, sizeof value) < 0) {
        return function.timeout_s;
    }
    const int configured = VKO_DecimalValue(value);
    return configured > 0 ? configured : function.timeout_s;
}

}  // namespace tool

#include <regex>

#include "cancellation.h"
#include "commands.h"
#include "device_call.h"
#include "files.h"
#include "screen.h"
#include "text.h"
#include "values.h"

namespace tool {

namespace {

// clang-format off
constexpr Text NEEDS_CODE = {"%1 precisa do código de ativação: --codigo CODIGO", "%1 needs the activation code: --codigo CODIGO"};
constexpr Text NOT_READ = {"não foi possível ler %1", "could not read %1"};
constexpr Text BAD_FILE = {"%1: %2", "%1: %2"};
constexpr Text NO_FUNCTION = {"não há função %1; as dezesseis são: %2", "there is no function %1; the sixteen are: %2"};
constexpr Text WRONG_COUNT = {"%1 espera depois da sessão: %2", "%1 expects behind the session: %2"};
constexpr Text NO_NUMBER = {"%1 deve ser um número: %2", "%1 has to be a number: %2"};
constexpr Text NOTHING = {"nada", "nothing"};
// clang-format on

int Misused(const std::string& why) {
    Complain(why);
    return EXIT_USAGE;
}

// A file's bytes as an argument of a command; false, with the reason told, when they cannot be one.
bool ReadArgument(const std::string& name, std::string* bytes) {
    if (!ReadFile(name, bytes)) {
        Complain(Say(NOT_READ, {name}));
        return false;
    }
    const std::string fault = PayloadFault(*bytes);
    if (!fault.empty()) Complain(Say(BAD_FILE, {name, fault}));
    return fault.empty();
}

int CallNamed(const Options& options, const char* name, const std::vector<std::string>& values) {
    const Function& function = *FindFunction(name);
    const bool needs_code = ActivationCodeIndex(function) != SIZE_MAX;
    if (needs_code && options.activation_code.empty()) return Misused(Say(NEEDS_CODE, {name}));
    return CallDevice(options, function, values);
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text.empty() ? Say(NOTHING) : text;
}

std::string FunctionNames() {
    std::vector<std::string> names;
    for (const Function& function : Functions()) {
        names.emplace_back(function.name);
    }
    return Joined(names);
}

// "@FILE" stands for the file's bytes, "@@text" for a text that begins with "@".
bool ExpandFiles(std::vector<std::string>* values) {
    for (std::string& value : *values) {
        if (value.size() < 2 || value[0] != '@') continue;
        if (value[1] == '@') {
            value.erase(0, 1);
        } else if (!ReadArgument(value.substr(1), &value)) {
            return false;
        }
    }
    return true;
}

}  // namespace

int CommandConsult(const Options& options) {
    return CallNamed(options, "ConsultarSAT", {});
}

int CommandStatus(const Options& options) {
    return CallNamed(options, "ConsultarStatusOperacional", {options.activation_code});
}

int CommandSell(const Options& options) {
    std::string xml;
    if (!ReadArgument(options.file, &xml)) return EXIT_FILE;
    return CallNamed(options, "EnviarDadosVenda", {options.activation_code, xml});
}

int CommandSession(const Options& options) {
    return CallNamed(options, "ConsultarNumeroSessao",
                     {options.activation_code, std::to_string(options.asked_session)});
}

int CommandCancel(const Options& options) {
    Cancellation cancellation;
    for (const std::string& argument : options.cancel) {
        if (LooksLikeKey(argument)) {
            cancellation.key = NormalKey(argument);
        } else if (!ReadArgument(argument, &cancellation.xml)) {
            return EXIT_FILE;
        }
    }
    if (!options.sale_file.empty() && !ReadArgument(options.sale_file, &cancellation.sale)) return EXIT_FILE;
    const std::string fault = CompleteCancellation(&cancellation);
    if (!fault.empty()) return Misused(fault);
    return CallNamed(options, "CancelarUltimaVenda",
                     {options.activation_code, cancellation.key, cancellation.xml});
}

int CommandCall(const Options& options) {
    const Function* const function = FindFunction(options.function);
    if (function == nullptr) return Misused(Say(NO_FUNCTION, {options.function, FunctionNames()}));
    const std::vector<std::string> names = ArgumentNames(*function);
    std::vector<std::string> values = options.arguments;
    const size_t code_at = ActivationCodeIndex(*function);
    // The code may stand among the arguments or come by --codigo.
    if (values.size() + 1 == names.size() && code_at <= values.size() && !options.activation_code.empty()) {
        values.insert(values.begin() + static_cast<std::ptrdiff_t>(code_at), options.activation_code);
    }
    if (values.size() != names.size()) {
        return Misused(Say(WRONG_COUNT, {function->name, Joined(names)}));
    }
    const size_t wrong = FirstWrongNumber(*function, values);
    if (wrong != SIZE_MAX) return Misused(Say(NO_NUMBER, {names[wrong], values[wrong]}));
    if (!ExpandFiles(&values)) return EXIT_FILE;
    return CallDevice(options, *function, values);
}

}  // namespace tool

#include "commands.h"
#include "diagnosis.h"
#include "files.h"
#include "screen.h"

namespace tool {

namespace {

// clang-format off
constexpr Text REMEDY = {"O que fazer: %1", "What to do: %1"};
constexpr Text SUMMARY = {"Verificações: %1. Avisos: %2. Falhas: %3.", "Checks: %1. Warnings: %2. Failures: %3."};
constexpr Text PORT_TAKEN = {"É tomada %1: %2", "%1 is taken: %2"};
constexpr Text NO_PORT_TAKEN = {"Nenhuma é tomada: %1", "None is taken: %1"};
constexpr Text NO_PORTS = {"nenhuma porta serial presente", "no serial port is present"};
constexpr Text HELD_BY = {"em uso por %1", "held by %1"};
// clang-format on

constexpr size_t TITLE_COLUMNS = 22;

struct StatusWords {
    CheckStatus status;
    const char* name;
    Text shown;
    Colour colour;
};

const StatusWords& WordsOf(CheckStatus status) {
    static const StatusWords WORDS[] = {
        {CheckStatus::Good, "ok", {"CERTO", "OK"}, Colour::Good},
        {CheckStatus::Warning, "aviso", {"AVISO", "WARN"}, Colour::Warning},
        {CheckStatus::Bad, "falha", {"FALHA", "FAIL"}, Colour::Bad},
        {CheckStatus::Skipped, "pulada", {"-", "-"}, Colour::Faint},
    };
    return WORDS[static_cast<size_t>(status)];
}

void ShowFinding(const Check& check, const Finding& finding) {
    const StatusWords& words = WordsOf(finding.status);
    ShowLine(Painted(words.colour, Padded(Say(words.shown), 6)) + Padded(Say(check.title), TITLE_COLUMNS) +
             Printable(finding.found));
    const std::string margin(6, ' ');
    for (const std::string& detail : finding.details) {
        ShowLine(margin + "  " + Painted(Colour::Faint, Printable(detail)));
    }
    if (!finding.remedy.empty()) ShowLine(margin + Painted(Colour::Name, Say(REMEDY, {finding.remedy})));
}

Json FindingJson(const Check& check, const Finding& finding) {
    return {{"nome", check.name},
            {"titulo", Say(check.title)},
            {"estado", WordsOf(finding.status).name},
            {"encontrado", ToUtf8(finding.found)},
            {"providencia", finding.remedy},
            {"detalhes", finding.details}};
}

std::string HolderNames(const Port& port) {
    std::string names;
    for (const PortHolder& holder : HoldersOf(port.name)) {
        names += (names.empty() ? "" : ", ") + holder.program + " (" + std::to_string(holder.process) + ")";
    }
    return names;
}

Json PortsJson(const std::vector<Port>& ports, const PortChoice& choice) {
    Json json = {{"tomada", ToUtf8(choice.port)}, {"regra", choice.rule}, {"aviso", choice.warning}};
    json["portas"] = Json::array();
    for (const Port& port : ports) {
        json["portas"].push_back({{"nome", port.name},
                                  {"descricao", ToUtf8(port.friendly)},
                                  {"arquivo", port.file},
                                  {"marca", HasDeviceMark(port.friendly)},
                                  {"em_uso_por", HolderNames(port)}});
    }
    return json;
}

void ShowPort(const Port& port, bool taken) {
    const std::string holders = HolderNames(port);
    ShowLine(Painted(taken ? Colour::Good : Colour::Name, Padded((taken ? "* " : "  ") + port.name, 10)) +
             Padded(port.file, 16) + Printable(port.friendly) +
             (holders.empty() ? "" : " (" + Say(HELD_BY, {holders}) + ")"));
}

}  // namespace

const std::vector<Check>& Checks() {
    static const std::vector<Check> checks = {
        {"biblioteca", {"Biblioteca", "Library"}, CheckLibrary},
        {"sat_ini", {"SAT.ini", "SAT.ini"}, CheckIniFile},
        {"chaves", {"Chaves do SAT.ini", "Keys of SAT.ini"}, CheckIniKeys},
        {"sem_efeito", {"Valores sem efeito", "Values without effect"}, CheckIniEffects},
        {"valores", {"Valores do SAT.ini", "Values of SAT.ini"}, CheckIniValues},
        {"registros", {"Registros", "Logs"}, CheckLogFolder},
        {"portas", {"Portas", "Ports"}, CheckPorts},
        {"trava", {"Trava da máquina", "Machine's lock"}, CheckLock},
        {"porta_livre", {"Porta livre", "Port not in use"}, CheckPortUse},
        {"consulta", {"SAT responde", "Device answers"}, CheckAnswer},
        {"relogio", {"Relógio", "Clock"}, CheckClock},
    };
    return checks;
}

Diagnosis StartDiagnosis(const Options& options) {
    Diagnosis diagnosis;
    diagnosis.options = options;
    diagnosis.ini_file = NameOf(PathOf(CurrentFolder()) / "SAT.ini");
    diagnosis.ini_found = ReadFile("SAT.ini", &diagnosis.ini_text);
    diagnosis.port_settings = ReadPortSettings("SAT.ini");
    return diagnosis;
}

int CommandDiagnosis(const Options& options) {
    Diagnosis diagnosis = StartDiagnosis(options);
    Json list = Json::array();
    size_t warnings = 0;
    size_t failures = 0;
    for (const Check& check : Checks()) {
        const Finding finding = check.run(diagnosis);
        warnings += finding.status == CheckStatus::Warning ? 1 : 0;
        failures += finding.status == CheckStatus::Bad ? 1 : 0;
        if (options.json) {
            list.push_back(FindingJson(check, finding));
        } else {
            ShowFinding(check, finding);
        }
    }
    if (options.json) {
        ShowJson({{"verificacoes", list}, {"avisos", warnings}, {"falhas", failures}});
    } else {
        ShowLine(Say(SUMMARY,
                     {std::to_string(Checks().size()), std::to_string(warnings), std::to_string(failures)}));
    }
    return failures == 0 ? EXIT_OK : EXIT_CHECK_FAILED;
}

int CommandPorts(const Options& options) {
    const std::vector<Port> ports = PresentPorts();
    const PortChoice choice = ChoosePort(ports, ReadPortSettings("SAT.ini"));
    if (options.json) {
        ShowJson(PortsJson(ports, choice));
        return choice.port.empty() ? EXIT_NO_DEVICE : EXIT_OK;
    }
    if (ports.empty()) ShowLine(Say(NO_PORTS));
    for (const Port& port : ports) {
        ShowPort(port, port.name == choice.port);
    }
    ShowLine(choice.port.empty() ? Say(NO_PORT_TAKEN, {choice.rule})
                                 : Say(PORT_TAKEN, {Printable(choice.port), choice.rule}));
    if (!choice.warning.empty()) ShowLine(Painted(Colour::Warning, choice.warning));
    return choice.port.empty() ? EXIT_NO_DEVICE : EXIT_OK;
}

}  // namespace tool

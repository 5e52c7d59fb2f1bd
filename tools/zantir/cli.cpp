#include "cli.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>

#include "commands.h"
#include "completion.h"
#include "files.h"
#include "functions.h"
#include "screen.h"
#include "terminal.h"
#include "text.h"

namespace tool {

namespace {

// clang-format off
constexpr Text ABOUT = {"zantir: o SAT na mão do técnico. Fala com o equipamento pela biblioteca, como o programa de vendas.",
                        "zantir: the fiscal device in the technician's hand. Talks to it through the library, as the sales program does."};
constexpr Text EXIT_CODES = {
    "Códigos de saída:\n  0 certo\n  1 uso incorreto\n  2 a biblioteca não carrega\n  3 sem SAT ou falha de comunicação\n"
    "  4 o SAT recusou\n  5 uma verificação falhou\n  6 um arquivo não pôde ser lido ou gravado\n  130 interrompido com Ctrl-C",
    "Exit codes:\n  0 all right\n  1 wrong usage\n  2 the library does not load\n  3 no device or communication error\n"
    "  4 the device refused\n  5 a check failed\n  6 a file could not be read or written\n  130 interrupted with Ctrl-C"};
constexpr Text OPTIONS = {"Opções", "Options"};
constexpr Text EXAMPLE = {"Exemplo", "Example"};
constexpr Text MISUSED = {"uso incorreto: %1. Veja zantir --help", "wrong usage: %1. See zantir --help"};

constexpr Text OPTION_DLL = {"Biblioteca a carregar, em vez da que está ao lado deste programa", "Library to load, instead of the one beside this program"};
constexpr Text OPTION_LANG = {"Idioma: pt ou en", "Language: pt or en"};
constexpr Text OPTION_JSON = {"Saída em JSON, para programas", "Output as JSON, for programs"};
constexpr Text OPTION_COLOUR = {"Cores: auto (só em terminal), sempre, nunca", "Colours: auto (on a terminal only), sempre, nunca"};
constexpr Text OPTION_CODE = {"Código de ativação", "Activation code"};
constexpr Text OPTION_SESSION = {"Número da sessão, 1 a 999999; sem ele, um ao acaso", "Session number, 1 to 999999; a random one by default"};
constexpr Text OPTION_SAVE = {"Grava nesta pasta o XML ou os registros que o SAT devolver", "Writes the XML or the logs that the device returns into this folder"};
constexpr Text NO_FOLDER = {"não há a pasta %1", "there is no folder %1"};
constexpr Text OPTION_LIMIT = {"Segundos até desistir da biblioteca; sem ele, o maior tempo que ela pode levar", "Seconds until the library is given up; by default the longest time that it may take"};
constexpr Text OPTION_UNMASKED = {"Mostra o código de ativação", "Shows the activation code"};
constexpr Text OPTION_SALE = {"XML da venda, de onde o cancelamento toma quem vendeu", "XML of the sale, from which the cancellation takes who sold"};
constexpr Text OPTION_FOLDER = {"Pasta dos registros; sem ela, a do SAT.ini", "Folder of the logs; that of SAT.ini by default"};
constexpr Text OPTION_HTML = {"Grava a linha do tempo numa página só, com filtros", "Writes the timeline into one page, with filters"};
constexpr Text ARGUMENT_FILE = {"Arquivo XML; - é a entrada padrão", "XML file; - is standard input"};
constexpr Text ARGUMENT_CANCEL = {"Chave (CFe e 44 dígitos) e/ou arquivo XML", "Key (CFe and 44 digits) and/or XML file"};
constexpr Text ARGUMENT_SESSION = {"Sessão a recuperar", "Session to recover"};
constexpr Text ARGUMENT_FUNCTION = {"Uma das dezesseis funções", "One of the sixteen functions"};
constexpr Text ARGUMENT_VALUES = {"Argumentos depois da sessão, em ordem; @ARQUIVO é o conteúdo do arquivo", "Arguments behind the session, in order; @FILE is the file's content"};
constexpr Text ARGUMENT_CODE = {"Código de retorno, como 6010", "Return code, such as 6010"};
constexpr Text ARGUMENT_NUMBER = {"Número, com ou sem pontuação", "Number, with or without punctuation"};
constexpr Text ARGUMENT_STATE = {"Código do IBGE, sigla ou nome", "IBGE code, abbreviation or name"};
constexpr Text ARGUMENT_DAY = {"Dia: AAAAMMDD ou DD/MM/AAAA; sem ele, hoje", "Day: AAAAMMDD or DD/MM/AAAA; today by default"};
constexpr Text ARGUMENT_SHELL = {"bash, zsh ou powershell", "bash, zsh or powershell"};
// clang-format on

using Adder = void (*)(CLI::App&, Options&);

struct Command {
    const char* name;
    Text description;
    const char* example;
    Adder add;
    int (*run)(const Options&);  ///< NULL for "completar": only the command line knows all commands
};

void AddNothing(CLI::App&, Options&) {}

void AddCode(CLI::App& app, Options& options) {
    app.add_option("--codigo", options.activation_code, Say(OPTION_CODE))->type_name("CODIGO");
}

// Of every command that makes the device do something.
void AddExchange(CLI::App& app, Options& options) {
    app.add_option("--numero-sessao", options.session, Say(OPTION_SESSION))
        ->type_name("N")
        ->check(CLI::Range(1, 999999));
    app.add_option("--salvar", options.save_folder, Say(OPTION_SAVE))
        ->type_name("PASTA")
        ->check(
            [](const std::string& name) { return IsFolder(name) ? std::string() : Say(NO_FOLDER, {name}); });
    app.add_option("--limite", options.limit_s, Say(OPTION_LIMIT))
        ->type_name("S")
        ->check(CLI::PositiveNumber);
}

void AddCoded(CLI::App& app, Options& options) {
    AddCode(app, options);
    AddExchange(app, options);
}

void AddSale(CLI::App& app, Options& options) {
    app.add_option("arquivo", options.file, Say(ARGUMENT_FILE))->required()->type_name("ARQUIVO");
    AddCoded(app, options);
}

void AddCancel(CLI::App& app, Options& options) {
    app.add_option("cancelamento", options.cancel, Say(ARGUMENT_CANCEL))
        ->required()
        ->expected(1, 2)
        ->type_name("CHAVE ARQUIVO");
    app.add_option("--venda", options.sale_file, Say(OPTION_SALE))->type_name("ARQUIVO");
    AddCoded(app, options);
}

void AddSession(CLI::App& app, Options& options) {
    app.add_option("sessao", options.asked_session, Say(ARGUMENT_SESSION))
        ->required()
        ->type_name("N")
        ->check(CLI::Range(0, 999999));
    AddCoded(app, options);
}

void AddFunction(CLI::App& app, Options& options) {
    app.add_option("funcao", options.function, Say(ARGUMENT_FUNCTION))->required()->type_name("FUNCAO");
    app.add_option("argumentos", options.arguments, Say(ARGUMENT_VALUES))->type_name("ARG");
    AddCoded(app, options);
}

void AddReturnCode(CLI::App& app, Options& options) {
    app.add_option("codigo", options.code, Say(ARGUMENT_CODE))->required()->type_name("CODIGO");
}

void AddNumber(CLI::App& app, Options& options) {
    app.add_option("numero", options.number, Say(ARGUMENT_NUMBER))->required()->type_name("NUMERO");
}

void AddState(CLI::App& app, Options& options) {
    app.add_option("uf", options.number, Say(ARGUMENT_STATE))->required()->type_name("UF");
}

void AddLog(CLI::App& app, Options& options) {
    app.add_option("dia", options.day, Say(ARGUMENT_DAY))->type_name("DIA");
    app.add_option("--pasta", options.log_folder, Say(OPTION_FOLDER))->type_name("PASTA");
    app.add_option("--html", options.html_file, Say(OPTION_HTML))->type_name("ARQUIVO");
    app.add_flag("--sem-mascara", options.unmasked, Say(OPTION_UNMASKED));
}

void AddShell(CLI::App& app, Options& options) {
    app.add_option("shell", options.shell, Say(ARGUMENT_SHELL))
        ->required()
        ->type_name("SHELL")
        ->check(CLI::IsMember({"bash", "zsh", "powershell"}));
}

// clang-format off
const Command COMMANDS[] = {
    {"diagnostico", {"Verifica biblioteca, SAT.ini, registros, portas e SAT, e diz o que fazer", "Checks library, SAT.ini, logs, ports and device, and says what to do"},
     "zantir diagnostico --codigo 12345678", AddCoded, CommandDiagnosis},
    {"portas", {"Portas presentes, e qual é tomada pelo SAT", "The ports that are present, and which one is taken for the device"},
     "zantir portas", AddNothing, CommandPorts},
    {"consultar", {"Pergunta se o SAT está em operação (ConsultarSAT)", "Asks whether the device works (ConsultarSAT)"},
     "zantir consultar", AddExchange, CommandConsult},
    {"status", {"Mostra e explica os 28 campos do estado do SAT", "Shows and explains the 28 fields of the device's state"},
     "zantir status --codigo 12345678", AddCoded, CommandStatus},
    {"vender", {"Envia uma venda", "Sends a sale"},
     "zantir vender venda.xml --codigo 12345678 --salvar .", AddSale, CommandSell},
    {"cancelar", {"Cancela a última venda", "Cancels the last sale"},
     "zantir cancelar cancelamento.xml --codigo 12345678", AddCancel, CommandCancel},
    {"sessao", {"Recupera a resposta de uma sessão que se perdeu", "Recovers the reply of a session that was lost"},
     "zantir sessao 123456 --codigo 12345678", AddSession, CommandSession},
    {"chamar", {"Chama qualquer das dezesseis funções", "Calls any of the sixteen functions"},
     "zantir chamar ExtrairLogs 12345678 --salvar .", AddFunction, CommandCall},
    {"decodificar", {"Explica uma resposta colada na entrada padrão", "Explains a reply pasted on standard input"},
     "echo '123456|06001|0000|Codigo de ativacao invalido||' | zantir decodificar", AddNothing, CommandDecode},
    {"codigo", {"Explica um código de retorno", "Explains a return code"}, "zantir codigo 6010", AddReturnCode, CommandCode},
    {"cnpj", {"Confere um CNPJ", "Checks a CNPJ"}, "zantir cnpj 11.222.333/0001-81", AddNumber, CommandCnpj},
    {"cpf", {"Confere um CPF", "Checks a CPF"}, "zantir cpf 529.982.247-25", AddNumber, CommandCpf},
    {"uf", {"Encontra um estado", "Finds a state"}, "zantir uf 35", AddState, CommandState},
    {"log", {"Mostra um dia dos registros como linha do tempo", "Shows a day of the logs as a timeline"},
     "zantir log 20/11/2026 --html dia.html", AddLog, CommandLog},
    {"completar", {"Escreve o script de completar para o seu shell", "Prints the completion script for your shell"},
     "zantir completar bash > /etc/bash_completion.d/zantir", AddShell, nullptr},
};
// clang-format on

// What CLI11 calls its errors, in the technician's language, and where its own sentence, which is English,
// names the argument.
enum class Named { AT_THE_FRONT, AT_THE_END };
struct Misuse {
    CLI::ExitCodes code;
    Text text;
    const char* border;
    Named named;
};
constexpr Misuse MISUSES[] = {
    {CLI::ExitCodes::ExtrasError, {"argumento desconhecido", "unknown argument"}, ": ", Named::AT_THE_END},
    {CLI::ExitCodes::RequiredError,
     {"falta um comando ou argumento", "a command or argument is missing"},
     " is required",
     Named::AT_THE_FRONT},
    {CLI::ExitCodes::ValidationError,
     {"valor que não serve", "a value that does not do"},
     ": ",
     Named::AT_THE_FRONT},
    {CLI::ExitCodes::ConversionError,
     {"valor que não serve", "a value that does not do"},
     " = ",
     Named::AT_THE_END},
    {CLI::ExitCodes::ArgumentMismatch,
     {"falta o valor de uma opção", "an option's value is missing"},
     ": ",
     Named::AT_THE_FRONT},
};

std::string MisuseText(const CLI::ParseError& error) {
    std::string sentence = error.what();
    for (const Misuse& misuse : MISUSES) {
        if (error.get_exit_code() != static_cast<int>(misuse.code)) continue;
        const size_t border = sentence.find(misuse.border);
        // A sentence that names no argument adds nothing.
        if (border == std::string::npos || sentence.rfind("A subcommand", 0) == 0) return Say(misuse.text);
        const std::string argument = misuse.named == Named::AT_THE_FRONT
                                         ? sentence.substr(0, border)
                                         : sentence.substr(border + std::string_view(misuse.border).size());
        return Say(misuse.text) + ": " + argument;
    }
    return sentence;
}

void Translate(CLI::App& app) {
    static const struct {
        const char* label;
        Text text;
    } LABELS[] = {
        {"Usage", {"Uso", "Usage"}},
        {"OPTIONS", {"OPÇÕES", "OPTIONS"}},
        {"Positionals", {"Argumentos", "Positionals"}},
        {"SUBCOMMAND", {"COMANDO", "COMMAND"}},
        {"SUBCOMMANDS", {"COMANDOS", "COMMANDS"}},
        {"Subcommand", {"Comando", "Command"}},
        {"Subcommands", {"Comandos", "Commands"}},
        {"REQUIRED", {"(obrigatório)", "(required)"}},
    };
    for (const auto& row : LABELS) {
        app.get_formatter()->label(row.label, Say(row.text));
    }
    app.option_defaults()->group(Say(OPTIONS));
    app.set_help_flag("-h,--help", Say({"Mostra esta ajuda", "Shows this help"}))->group(Say(OPTIONS));
}

void AddCommon(CLI::App& app, Options& options) {
    app.add_option("--dll", options.library, Say(OPTION_DLL))->type_name("ARQUIVO");
    app.add_option("--lang", options.language, Say(OPTION_LANG))
        ->type_name("pt|en")
        ->check(CLI::IsMember({"pt", "en"}));
    app.add_flag("--json", options.json, Say(OPTION_JSON));
    app.add_option("--cores", options.colour, Say(OPTION_COLOUR))
        ->type_name("QUANDO")
        ->check(CLI::IsMember({"auto", "sempre", "nunca"}));
}

std::string Examples() {
    std::string text = Say({"Exemplos:", "Examples:"});
    for (const Command& command : COMMANDS) {
        text += std::string("\n  ") + command.example;
    }
    return text;
}

void AddCommands(CLI::App& app, Options& options, const Command** chosen) {
    for (const Command& command : COMMANDS) {
        CLI::App* const added = app.add_subcommand(command.name, Say(command.description));
        added->fallthrough();
        added->group(Say({"Comandos", "Commands"}));
        added->get_help_ptr()->group(Say(OPTIONS));
        added->footer(Say(EXAMPLE) + ": " + command.example);
        command.add(*added, options);
        added->callback([chosen, &command] { *chosen = &command; });
    }
}

// The language has to be known before the first text is made.
void ChooseLanguage(const std::vector<std::string>& arguments) {
    for (size_t at = 0; at < arguments.size(); ++at) {
        const bool next = arguments[at] == "--lang" && at + 1 < arguments.size() && arguments[at + 1] == "en";
        if (next || arguments[at] == "--lang=en") SetLanguage(Language::English);
    }
}

std::vector<std::string> OptionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::vector<CommandName> CommandNames(const CLI::App& app) {
    const std::vector<std::string> common = OptionNames(app);
    std::vector<CommandName> names;
    for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
        CommandName name = {command->get_name(), command->get_description(), OptionNames(*command)};
        for (const std::string& option : common) {
            if (option != "--help") name.options.push_back(option);
        }
        names.push_back(name);
    }
    return names;
}

}  // namespace

int RunCommandLine(const std::vector<std::string>& arguments) {
    ChooseLanguage(arguments);
    Options options;
    const Command* chosen = nullptr;
    CLI::App app(Say(ABOUT), "zantir");
    // On Windows CLI11 would take "/vendas/v.xml", a path from the drive's root, for an option.
    app.allow_windows_style_options(false);
    Translate(app);
    AddCommon(app, options);
    AddCommands(app, options, &chosen);
    app.require_subcommand(1);
    app.footer(Examples() + "\n\n" + Say(EXIT_CODES));
    try {
        // CLI11 takes them from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        const auto asked = app.get_subcommands();
        ShowLine(asked.empty() ? app.help() : asked.front()->help("zantir"));
        return EXIT_OK;
    } catch (const CLI::ParseError& error) {
        Complain(Say(MISUSED, {MisuseText(error)}));
        return EXIT_USAGE;
    }
    UseColours(options.colour == "sempre" ||
               (options.colour == "auto" && OutputIsTerminal() && std::getenv("NO_COLOR") == nullptr));
    if (chosen->run == nullptr) return ShowCompletion(options.shell, CommandNames(app));
    return chosen->run(options);
}

}  // namespace tool

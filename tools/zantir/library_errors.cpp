#include "library_errors.h"

#include <regex>

namespace tool {

namespace {

struct ErrorRow {
    int line;  // what stands behind "L[": it tells the texts apart, the codes do not
    int code;  // 0 for every code
    Text cause;
    Text remedy;
};

// clang-format off
constexpr Text NO_DEVICE = {"Nenhuma porta presente tem ZANTIR ou MXQ-B70 no nome, e a porta do emulador não está ligada no SAT.ini.",
                            "No present port has ZANTIR or MXQ-B70 in its name, and the emulator's port is not enabled in SAT.ini."};
constexpr Text CHECK_CABLE = {"Confira alimentação e cabo USB do SAT e o driver da porta; zantir portas mostra o que o sistema vê.",
                              "Check the device's power, USB cable and driver; zantir portas shows what the system sees."};
constexpr Text CHECK_FIXED_PORT = {"Confira FixarPorta e SerialPortWindows no SAT.ini: devem ser COM em maiúsculas e um número a partir de 1.",
                                   "Check FixarPorta and SerialPortWindows in SAT.ini: COM in capitals and a number from 1."};
constexpr Text SWITCH_OFF_AND_ON = {"Desligue e ligue o SAT e reconecte o cabo; se persistir, troque de porta USB ou reinstale o driver.",
                                    "Switch the device off and on and reconnect its cable; if it persists, use another USB port or reinstall the driver."};
constexpr Text RECOVER = {"O SAT pode ter executado o comando: antes de repetir, recupere a resposta com zantir sessao N.",
                          "The device may have carried the command out: before repeating it, recover the reply with zantir sessao N."};

const ErrorRow ERRORS[] = {
    {1975, 0, {"A trava da máquina não pôde ser criada.", "The machine's lock could not be created."},
              {"Confira as permissões do usuário; no Linux, a pasta das travas (/run/lock ou /tmp).", "Check the user's permissions; on Linux the folder of the locks (/run/lock or /tmp)."}},
    {1986, 0, {"Outro programa falou com o SAT por mais de 3 segundos.", "Another program talked to the device for more than 3 seconds."},
              {"Aguarde e repita; feche o outro programa de vendas se ele não terminar.", "Wait and repeat; close the other sales program if it does not end."}},
    {2013, 0, NO_DEVICE, CHECK_CABLE},
    {2052, 0, {"O nome da porta não contém COM em maiúsculas.", "The port's name does not contain COM in capitals."}, CHECK_FIXED_PORT},
    {2063, 0, {"O número depois de COM é menor que 1.", "The number behind COM is below 1."}, CHECK_FIXED_PORT},
    {2075, 0, {"A porta não pôde ser aberta: não existe, falta permissão ou outro programa a usa.", "The port could not be opened: there is none, permission is missing or another program holds it."},
              {"Confira com zantir portas se a porta existe. Feche o programa que a usa; no Linux zantir diagnostico diz qual é, e o usuário precisa estar no grupo dialout.", "See with zantir portas whether the port is there. Close the program that holds it; on Linux zantir diagnostico says which one it is, and the user has to be in the group dialout."}},
    {2087, -1002, {"A porta não aceitou 115200,n,8,1.", "The port did not accept 115200,n,8,1."}, SWITCH_OFF_AND_ON},
    {2087, 0, {"A porta abriu mas não aceitou a configuração.", "The port opened but did not accept its settings."}, SWITCH_OFF_AND_ON},
    {2110, 0, {"Nada respondeu na COM1: é a porta da própria máquina, não a do SAT.", "Nothing answered on COM1: that is the machine's own port, not the device's."}, CHECK_CABLE},
    {2114, -1005, {"O SAT recusou o comando na linha (NAK): chegou danificado.", "The device refused the command on the line (NAK): it arrived damaged."},
                  {"Troque o cabo USB, evite extensões e hubs, e repita.", "Change the USB cable, avoid extensions and hubs, and repeat."}},
    {2114, -1006, {"A escrita na porta falhou.", "Writing to the port failed."}, SWITCH_OFF_AND_ON},
    {2114, -1007, {"A porta não aceitou os dados em 2 segundos.", "The port did not take the data within 2 seconds."}, SWITCH_OFF_AND_ON},
    {2114, 0, {"O SAT não confirmou o comando em 2 segundos.", "The device did not acknowledge the command within 2 seconds."}, SWITCH_OFF_AND_ON},
    {2127, 0, {"O SAT recebeu o comando, mas a resposta não chegou inteira a tempo.", "The device took the command, but its reply did not arrive whole and in time."}, RECOVER},
    {0, -1, {"O comando passa de 10 MB e não foi enviado.", "The command exceeds 10 MB and was not sent."},
            {"Envie um XML menor.", "Send a smaller XML."}},
};
constexpr Text UNKNOWN_ERROR = {"A troca com o SAT falhou.", "The exchange with the device failed."};
constexpr Text READ_THE_LOG = {"Veja o registro do dia com zantir log.", "See the day's log with zantir log."};
constexpr Text OWN_COMMAND = {"A biblioteca devolveu o próprio comando: o emulador está ligado no SAT.ini, mas sem porta.",
                              "The library returned its own command: the emulator is enabled in SAT.ini, but has no port."};
constexpr Text SET_THE_PORT = {"Em [SAT_EMULATOR] preencha SerialPortWindows, ou use Enable=0. Feche o programa de vendas: ele segura a trava.",
                               "Fill in SerialPortWindows in [SAT_EMULATOR], or use Enable=0. Close the sales program: it holds the lock."};
// clang-format on

void ExplainByTable(LibraryError* error) {
    error->cause = Say(UNKNOWN_ERROR);
    error->remedy = Say(READ_THE_LOG);
    for (const ErrorRow& row : ERRORS) {
        if (row.line != error->line || (row.code != 0 && row.code != error->code)) continue;
        error->cause = Say(row.cause);
        error->remedy = Say(row.remedy);
        return;
    }
}

}  // namespace

std::optional<LibraryError> ExplainLibraryError(std::string_view text) {
    LibraryError error;
    if (!text.empty() && text.front() == '\x02') {
        error.message = text.substr(1, text.find('|') - 1);
        error.cause = Say(OWN_COMMAND);
        error.remedy = Say(SET_THE_PORT);
        return error;
    }
    static const std::regex form(R"(^\s*SAT Erro\[(-?\d{1,9})\]Win (.*?) L\[(\d{1,9})\] F\[([^\]]*)\])");
    static const std::regex port(R"(\[([^\]]*)\]$)");
    // An error text is one short line; the rest of what was pasted is none of it.
    const std::string line(text.substr(0, std::min<size_t>(text.size(), 1000)));
    std::smatch parts;
    if (!std::regex_search(line, parts, form)) return std::nullopt;
    error.code = std::stoi(parts[1]);
    error.message = parts[2];
    error.line = std::stoi(parts[3]);
    error.function = parts[4];
    std::smatch named;
    if (std::regex_search(error.message, named, port)) error.port = named[1];
    ExplainByTable(&error);
    return error;
}

}  // namespace tool

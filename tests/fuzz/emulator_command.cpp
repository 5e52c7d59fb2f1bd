/*
 * The emulated device's answers to any command texts, one after the other on one device.
 */
#include <array>
#include <vector>

#include "device.h"
#include "frame.h"
#include "fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

/** A command and the return code of its success, without the last three digits. */
struct Command {
    const char* name;
    const char* prefix;
};

constexpr std::array<Command, 16> kCommands = {{{"AtivarSAT", "04"},
                                                {"ComunicarCertificadoICPBRASIL", "05"},
                                                {"EnviarDadosVenda", "06"},
                                                {"CancelarUltimaVenda", "07"},
                                                {"ConsultarSAT", "08"},
                                                {"TesteFimAFim", "09"},
                                                {"ConsultarStatusOperacional", "10"},
                                                {"ConsultarNumeroSessao", "11"},
                                                {"ConfigurarInterfaceDeRede", "12"},
                                                {"AssociarAssinatura", "13"},
                                                {"AtualizarSoftwareSAT", "14"},
                                                {"ExtrairLogs", "15"},
                                                {"BloquearSAT", "16"},
                                                {"DesbloquearSAT", "17"},
                                                {"TrocarCodigoDeAtivacao", "18"},
                                                {"ConsultarUltimaSessaoFiscal", "19"}}};

constexpr emulator::LocalTime kMorning =
    std::chrono::local_days(std::chrono::year(2026) / 3 / 4) + std::chrono::hours(5);

std::vector<std::string> Fields(const std::string& text) {
    std::vector<std::string> fields(1);
    for (const char c : text) {
        if (c == '|') {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

bool IsDigits(const std::string& text, size_t count) {
    return text.size() == count && text.find_first_not_of("0123456789") == std::string::npos;
}

/** A command that the table knows, with the right code and any further arguments, or any text. */
std::string TakeCommand(fuzz::Input& input, const emulator::Device& device) {
    const unsigned how = input.ConsumeIntegral<uint8_t>();
    const std::string text = input.ConsumeRandomLengthString(3000);
    if (how >= 128) return text;
    const std::string session = std::to_string(100000 + input.ConsumeIntegral<uint8_t>() % 8);
    const std::string name = kCommands[how % 16].name;
    if (name == "AtivarSAT")
        return name + "|" + session + "|1|" + device.settings.activation_code + "|" + text;
    if (name == "TrocarCodigoDeAtivacao") return name + "|" + session + "|" + text;
    std::string command = name + "|" + session;
    if (name != "ConsultarSAT") command += "|" + device.settings.activation_code;
    return text.empty() ? command : command + "|" + text;
}

const Command* CommandOf(const std::string& text) {
    for (const Command& command : kCommands)
        if (text.substr(0, text.find('|')) == command.name) return &command;
    return nullptr;
}

void CheckReply(const std::string& command, const std::string& reply) {
    // The link cannot carry an ETX: it would end the frame.
    if (command.find('\x03') == std::string::npos)
        ExpectEqual("no ETX in a reply", reply.find('\x03'), std::string::npos);
    const std::vector<std::string> fields = Fields(reply);
    Expect(fields.size() >= 5, "five fields at least");
    const std::vector<std::string> asked = Fields(command);
    const std::string session = asked.size() > 1 ? asked[1] : "";
    const Command* known = CommandOf(command);
    Expect(IsDigits(fields[1], 5), "a code of five digits");
    const std::string name = known != nullptr ? known->name : "";
    // These two hand out what was said before, in the words of that time.
    if (name == "ConsultarNumeroSessao" || name == "ConsultarUltimaSessaoFiscal") return;
    if (IsDigits(session, 6)) ExpectEqual("the session comes back", fields[0], session);
    ExpectEqual("the code is the command's", fields[1].substr(0, 2), known != nullptr ? known->prefix : "00");
}

/** The device hands out the reply to an earlier session as it was. */
void CheckReplay(emulator::Device& device, const std::string& command, const std::string& reply) {
    const std::vector<std::string> asked = Fields(command);
    const Command* known = CommandOf(command);
    if (known == nullptr || asked.size() < 2 || !IsDigits(asked[1], 6)) return;
    const std::string name = known->name;
    if (name == "ConsultarNumeroSessao" || name == "ConsultarUltimaSessaoFiscal") return;
    const std::string query =
        "ConsultarNumeroSessao|999999|" + device.settings.activation_code + "|" + asked[1];
    ExpectEqual("the reply of the session", emulator::Answer(device, query, kMorning), reply);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    emulator::Device device = emulator::NewDevice({}, 7);
    emulator::Device twin = emulator::NewDevice({}, 7);
    emulator::LocalTime now = kMorning;
    for (int commands = 0; commands < 6 && input.remaining_bytes() > 0; ++commands) {
        const std::string command = TakeCommand(input, device);
        now += std::chrono::seconds(input.ConsumeIntegral<uint8_t>() * 16);
        const std::string code = device.settings.activation_code;
        const std::string reply = emulator::Answer(device, command, now);
        ExpectEqual("the same device answers the same", emulator::Answer(twin, command, now), reply);
        CheckReply(command, reply);
        // A code that holds a separator or is empty cannot be sent in a query.
        if (IsDigits(device.settings.activation_code, 8)) {
            CheckReplay(device, command, reply);
            CheckReplay(twin, command, reply);
        }
        ExpectEqual("the frame of the reply", emulator::BuildFrame(reply).size(), reply.size() + 3);
    }
    Expect(device.sessions.size() <= 100 && device.journal.size() <= 1000, "what is kept is bounded");
    return 0;
}

#include <algorithm>

#include "catalogue.h"
#include "commands.h"

namespace emulator {

namespace {

constexpr int NO_SUCH_SESSION = 3;

const std::string NO_KEY(44, '0');
const std::string NO_TIME(14, '0');
const std::string NO_DATE(8, '0');

// ESTADO_OPERACAO: 0 in operation, 1 blocked by the tax authority, 2 by the taxpayer, 3 by the device itself,
// which wrong codes bring about, 4 to be taken out of use.
const char* StateOfOperation(const Device& device) {
    if (device.stage == Stage::Deactivated) return "4";
    if (IsLocked(device)) return "3";
    return device.blocked ? "2" : "0";
}

}  // namespace

Result Greet(Device&, const Request&) {
    return {};
}

Result TellStatus(Device& device, const Request& request) {
    const bool sold = !device.last_key.empty();
    const std::string last_key = sold ? device.last_key : NO_KEY;
    const std::string last_time = sold ? TimeStamp(device.last_issued) : NO_TIME;
    const auto year = std::chrono::days(365);
    const bool fresh = device.stage == Stage::New;
    const LocalTime issued = device.certified == LocalTime{} ? request.now - year : device.certified;
    return {.tail = {
                device.settings.serial,
                device.network.kind,
                device.network.address,
                "02:00:00:00:00:59",  // LAN_MAC, from the range that no maker owns
                device.network.mask,
                device.network.gateway,
                device.network.dns1,
                device.network.dns2,
                "CONECTADO",
                "ALTO",     // NIVEL_BATERIA
                "1 Gbyte",  // MT_TOTAL
                "6 Mbytes",
                TimeStamp(request.now),
                device.settings.software,
                "0.08",  // VER_LAYOUT
                last_key,
                NO_KEY,  // LISTA_INICIAL, LISTA_FINAL: nothing waits to be transmitted
                NO_KEY,
                last_time,
                TimeStamp(request.now),              // DH_ULTIMA, the last talk with the tax authority
                fresh ? NO_DATE : DateText(issued),  // CERT_EMISSAO
                fresh ? NO_DATE : DateText(issued + 5 * year),  // CERT_VENCIMENTO
                StateOfOperation(device),
            }};
}

Result TellSession(Device& device, const Request& request) {
    const auto found =
        std::find_if(device.sessions.begin(), device.sessions.end(),
                     [&](const Session& session) { return session.number == request.arguments[1]; });
    if (found == device.sessions.end()) return {.ending = NO_SUCH_SESSION};
    Result result;
    result.replay = found->reply;
    return result;
}

Result TellLastFiscal(Device& device, const Request&) {
    if (device.last_fiscal_reply.empty()) return {.ending = NO_SUCH_SESSION};
    Result result;
    result.replay = device.last_fiscal_reply;
    return result;
}

Result TellJournal(Device& device, const Request&) {
    std::string text;
    for (const std::string& line : device.journal) {
        text += line + "\n";
    }
    // A device that has nothing to tell says so: the field is Base64, never empty.
    if (text.empty()) text = "sem registros\n";
    return {.tail = {ToBase64(text)}};
}

}  // namespace emulator

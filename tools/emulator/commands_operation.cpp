#include <algorithm>

#include "commands.h"
#include "fiscal_key.h"
#include "xml.h"

namespace emulator {

namespace {

constexpr int ICP_BRASIL_DONE = 6;
constexpr int TAXPAYER_UNKNOWN = 2;
constexpr int STATE_NOT_SERVED = 250;
constexpr int CERTIFICATE_INVALID = 3;
constexpr int NETWORK_DATA_INVALID = 2;
constexpr int SIGNATURE_INVALID = 3;
constexpr int LINK_DATA_INVALID = 4;
constexpr int ALREADY_BLOCKED = 2;
constexpr int NOT_BLOCKED = 5;
constexpr int EMERGENCY_CODE_WRONG = 2;

// A request in the armour of a real one, around random bytes: nobody signs it.
std::string CertificateRequest(Device& device) {
    return "-----BEGIN CERTIFICATE REQUEST-----\n" + RandomProof(device, 600) +
           "\n-----END CERTIFICATE REQUEST-----\n";
}

// Where each element of the network settings goes.
constexpr struct {
    const char* name;
    std::string Network::*field;
} NETWORK_FIELDS[] = {{"tipoLan", &Network::kind}, {"lanIP", &Network::address},
                      {"lanMask", &Network::mask}, {"lanGW", &Network::gateway},
                      {"lanDNS1", &Network::dns1}, {"lanDNS2", &Network::dns2}};

// What comes back in the status must not look like a separator there.
bool IsPlainField(const std::string& text) {
    return text.size() <= 64 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~' && c != '|'; });
}

}  // namespace

Result Activate(Device& device, const Request& request) {
    const std::string& kind = request.arguments[0];
    const std::string& state = request.arguments[3];
    if (kind != "1" && kind != "2" && kind != "3") return {.ending = UNKNOWN_ERROR};
    if (!IsTaxpayer(request.arguments[2])) return {.ending = TAXPAYER_UNKNOWN};
    if (!IsDigits(state, 2)) return {.ending = STATE_NOT_SERVED};
    device.settings.state = (state[0] - '0') * 10 + (state[1] - '0');
    return {.ending = kind == "1" ? DONE : ICP_BRASIL_DONE, .tail = {CertificateRequest(device)}};
}

Result TakeCertificate(Device&, const Request& request) {
    return {.ending = request.arguments[1].empty() ? CERTIFICATE_INVALID : DONE};
}

Result ConfigureNetwork(Device& device, const Request& request) {
    const auto xml = ParseXml(request.arguments[1]);
    const Element* settings = xml == nullptr ? nullptr : Child(&xml->tree, "config");
    if (settings == nullptr) return {.ending = NETWORK_DATA_INVALID};
    Network network = device.network;
    for (const auto& row : NETWORK_FIELDS) {
        if (Child(settings, row.name) == nullptr) continue;
        std::string value = ChildText(settings, row.name);
        if (!IsPlainField(value)) return {.ending = NETWORK_DATA_INVALID, .reason = row.name};
        network.*row.field = std::move(value);
    }
    device.network = network;
    return {};
}

Result LinkApplication(Device&, const Request& request) {
    const std::string& owners = request.arguments[1];
    // The numbers of the software house and of the taxpayer stand side by side, without a separator.
    if (!IsDigits(owners, 28)) return {.ending = LINK_DATA_INVALID};
    return {.ending = request.arguments[2].empty() ? SIGNATURE_INVALID : DONE};
}

Result UpdateSoftware(Device&, const Request&) {
    return {};
}

Result Block(Device& device, const Request&) {
    if (device.blocked) return {.ending = ALREADY_BLOCKED};
    device.blocked = true;
    return {};
}

Result Unblock(Device& device, const Request&) {
    if (!device.blocked) return {.ending = NOT_BLOCKED};
    device.blocked = false;
    return {};
}

Result ChangeCode(Device& device, const Request& request) {
    const std::string& code = request.arguments[0];
    const std::string& option = request.arguments[1];
    const std::string& fresh = request.arguments[2];
    if (option == "1") {
        if (code != device.settings.activation_code) return {.ending = WRONG_CODE};
    } else if (option == "2") {
        if (code != device.settings.emergency_code) return {.ending = EMERGENCY_CODE_WRONG};
    } else {
        return {.ending = UNKNOWN_ERROR};
    }
    if (fresh.empty() || fresh != request.arguments[3]) return {.ending = UNKNOWN_ERROR};
    device.settings.activation_code = fresh;
    return {};
}

}  // namespace emulator

#include "network.h"

#include <algorithm>
#include <iterator>
#include <span>

#include "fiscal_key.h"
#include "layout.h"
#include "reason.h"
#include "xml.h"

namespace emulator {

namespace {

constexpr std::string_view FIXED = "IPFIX";
constexpr std::string_view LAN_KINDS[] = {"DHCP", "PPPoE", FIXED};
constexpr std::string_view INTERFACES[] = {"ETHE", "WIFI"};
constexpr std::string_view ENCRYPTIONS[] = {"NONE", "WEP", "WPA-PERSONAL", "WPA-ENTERPRISE"};
constexpr std::string_view PROXIES[] = {"0", "1", "2"};

// An element of the settings: what it may hold, and where it goes when the status tells it.
struct Setting {
    const char* name;
    std::span<const std::string_view> choices;  // none for an address
    std::string Network::*field;                // NULL for what nobody asks back
};

constexpr Setting SETTINGS[] = {{"tipoInter", INTERFACES, nullptr}, {"seg", ENCRYPTIONS, nullptr},
                                {"proxy", PROXIES, nullptr},        {"tipoLan", LAN_KINDS, &Network::kind},
                                {"lanIP", {}, &Network::address},   {"lanMask", {}, &Network::mask},
                                {"lanGW", {}, &Network::gateway},   {"lanDNS1", {}, &Network::dns1},
                                {"lanDNS2", {}, &Network::dns2}};

// What one choice makes necessary.
constexpr struct {
    const char* name;
    std::string_view value;
    const char* needed;
} NEEDS[] = {{"tipoLan", FIXED, "lanIP"},     {"tipoLan", FIXED, "lanMask"}, {"tipoLan", FIXED, "lanGW"},
             {"tipoLan", "PPPoE", "usuario"}, {"tipoLan", "PPPoE", "senha"}, {"tipoInter", "WIFI", "SSID"}};

bool IsAmong(std::string_view text, std::span<const std::string_view> choices) {
    return std::find(choices.begin(), choices.end(), text) != choices.end();
}

std::string Joined(std::span<const std::string_view> choices) {
    std::string text;
    for (const std::string_view choice : choices) {
        text.append(text.empty() ? "" : " ou ").append(choice);
    }
    return text;
}

std::string ReadSetting(const Element* settings, const Setting& setting, Network* network) {
    if (Child(settings, setting.name) == nullptr) return {};
    const std::string value = ChildText(settings, setting.name);
    const bool chosen = !setting.choices.empty();
    if (chosen ? !IsAmong(value, setting.choices) : !IsAddress(value)) {
        return Wrong(setting.name, chosen ? Joined(setting.choices) : "um endereco como 192.168.0.1", value);
    }
    if (setting.field != nullptr) network->*setting.field = value;
    return {};
}

// Fixed addresses are for IPFIX; otherwise the network gives its own.
Network Effective(Network network) {
    const Network given;
    if (network.kind == FIXED) return network;
    network.address = given.address;
    network.mask = given.mask;
    network.gateway = given.gateway;
    return network;
}

}  // namespace

std::string ReadNetwork(std::string_view text, Network* network) {
    std::string problem;
    const auto xml = ParseXml(text, &problem);
    if (xml == nullptr) return problem;
    const Element* settings = Root(*xml);
    if (NameOf(settings) != "config") return Missing("config");
    problem = CheckLayout(settings, "");
    if (!problem.empty()) return problem;
    const std::string kind = ChildText(settings, "tipoLan");
    // With the fixed addresses go the name servers that stood beside them.
    Network fresh = kind.empty() || kind == FIXED ? *network : Network{};
    for (const Setting& setting : SETTINGS) {
        problem = ReadSetting(settings, setting, &fresh);
        if (!problem.empty()) return problem;
    }
    for (const auto& need : NEEDS) {
        if (ChildText(settings, need.name) == need.value && ChildText(settings, need.needed).empty()) {
            return Missing(need.needed);
        }
    }
    if (FirstElement(settings) == nullptr) return Wrong("config", "ao menos uma configuracao", "");
    *network = Effective(fresh);
    return {};
}

bool IsAddress(std::string_view text) {
    for (int part = 0; part < 4; ++part) {
        const size_t point = part < 3 ? text.find('.') : text.size();
        if (point == text.npos || point == 0 || point > 3) return false;
        const std::string_view digits = text.substr(0, point);
        // Texts of one length compare as their numbers do.
        if (!IsDigits(digits, point) || (point == 3 && digits > "255")) return false;
        text.remove_prefix(std::min(point + 1, text.size()));
    }
    return true;
}

bool IsLanKind(std::string_view text) {
    return IsAmong(text, LAN_KINDS);
}

}  // namespace emulator

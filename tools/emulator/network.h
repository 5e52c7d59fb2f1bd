/*
 * The network settings: what ConfigurarInterfaceDeRede brings and the status tells.
 */
#pragma once

#include <string>
#include <string_view>

namespace emulator {

struct Network {
    std::string kind = "DHCP";  ///< DHCP, PPPoE or IPFIX
    std::string address = "192.168.0.59";
    std::string mask = "255.255.255.0";
    std::string gateway = "192.168.0.1";
    std::string dns1 = "192.168.0.1";
    std::string dns2 = "0.0.0.0";
};

/**
 * Takes the settings from an XML text with the root "config". What the text does not name
 * stays as it is, but without IPFIX there are no fixed addresses.
 * Returns an empty text, or what is wrong; `network` is then unchanged.
 */
std::string ReadNetwork(std::string_view text, Network* network);

/** True for four numbers up to 255 with points between them. */
bool IsAddress(std::string_view text);

/** True for a name that tipoLan can have. */
bool IsLanKind(std::string_view text);

}  // namespace emulator

/*
 * The device itself: a command text in, a reply text out. It knows no port and no clock; the moment comes
 * with each command, so that a whole day can be tested in a blink.
 */
#pragma once

#include <deque>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "receipt.h"

namespace emulator {

/** What the owner of the device decides. */
struct DeviceSettings {
    std::string activation_code = "12345678";
    std::string emergency_code = "87654321";  ///< lets the activation code be changed when it is lost
    std::string serial = "000123456";         ///< nine digits
    std::string taxpayer;                     ///< CNPJ that sales must carry; empty accepts any valid one
    std::string software = "010203";          ///< six digits
    int state = 35;                           ///< IBGE code, until AtivarSAT tells another
};

/** The network as ConfigurarInterfaceDeRede set it and the status tells it. */
struct Network {
    std::string kind = "DHCP";
    std::string address = "192.168.0.59";
    std::string mask = "255.255.255.0";
    std::string gateway = "192.168.0.1";
    std::string dns1 = "192.168.0.1";
    std::string dns2 = "0.0.0.0";
};

/** A reply that can be asked for again by its session number. */
struct Session {
    std::string number;
    std::string reply;
};

struct Device {
    DeviceSettings settings;
    Network network;
    bool blocked = false;
    int documents = 0;                 ///< receipts issued so far, the number of the last one
    std::optional<Receipt> last_sale;  ///< the sale that can still be cancelled
    std::string last_key;              ///< key of the last receipt; empty before the first
    LocalTime last_issued{};           ///< when it was issued
    std::string last_fiscal_reply;     ///< of the last sale, cancellation or end-to-end test
    std::deque<Session> sessions;      ///< oldest first
    std::deque<std::string> journal;   ///< what ExtrairLogs hands over, oldest line first
    std::mt19937 random;
};

/** A device in use: activated, linked, nothing sold yet. `seed` decides its random numbers. */
Device NewDevice(const DeviceSettings& settings, unsigned seed);

/** Answers one command text (without STX, checksum and ETX) with a reply text. Any bytes are allowed. */
std::string Answer(Device& device, std::string_view command, LocalTime now);

/** The fields of a text between its "|", at most `most`: the last one keeps the rest. At least one. */
std::vector<std::string> SplitFields(std::string_view text, size_t most);

}  // namespace emulator

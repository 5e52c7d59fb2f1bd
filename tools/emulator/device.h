/*
 * The device itself: a command text in, a reply text out. It knows no port and no clock; the moment comes
 * with each command, so that a whole day can be tested in a blink.
 */
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "life_cycle.h"
#include "network.h"
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
    int notice = 0;  ///< message of the tax authority in every reply; 0 leaves it to the device's condition
};

/** A reply that can be asked for again by its session number. */
struct Session {
    std::string number;
    std::string reply;
};

struct Device {
    DeviceSettings settings;
    Stage stage = Stage::Linked;
    bool blocked = false;     ///< by the taxpayer
    bool ready_made = false;  ///< came activated and linked: one AtivarSAT is still accepted
    bool certificate_awaited =
        false;  ///< AtivarSAT made a request that ComunicarCertificadoICPBRASIL answers
    Link link;
    int wrong_codes = 0;     ///< in a row; MOST_WRONG_CODES lock the device
    LocalTime certified{};   ///< when the certificate was issued; the epoch: a year before any question
    LocalTime update_due{};  ///< when the software is to be renewed; the epoch: not known yet
    Network network;
    int documents = 0;                 ///< receipts issued so far, the number of the last one
    std::optional<Receipt> last_sale;  ///< the sale that can still be cancelled
    std::string last_key;              ///< key of the last receipt; empty before the first
    LocalTime last_issued{};           ///< when it was issued
    std::string last_fiscal_reply;     ///< of the last sale, cancellation or end-to-end test
    std::deque<Session> sessions;      ///< oldest first
    std::deque<std::string> journal;   ///< what ExtrairLogs hands over, oldest line first
    uint64_t changes = 0;              ///< rises with every command that leaves a trace
    std::mt19937 random;
};

/**
 * A device at one of STARTS. The default is ready for use: activated, and linked to whichever application
 * asks. `seed` decides its random numbers.
 */
Device NewDevice(const DeviceSettings& settings, unsigned seed, std::string_view start = "linked");

/**
 * Puts a device where one of STARTS begins, or, for "unblocked", ends the taxpayer's block. What it has sold
 * and its settings stay. False, and nothing changes, for any other word.
 */
bool MoveDevice(Device& device, std::string_view where);

/** Takes the device's memory to where a stop cannot harm it. False when that failed. */
using KeepFunction = std::function<bool(const Device& device)>;

/**
 * Answers as Answer does, and has every change kept before its reply is handed out. What cannot be kept has
 * not happened: the device is as it was before, and the reply is the command's unknown error.
 */
std::string AnswerAndKeep(Device& device, std::string_view command, LocalTime now, const KeepFunction& keep);

/** Answers one command text (without STX, checksum and ETX) with a reply text. Any bytes are allowed. */
std::string Answer(Device& device, std::string_view command, LocalTime now);

/** The fields of a text between its "|", at most `most`: the last one keeps the rest. At least one. */
std::vector<std::string> SplitFields(std::string_view text, size_t most);

}  // namespace emulator

/*
 * The sixteen commands: what each one carries and who carries it out.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "device.h"

namespace emulator {

/** The endings of a return code that mean the same for every command. */
constexpr int DONE = 0;
constexpr int WRONG_CODE = 1;
constexpr int BAD_SESSION = 97;
constexpr int UNKNOWN_ERROR = 99;

/** A command that is well-formed and carries the right activation code. */
struct Request {
    std::string session;                 ///< as it came, to be echoed
    std::vector<std::string> arguments;  ///< behind the session number, the activation code among them
    LocalTime now;
};

/** What a command comes to. */
struct Result {
    int ending = DONE;                   ///< the last three digits of the return code
    std::string reason = {};             ///< follows the catalogue's message; empty for none
    std::vector<std::string> tail = {};  ///< fields behind mensagemSEFAZ
    std::string alert = "0000";          ///< field CCCC, for the commands that have it
    std::string replay = {};  ///< a stored reply to send in place of everything above; empty for none
};

/** The ending of a return code for each condition in which a command is refused; OPEN lets it through. */
struct Gate {
    int not_activated;
    int locked;  ///< by wrong codes
    int deactivated;
    int not_linked;
    int blocked;
};

constexpr int OPEN = -1;

/** Who checks the activation code of a command. */
enum class CodeCheck {
    None,          ///< the command has none, or its own routine checks it
    First,         ///< the first argument is the code
    OnceActivated  ///< the same, but a device without a code takes any
};

struct CommandRow {
    std::string_view name;
    int prefix;        ///< the return code without its last three digits
    size_t arguments;  ///< behind the session number
    CodeCheck code;
    bool open_ended;  ///< the last argument is free text, in which "|" does not separate
    bool alert;       ///< the reply has the field CCCC behind the return code
    bool stored;      ///< the reply can be asked for again by its session number
    bool fiscal;      ///< the reply counts as the last fiscal session
    Gate gate;
    Result (*run)(Device& device, const Request& request);
};

/** The row of a command; NULL for a name that no device knows. */
const CommandRow* FindCommand(std::string_view name);

/** Compares a code, and counts the wrong ones. A right one ends the count unless the device is locked. */
bool CheckCode(Device& device, const std::string& given, const std::string& right);

/** True when wrong codes have locked the device. */
bool IsLocked(const Device& device);

// The routines of the table, by subject: activation and codes (commands_activation.cpp), operation
// (commands_operation.cpp), receipts (commands_fiscal.cpp) and what can be asked for (commands_query.cpp).

Result Activate(Device& device, const Request& request);
Result TakeCertificate(Device& device, const Request& request);
Result Sell(Device& device, const Request& request);
Result CancelSale(Device& device, const Request& request);
Result Greet(Device& device, const Request& request);
Result TestEndToEnd(Device& device, const Request& request);
Result TellStatus(Device& device, const Request& request);
Result TellSession(Device& device, const Request& request);
Result ConfigureNetwork(Device& device, const Request& request);
Result LinkApplication(Device& device, const Request& request);
Result UpdateSoftware(Device& device, const Request& request);
Result TellJournal(Device& device, const Request& request);
Result Block(Device& device, const Request& request);
Result Unblock(Device& device, const Request& request);
Result ChangeCode(Device& device, const Request& request);
Result TellLastFiscal(Device& device, const Request& request);

/** Random Base64 text of `bytes` bytes: what stands where a real device puts a signature. */
std::string RandomProof(Device& device, size_t bytes);

}  // namespace emulator

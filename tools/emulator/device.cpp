#include "device.h"

#include <algorithm>
#include <exception>

#include "catalogue.h"
#include "commands.h"
#include "fiscal_key.h"

namespace emulator {

namespace {

// What a device keeps is bounded, however long it runs and whatever it is sent.
constexpr size_t MOST_SESSIONS = 200;
constexpr size_t MOST_SESSION_BYTES = size_t{32} * 1024 * 1024;
constexpr size_t MOST_JOURNAL_LINES = 1000;

// Six digits; a negative session arrives as a sign and five.
bool IsSession(std::string_view text) {
    return IsDigits(text, 6);
}

std::string Echo(std::string_view session) {
    const bool negative = session.starts_with("-") && IsDigits(session.substr(1), 5);
    return IsSession(session) || negative ? std::string(session) : "000000";
}

// numeroSessao|EEEEE[|CCCC]|mensagem|cod|mensagemSEFAZ[|...]. What is still to be told by the tax authority
// stays empty.
std::string Compose(const std::string& session, int code, bool with_alert, const Result& result) {
    std::string reply = session + "|" + Padded(code, 5);
    if (with_alert) reply += "|" + result.alert;
    reply += "|" + ReturnMessage(code);
    if (!result.reason.empty()) reply += ": " + result.reason;
    reply += "||";
    for (const std::string& field : result.tail) {
        reply += "|" + field;
    }
    return reply;
}

Result Run(Device& device, const CommandRow& row, const Request& request) {
    if (!IsSession(request.session)) return {.ending = BAD_SESSION};
    const bool coded = row.code_argument >= 0;
    if (coded &&
        request.arguments[static_cast<size_t>(row.code_argument)] != device.settings.activation_code) {
        return {.ending = WRONG_CODE};
    }
    try {
        return row.run(device, request);
    } catch (const std::exception& failure) {
        // A sale that no memory is left for must not take the device with it.
        return {.ending = UNKNOWN_ERROR, .reason = failure.what()};
    }
}

void Store(Device& device, const std::string& session, const std::string& reply) {
    std::erase_if(device.sessions, [&](const Session& old) { return old.number == session; });
    device.sessions.push_back({session, reply});
    size_t bytes = 0;
    for (const Session& kept : device.sessions) {
        bytes += kept.reply.size();
    }
    while (device.sessions.size() > MOST_SESSIONS ||
           (bytes > MOST_SESSION_BYTES && device.sessions.size() > 1)) {
        bytes -= device.sessions.front().reply.size();
        device.sessions.pop_front();
    }
}

void Note(Device& device, std::string_view name, int code, LocalTime now) {
    device.journal.push_back(TimeStamp(now) + "|" + std::string(name) + "|" + Padded(code, 5));
    if (device.journal.size() > MOST_JOURNAL_LINES) device.journal.pop_front();
}

}  // namespace

Device NewDevice(const DeviceSettings& settings, unsigned seed) {
    Device device;
    device.settings = settings;
    device.random.seed(seed);
    return device;
}

std::vector<std::string> SplitFields(std::string_view text, size_t most) {
    std::vector<std::string> fields;
    while (fields.size() + 1 < most) {
        const size_t pipe = text.find('|');
        if (pipe == text.npos) break;
        fields.emplace_back(text.substr(0, pipe));
        text.remove_prefix(pipe + 1);
    }
    fields.emplace_back(text);
    return fields;
}

std::string Answer(Device& device, std::string_view command, LocalTime now) {
    const CommandRow* row = FindCommand(command.substr(0, command.find('|')));
    if (row == nullptr) {
        const std::vector<std::string> fields = SplitFields(command, 3);
        return Compose(Echo(fields.size() > 1 ? fields[1] : ""), UNKNOWN_ERROR, false, {});
    }
    // One field more than the command has tells that there are too many.
    std::vector<std::string> fields = SplitFields(command, row->arguments + (row->open_ended ? 2 : 3));
    Request request{.session = fields.size() > 1 ? fields[1] : "", .arguments = {}, .now = now};
    if (fields.size() > 2) request.arguments.assign(fields.begin() + 2, fields.end());

    const bool complete = fields.size() == row->arguments + 2;
    const Result result = complete ? Run(device, *row, request) : Result{.ending = UNKNOWN_ERROR};
    const int code = row->prefix * 1000 + result.ending;
    const std::string session = Echo(request.session);
    std::string reply = result.replay.empty() ? Compose(session, code, row->alert, result) : result.replay;
    Note(device, row->name, code, now);
    if (row->stored && IsSession(session)) Store(device, session, reply);
    // A caller without the code, or without a session, has not reached the fiscal part.
    const bool reached = result.ending != BAD_SESSION && result.ending != WRONG_CODE;
    if (row->fiscal && reached) device.last_fiscal_reply = reply;
    return reply;
}

}  // namespace emulator

#include "device.h"

#include <algorithm>
#include <exception>

#include "catalogue.h"
#include "commands.h"
#include "fiscal_key.h"
#include "notice.h"
#include "reason.h"

namespace emulator {

namespace {

// What a device keeps is bounded, however long it runs and whatever it is sent: all of it is written to the
// state file with every command.
constexpr size_t MOST_SESSIONS = 100;
constexpr size_t MOST_SESSION_BYTES = size_t{8} * 1024 * 1024;
constexpr size_t MOST_JOURNAL_LINES = 1000;

// Six digits; a negative session arrives as a sign and five.
bool IsSession(std::string_view text) {
    return IsDigits(text, 6);
}

std::string Echo(std::string_view session) {
    const bool negative = session.starts_with("-") && IsDigits(session.substr(1), 5);
    return IsSession(session) || negative ? std::string(session) : "000000";
}

// numeroSessao|EEEEE[|CCCC]|mensagem|cod|mensagemSEFAZ[|...]
std::string Compose(const std::string& session, int code, bool with_alert, const Result& result,
                    const Notice& notice) {
    std::string reply = session + "|" + Padded(code, 5);
    if (with_alert) reply += "|" + result.alert;
    reply += "|" + ReturnMessage(code);
    if (!result.reason.empty()) reply += ": " + result.reason;
    reply += "|" + (notice.code == 0 ? "" : std::to_string(notice.code)) + "|" + notice.text;
    for (const std::string& field : result.tail) {
        reply += "|" + field;
    }
    return reply;
}

Result RefusedSession(const CommandRow& row) {
    // One command has no code of its own for a bad session.
    const bool known = IsCatalogued(row.prefix * 1000 + BAD_SESSION);
    return {.ending = known ? BAD_SESSION : UNKNOWN_ERROR,
            .reason = known ? "" : "numero de sessao invalido"};
}

// The condition in which the device refuses the command; OPEN when there is none. `code` tells whether the
// command carries the right one.
Result Refusal(const Device& device, const CommandRow& row, bool code) {
    const Gate& gate = row.gate;
    const struct {
        bool refuses;
        int ending;
        const char* reason;
    } conditions[] = {
        {device.stage == Stage::New, gate.not_activated, "SAT ainda nao ativado"},
        {IsLocked(device), gate.locked, ""},
        {!code, WRONG_CODE, ""},
        {device.stage == Stage::Deactivated, gate.deactivated, "SAT com uso cessado"},
        {device.stage == Stage::Activated, gate.not_linked, "SAT nao vinculado ao AC"},
        {device.blocked, gate.blocked, "SAT bloqueado pelo contribuinte"},
    };
    for (const auto& condition : conditions) {
        if (!condition.refuses || condition.ending == OPEN) continue;
        // The catalogue's own message says enough, unless it is the one for everything unknown.
        const bool unknown = condition.ending == UNKNOWN_ERROR;
        return {.ending = condition.ending, .reason = unknown ? condition.reason : ""};
    }
    return {.ending = OPEN};
}

bool CarriesCode(Device& device, const CommandRow& row, const Request& request) {
    const bool unset = device.stage == Stage::New;
    if (row.code == CodeCheck::None || (row.code == CodeCheck::OnceActivated && unset)) return true;
    // A device that nobody has activated waits for its certificate under the code that came with the request.
    if (unset && row.gate.not_activated != OPEN) return true;
    return CheckCode(device, request.arguments[0], device.settings.activation_code);
}

Result Run(Device& device, const CommandRow& row, const Request& request) {
    if (!IsSession(request.session)) return RefusedSession(row);
    const bool was_locked = IsLocked(device);
    const bool code = CarriesCode(device, row, request);
    const Result refusal = Refusal(device, row, code);
    if (refusal.ending != OPEN) {
        // The code that locks the device is still told to be wrong.
        const bool locks_now = !was_locked && IsLocked(device);
        return locks_now ? Result{.ending = WRONG_CODE} : refusal;
    }
    try {
        return row.run(device, request);
    } catch (const std::exception& failure) {
        // A sale that no memory is left for must not take the device with it.
        return {.ending = UNKNOWN_ERROR, .reason = Shown(failure.what())};
    }
}

// A number that is used again stands for its newest reply.
void Store(Device& device, const Session& session) {
    std::erase_if(device.sessions, [&](const Session& old) { return old.number == session.number; });
    device.sessions.push_back(session);
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

Device NewDevice(const DeviceSettings& settings, unsigned seed, std::string_view start) {
    Device device;
    device.settings = settings;
    device.random.seed(seed);
    MoveDevice(device, start);
    return device;
}

bool MoveDevice(Device& device, std::string_view where) {
    const auto start = std::ranges::find(STARTS, where, &Start::name);
    if (start == STARTS.end() && where != UNBLOCKED) return false;
    ++device.changes;
    device.blocked = false;
    if (start == STARTS.end()) return true;
    device.stage = start->stage;
    device.blocked = start->blocked;
    device.ready_made = start->stage == Stage::Linked && !start->blocked;
    device.certificate_awaited = false;
    device.wrong_codes = 0;
    // A device that no application is linked to yet must not remember one.
    if (start->stage == Stage::New || start->stage == Stage::Activated) device.link = {};
    return true;
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
    constexpr auto software_life = std::chrono::days(365);
    if (device.update_due == LocalTime{}) device.update_due = now + software_life;
    const CommandRow* row = FindCommand(command.substr(0, command.find('|')));
    if (row == nullptr) {
        const std::vector<std::string> fields = SplitFields(command, 3);
        return Compose(Echo(fields.size() > 1 ? fields[1] : ""), UNKNOWN_ERROR, false, {}, {});
    }
    // One field more than the command has tells that there are too many.
    std::vector<std::string> fields = SplitFields(command, row->arguments + (row->open_ended ? 2 : 3));
    Request request{.session = fields.size() > 1 ? fields[1] : "", .arguments = {}, .now = now};
    if (fields.size() > 2) request.arguments.assign(fields.begin() + 2, fields.end());

    const bool complete = fields.size() == row->arguments + 2;
    const Result result = complete ? Run(device, *row, request) : Result{.ending = UNKNOWN_ERROR};
    const int code = row->prefix * 1000 + result.ending;
    const std::string session = Echo(request.session);
    std::string reply = result.replay;
    if (reply.empty()) reply = Compose(session, code, row->alert, result, NoticeOf(device, now));
    Note(device, row->name, code, now);
    if (row->stored && IsSession(session)) Store(device, {session, reply});
    // A caller without all fields, the code, or a session, has not reached the fiscal part.
    const bool reached = complete && result.ending != BAD_SESSION && result.ending != WRONG_CODE;
    if (row->fiscal && reached) device.last_fiscal_reply = reply;
    ++device.changes;
    return reply;
}

std::string AnswerAndKeep(Device& device, std::string_view command, LocalTime now, const KeepFunction& keep) {
    const Device before = device;
    std::string reply = Answer(device, command, now);
    if (device.changes == before.changes || keep(device)) return reply;
    device = before;
    const CommandRow* row = FindCommand(command.substr(0, command.find('|')));
    const std::vector<std::string> fields = SplitFields(command, 3);
    const int code = (row == nullptr ? 0 : row->prefix * 1000) + UNKNOWN_ERROR;
    return Compose(Echo(fields.size() > 1 ? fields[1] : ""), code, row != nullptr && row->alert,
                   {.reason = "estado nao gravado"}, {});
}

}  // namespace emulator

#include <cstdio>
#include <ctime>

#include "api/exchange.h"
#include "device_call.h"
#include "diagnosis.h"
#include "platform/platform.h"
#include "reply.h"
#include "run.h"

namespace tool {

namespace {

// clang-format off
constexpr Text PORT_TAKEN = {"%1 presentes; é tomada %2: %3", "%1 present; %2 is taken: %3"};
constexpr Text NO_PORT = {"%1 presentes; nenhuma é tomada: %2", "%1 present; none is taken: %2"};
constexpr Text PLUG_IN = {"Ligue o SAT e o cabo USB e instale o driver; zantir portas mostra os nomes", "Switch the device on, plug in its USB cable and install the driver; zantir portas shows the names"};
constexpr Text CHECK_PORT_KEYS = {"Confira FixarPorta e as portas duplicadas", "Check FixarPorta and the doubled ports"};
constexpr Text UNNAMED = {"sem nome", "no name"};
constexpr Text PORT_OPENS = {"%1 abre", "%1 opens"};
constexpr Text PORT_HELD = {"%1 está em uso por %2", "%1 is held by %2"};
constexpr Text ANOTHER_PROGRAM = {"outro programa", "another program"};
constexpr Text PORT_REFUSED = {"%1 não abre: em uso por outro programa, ou sem permissão", "%1 does not open: held by another program, or permission is missing"};
constexpr Text CLOSE_HOLDER = {"Feche esse programa: cada chamada espera 30 s por ele e falha", "Close that program: each call waits 30 s for it and fails"};
constexpr Text GET_PERMISSION = {"Feche o outro programa; no Linux, ponha o usuário no grupo dialout", "Close the other program; on Linux put the user into the group dialout"};
constexpr Text PORT_MISSING = {"%1 não existe nesta máquina", "%1 does not exist on this machine"};
constexpr Text CORRECT_PORT = {"Confira FixarPorta e SerialPortWindows no SAT.ini, e o cabo do SAT; zantir portas mostra as portas que existem", "Check FixarPorta and SerialPortWindows in SAT.ini, and the device's cable; zantir portas shows the ports that exist"};
constexpr Text NO_PORT_TO_TRY = {"nenhuma porta a experimentar", "no port to try"};
constexpr Text BUSY_NOW = {"a trava está com outro programa, que fala com o SAT agora", "another program has the lock and talks to the device now"};
constexpr Text LOCK_FREE = {"livre", "free"};
constexpr Text LOCK_HELD = {"está com outro programa há mais de 3 s", "another program has had it for more than 3 s"};
constexpr Text LOCK_BROKEN = {"não pôde ser criada", "could not be created"};
constexpr Text CLOSE_LOCKER = {"Espere a venda em curso; se não terminar, feche o programa de vendas", "Wait for the sale in progress; if it does not end, close the sales program"};
constexpr Text CHECK_RIGHTS = {"Confira as permissões do usuário", "Check the user's permissions"};
constexpr Text PORT_FIRST = {"antes, libere a porta", "free the port first"};
constexpr Text NO_LIBRARY = {"sem biblioteca", "no library"};
constexpr Text ANSWERED = {"%1 %2 em %3 ms", "%1 %2 within %3 ms"};
constexpr Text NO_ANSWER_LOG = {"Veja zantir log", "See zantir log"};
constexpr Text PC_CLOCK = {"computador em %1; informe --codigo para comparar com o SAT", "computer at %1; give --codigo to compare with the device"};
constexpr Text SET_PC_CLOCK = {"Acerte data e hora do computador", "Set the computer's date and time"};
constexpr Text CLOCKS = {"computador em %1, SAT em %2", "computer at %1, device at %2"};
constexpr Text SET_CLOCKS = {"Diferença de %1 minutos: acerte o computador e ligue o SAT à internet, que ele se acerta pela SEFAZ", "%1 minutes apart: set the computer, and connect the device to the internet: it sets itself by the tax office"};
constexpr Text CLOCK_UNKNOWN = {"computador em %1; o SAT não disse a hora: %2", "computer at %1; the device did not tell its time: %2"};
// clang-format on

constexpr int OLDEST_YEAR = 2021;  // the library is not older
constexpr long LARGEST_DIFFERENCE_S = 300;

std::string PortLine(const Port& port) {
    const std::string friendly = port.friendly.empty() ? Say(UNNAMED) : Printable(port.friendly);
    return port.name + (port.file.empty() ? "" : " (" + port.file + ")") + ": " + friendly;
}

std::string HolderNames(const std::vector<PortHolder>& holders) {
    std::string names;
    for (const PortHolder& holder : holders) {
        names += (names.empty() ? "" : ", ") + holder.program + " (" + std::to_string(holder.process) + ")";
    }
    return names;
}

// What the library returns; the process is left when the technician or the limit says so.
CallResult Ask(const Diagnosis& diagnosis, const char* name, const std::vector<std::string>& values) {
    Call call;
    call.function = FindFunction(name);
    call.address = FindExport(diagnosis.library, name);
    call.session = diagnosis.options.session != 0 ? diagnosis.options.session : RandomSession();
    call.values = values;
    call.timeout_s = TimeoutInForce(*call.function, "SAT.ini");
    call.limit_s = diagnosis.options.limit_s > 0 ? diagnosis.options.limit_s : LongestCall(call.timeout_s);
    CallResult result = RunCall(call);
    if (result.end != CallEnd::Returned) LeaveUnfinished(call.session, result.end == CallEnd::Interrupted);
    return result;
}

std::string ReasonOf(const Reply& reply) {
    if (reply.error) return Printable(reply.error->message) + ": " + reply.error->cause;
    const std::string code = ValueOf(reply, "EEEEE");
    return code.empty() ? Shortened(Printable(reply.raw), 60)
                        : code + " " + Printable(ValueOf(reply, "mensagem"));
}

std::string RemedyOf(const Reply& reply) {
    const std::string remedy = reply.error ? reply.error->remedy : reply.code.remedy;
    return remedy.empty() ? Say(NO_ANSWER_LOG) : remedy;
}

std::string Stamp(const plat_calendar& t) {
    char text[32];
    std::snprintf(text, sizeof text, "%02d/%02d/%04d %02d:%02d:%02d", t.day, t.month, t.year, t.hour,
                  t.minute, t.second);
    return text;
}

// A device's clock from the fourteen digits of DH_ATUAL.
plat_calendar CalendarOf(const std::string& moment) {
    const std::string_view digits = moment;
    plat_calendar time = {};
    time.year = NumberOf(digits.substr(0, 4));
    time.month = NumberOf(digits.substr(4, 2));
    time.day = NumberOf(digits.substr(6, 2));
    time.hour = NumberOf(digits.substr(8, 2));
    time.minute = NumberOf(digits.substr(10, 2));
    time.second = NumberOf(digits.substr(12, 2));
    return time;
}

}  // namespace

Finding CheckPorts(Diagnosis& diagnosis) {
    diagnosis.ports = PresentPorts();
    diagnosis.choice = ChoosePort(diagnosis.ports, diagnosis.port_settings);
    const PortChoice& choice = diagnosis.choice;
    Finding finding;
    const std::string count = std::to_string(diagnosis.ports.size());
    for (const Port& port : diagnosis.ports) {
        finding.details.push_back(PortLine(port));
    }
    if (choice.port.empty()) {
        finding.status = CheckStatus::Bad;
        finding.found = Say(NO_PORT, {count, choice.rule});
        finding.remedy = Say(PLUG_IN);
        return finding;
    }
    finding.found = Say(PORT_TAKEN, {count, Printable(choice.port), choice.rule});
    if (!choice.warning.empty()) {
        finding.status = CheckStatus::Warning;
        finding.remedy = choice.warning + ". " + Say(CHECK_PORT_KEYS);
    }
    return finding;
}

Finding CheckLock(Diagnosis&) {
    const plat_handle lock = plat_mutex_create(SAT_LOCK_NAME);
    if (lock == 0) return {CheckStatus::Bad, Say(LOCK_BROKEN), Say(CHECK_RIGHTS), {}};
    // As long as the library waits for it.
    if (plat_mutex_wait(lock, 3000) == PLAT_WAIT_TIMEOUT) {
        return {CheckStatus::Bad, Say(LOCK_HELD), Say(CLOSE_LOCKER), {}};
    }
    plat_mutex_release(lock);
    return {CheckStatus::Good, Say(LOCK_FREE), "", {}};
}

Finding CheckPortUse(Diagnosis& diagnosis) {
    const std::string port = diagnosis.choice.port;
    if (port.empty()) return {CheckStatus::Skipped, Say(NO_PORT_TO_TRY), "", {}};
    const std::string shown = Printable(port);
    // Only inside the lock, so that no exchange of another program is disturbed.
    const plat_handle lock = plat_mutex_create(SAT_LOCK_NAME);
    if (lock == 0 || plat_mutex_wait(lock, 0) == PLAT_WAIT_TIMEOUT) {
        return {CheckStatus::Skipped, Say(BUSY_NOW), "", {}};
    }
    const std::vector<PortHolder> holders = HoldersOf(port);
    const PortState state = TryPort(port);
    plat_mutex_release(lock);
    switch (state) {
        case PortState::Opens:
            return {CheckStatus::Good, Say(PORT_OPENS, {shown}), "", {}};
        case PortState::Refused:
            diagnosis.port_refused = true;
            if (!holders.empty()) {
                return {
                    CheckStatus::Bad, Say(PORT_HELD, {shown, HolderNames(holders)}), Say(CLOSE_HOLDER), {}};
            }
            return {CheckStatus::Bad, Say(PORT_REFUSED, {shown}), Say(GET_PERMISSION), {}};
        case PortState::Missing:
            break;
    }
    return {CheckStatus::Bad, Say(PORT_MISSING, {shown}), Say(CORRECT_PORT), {}};
}

Finding CheckAnswer(Diagnosis& diagnosis) {
    if (diagnosis.library.handle == nullptr) return {CheckStatus::Skipped, Say(NO_LIBRARY), "", {}};
    if (diagnosis.port_refused) return {CheckStatus::Skipped, Say(PORT_FIRST), "", {}};
    const CallResult result = Ask(diagnosis, "ConsultarSAT", {});
    const Reply reply = ParseReply(result.text, "ConsultarSAT");
    if (reply.verdict != Verdict::Accepted) return {CheckStatus::Bad, ReasonOf(reply), RemedyOf(reply), {}};
    return {CheckStatus::Good,
            Say(ANSWERED, {ValueOf(reply, "EEEEE"), Printable(ValueOf(reply, "mensagem")),
                           std::to_string(result.milliseconds)}),
            "", reply.faults};
}

Finding CheckClock(Diagnosis& diagnosis) {
    plat_calendar now = {};
    plat_local_now(&now);
    if (now.year < OLDEST_YEAR) return {CheckStatus::Bad, Say(PC_CLOCK, {Stamp(now)}), Say(SET_PC_CLOCK), {}};
    if (diagnosis.options.activation_code.empty() || diagnosis.library.handle == nullptr ||
        diagnosis.port_refused) {
        return {CheckStatus::Good, Say(PC_CLOCK, {Stamp(now)}), "", {}};
    }
    const char* const name = "ConsultarStatusOperacional";
    const Reply reply = ParseReply(Ask(diagnosis, name, {diagnosis.options.activation_code}).text, name);
    const std::string moment = ValueOf(reply, "DH_ATUAL");
    if (!IsMoment(moment)) {
        return {CheckStatus::Warning, Say(CLOCK_UNKNOWN, {Stamp(now), ReasonOf(reply)}), RemedyOf(reply), {}};
    }
    plat_local_now(&now);
    const plat_calendar device = CalendarOf(moment);
    constexpr int64_t TICKS_A_SECOND = 10000000;
    const int64_t apart =
        (plat_calendar_to_system_time(&now) - plat_calendar_to_system_time(&device)) / TICKS_A_SECOND;
    const int64_t seconds = apart < 0 ? -apart : apart;
    const bool far = seconds > LARGEST_DIFFERENCE_S;
    return {far ? CheckStatus::Warning : CheckStatus::Good,
            Say(CLOCKS, {Stamp(now), Stamp(device)}),
            far ? Say(SET_CLOCKS, {std::to_string(seconds / 60)}) : "",
            {}};
}

}  // namespace tool

/*
 * sat-emulator: a SAT device on a serial line, for everybody who has none on the desk.
 */
#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <exception>
#include <mutex>
#include <random>
#include <string>

#include "console.h"
#include "device.h"
#include "fault_options.h"
#include "fiscal_key.h"
#include "line.h"
#include "paced_port.h"
#include "port.h"
#include "report.h"
#include "state.h"

namespace {

using namespace emulator;

StopFlag stop_requested = false;
static_assert(StopFlag::is_always_lock_free, "a signal handler may set nothing else");

// Never destroyed: the console's thread may look at it up to the program's very end.
FaultPlan& fault_plan = *new FaultPlan;

// How long a port that was unplugged may take to come back once its time is over.
constexpr int64_t PATIENCE_MS = 2000;

void RequestStop(int) {
    stop_requested = true;
}

struct Options {
    PortOptions port;
    DeviceSettings device;
    std::string start_as = "linked";
    std::string state;  // path of the file that keeps the device from one run to the next; empty for none
    FaultOptions faults;
    Reporter reporter;
    int64_t baud = 0;  // 0 sends as fast as the port takes it
};

// The machine's local time, as the device's own clock would show it.
LocalTime LocalNow() {
    const std::time_t now = std::time(nullptr);
    const std::tm* parts = std::localtime(&now);
    if (parts == nullptr) return LocalTime(std::chrono::seconds(now));
    const auto day = std::chrono::year(parts->tm_year + 1900) / (parts->tm_mon + 1) / parts->tm_mday;
    return std::chrono::local_days(day) + std::chrono::hours(parts->tm_hour) +
           std::chrono::minutes(parts->tm_min) + std::chrono::seconds(parts->tm_sec);
}

// Opens the port. One that was unplugged may need a while until the system knows it again.
std::unique_ptr<Port> Open(const Options& options, const PortOptions& place, int64_t patience_ms,
                           std::string* error) {
    const int64_t deadline = SteadyUs() + patience_ms * 1000;
    std::unique_ptr<Port> port = OpenPort(place, error);
    while (port == nullptr && SteadyUs() < deadline && SleepUntilUs(SteadyUs() + 50000, place.stop)) {
        port = OpenPort(place, error);
    }
    if (port == nullptr || options.baud == 0) return port;
    return std::make_unique<PacedPort>(std::move(port), options.baud);
}

// Serves a port until it is gone or a fault unplugs it; the last exchange tells which.
Exchange ServePort(const Options& options, Port& port, const AnswerFunction& answer) {
    Line line{.port = port, .settings = {}, .plan = &fault_plan};
    for (;;) {
        Exchange exchange = ServeExchange(line, answer, 60000);
        if (exchange.outcome == Outcome::Idle) continue;
        const bool gone = exchange.outcome == Outcome::PortGone;
        if (!gone || !exchange.command.empty()) ReportExchange(options.reporter, exchange, LocalNow());
        if (gone || exchange.outcome == Outcome::Unplugged) return exchange;
    }
}

// Where the port comes back, after the time that it stays away. A bare name stands beside the link it
// replaces.
PortOptions Replug(PortOptions place, const Fault& unplug) {
    SleepUntilUs(SteadyUs() + unplug.ms * 1000, place.stop);
    if (unplug.as.empty()) return place;
    if (!place.name.empty()) {
        place.name = unplug.as;
    } else if (unplug.as.find('/') == std::string::npos) {
        place.link = place.link.substr(0, place.link.rfind('/') + 1) + unplug.as;
    } else {
        place.link = unplug.as;
    }
    return place;
}

// The device, which the line serves and the console may move meanwhile.
struct Shared {
    Device device;
    std::mutex busy;
};

std::string Move(const Options& options, Shared& shared, std::string_view where) {
    const std::lock_guard<std::mutex> lock(shared.busy);
    const Device before = shared.device;
    if (!MoveDevice(shared.device, where)) {
        return "state " + std::string(where) +
               ": esperado new, activated, linked, blocked, unblocked ou deactivated";
    }
    std::string problem;
    if (!options.state.empty()) problem = SaveState(options.state, shared.device);
    if (!problem.empty()) shared.device = before;
    return problem;
}

// How the device answers: with a state file, not before the state is safe there.
AnswerFunction AnswerOf(const Options& options, Shared& shared) {
    if (options.state.empty()) {
        return [&shared](const std::string& command) {
            const std::lock_guard<std::mutex> lock(shared.busy);
            return Answer(shared.device, command, LocalNow());
        };
    }
    const KeepFunction keep = [&options](const Device& changed) {
        const std::string problem = SaveState(options.state, changed);
        if (!problem.empty()) ReportError(options.reporter, problem);
        return problem.empty();
    };
    return [&shared, keep](const std::string& command) {
        const std::lock_guard<std::mutex> lock(shared.busy);
        return AnswerAndKeep(shared.device, command, LocalNow(), keep);
    };
}

int Serve(const Options& options, Shared& shared, std::unique_ptr<Port> port) {
    const AnswerFunction answer = AnswerOf(options, shared);
    PortOptions place = options.port;
    for (;;) {
        const std::string address = port->Address();
        const Exchange last = ServePort(options, *port, answer);
        if (stop_requested) return 0;
        if (last.outcome == Outcome::PortGone) {
            ReportError(options.reporter, "a porta " + address + " foi perdida");
            return 1;
        }
        port.reset();
        place = Replug(place, *UsedFault(last.faults, FaultKind::Unplug));
        std::string error;
        port = Open(options, place, PATIENCE_MS, &error);
        if (stop_requested) return 0;
        if (port == nullptr) {
            ReportError(options.reporter, error);
            return 1;
        }
        ReportReady(options.reporter, port->Address(), place.link);
    }
}

std::vector<std::string> StartNames() {
    std::vector<std::string> names;
    names.reserve(std::size(STARTS));
    for (const Start& start : STARTS) {
        names.emplace_back(start.name);
    }
    return names;
}

// What is wrong with a code; a state file takes the same ones.
std::string CheckCodeOption(const std::string& code) {
    return IsUsableCode(code) ? std::string()
                              : "codigo invalido: esperado 1 a 32 caracteres sem espacos e sem |";
}

void Describe(CLI::App& app, Options& options) {
    app.set_help_flag("-h,--help", "Mostra esta ajuda")->group("Saida");
    app.get_formatter()->label("Usage", "Uso");
    app.get_formatter()->label("OPTIONS", "OPCOES");
    app.failure_message([](const CLI::App*, const CLI::Error& failure) {
        return "sat-emulator: " + std::string(failure.what()) + "\nVeja sat-emulator --help.\n";
    });
    app.option_defaults()->group("Porta");
    app.add_option("--port", options.port.name,
                   "Porta serial, como COM12, CNCA0 ou /dev/ttyS0; sem ela, um pseudo-terminal novo (Linux)");
    app.add_option("--link", options.port.link, "Nome estavel para o pseudo-terminal; removido no fim");
    app.add_option("--baud", options.baud,
                   "Ritmo da linha, 10 bits por byte; sem ele, o mais rapido possivel")
        ->check([](const std::string& text) {
            int64_t baud = 0;
            return ParseNumber(text, 300, 10000000, &baud)
                       ? std::string()
                       : "--baud " + text + ": esperado um numero de 300 a 10000000";
        });
    app.option_defaults()->group("Equipamento");
    app.add_option("--activation-code", options.device.activation_code, "Codigo de ativacao")
        ->check(CheckCodeOption)
        ->capture_default_str();
    app.add_option("--emergency-code", options.device.emergency_code, "Codigo de ativacao de emergencia")
        ->check(CheckCodeOption)
        ->capture_default_str();
    app.add_option("--cnpj", options.device.taxpayer,
                   "CNPJ do contribuinte, 14 digitos; sem ele, qualquer CNPJ valido e aceito")
        ->check([](const std::string& text) {
            return IsTaxpayer(text) ? std::string() : "CNPJ invalido: " + text;
        });
    app.add_option(
           "--start-as", options.start_as,
           "Em que ponto da vida o equipamento comeca: new (nao ativado), activated (ativado, sem AC "
           "vinculado), linked (pronto para vender com qualquer AC), blocked (bloqueado pelo contribuinte) "
           "ou deactivated (uso cessado)")
        ->check(CLI::IsMember(StartNames()))
        ->capture_default_str();
    app.add_option(
        "--state", options.state,
        "Arquivo em que o equipamento guarda o que sabe, a cada comando, antes de responder; criado se "
        "nao existe. O que ja esta nele vale mais que --start-as, os codigos e o CNPJ");
    app.option_defaults()->group("Saida");
    app.add_flag("--quiet", options.reporter.quiet, "Nao mostra uma linha por comando");
    app.add_flag("--json", options.reporter.json, "Mostra um objeto JSON por linha");
    DescribeFaults(app, options.faults);
}

int Run(int argc, char** argv) {
    // Never destroyed, as the fault plan: the console's thread may look at both up to the program's very end.
    Options& options = *new Options;
    CLI::App app("Um equipamento SAT emulado numa linha serial", "sat-emulator");
    // A value may begin with "/" on every system, such as a path from the drive's root.
    app.allow_windows_style_options(false);
    Describe(app, options);
    CLI11_PARSE(app, argc, argv);

    SecureInput();
    options.port.stop = &stop_requested;
    OnStop(RequestStop);
    std::string error;
    if (!ArmFaults(options.faults, fault_plan, &error)) {
        ReportError(options.reporter, error);
        return 1;
    }
    Shared& shared = *new Shared;
    shared.device = NewDevice(options.device, std::random_device()(), options.start_as);
    std::shared_ptr<void> held;
    if (!options.state.empty()) held = HoldState(options.state, &error);
    if (held != nullptr) error = LoadOrCreateState(options.state, &shared.device);
    if (!error.empty()) {
        ReportError(options.reporter, error);
        return 1;
    }
    auto port = Open(options, options.port, 0, &error);
    if (port == nullptr) {
        ReportError(options.reporter, error);
        return 1;
    }
    ReportReady(options.reporter, port->Address(), options.port.link);
    if (options.faults.seed_is_ours) ReportSeed(options.reporter, options.faults.seed);
    StartConsole(
        {.plan = fault_plan,
         .reporter = options.reporter,
         .stop = stop_requested,
         .move = [&options, &shared](std::string_view where) { return Move(options, shared, where); }});
    return Serve(options, shared, std::move(port));
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "sat-emulator: %s\n", failure.what());
    } catch (...) {
        std::fprintf(stderr, "sat-emulator: erro desconhecido\n");
    }
    return 1;
}

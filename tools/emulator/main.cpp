/*
 * sat-emulator: a SAT device on a serial line, for everybody who has none on the desk.
 */
#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <exception>
#include <random>
#include <string>

#include "device.h"
#include "fiscal_key.h"
#include "line.h"
#include "port.h"
#include "state.h"

namespace {

using namespace emulator;

volatile std::sig_atomic_t stop_requested = 0;

void RequestStop(int) {
    stop_requested = 1;
}

struct Options {
    PortOptions port;
    DeviceSettings device;
    std::string start_as = "linked";
    std::string state;  // path of the file that keeps the device from one run to the next; empty for none
    bool quiet = false;
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

// A field of a text from the line, fit to be printed.
std::string Printable(const std::string& text, size_t field) {
    std::vector<std::string> fields = SplitFields(text, field + 2);
    std::string shown = field < fields.size() ? fields[field].substr(0, 40) : "";
    for (char& c : shown) {
        if (c < ' ' || c > '~') c = '?';
    }
    return shown.empty() ? "-" : shown;
}

// hora comando sessao, bytes of both texts, return code, transmissions, outcome, duration.
void Report(const Exchange& exchange) {
    const std::string time = TimeText(LocalNow());
    const bool answered = !exchange.reply.empty();
    std::printf("%s:%s:%s %s %s comando=%zu resposta=%zu codigo=%s envios=%d %s %lld ms\n",
                time.substr(0, 2).c_str(), time.substr(2, 2).c_str(), time.substr(4, 2).c_str(),
                Printable(exchange.command, 0).c_str(), Printable(exchange.command, 1).c_str(),
                exchange.command.size(), exchange.reply.size(),
                answered ? Printable(exchange.reply, 1).c_str() : "-", exchange.transmissions,
                OutcomeText(exchange.outcome), static_cast<long long>(exchange.duration_ms));
    std::fflush(stdout);
}

// How the device answers: with a state file, not before the state is safe there.
AnswerFunction AnswerOf(const Options& options, Device& device) {
    if (options.state.empty()) {
        return [&device](const std::string& command) { return Answer(device, command, LocalNow()); };
    }
    const KeepFunction keep = [&options](const Device& changed) {
        const std::string problem = SaveState(options.state, changed);
        if (!problem.empty()) std::fprintf(stderr, "sat-emulator: %s\n", problem.c_str());
        return problem.empty();
    };
    return [&device, keep](const std::string& command) {
        return AnswerAndKeep(device, command, LocalNow(), keep);
    };
}

int Serve(const Options& options, Device& device, Port& port) {
    Line line{.port = port, .settings = {}, .input = {}};
    const AnswerFunction answer = AnswerOf(options, device);
    for (;;) {
        const Exchange exchange = ServeExchange(line, answer, 60000);
        if (exchange.outcome == Outcome::Idle) continue;
        const bool anything = !exchange.command.empty();
        if (!options.quiet && (exchange.outcome != Outcome::PortGone || anything)) Report(exchange);
        if (exchange.outcome == Outcome::PortGone) break;
    }
    if (stop_requested != 0) return 0;
    std::fprintf(stderr, "sat-emulator: a porta %s foi perdida\n", port.Address().c_str());
    return 1;
}

std::vector<std::string> StartNames() {
    std::vector<std::string> names;
    for (const Start& start : STARTS) {
        names.emplace_back(start.name);
    }
    return names;
}

void Describe(CLI::App& app, Options& options) {
    app.add_option("--port", options.port.name,
                   "Porta serial, como COM12, CNCA0 ou /dev/ttyS0; sem ela, um pseudo-terminal novo (Linux)");
    app.add_option("--link", options.port.link, "Nome estavel para o pseudo-terminal; removido no fim");
    app.add_option("--activation-code", options.device.activation_code, "Codigo de ativacao")
        ->capture_default_str();
    app.add_option("--emergency-code", options.device.emergency_code, "Codigo de ativacao de emergencia")
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
    app.add_flag("--quiet", options.quiet, "Nao mostra uma linha por comando");
}

int Run(int argc, char** argv) {
    Options options;
    CLI::App app("Um equipamento SAT emulado numa linha serial", "sat-emulator");
    Describe(app, options);
    CLI11_PARSE(app, argc, argv);

    Device device = NewDevice(options.device, std::random_device()(), options.start_as);
    std::string error;
    if (!options.state.empty()) error = LoadOrCreateState(options.state, &device);
    if (!error.empty()) {
        std::fprintf(stderr, "sat-emulator: %s\n", error.c_str());
        return 1;
    }
    options.port.stop = &stop_requested;
    OnStop(RequestStop);
    const auto port = OpenPort(options.port, &error);
    if (port == nullptr) {
        std::fprintf(stderr, "sat-emulator: %s\n", error.c_str());
        return 1;
    }
    std::printf("pronto %s%s%s\n", port->Address().c_str(), options.port.link.empty() ? "" : " ",
                options.port.link.c_str());
    std::fflush(stdout);
    return Serve(options, device, *port);
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

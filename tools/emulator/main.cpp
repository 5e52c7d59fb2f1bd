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

namespace {

using namespace emulator;

volatile std::sig_atomic_t stop_requested = 0;

void RequestStop(int) {
    stop_requested = 1;
}

struct Options {
    PortOptions port;
    DeviceSettings device;
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

int Serve(const Options& options, Port& port) {
    Device device = NewDevice(options.device, std::random_device()());
    Line line{.port = port, .settings = {}, .input = {}};
    const AnswerFunction answer = [&](const std::string& command) {
        return Answer(device, command, LocalNow());
    };
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
    app.add_flag("--quiet", options.quiet, "Nao mostra uma linha por comando");
}

int Run(int argc, char** argv) {
    Options options;
    CLI::App app("Um equipamento SAT emulado numa linha serial", "sat-emulator");
    Describe(app, options);
    CLI11_PARSE(app, argc, argv);

    options.port.stop = &stop_requested;
    OnStop(RequestStop);
    std::string error;
    const auto port = OpenPort(options.port, &error);
    if (port == nullptr) {
        std::fprintf(stderr, "sat-emulator: %s\n", error.c_str());
        return 1;
    }
    std::printf("pronto %s%s%s\n", port->Address().c_str(), options.port.link.empty() ? "" : " ",
                options.port.link.c_str());
    std::fflush(stdout);
    return Serve(options, *port);
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

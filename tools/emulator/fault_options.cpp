#include "fault_options.h"

#include <random>

#include "fault_script.h"

namespace emulator {

namespace {

constexpr char EXAMPLES[] =
    "Exemplos no Linux:\n"
    "  sat-emulator --link /tmp/sat --fault checksum --fault stall:byte=16344,ms=3000\n"
    "  sat-emulator --link /tmp/sat --random-faults 0.2,nak,junk:bytes=80,truncate --seed 7\n"
    "  sat-emulator --baud 115200 --json --script falhas.txt\n"
    "  sat-emulator --link /tmp/sat --fault unplug:byte=300,ms=2000,as=sat2\n"
    "Exemplos no Windows, numa ponta de um par de portas virtuais:\n"
    "  sat-emulator --port CNCA0 --fault size:bytes=12000000+drip:ms=0\n"
    "  sat-emulator --port COM12 --fault unplug:byte=300,ms=500,as=COM13\n"
    "Script, uma linha por comando recebido:\n"
    "  ok                  # este passa\n"
    "  nak:block=2\n"
    "  repeat 3            # mais tres vezes a linha de cima\n"
    "  repeat 10 busy\n"
    "Com o programa rodando, linhas na entrada padrao: fault FALHA, random P[,FALHA...], clear,\n"
    "state ONDE (como --start-as, e unblocked), help, quit.\n";

std::string Problem(const std::string& text) {
    Faults faults;
    std::string error;
    return ParseFaults(text, &faults, &error) ? std::string() : error;
}

std::string RandomProblem(const std::string& text) {
    RandomFaults random;
    std::string error;
    return ParseRandomFaults(text, &random, &error) ? std::string() : error;
}

}  // namespace

void DescribeFaults(CLI::App& app, FaultOptions& options) {
    constexpr char group[] = "Falhas";
    app.add_option("--fault", options.faults,
                   "Falha do proximo comando; repetida, dos seguintes, um de cada vez")
        ->type_name("FALHA")
        ->expected(1)
        ->take_all()
        ->check(Problem)
        ->group(group);
    app.add_option("--script", options.script,
                   "Arquivo de falhas, uma linha por comando, depois das de --fault")
        ->type_name("ARQUIVO")
        ->group(group);
    app.add_option("--random-faults", options.random,
                   "Ao acaso, com probabilidade P de 0 a 1: uma das falhas, ou qualquer uma menos unplug")
        ->type_name("P[,FALHA...]")
        ->check(RandomProblem)
        ->group(group);
    options.seed_option =
        app.add_option("--seed", options.seed, "Semente do acaso; sem ela, uma nova, que e mostrada")
            ->type_name("N")
            ->group(group);
    app.footer(FaultHelp() + "\n" + EXAMPLES);
}

bool ArmFaults(FaultOptions& options, FaultPlan& plan, std::string* error) {
    Faults faults;
    for (const std::string& text : options.faults) {
        if (!ParseFaults(text, &faults, error)) return false;
        AddFaults(plan, faults);
    }
    std::deque<Faults> script;
    if (!options.script.empty() && !ReadFaultScript(options.script, &script, error)) return false;
    for (const Faults& exchange : script) {
        AddFaults(plan, exchange);
    }
    if (options.random.empty()) return true;
    options.seed_is_ours = options.seed_option->count() == 0;
    if (options.seed_is_ours) options.seed = std::random_device()();
    RandomFaults random;
    if (!ParseRandomFaults(options.random, &random, error)) return false;
    SetRandomFaults(plan, random, options.seed);
    return true;
}

}  // namespace emulator

#include "console.h"

#include <algorithm>
#include <random>
#include <thread>

namespace emulator {

namespace {

// A line that is longer says nothing that the program knows.
constexpr size_t LONGEST_LINE = 65536;

constexpr char HELP[] =
    "Comandos:\n"
    "  fault FALHA[+FALHA...]    para o proximo comando que ainda nao tem nenhuma\n"
    "  random P[,FALHA...]       ao acaso, com probabilidade P de 0 a 1\n"
    "  clear                     esquece tudo o que foi armado\n"
    "  state ONDE                leva o equipamento a new, activated, linked, blocked, unblocked ou\n"
    "                            deactivated; o que ele vendeu fica\n"
    "  help                      isto\n"
    "  quit                      termina\n";

bool RunFault(Console& console, std::string_view text, std::string* answer) {
    Faults faults;
    if (!ParseFaults(text, &faults, answer)) return false;
    AddFaults(console.plan, faults);
    *answer = "armada: " + FaultsText(faults);
    return true;
}

bool RunRandom(Console& console, std::string_view text, std::string* answer) {
    // Blanks separate as commas do: whoever types is not to count them.
    std::string list;
    for (const char c : text) {
        const bool blank = c == ' ' || c == '\t' || c == ',';
        if (!blank) list += c;
        if (blank && !list.empty() && list.back() != ',') list += ',';
    }
    RandomFaults random;
    if (!ParseRandomFaults(list, &random, answer)) return false;
    const uint64_t seed = std::random_device()();
    SetRandomFaults(console.plan, random, seed);
    *answer = "ao acaso: " + list + ", semente " + std::to_string(seed);
    return true;
}

bool RunClear(Console& console, std::string_view, std::string* answer) {
    ClearFaults(console.plan);
    *answer = "nenhuma falha armada";
    return true;
}

bool RunState(Console& console, std::string_view text, std::string* answer) {
    const std::string problem = console.move(text);
    *answer = problem.empty() ? "equipamento: " + std::string(text) : problem;
    return problem.empty();
}

bool RunHelp(Console&, std::string_view, std::string* answer) {
    *answer = HELP + FaultHelp();
    return true;
}

bool RunQuit(Console& console, std::string_view, std::string* answer) {
    console.quit = true;
    *answer = "terminando";
    return true;
}

struct Command {
    std::string_view name;
    bool takes_text;
    bool (*run)(Console& console, std::string_view text, std::string* answer);
};

constexpr Command COMMANDS[] = {{"fault", true, RunFault},  {"random", true, RunRandom},
                                {"clear", false, RunClear}, {"state", true, RunState},
                                {"help", false, RunHelp},   {"quit", false, RunQuit}};

void Handle(Console& console, const std::string& line) {
    if (Trimmed(line).empty()) return;
    std::string answer;
    if (RunConsoleLine(console, line, &answer)) {
        ReportAnswer(console.reporter, answer);
    } else {
        ReportError(console.reporter, answer);
    }
    // Not before the answer is out: the program may end at once.
    if (console.quit) console.stop = true;
}

}  // namespace

bool RunConsoleLine(Console& console, std::string_view line, std::string* answer) {
    line = Trimmed(line);
    const size_t end = std::min(line.find_first_of(" \t"), line.size());
    const std::string_view text = Trimmed(line.substr(end));
    const auto command = std::ranges::find(COMMANDS, line.substr(0, end), &Command::name);
    if (command == std::end(COMMANDS)) {
        *answer = "comando \"" + std::string(line.substr(0, end)) +
                  "\" desconhecido: esperado fault, random, clear, state, help ou quit";
        return false;
    }
    if (!command->takes_text && !text.empty()) {
        *answer = std::string(command->name) + ": nada esperado depois do comando";
        return false;
    }
    return command->run(console, text, answer);
}

void ReadConsole(Console console) {
    std::string line;
    char buffer[4096];
    for (int count = ReadInput(buffer, sizeof buffer); count > 0; count = ReadInput(buffer, sizeof buffer)) {
        for (const char c : std::string_view(buffer, static_cast<size_t>(count))) {
            if (c != '\n') {
                if (line.size() < LONGEST_LINE) line += c;
                continue;
            }
            Handle(console, line);
            line.clear();
        }
    }
    // The last line may lack its end.
    Handle(console, line);
}

void StartConsole(const Console& console) {
    // Nobody waits for this thread: it may sit in a read when the program ends.
    std::thread(ReadConsole, console).detach();
}

}  // namespace emulator

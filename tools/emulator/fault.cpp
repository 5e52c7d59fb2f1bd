#include "fault.h"

#include <algorithm>
#include <charconv>

#include "fault_table.h"

namespace emulator {

namespace {

constexpr std::string_view NO_FAULT = "ok";

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

// Cuts the text in front of `mark` off `rest`; all of it when there is none.
std::string_view CutAt(std::string_view& rest, char mark) {
    const size_t end = std::min(rest.find(mark), rest.size());
    const std::string_view part = Trimmed(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return part;
}

std::string KnownFaults() {
    std::string names(NO_FAULT);
    for (const FaultRow& row : FaultTable()) {
        names += ", " + std::string(row.name);
    }
    return names;
}

std::string KnownParameters(const FaultRow& row) {
    std::string names;
    for (const FaultParameter& parameter : row.parameters) {
        names += (names.empty() ? "" : ", ") + std::string(parameter.name);
    }
    return row.renames ? names + ", as" : names;
}

bool SetName(std::string_view value, Fault* fault, std::string* error) {
    if (value.empty()) {
        *error = "as= sem nome: esperado o nome da porta";
        return false;
    }
    fault->as = value;
    return true;
}

bool SetParameter(const FaultRow& row, std::string_view text, Fault* fault, std::string* error) {
    std::string_view value = text;
    const std::string_view name = CutAt(value, '=');
    value = Trimmed(value);
    if (row.renames && name == "as") return SetName(value, fault, error);
    const auto parameter = std::ranges::find(row.parameters, name, &FaultParameter::name);
    if (parameter == row.parameters.end()) {
        *error = "parametro " + Quoted(name) + " da falha " + std::string(row.name) +
                 " desconhecido: esperado " + KnownParameters(row);
        return false;
    }
    if (!ParseNumber(value, parameter->least, parameter->most, &(fault->*parameter->field))) {
        *error = std::string(row.name) + ":" + std::string(name) + "=" + std::string(value) +
                 ": esperado um numero de " + std::to_string(parameter->least) + " a " +
                 std::to_string(parameter->most);
        return false;
    }
    return true;
}

bool ParseFault(std::string_view text, Fault* fault, std::string* error) {
    const bool has_parameters = text.find(':') != text.npos;
    const std::string_view name = CutAt(text, ':');
    const FaultRow* row = FindFault(name);
    if (row == nullptr) {
        *error = "falha " + Quoted(name) + " desconhecida: esperado " + KnownFaults();
        return false;
    }
    fault->kind = row->kind;
    for (const FaultParameter& parameter : row->parameters) {
        fault->*parameter.field = parameter.usual;
    }
    if (has_parameters && Trimmed(text).empty()) {
        *error = "falha " + std::string(row->name) + ": depois de \":\" esperado " + KnownParameters(*row);
        return false;
    }
    while (!text.empty()) {
        if (!SetParameter(*row, CutAt(text, ','), fault, error)) return false;
    }
    return true;
}

}  // namespace

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool ParseNumber(std::string_view text, int64_t least, int64_t most, int64_t* number) {
    int64_t value = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (code != std::errc() || end != text.data() + text.size() || value < least || value > most)
        return false;
    *number = value;
    return true;
}

bool ParseFaults(std::string_view text, Faults* faults, std::string* error) {
    faults->clear();
    text = Trimmed(text);
    if (text == NO_FAULT) return true;
    // A "+" at the end asks for one fault more, which is missing.
    bool more = true;
    while (more) {
        more = text.find('+') != text.npos;
        Fault fault;
        if (!ParseFault(CutAt(text, '+'), &fault, error)) return false;
        faults->push_back(std::move(fault));
    }
    return true;
}

bool ParseChoices(std::string_view text, std::vector<Faults>* choices, std::string* error) {
    std::vector<std::string> parts;
    while (!text.empty()) {
        const std::string_view piece = CutAt(text, ',');
        // "ms=3" belongs to what stands in front of it; "stall:ms=3" and "nak" begin another choice.
        const bool parameter = piece.find('=') < piece.find(':');
        if (parameter && !parts.empty()) {
            parts.back() += "," + std::string(piece);
        } else {
            parts.emplace_back(piece);
        }
    }
    choices->clear();
    for (const std::string& part : parts) {
        choices->emplace_back();
        if (!ParseFaults(part, &choices->back(), error)) return false;
    }
    return true;
}

std::string FaultText(const Fault& fault) {
    const FaultRow& row = RowOf(fault.kind);
    std::string text(row.name);
    char mark = ':';
    const auto add = [&](std::string_view name, const std::string& value) {
        text += mark + std::string(name) + "=" + value;
        mark = ',';
    };
    for (const FaultParameter& parameter : row.parameters) {
        const int64_t value = fault.*parameter.field;
        if (value != parameter.usual) add(parameter.name, std::to_string(value));
    }
    if (!fault.as.empty()) add("as", fault.as);
    return text;
}

std::string FaultsText(const Faults& faults) {
    std::string text;
    for (const Fault& fault : faults) {
        text += (text.empty() ? "" : "+") + FaultText(fault);
    }
    return text.empty() ? std::string(NO_FAULT) : text;
}

std::vector<Faults> UsualFaults() {
    std::vector<Faults> choices;
    for (const FaultRow& row : FaultTable()) {
        if (row.kind == FaultKind::Unplug) continue;
        std::string error;
        choices.emplace_back();
        ParseFaults(row.name, &choices.back(), &error);
    }
    return choices;
}

const Fault* UsedFault(const Faults& faults, FaultKind kind) {
    const auto used = std::ranges::find_if(
        faults, [&](const Fault& fault) { return fault.kind == kind && fault.used > 0; });
    return used == faults.end() ? nullptr : &*used;
}

const Fault* TakeFault(Faults& faults, FaultKind kind, int64_t block) {
    for (Fault& fault : faults) {
        if (fault.kind != kind || fault.times == 0 || (block != 0 && fault.block != block)) continue;
        --fault.times;
        ++fault.used;
        return &fault;
    }
    return nullptr;
}

}  // namespace emulator

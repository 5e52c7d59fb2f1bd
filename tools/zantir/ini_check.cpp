#include "ini_check.h"

#include <algorithm>
#include <set>

#include "files.h"
#include "functions.h"
#include "ini_keys.h"
#include "text.h"
#include "vko_utils/ini_file.h"
#include "vko_utils/text.h"

namespace tool {

namespace {

// clang-format off
constexpr Text UNKNOWN_SECTION = {"a biblioteca não conhece esta seção", "the library does not know this section"};
constexpr Text UNKNOWN_KEY = {"a biblioteca não conhece esta chave", "the library does not know this key"};
constexpr Text OTHER_SPELLING = {"maiúsculas contam: escreva %1", "capitals count: write %1"};
constexpr Text OTHER_SECTION = {"esta chave só vale em [%1]", "this key only counts in [%1]"};
constexpr Text TWICE = {"repetida: só a primeira, na linha %1, conta", "stands twice: only the first, in line %1, counts"};
constexpr Text READ_OTHERWISE = {"a biblioteca lê \"%1\": ela procura o nome em qualquer lugar depois de [%2], também em comentários e dentro de outras palavras",
                                 "the library reads \"%1\": it looks for the name anywhere behind [%2], in comments and inside other words too"};
constexpr Text READ_WITHOUT = {"a biblioteca lê \"%1\": espaços e = são retirados dos valores", "the library reads \"%1\": blanks and = are taken out of values"};
constexpr Text NOT_FOUND = {"a biblioteca não encontra esta chave: um [ no caminho encerra a seção", "the library does not find this key: a [ on the way ends the section"};
constexpr Text BAD_SECONDS = {"não é um número acima de 0: valem os %1 s da biblioteca", "is no number above 0: the library's %1 s hold"};
constexpr Text MANY_SECONDS = {"são mais de duas horas: o caixa esperaria todo esse tempo", "is more than two hours: the till would wait that long"};
constexpr Text BAD_SWITCH = {"só 0 e 1 têm sentido; a biblioteca entende isto como %1", "only 0 and 1 make sense; the library takes this for %1"};
constexpr Text BAD_FIXED_PORT = {"deve ser COM em maiúsculas e um número a partir de 1", "has to be COM in capitals and a number from 1"};
constexpr Text BAD_EMULATOR_PORT = {"o emulador está ligado, mas esta porta não é COM e um número: a chamada falha", "the emulator is enabled, but this port is not COM and a number: the call fails"};
constexpr Text NO_FOLDER = {"esta pasta não existe: as respostas não são gravadas, e ninguém é avisado", "there is no such folder: the replies are not saved, and nobody is told"};
constexpr Text BAD_LOG_NAME = {"não muda o nome do registro; faz o controle de tamanho vigiar outro arquivo, e SAT_api.log cresce sem limite", "does not change the log's name; it makes the size control watch another file, and SAT_api.log grows without limit"};
constexpr Text BAD_SIZE = {"não é um número acima de 0: valem 800000 bytes", "is no number above 0: 800000 bytes hold"};
constexpr Text BAD_LOG_MODE = {"deve ser de 0 a 5: vale 1 (só erros)", "has to be 0 to 5: 1 (errors only) holds"};
constexpr Text LOG_OFF = {"0 desliga os dois registros: não haverá o que ler quando algo falhar", "0 switches both logs off: there will be nothing to read when something fails"};
constexpr Text SHORT_FOLDER = {"um nome de um só caractere não vale: o registro fica na pasta atual", "a name of one character does not count: the log lies in the current folder"};
// clang-format on

constexpr int MANY = 7200;

std::string Where(const IniLine& line) {
    return "[" + ToUtf8(line.section) + "] " + ToUtf8(line.key) + "=" + ToUtf8(line.value);
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

std::string WhyUnknown(const IniLine& line) {
    for (const IniKey& key : IniKeys()) {
        if (line.key == key.name) return Say(OTHER_SECTION, {key.section});
        if (Lower(line.key) == Lower(key.name)) return Say(OTHER_SPELLING, {key.name});
    }
    return Say(IsIniSection(line.section) ? UNKNOWN_KEY : UNKNOWN_SECTION);
}

bool IsComPort(const std::string& value) {
    return value.compare(0, 3, "COM") == 0 && AllDigits(value.substr(3)) &&
           VKO_DecimalValue(value.c_str() + 3) > 0;
}

bool EmulatorEnabled(const std::string& ini_file) {
    std::string value;
    return LibraryValue(ini_file, "SAT_EMULATOR", "Enable", &value) && value.compare(0, 1, "1") == 0;
}

std::string SecondsFault(const IniKey& key, const std::string& value) {
    const int seconds = VKO_DecimalValue(value.c_str());
    if (seconds <= 0) return Say(BAD_SECONDS, {std::to_string(FindFunction(key.name)->timeout_s)});
    return seconds > MANY ? Say(MANY_SECONDS) : "";
}

// Of a port that the user fixed, what follows the last digit is cut; up to two characters are no name.
std::string FixedPortFault(std::string value) {
    if (value.empty()) return "";
    while (!value.empty() && (value.back() < '0' || value.back() > '9'))
        value.pop_back();
    return IsComPort(value) ? "" : Say(BAD_FIXED_PORT);
}

std::string FolderFault(const IniKey& key, const std::string& value, const std::string& ini_file) {
    if (std::string_view(key.section) == "LOG") return value.size() == 1 ? Say(SHORT_FOLDER) : "";
    std::string enabled;
    const bool on =
        LibraryValue(ini_file, key.section, "Enable", &enabled) && enabled.compare(0, 1, "1") == 0;
    return on && !value.empty() && !IsFolder(ToUtf8(NativeName(value))) ? Say(NO_FOLDER) : "";
}

std::string LogModeFault(const std::string& value) {
    if (value.empty() || value[0] < '0' || value[0] > '5') return Say(BAD_LOG_MODE);
    return value[0] == '0' ? Say(LOG_OFF) : "";
}

std::string ValueFault(const IniKey& key, const std::string& value, const std::string& ini_file) {
    switch (key.kind) {
        case IniKind::Free:
            return "";
        case IniKind::Seconds:
            return SecondsFault(key, value);
        case IniKind::Switch:
            return value == "0" || value == "1"
                       ? ""
                       : Say(BAD_SWITCH, {value.compare(0, 1, "1") == 0 ? "1" : "0"});
        case IniKind::FixedPort:
            return FixedPortFault(value);
        case IniKind::EmulatorPort:
            return EmulatorEnabled(ini_file) && !IsComPort(value) ? Say(BAD_EMULATOR_PORT) : "";
        case IniKind::Folder:
            return FolderFault(key, value, ini_file);
        case IniKind::LogName:
            return value.size() <= 3 || value == "SAT_api.log" ? "" : Say(BAD_LOG_NAME);
        case IniKind::Size:
            return VKO_DecimalValue(value.c_str()) > 0 ? "" : Say(BAD_SIZE);
        case IniKind::LogMode:
            return LogModeFault(value);
    }
    return "";
}

std::string WithoutBlanks(std::string value) {
    value.erase(std::remove_if(value.begin(), value.end(), [](char c) { return c == ' ' || c == '='; }),
                value.end());
    return value;
}

// How the library's reading differs from a person's; "" when it does not.
std::string ReadingFault(const IniLine& line, bool found, const std::string& read) {
    if (!found) return Say(NOT_FOUND);
    if (read == line.value) return "";
    if (read != WithoutBlanks(line.value)) return Say(READ_OTHERWISE, {ToUtf8(read), line.section});
    // Blanks between numbers harm nobody; in a path they make another one.
    const bool path = line.value.find_first_of("/\\") != std::string::npos;
    return path ? Say(READ_WITHOUT, {ToUtf8(read)}) : "";
}

}  // namespace

std::vector<IniLine> ReadIniLines(std::string_view text) {
    std::vector<IniLine> lines;
    std::string section;
    int number = 0;
    for (const std::string& raw : Split(text, '\n')) {
        ++number;
        const std::string line = Trimmed(raw);
        if (line.empty() || line[0] == '#' || line[0] == ';') continue;
        const size_t end = line.find(']');
        if (line[0] == '[' && end != std::string::npos) {
            section = line.substr(1, end - 1);
            continue;
        }
        const size_t equals = std::min(line.find('='), line.size());
        const std::string value = equals < line.size() ? line.substr(equals + 1) : "";
        lines.push_back({number, section, Trimmed(line.substr(0, equals)), Trimmed(value)});
    }
    return lines;
}

bool LibraryValue(const std::string& ini_file, const char* section, const char* key, std::string* value) {
    char buffer[512] = {};
    const bool found = VKO_GetIniFileValueSized(ini_file.c_str(), section, key, buffer, sizeof buffer) >= 0;
    *value = found ? buffer : "";
    return found;
}

std::vector<IniRemark> UnknownKeys(std::string_view text) {
    std::vector<IniRemark> remarks;
    std::vector<IniLine> seen;
    for (const IniLine& line : ReadIniLines(text)) {
        if (FindIniKey(line.section, line.key) == nullptr) {
            remarks.push_back({Where(line), WhyUnknown(line)});
            continue;
        }
        const auto first = std::find_if(seen.begin(), seen.end(), [&](const IniLine& other) {
            return other.section == line.section && other.key == line.key;
        });
        if (first != seen.end())
            remarks.push_back({Where(line), Say(TWICE, {std::to_string(first->number)})});
        seen.push_back(line);
    }
    return remarks;
}

std::vector<IniRemark> KeysWithoutEffect(std::string_view text, size_t* unchanged) {
    std::vector<IniRemark> remarks;
    *unchanged = 0;
    for (const IniLine& line : ReadIniLines(text)) {
        const IniKey* const key = FindIniKey(line.section, line.key);
        if (key == nullptr || !HasText(key->no_effect)) continue;
        if (line.value == key->usual) {
            ++*unchanged;
        } else {
            remarks.push_back({Where(line), Say(key->no_effect)});
        }
    }
    return remarks;
}

std::vector<IniRemark> BadValues(std::string_view text, const std::string& ini_file) {
    std::vector<IniRemark> remarks;
    std::set<std::string> seen;
    for (const IniLine& line : ReadIniLines(text)) {
        const IniKey* const key = FindIniKey(line.section, line.key);
        if (key == nullptr || HasText(key->no_effect) || !seen.insert(line.section + "/" + line.key).second)
            continue;
        std::string read;
        const bool found = LibraryValue(ini_file, key->section, key->name, &read);
        std::string fault = ReadingFault(line, found, read);
        if (fault.empty()) fault = ValueFault(*key, read, ini_file);
        if (!fault.empty()) remarks.push_back({Where(line), fault});
    }
    return remarks;
}

}  // namespace tool

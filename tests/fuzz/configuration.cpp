/*
 * A whole configuration from any "SAT.ini": what every setting must come to is worked out a second time.
 */
#include <array>
#include <cstring>

#include "ini_rules.h"
#include "machine.h"

using fuzz::ExpectEqual;

namespace {

constexpr size_t kValueRoom = 127;  // of the 128 bytes that a value is read into

struct Command {
    const char* name;
    int32_t timeout_s;
};

constexpr std::array<Command, 16> kCommands = {{{"AtivarSAT", 1800},
                                                {"ComunicarCertificadoICPBRASIL", 300},
                                                {"EnviarDadosVenda", 30},
                                                {"CancelarUltimaVenda", 30},
                                                {"ConsultarSAT", 10},
                                                {"TesteFimAFim", 20},
                                                {"ConsultarStatusOperacional", 10},
                                                {"ConsultarNumeroSessao", 20},
                                                {"ConfigurarInterfaceDeRede", 20},
                                                {"AssociarAssinatura", 1800},
                                                {"AtualizarSoftwareSAT", 1800},
                                                {"ExtrairLogs", 30},
                                                {"BloquearSAT", 300},
                                                {"DesbloquearSAT", 20},
                                                {"TrocarCodigoDeAtivacao", 30},
                                                {"ConsultarUltimaSessaoFiscal", 20}}};

/** The number at the start of a text: blanks, a sign, digits. */
int32_t Decimal(const std::string& text) {
    size_t at = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    int64_t value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9' && value <= INT32_MAX; ++at)
        value = value * 10 + (text[at] - '0');
    if (negative) return static_cast<int32_t>(std::max(-value, int64_t{INT32_MIN}));
    return static_cast<int32_t>(std::min(value, int64_t{INT32_MAX}));
}

/** The value of a key; nothing when it is missing or empty. */
std::string Value(const std::string& file, const char* section, const char* key, size_t room = kValueRoom) {
    return fuzz::IniReadByTheRules(file, section, key, room).value;
}

std::string OrElse(const std::string& value, const char* otherwise) {
    return value.empty() ? otherwise : value;
}

/** Read time-outs: the named text gives 0, everything else the built-in value. */
uint32_t MaxDword(const std::string& file, const char* key, const char* named, uint32_t otherwise) {
    return Value(file, "SERIAL_PORT_CONFIG", key) == named ? 0 : otherwise;
}

int32_t WriteTimeout(const std::string& file, const char* key) {
    const std::string value = Value(file, "SERIAL_PORT_CONFIG", key);
    return value.empty() ? 1 : Decimal(value);
}

template <size_t size>
void CheckText(const char* what, const char (&field)[size], const std::string& expected) {
    fuzz::Expect(memchr(field, '\0', size) != nullptr, "a text ends within its field");
    ExpectEqual(what, std::string(field), expected);
}

void CheckTexts(const std::string& file, const std::string& fixed_before) {
    const auto fixed = fuzz::IniReadByTheRules(file, "SERIAL_PORT_CONFIG", "FixarPorta", 31);
    const bool kept = fixed.rc == 0 && fixed.value.empty();
    CheckText("FixarPorta", gl_tSat.strFixedSerialPort, kept ? fixed_before : fixed.value);
    CheckText("SerialPortConfig", gl_tSat.strSerialPortConfig,
              OrElse(Value(file, "SERIAL_PORT_CONFIG", "SerialPortConfig"), "115200,8,n,1"));
    CheckText("PathWindows", gl_tSat.strReceiptPathWindows,
              OrElse(Value(file, "CUPOM_DESK", "PathWindows"), "C:\\ProgramData\\CupomDesk\\Cupons\\New"));
    CheckText("PathLinux", gl_tSat.strReceiptPathLinux,
              OrElse(Value(file, "CUPOM_DESK", "PathLinux"), "/etc/CupomDesk/Cupons/New"));
}

void CheckNumbers(const std::string& file) {
    ExpectEqual("ReadIntervalTimeout", gl_tSat.uiReadIntervalTimeout,
                MaxDword(file, "ReadIntervalTimeout", "MAXDWORD", 0xFFFFFFFF));
    ExpectEqual("ReadTotalTimeoutMultiplier", gl_tSat.uiReadTotalTimeoutMultiplier,
                MaxDword(file, "ReadTotalTimeoutMultiplier", "MAXDWORD", 0xFFFFFFFF));
    ExpectEqual("ReadTotalTimeoutConstant", gl_tSat.uiReadTotalTimeoutConstant,
                MaxDword(file, "ReadTotalTimeoutConstant", "MAXDWORD-10", 0xFFFFFFF5));
    ExpectEqual("WriteTotalTimeoutMultiplier", gl_tSat.iWriteTotalTimeoutMultiplier,
                WriteTimeout(file, "WriteTotalTimeoutMultiplier"));
    ExpectEqual("WriteTotalTimeoutConstant", gl_tSat.iWriteTotalTimeoutConstant,
                WriteTimeout(file, "WriteTotalTimeoutConstant"));
    ExpectEqual("receipt files", gl_tSat.iReceiptFilesEnabled,
                Value(file, "CUPOM_DESK", "Enable").starts_with('1') ? 1 : 0);
    ExpectEqual("emulator", gl_tSat.iEmulatorEnabled,
                Value(file, "SAT_EMULATOR", "Enable").starts_with('1') ? 1 : 0);
    for (size_t i = 0; i < kCommands.size(); ++i) {
        const int32_t configured = Decimal(Value(file, "SAT_TIMEOUT", kCommands[i].name));
        const bool applies = i <= 6 && configured > 0;
        ExpectEqual(kCommands[i].name, gl_tSatCmd[i].iTimeout, applies ? configured : kCommands[i].timeout_s);
    }
}

void CheckLogSettings(const std::string& file, int result) {
    const auto mode = fuzz::IniReadByTheRules(file, "LOG", "LogMode", 511);
    static constexpr int masks[] = {0, 1, 3, 7, 15, 31};
    const char first = mode.value.empty() ? '\0' : mode.value[0];
    const int mask = first >= '0' && first <= '5' ? masks[first - '0'] : 1;
    ExpectEqual("the result of the log settings", result, mode.rc < 0 ? mode.rc : mask);
    ExpectEqual("the level mask", gl_tLogSettings.iLevelMask, mode.rc < 0 ? 1 : mask);
    const auto folder = fuzz::IniReadByTheRules(file, "LOG", "LogFilePath", 511);
    CheckText("LogFilePath", gl_tLogSettings.strLogFilePath, folder.rc < 0 ? "Log" : folder.value);
    const int32_t most = Decimal(fuzz::IniReadByTheRules(file, "LOG", "LogFileMaxSize", 511).value);
    ExpectEqual("LogFileMaxSize", gl_tLogSettings.iLogFileMaxSize, most > 0 ? most : 800000);
}

/** The port name up to its last digit. The value that a whole buffer holds, not only the stored field. */
void CheckFixedPort(const std::string& file) {
    char buffer[128];
    memset(buffer, '?', sizeof buffer);
    const int result = GetFixedSerialPort(buffer);
    const auto fixed = fuzz::IniReadByTheRules(file, "SERIAL_PORT_CONFIG", "FixarPorta", kValueRoom);
    const std::string port = fixed.value.substr(0, fixed.value.find_last_of("0123456789") + 1);
    const int length = static_cast<int>(port.size());
    ExpectEqual("the fixed port's result", result, fixed.rc < 0 ? 0 : fixed.value.empty() ? 1 : length);
    CheckText("the fixed port", buffer, port);
    CheckText("the stored fixed port", gl_tSat.strFixedSerialPort, port.substr(0, 31));
}

void CheckPass(const std::string& file, const std::string& fixed_before) {
    ExpectEqual("the steps of a pass", UpdateZantirConfiguration(), 30);
    CheckTexts(file, fixed_before);
    CheckNumbers(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const std::string fixed_before = input.ConsumeBool() ? "COM5" : "";
    const std::string given = input.ConsumeRemainingBytesAsString();
    fuzz::FreshMachine('0');
    sim::world().files.SetText("SAT.ini", given);
    VKO_CopyText(gl_tSat.strFixedSerialPort, sizeof gl_tSat.strFixedSerialPort, fixed_before.c_str());
    gl_tSat.iConfigTime = 77;

    // An empty file is replaced by the default one.
    const int log_result = VKO_SetIniFileLogMode("SAT_api.log", "SAT.ini");
    CheckLogSettings(given, log_result);
    UpdateZantirConfiguration();
    const std::string file = sim::world().files.Text("SAT.ini");
    if (!given.empty()) ExpectEqual("the file is left alone", file, given);
    fuzz::Expect(!file.empty(), "there is a file behind a pass");
    CheckTexts(file, fixed_before);
    CheckNumbers(file);

    // A second pass changes nothing, whatever the first one left.
    const std::string fixed = gl_tSat.strFixedSerialPort;
    const tSatState first = gl_tSat;
    CheckPass(file, fixed);
    fuzz::Expect(memcmp(&first, &gl_tSat, sizeof first) == 0, "a second pass comes to the same state");
    CheckFixedPort(file);

    ExpectEqual("what the pass does not own", gl_tSat.iConfigTime, int64_t{77});
    ExpectEqual("the start marker", static_cast<int>(gl_tSat.ucStartMarker), 0);
    ExpectEqual("allocations", sim::world().LiveAllocations(), int64_t{0});
    ExpectEqual("open files", sim::world().files.OpenFiles(), size_t{0});
    return 0;
}

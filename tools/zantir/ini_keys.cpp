#include "ini_keys.h"

namespace tool {

namespace {

// clang-format off
constexpr Text HAS_EFFECT = {"", ""};
constexpr Text LINE_FIXED = {"a porta é sempre aberta com 115200,n,8,1", "the port is always opened with 115200,n,8,1"};
constexpr Text READ_TIME_FIXED = {
    "é guardado e não usado: a porta usa sempre 10/1/1/1/1000 ms. Ao ser lido, só o texto MAXDWORD vale (e vira 0); qualquer número vira 4294967295",
    "is stored and not used: the port always uses 10/1/1/1/1000 ms. When read, only the text MAXDWORD counts (and becomes 0); every number becomes 4294967295"};
constexpr Text READ_CONSTANT_FIXED = {
    "é guardado e não usado: a porta usa sempre 10/1/1/1/1000 ms. Ao ser lido, só o texto MAXDWORD-10 vale (e vira 0); qualquer número vira 4294967285",
    "is stored and not used: the port always uses 10/1/1/1/1000 ms. When read, only the text MAXDWORD-10 counts (and becomes 0); every number becomes 4294967285"};
constexpr Text WRITE_TIME_FIXED = {"é guardado e não usado: a porta usa sempre 10/1/1/1/1000 ms", "is stored and not used: the port always uses 10/1/1/1/1000 ms"};
constexpr Text TIMEOUT_FIXED = {"este tempo nunca é aplicado: vale sempre o da biblioteca", "this time-out is never applied: the library's own always holds"};
constexpr Text NOT_READ = {"nenhuma rotina o lê; também no Linux vale SerialPortWindows", "no routine reads it; on Linux too SerialPortWindows counts"};
constexpr Text PATH_NOT_USED = {"é guardado e não usado; também no Linux vale PathWindows", "is stored and not used; on Linux too PathWindows counts"};
// clang-format on

constexpr const char* SERIAL = "SERIAL_PORT_CONFIG";
constexpr const char* TIMEOUT = "SAT_TIMEOUT";
constexpr const char* EMULATOR = "SAT_EMULATOR";
constexpr const char* RECEIPTS = "CUPOM_DESK";
constexpr const char* LOG = "LOG";

}  // namespace

const std::vector<IniKey>& IniKeys() {
    // clang-format off
    static const std::vector<IniKey> keys = {
        {SERIAL, "FixarPorta", IniKind::FixedPort, "", HAS_EFFECT},
        {SERIAL, "SerialPortConfig", IniKind::Free, "115200,8,N,1", LINE_FIXED},
        {SERIAL, "ReadIntervalTimeout", IniKind::Free, "10", READ_TIME_FIXED},
        {SERIAL, "ReadTotalTimeoutMultiplier", IniKind::Free, "1", READ_TIME_FIXED},
        {SERIAL, "ReadTotalTimeoutConstant", IniKind::Free, "1", READ_CONSTANT_FIXED},
        {SERIAL, "WriteTotalTimeoutMultiplier", IniKind::Free, "1", WRITE_TIME_FIXED},
        {SERIAL, "WriteTotalTimeoutConstant", IniKind::Free, "1000", WRITE_TIME_FIXED},
        {TIMEOUT, "AtivarSAT", IniKind::Seconds, "1800", HAS_EFFECT},
        {TIMEOUT, "ComunicarCertificadoICPBRASIL", IniKind::Seconds, "300", HAS_EFFECT},
        {TIMEOUT, "EnviarDadosVenda", IniKind::Seconds, "30", HAS_EFFECT},
        {TIMEOUT, "CancelarUltimaVenda", IniKind::Seconds, "30", HAS_EFFECT},
        {TIMEOUT, "ConsultarSAT", IniKind::Seconds, "10", HAS_EFFECT},
        {TIMEOUT, "TesteFimAFim", IniKind::Seconds, "20", HAS_EFFECT},
        {TIMEOUT, "ConsultarStatusOperacional", IniKind::Seconds, "10", HAS_EFFECT},
        {TIMEOUT, "ConsultarNumeroSessao", IniKind::Free, "20", TIMEOUT_FIXED},
        {TIMEOUT, "ConfigurarInterfaceDeRede", IniKind::Free, "20", TIMEOUT_FIXED},
        {TIMEOUT, "AssociarAssinatura", IniKind::Free, "1800", TIMEOUT_FIXED},
        {TIMEOUT, "AtualizarSoftwareSAT", IniKind::Free, "1800", TIMEOUT_FIXED},
        {TIMEOUT, "ExtrairLogs", IniKind::Free, "30", TIMEOUT_FIXED},
        {TIMEOUT, "BloquearSAT", IniKind::Free, "300", TIMEOUT_FIXED},
        {TIMEOUT, "DesbloquearSAT", IniKind::Free, "20", TIMEOUT_FIXED},
        {TIMEOUT, "TrocarCodigoDeAtivacao", IniKind::Free, "30", TIMEOUT_FIXED},
        {TIMEOUT, "ConsultarUltimaSessaoFiscal", IniKind::Free, "20", TIMEOUT_FIXED},
        {EMULATOR, "SerialPortWindows", IniKind::EmulatorPort, "CNCA0", HAS_EFFECT},
        {EMULATOR, "SerialPortLinux", IniKind::Free, "/dev/ttyVSP0", NOT_READ},
        {EMULATOR, "Enable", IniKind::Switch, "0", HAS_EFFECT},
        {RECEIPTS, "PathWindows", IniKind::Folder, "C:\\ProgramData\\CupomDesk\\Cupons\\New", HAS_EFFECT},
        {RECEIPTS, "PathLinux", IniKind::Free, "/etc/CupomDesk/Cupons/New", PATH_NOT_USED},
        {RECEIPTS, "Enable", IniKind::Switch, "0", HAS_EFFECT},
        {LOG, "LogFilePath", IniKind::Folder, "Log", HAS_EFFECT},
        {LOG, "LogFileName", IniKind::LogName, "", HAS_EFFECT},
        {LOG, "LogFileMaxSize", IniKind::Size, "1300000", HAS_EFFECT},
        {LOG, "LogMode", IniKind::LogMode, "1", HAS_EFFECT},
    };
    // clang-format on
    return keys;
}

const IniKey* FindIniKey(std::string_view section, std::string_view name) {
    for (const IniKey& key : IniKeys()) {
        if (section == key.section && name == key.name) return &key;
    }
    return nullptr;
}

bool IsIniSection(std::string_view name) {
    for (const IniKey& key : IniKeys()) {
        if (name == key.section) return true;
    }
    return false;
}

}  // namespace tool

/*
 * The keys of the configuration in the order of a pass, as the tests know them.
 */
#pragma once

#include <string>
#include <vector>

struct ConfigKeyRow {
    std::string section;
    std::string key;
    std::string value;  ///< a value that is present and does not stand out
};

inline const std::vector<ConfigKeyRow>& ConfigKeys() {
    static const std::vector<ConfigKeyRow> rows = {
        {"LOG", "LogFilePath", "Log"},
        {"LOG", "LogFileName", "name.log"},
        {"LOG", "LogFileMaxSize", "1300000"},
        {"LOG", "LogMode", "5"},
        {"SERIAL_PORT_CONFIG", "FixarPorta", "COM12"},
        {"SERIAL_PORT_CONFIG", "SerialPortConfig", "9600,8,E,2"},
        {"SERIAL_PORT_CONFIG", "ReadIntervalTimeout", "10"},
        {"SERIAL_PORT_CONFIG", "ReadTotalTimeoutMultiplier", "2"},
        {"SERIAL_PORT_CONFIG", "ReadTotalTimeoutConstant", "3"},
        {"SERIAL_PORT_CONFIG", "WriteTotalTimeoutMultiplier", "4"},
        {"SERIAL_PORT_CONFIG", "WriteTotalTimeoutConstant", "5000"},
        {"SAT_TIMEOUT", "AtivarSAT", "101"},
        {"SAT_TIMEOUT", "ComunicarCertificadoICPBRASIL", "102"},
        {"SAT_TIMEOUT", "EnviarDadosVenda", "103"},
        {"SAT_TIMEOUT", "CancelarUltimaVenda", "104"},
        {"SAT_TIMEOUT", "ConsultarSAT", "105"},
        {"SAT_TIMEOUT", "TesteFimAFim", "106"},
        {"SAT_TIMEOUT", "ConsultarStatusOperacional", "107"},
        {"SAT_TIMEOUT", "ConsultarNumeroSessao", "108"},
        {"SAT_TIMEOUT", "ConfigurarInterfaceDeRede", "109"},
        {"SAT_TIMEOUT", "AssociarAssinatura", "110"},
        {"SAT_TIMEOUT", "AtualizarSoftwareSAT", "111"},
        {"SAT_TIMEOUT", "ExtrairLogs", "112"},
        {"SAT_TIMEOUT", "BloquearSAT", "113"},
        {"SAT_TIMEOUT", "DesbloquearSAT", "114"},
        {"SAT_TIMEOUT", "TrocarCodigoDeAtivacao", "115"},
        {"SAT_TIMEOUT", "ConsultarUltimaSessaoFiscal", "116"},
        {"CUPOM_DESK", "PathWindows", "D:\\Cupons"},
        {"CUPOM_DESK", "PathLinux", "/srv/cupons"},
        {"CUPOM_DESK", "Enable", "1"},
        {"SAT_EMULATOR", "Enable", "1"},
    };
    return rows;
}

/** A file with every key but the one at `missing`; the one at `changed` has another value. */
inline std::string ConfigText(size_t missing = SIZE_MAX, size_t changed = SIZE_MAX,
                              const std::string& value = "") {
    std::string text;
    std::string section;
    for (size_t i = 0; i < ConfigKeys().size(); ++i) {
        const ConfigKeyRow& row = ConfigKeys()[i];
        if (row.section != section) text += "[" + row.section + "]\n";
        section = row.section;
        if (i != missing) text += row.key + "=" + (i == changed ? value : row.value) + "\n";
    }
    return text;
}

/** The place of a key in the table. */
inline size_t ConfigStep(const std::string& key, const std::string& section = "") {
    for (size_t i = 0; i < ConfigKeys().size(); ++i) {
        const ConfigKeyRow& row = ConfigKeys()[i];
        if (row.key == key && (section.empty() || row.section == section)) return i;
    }
    return SIZE_MAX;
}

/*
 * The page about SAT.ini: its keys, defaults and effects are the library's own.
 */
#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <utility>

#include "api_fixture.h"
#include "reference_page.h"

namespace {

using Key = std::pair<std::string, std::string>;  // section, key

/** A row of the page. */
struct Documented {
    std::string in_file;
    std::string without;
    std::string effect;
};

class SatIniPage : public Api, public testing::WithParamInterface<PageLanguage> {
  protected:
    static std::map<Key, Documented> Rows() {
        const std::string page = ProjectFile(GetParam().sat_ini);
        std::map<Key, Documented> rows;
        for (const std::string& heading : PageHeadings(page, "## [")) {
            const std::string section = heading.substr(4, heading.size() - 5);
            for (const PageRow& row : PageRows(PageSection(page, heading)))
                rows[{section, row.at(0)}] = {row.at(1), row.at(2), row.at(4)};
        }
        return rows;
    }

    /** What the default file holds, read as the library reads it. */
    static std::map<Key, std::string> DefaultFile() {
        std::map<Key, std::string> values;
        std::string section;
        for (const std::string& line : LinesOf(DefaultIni())) {
            if (line.starts_with("[")) section = line.substr(1, line.size() - 2);
            if (line.find('=') == std::string::npos || line.starts_with("#")) continue;
            std::string key = line.substr(0, line.find('='));
            std::string value = line.substr(line.find('=') + 1);
            std::erase(key, ' ');
            std::erase(value, ' ');
            values[{section, key}] = value;
        }
        return values;
    }

    static bool HasEffect(const Documented& row) {
        const bool yes = row.effect.starts_with(GetParam().yes);
        EXPECT_NE(yes, row.effect.starts_with(GetParam().no)) << row.effect;
        return yes;
    }
};

INSTANTIATE_TEST_SUITE_P(Docs, SatIniPage, testing::ValuesIn(PAGE_LANGUAGES), LanguageName);

TEST_P(SatIniPage, ShowsTheDefaultFileAsItIsWritten) {
    std::map<Key, std::string> shown;
    for (const auto& [key, row] : Rows()) {
        if (row.in_file == GetParam().absent) continue;
        shown[key] = row.in_file == GetParam().empty ? "" : row.in_file;
    }
    EXPECT_EQ(shown, DefaultFile());
}

TEST_P(SatIniPage, HasEveryKeyThatTheLibraryReadsAndNoOther) {
    WriteIniWithLog('5');
    VersaoDllZantir();
    std::set<Key> keys;
    for (const auto& [key, value] : DefaultFile())
        keys.insert(key);
    static const std::regex report(R"(strSessionName\[(\w+)\]  item\[(\w+)=)");
    const std::string log = DiagnosticLog();
    for (auto at = std::sregex_iterator(log.begin(), log.end(), report); at != std::sregex_iterator(); ++at)
        keys.insert({(*at)[1], (*at)[2]});
    std::set<Key> documented;
    for (const auto& [key, row] : Rows())
        documented.insert(key);
    EXPECT_EQ(documented, keys);
    EXPECT_EQ(documented.count({"SERIAL_PORT_CONFIG", "FixarPorta"}), 1U);
}

TEST_P(SatIniPage, ShowsWhatHoldsWithoutAKey) {
    WriteIni("[SERIAL_PORT_CONFIG]\n[SAT_TIMEOUT]\n[SAT_EMULATOR]\n[CUPOM_DESK]\n[LOG]\n");
    VersaoDllZantir();
    const std::string serial = "SERIAL_PORT_CONFIG";
    std::map<Key, std::string> held = {
        {{serial, "FixarPorta"}, gl_tSat.strFixedSerialPort},
        {{serial, "SerialPortConfig"}, gl_tSat.strSerialPortConfig},
        {{serial, "ReadIntervalTimeout"}, std::to_string(gl_tSat.uiReadIntervalTimeout)},
        {{serial, "ReadTotalTimeoutMultiplier"}, std::to_string(gl_tSat.uiReadTotalTimeoutMultiplier)},
        {{serial, "ReadTotalTimeoutConstant"}, std::to_string(gl_tSat.uiReadTotalTimeoutConstant)},
        {{serial, "WriteTotalTimeoutMultiplier"}, std::to_string(gl_tSat.iWriteTotalTimeoutMultiplier)},
        {{serial, "WriteTotalTimeoutConstant"}, std::to_string(gl_tSat.iWriteTotalTimeoutConstant)},
        {{"SAT_EMULATOR", "Enable"}, std::to_string(gl_tSat.iEmulatorEnabled)},
        {{"CUPOM_DESK", "PathWindows"}, gl_tSat.strReceiptPathWindows},
        {{"CUPOM_DESK", "PathLinux"}, gl_tSat.strReceiptPathLinux},
        {{"CUPOM_DESK", "Enable"}, std::to_string(gl_tSat.iReceiptFilesEnabled)},
        {{"LOG", "LogFilePath"}, gl_tLogSettings.strLogFilePath},
        {{"LOG", "LogFileName"}, gl_tLogSettings.strLogFileName},
        {{"LOG", "LogFileMaxSize"}, std::to_string(gl_tLogSettings.iLogFileMaxSize)},
        {{"LOG", "LogMode"}, std::to_string(gl_tLogSettings.iLevelMask)},
        // Read for an exchange and kept nowhere.
        {{"SAT_EMULATOR", "SerialPortWindows"}, ""},
        {{"SAT_EMULATOR", "SerialPortLinux"}, ""},
    };
    for (int command = 0; command < SAT_COMMAND_COUNT; ++command)
        held[{"SAT_TIMEOUT", SAT_COMMANDS[command].pName}] = std::to_string(gl_tSatCmd[command].iTimeout);
    std::map<Key, std::string> shown;
    for (const auto& [key, row] : Rows())
        shown[key] = row.without == GetParam().none ? "" : row.without;
    EXPECT_EQ(shown, held);
}

TEST_P(SatIniPage, SaysWhichTimeoutsHaveEffect) {
    std::string ini = "[SAT_TIMEOUT]\n";
    for (const tSatCommand& command : SAT_COMMANDS)
        ini += std::string(command.pName) + "=77\n";
    WriteIni(ini);
    VersaoDllZantir();
    const std::map<Key, Documented> rows = Rows();
    for (int command = 0; command < SAT_COMMAND_COUNT; ++command) {
        const char* const name = SAT_COMMANDS[command].pName;
        EXPECT_EQ(gl_tSatCmd[command].iTimeout == 77, HasEffect(rows.at({"SAT_TIMEOUT", name}))) << name;
    }
}

TEST_P(SatIniPage, TheKeysOfTheLineThatHaveNoEffectChangeNothingOfThePort) {
    sim::HonestDevice device = DeviceThatSays("ok");
    std::string ini = "[SERIAL_PORT_CONFIG]\n";
    for (const auto& [key, row] : Rows()) {
        if (key.first == "SERIAL_PORT_CONFIG" && !HasEffect(row)) ini += key.second + "=300,7,E,2\n";
    }
    EXPECT_EQ(std::count(ini.begin(), ini.end(), '\n'), 7);
    sim::Line& line = AttachDevice(&device);
    WriteIni(ini);
    EXPECT_STREQ(ConsultarSAT(1), "ok");
    EXPECT_EQ(line.Record().mode, "115200,n,8,1");
    const plat_port_timeouts& timeouts = line.Record().timeouts;
    EXPECT_EQ(timeouts.read_interval, 10U);
    EXPECT_EQ(timeouts.read_total_multiplier, 1U);
    EXPECT_EQ(timeouts.read_total_constant, 1U);
    EXPECT_EQ(timeouts.write_total_multiplier, 1U);
    EXPECT_EQ(timeouts.write_total_constant, 1000U);
}

TEST_P(SatIniPage, TheOtherKeysWithEffectAreTheOnesNamed) {
    std::set<std::string> with_effect;
    for (const auto& [key, row] : Rows()) {
        const bool timeout = key.first == "SAT_TIMEOUT";
        // "LogFileName" says in a sentence what little it does.
        if (!timeout && key.second != "LogFileName" && HasEffect(row))
            with_effect.insert(key.first + "/" + key.second);
    }
    EXPECT_THAT(with_effect, testing::UnorderedElementsAre(
                                 "SERIAL_PORT_CONFIG/FixarPorta", "SAT_EMULATOR/SerialPortWindows",
                                 "SAT_EMULATOR/Enable", "CUPOM_DESK/PathWindows", "CUPOM_DESK/Enable",
                                 "LOG/LogFilePath", "LOG/LogFileMaxSize", "LOG/LogMode"));
}

}  // namespace

/*
 * "SAT.ini", the log folder and the clock in every state in which a machine may offer them: the settings are
 * the defaults where nothing can be read, and the exchange goes through in any case.
 */
#include <numeric>

#include "config_table.h"
#include "logged_library.h"

namespace {

constexpr char kReply[] = "000042|06000|0000|Emitido com sucesso|\xC3\xA7\xFF|";

class HostilePlace : public Library {
  protected:
    void SetUp() override {
        Load();
        Attach();
    }
    void Attach() { AttachDevice(&device); }
    void Reload() {
        Load();
        Attach();
    }

    /** A sale goes through to the byte, and nothing stays behind. */
    void ExpectSale() {
        EXPECT_STREQ(EnviarDadosVenda(42, "12345678", "<CFe/>"), kReply);
        EXPECT_EQ(World().LiveAllocations(), 0);
        EXPECT_EQ(World().files.OpenFiles(), 0U);
        EXPECT_EQ(World().ports.OpenCount(), 0U);
    }

    /** What a pass leaves that found no key at all. */
    static void ExpectDefaults() {
        EXPECT_STREQ(gl_tSat.strFixedSerialPort, "");
        EXPECT_STREQ(gl_tSat.strSerialPortConfig, "115200,8,n,1");
        EXPECT_EQ(gl_tSat.uiReadIntervalTimeout, 0xFFFFFFFF);
        EXPECT_EQ(gl_tSat.uiReadTotalTimeoutMultiplier, 0xFFFFFFFF);
        EXPECT_EQ(gl_tSat.uiReadTotalTimeoutConstant, 0xFFFFFFF5);
        EXPECT_EQ(gl_tSat.iWriteTotalTimeoutMultiplier, 1);
        EXPECT_EQ(gl_tSat.iWriteTotalTimeoutConstant, 1);
        EXPECT_STREQ(gl_tSat.strReceiptPathWindows, "C:\\ProgramData\\CupomDesk\\Cupons\\New");
        EXPECT_STREQ(gl_tSat.strReceiptPathLinux, "/etc/CupomDesk/Cupons/New");
        EXPECT_EQ(gl_tSat.iReceiptFilesEnabled, 0);
        EXPECT_EQ(gl_tSat.iEmulatorEnabled, 0);
        EXPECT_EQ(gl_tLogSettings.iLevelMask, 1);
        EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 800000);
        EXPECT_STREQ(gl_tLogSettings.strLogFilePath, "Log");
        static const int kTimeouts[] = {1800, 300,  30,   30, 10,  20, 10, 20,
                                        20,   1800, 1800, 30, 300, 20, 30, 20};
        for (size_t i = 0; i < std::size(kTimeouts); ++i)
            EXPECT_EQ(gl_tSatCmd[i].iTimeout, kTimeouts[i]) << gl_tSatCmd[i].pRetCodePrefix;
    }

    sim::HonestDevice device{[](const std::string&) { return std::string(kReply); }};
};

TEST_F(HostilePlace, AFolderInPlaceOfTheFileGivesEveryDefault) {
    World().files.MakeFolder("SAT.ini");
    ExpectSale();
    ExpectDefaults();
    ExpectSale();
    EXPECT_TRUE(World().files.IsFolder("SAT.ini"));
}

TEST_F(HostilePlace, AFileThatCannotBeOpenedGivesEveryDefault) {
    WriteIni(DefaultIniWith("SAT_TIMEOUT", "EnviarDadosVenda", "45"));
    World().files.Lock("SAT.ini");
    ExpectSale();
    ExpectDefaults();
    // When it can be read again, its time has not changed: it is not read before somebody changes it.
    World().files.Lock("SAT.ini", false);
    ExpectSale();
    ExpectDefaults();
}

TEST_F(HostilePlace, AFileThatCannotBeReadGivesEveryDefault) {
    WriteIni(ConfigText());
    World().faults.FailAlways(sim::Call::ReadText, 1);
    ExpectSale();
    ExpectDefaults();
}

TEST_F(HostilePlace, KindsOfFilesThatAreNoneGiveEveryDefault) {
    for (const uint32_t kind : {PLAT_MODE_PIPE, PLAT_MODE_CHARACTER, PLAT_MODE_BLOCK, uint32_t{0xC000}}) {
        Reload();
        WriteIni("no setting");
        World().files.SetKind("SAT.ini", kind);
        ExpectSale();
        ExpectDefaults();
    }
}

TEST_F(HostilePlace, SixtyFourMegabytesWithoutAKeyGiveEveryDefault) {
    WriteIni(std::string(64 << 20, 'x'));
    ExpectSale();
    ExpectDefaults();
}

TEST_F(HostilePlace, SettingsBehindSixtyFourMegabytesAreRead) {
    WriteIni(std::string(64 << 20, '\n') + "[SAT_TIMEOUT]\nEnviarDadosVenda=45\n");
    ExpectSale();
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 45);
}

TEST_F(HostilePlace, AFileBeyondAllMeasureIsNotEvenLoaded) {
    std::string text = "[SAT_TIMEOUT]\nEnviarDadosVenda=45\n";
    text.resize(INI_FILE_LARGEST + 1, '\n');
    WriteIni(text);
    ExpectSale();
    ExpectDefaults();
    Reload();
    text.pop_back();
    WriteIni(text);
    ExpectSale();
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 45);
}

TEST_F(HostilePlace, ABinaryFileGivesEveryDefault) {
    std::string binary;
    for (int round = 0; round < 300; ++round)
        for (int byte = 0; byte < 256; ++byte)
            binary += static_cast<char>((byte * 7 + round) % 256);
    WriteIni(binary);
    ExpectSale();
    ExpectDefaults();
    // What stands behind a NUL is not there.
    Reload();
    WriteIni(std::string("\0[SAT_TIMEOUT]\nEnviarDadosVenda=45\n", 36));
    ExpectSale();
    ExpectDefaults();
}

TEST_F(HostilePlace, AFileThatVanishesBetweenTwoCallsLeavesTheSettings) {
    WriteIni(DefaultIniWith("SAT_TIMEOUT", "EnviarDadosVenda", "45"));
    ExpectSale();
    World().files.Remove("SAT.ini");
    ExpectSale();
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 45);
    EXPECT_FALSE(World().files.Exists("SAT.ini"));
    World().clock.Advance(5000);
    WriteIni(DefaultIniWith("SAT_TIMEOUT", "EnviarDadosVenda", "50"));
    ExpectSale();
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 50);
}

TEST_F(HostilePlace, TheSectionsMayStandInAnyOrder) {
    std::vector<std::string> sections;
    for (const ConfigKeyRow& row : ConfigKeys()) {
        if (sections.empty() || !sections.back().starts_with("[" + row.section + "]"))
            sections.push_back("[" + row.section + "]\n");
        // The fixed port and the emulator would lead away from the device, the result files out of the sale.
        const bool leads_away = row.key == "FixarPorta" || row.key == "Enable";
        if (!leads_away) sections.back() += row.key + "=" + row.value + "\n";
    }
    std::sort(sections.begin(), sections.end());
    int orders = 0;
    do {
        Reload();
        WriteIni(std::accumulate(sections.begin(), sections.end(), std::string()));
        ExpectSale();
        EXPECT_STREQ(gl_tSat.strSerialPortConfig, "9600,8,E,2");
        EXPECT_EQ(gl_tSat.iWriteTotalTimeoutConstant, 5000);
        EXPECT_EQ(gl_tSatCmd[2].iTimeout, 103);
        EXPECT_STREQ(gl_tSat.strReceiptPathWindows, "D:\\Cupons");
        EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 1300000);
        ++orders;
    } while (std::next_permutation(sections.begin(), sections.end()));
    EXPECT_EQ(orders, 120);
}

TEST_F(HostilePlace, OfADoubledKeyOrSectionTheFirstCounts) {
    WriteIni(
        "[SAT_TIMEOUT]\nEnviarDadosVenda=45\nEnviarDadosVenda=46\n[LOG]\nLogMode=0\nLogMode=5\n"
        "[SAT_TIMEOUT]\nEnviarDadosVenda=47\nConsultarSAT=48\n[LOG]\nLogFileMaxSize=5\n");
    ExpectSale();
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 45);
    EXPECT_EQ(gl_tSatCmd[4].iTimeout, 10);
    EXPECT_EQ(gl_tLogSettings.iLevelMask, 0);
    EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 800000);
}

TEST_F(HostilePlace, AHundredThousandCharactersInAnyValueDoNotKeepASaleBack) {
    for (size_t at = 0; at < ConfigKeys().size(); ++at) {
        Reload();
        const ConfigKeyRow& row = ConfigKeys()[at];
        // Values that stay usable: a port that is COM7 to whoever cuts behind the last digit, a switch that
        // is on.
        const std::string front = row.key == "FixarPorta" ? "COM7" : row.key == "Enable" ? "0" : "1";
        std::string text =
            "[" + row.section + "]\n" + row.key + "=" + front + std::string(100000, 'w') + "\n";
        WriteIni(text);
        ExpectSale();
        EXPECT_LT(strnlen(gl_tSat.strSerialPortConfig, sizeof gl_tSat.strSerialPortConfig),
                  sizeof gl_tSat.strSerialPortConfig);
        EXPECT_LT(strnlen(gl_tSat.strFixedSerialPort, sizeof gl_tSat.strFixedSerialPort),
                  sizeof gl_tSat.strFixedSerialPort);
    }
}

TEST_F(HostilePlace, AHundredThousandCharactersAreNoSectionAndNoKey) {
    WriteIni("[" + std::string(100000, 'S') + "]\n" + std::string(100000, 'K') + "=" +
             std::string(100000, '=') + "\n[SAT_TIMEOUT]\n" + std::string(100000, ' ') +
             "EnviarDadosVenda=45\n");
    ExpectSale();
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 45);
}

TEST_F(HostilePlace, AFileInPlaceOfTheLogFolderCostsOnlyTheLogs) {
    for (const char mode : {'1', '5'}) {
        Reload();
        WriteIni(DefaultIniWith("LOG", "LogMode", std::string(1, mode)));
        World().files.SetText("Log", "a file");
        ExpectSale();
        ExpectSale();
        EXPECT_EQ(FileText("Log"), "a file");
        EXPECT_EQ(ProtocolLog(), "");
    }
}

TEST_F(HostilePlace, ALogFolderThatTakesNoFileCostsOnlyTheLogs) {
    WriteIni(DefaultIniWith("LOG", "LogMode", "5"));
    World().faults.FailAlways(sim::Call::CreateFolder);
    ExpectSale();
    ExpectSale();
    Reload();
    WriteIni(DefaultIniWith("LOG", "LogMode", "5"));
    for (const char* name : {"Log\\20261120_SAT_api.log", "Log\\20261120_SAT_ProtocolLog.txt"}) {
        World().files.SetText(name, "older");
        World().files.Lock(name);
    }
    ExpectSale();
    ExpectSale();
    EXPECT_EQ(DiagnosticLog() + ProtocolLog(), "olderolder");
}

TEST_F(HostilePlace, AFullDiskCostsOnlyTheLogsAndTheDefaultFile) {
    for (const int64_t room : {0, 1, 100, 5000}) {
        Reload();
        World().files.SetDiskFree(room);
        ExpectSale();
        ExpectSale();
        const std::string ini = FileText("SAT.ini");
        EXPECT_TRUE(ini.empty() || ini == DefaultIni()) << ini;
        Reload();
        WriteIni(DefaultIniWith("LOG", "LogMode", "5"));
        World().files.SetDiskFree(room);
        ExpectSale();
        ExpectSale();
    }
}

TEST_F(HostilePlace, AClockThatIsSetBackOrFarAheadDoesNotMatter) {
    WriteIni(DefaultIniWith("LOG", "LogMode", "5"));
    ExpectSale();
    for (const int year : {2026, 2020, 1999, 1980, 1970, 2038, 2107}) {
        World().clock.SetUtc(year, 1, 1, 0, 0, 0);
        const int64_t before = World().clock.NowUs();
        ExpectSale();
        EXPECT_LT(World().clock.NowUs() - before, 100'000) << year;
    }
}

TEST_F(HostilePlace, AClockThatIsSetBackWhileTheReplyComesDoesNotStretchTheWait) {
    sim::ScriptedDevice script;
    script.ExpectFrame().Ack().Do([](sim::Line& line) {
        for (int second = 1; second < 20; ++second)
            World().clock.After(second * 1'000'000, [] { World().clock.SetUtc(2020, 1, 1, 0, 0, 0); });
        line.SendAfter(25'000'000, sim::MakeFrame(kReply));
    });
    World().ports.Find("\\\\?\\COM7")->Attach(&script);
    EXPECT_STREQ(EnviarDadosVenda(42, "12345678", "<CFe/>"), kReply);
    EXPECT_LT(World().clock.NowUs(), 26'000'000);
}

}  // namespace

/*
 * The fixed port, and what happens to values that do not fit their fields.
 */
#include "config_table.h"
#include "logged_library.h"

namespace {

class FixedPortSetting : public LoggedLibrary {
  protected:
    /** Puts "OLDPORT" into the field and reads the port from a file with this line. */
    static int Read(const std::string& line) {
        WriteIni("[SERIAL_PORT_CONFIG]\n" + line);
        VKO_CopyText(gl_tSat.strFixedSerialPort, sizeof gl_tSat.strFixedSerialPort, "OLDPORT");
        memset(port, '?', sizeof port);
        return GetFixedSerialPort(port);
    }
    static std::string Line(const std::string& tag, const std::string& rest) {
        return tag + " [#]  ../src/api/ZANTIR  GetFixedSerialPort  rc" + rest + "\n";
    }

    static inline char port[128];
};

TEST_F(FixedPortSetting, WithoutABufferItIsAnError) {
    EXPECT_EQ(GetFixedSerialPort(nullptr), -5002);
    EXPECT_EQ(TakeLog(),
              Line("ERR", "[-5002]ER: Ini[SAT.ini]  Session[SERIAL_PORT_CONFIG]  pFixedSerialPort=NULL"));
}

TEST_F(FixedPortSetting, AMissingKeyClearsTheStoredPort) {
    memset(gl_tSat.strSerialPortConfig, 'x', sizeof gl_tSat.strSerialPortConfig);
    EXPECT_EQ(Read("Other=1\n"), 0);
    EXPECT_STREQ(port, "");
    EXPECT_EQ(std::string(gl_tSat.strFixedSerialPort, 32), std::string(32, '\0'));
    // Here the field alone is cleared.
    EXPECT_EQ(gl_tSat.strSerialPortConfig[0], 'x');
    EXPECT_EQ(TakeLog(), Line("INF",
                              "[-305]OK: Ini[SAT.ini]  Session[SERIAL_PORT_CONFIG]  FixarPorta= << NAO "
                              "EXISTIR <DEFAULT>"));
}

TEST_F(FixedPortSetting, AMissingFileOrSectionCountsAsAMissingKey) {
    VKO_CopyText(gl_tSat.strFixedSerialPort, sizeof gl_tSat.strFixedSerialPort, "OLDPORT");
    VKO_CopyText(port, sizeof port, "old");
    EXPECT_EQ(GetFixedSerialPort(port), 0);
    EXPECT_STREQ(port, "");
    EXPECT_STREQ(gl_tSat.strFixedSerialPort, "");
    EXPECT_THAT(TakeLog(), testing::HasSubstr("rc[-301]OK: Ini[SAT.ini]"));
    WriteIni("[OTHER]\nFixarPorta=COM3\n");
    EXPECT_EQ(GetFixedSerialPort(port), 0);
}

TEST_F(FixedPortSetting, AnEmptyKeyClearsTheStoredPortAndReturnsOne) {
    EXPECT_EQ(Read("FixarPorta= = \n"), 1);
    EXPECT_STREQ(port, "");
    EXPECT_EQ(std::string(gl_tSat.strFixedSerialPort, 32), std::string(32, '\0'));
    EXPECT_EQ(TakeLog(), Line("INF",
                              "[0000]OK: Ini[SAT.ini]  Session[SERIAL_PORT_CONFIG]  FixarPorta= << SEM "
                              "VALOR <NAO USAR>"));
}

TEST_F(FixedPortSetting, AValueIsCutBehindItsLastDigit) {
    struct Row {
        const char* value;
        const char* name;
    };
    static const Row rows[] = {{"COM12", "COM12"},
                               {"COM7 x", "COM7"},
                               {"COM7abc", "COM7"},
                               {"COM7;8!", "COM7;8"},
                               {"5", "5"},
                               {"COM", ""},
                               {"/dev/ttyUSB0", "/dev/ttyUSB0"},
                               {"x", ""},
                               {"COM7\xE7\xFF", "COM7"}};
    for (const Row& row : rows) {
        EXPECT_EQ(Read(std::string("FixarPorta=") + row.value + "\n"), static_cast<int>(strlen(row.name)));
        EXPECT_STREQ(port, row.name);
        EXPECT_STREQ(gl_tSat.strFixedSerialPort, row.name);
        EXPECT_EQ(TakeLog(), Line("WRN", std::string("[0000]WR: Ini[SAT.ini]  Session[SERIAL_PORT_CONFIG]  "
                                                     "FixarPorta=") +
                                             row.name + "<< ADICIONADO MANUALMENTE PELO CLIENTE"));
    }
}

TEST_F(FixedPortSetting, TheHintOfTheDefaultFileIsNoValue) {
    WriteIni(DefaultIni());
    EXPECT_EQ(GetFixedSerialPort(port), 0);
}

TEST_F(FixedPortSetting, AValueLongerThanTheFieldIsStoredCutAndReportedOnce) {
    const std::string name = "COM" + std::string(40, '7');
    EXPECT_EQ(Read("FixarPorta=" + name + "\n"), 43);
    EXPECT_EQ(port, name);
    EXPECT_EQ(gl_tSat.strFixedSerialPort, name.substr(0, 31));
    EXPECT_EQ(CountOf(TakeLog(), "TOO LONG"), 1U);
    EXPECT_EQ(Read("FixarPorta=" + name.substr(0, 31) + "\n"), 31);
    EXPECT_EQ(CountOf(TakeLog(), "TOO LONG"), 0U);
}

TEST_F(FixedPortSetting, AValueLongerThanTheBufferIsCutAndReportedOnce) {
    const std::string name = "COM" + std::string(200, '7');
    EXPECT_EQ(Read("FixarPorta=" + name + "\n"), 127);
    EXPECT_EQ(port, name.substr(0, 127));
    EXPECT_EQ(gl_tSat.strFixedSerialPort, name.substr(0, 31));
    EXPECT_EQ(CountOf(TakeLog(), "TOO LONG"), 1U);
}

/** A "SAT.ini" without the key, which nobody has touched for a while. */
class SettledIni : public FixedPortSetting {
  protected:
    void SetUp() override {
        FixedPortSetting::SetUp();
        Write(kWithout);
        World().clock.Advance(kStepMs);
    }
    static void Write(const char* line) { WriteIni(std::string("[SERIAL_PORT_CONFIG]\n") + line); }
    /** The stored port, and whether the file was read for it. */
    static std::pair<std::string, bool> Stored() {
        const size_t before = World().faults.Count(sim::Call::ReadText);
        VKO_CopyText(gl_tSat.strFixedSerialPort, sizeof gl_tSat.strFixedSerialPort, "OLDPORT");
        memset(port, '?', sizeof port);
        GetFixedSerialPort(port);
        EXPECT_STREQ(port, gl_tSat.strFixedSerialPort);
        return {gl_tSat.strFixedSerialPort, World().faults.Count(sim::Call::ReadText) > before};
    }
    /** Behind it a change of the file has another time, whatever the file system. */
    static constexpr int64_t kStepMs = 3000;
    static constexpr bool kRead = true;
    static constexpr char kWithout[] = "Another=12345\n";
    static constexpr char kWith[] = "FixarPorta=C5\n";
};

TEST_F(SettledIni, WithoutTheKeyIsReadAgainOnlyWhenItHasChanged) {
    static_assert(sizeof kWithout == sizeof kWith, "only the time tells the two apart");
    EXPECT_EQ(Stored(), std::pair(std::string(), kRead));
    EXPECT_EQ(TakeLog(), Line("INF",
                              "[-305]OK: Ini[SAT.ini]  Session[SERIAL_PORT_CONFIG]  FixarPorta= << NAO "
                              "EXISTIR <DEFAULT>"));
    EXPECT_EQ(Stored(), std::pair(std::string(), !kRead));
    EXPECT_EQ(TakeLog(), Line("INF",
                              "[-305]OK: Ini[SAT.ini]  Session[SERIAL_PORT_CONFIG]  FixarPorta= << NAO "
                              "EXISTIR <DEFAULT>"));
    Write(kWith);
    EXPECT_EQ(Stored(), std::pair(std::string("C5"), kRead));
    World().clock.Advance(kStepMs);
    EXPECT_EQ(Stored(), std::pair(std::string("C5"), kRead));
    EXPECT_EQ(Stored(), std::pair(std::string("C5"), kRead));
}

TEST_F(SettledIni, OfAnotherSizeIsReadEvenWithTheSameTime) {
    EXPECT_EQ(Stored(), std::pair(std::string(), kRead));
    const int64_t modified = World().files.Modified("SAT.ini");
    Write("FixarPorta=COM5\n");
    World().files.SetModified("SAT.ini", modified);
    EXPECT_EQ(Stored(), std::pair(std::string("COM5"), kRead));
}

TEST_F(SettledIni, IsReadEachTimeWhileAnotherChangeMightNotShow) {
    Write(kWithout);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(Stored(), std::pair(std::string(), kRead)) << i;
        World().clock.Advance(500);
    }
    EXPECT_EQ(Stored(), std::pair(std::string(), kRead));
    EXPECT_EQ(Stored(), std::pair(std::string(), !kRead));
}

TEST_F(SettledIni, IsReadEachTimeWhereSomethingElseIsMissing) {
    for (const char* text : {"[SERIAL_PORT_CONFIG]\nFixarPorta=\n", "[OTHER]\nFixarPorta=C5\n"}) {
        WriteIni(text);
        World().clock.Advance(kStepMs);
        EXPECT_EQ(Stored(), std::pair(std::string(), kRead)) << text;
        EXPECT_EQ(Stored(), std::pair(std::string(), kRead)) << text;
    }
    World().files.Remove("SAT.ini");
    EXPECT_EQ(Stored(), std::pair(std::string(), !kRead));
    Write(kWithout);
    World().files.SetModified("SAT.ini", 0);
    World().faults.FailNth(sim::Call::ReadText, 1);
    EXPECT_EQ(Stored(), std::pair(std::string(), kRead));
    EXPECT_EQ(Stored(), std::pair(std::string(), kRead));
    EXPECT_EQ(Stored(), std::pair(std::string(), !kRead));
}

// ---------------------------------------------------------------------------------- in the pass over all
// keys

TEST_F(FixedPortSetting, TheStateRecordsFieldsStandInTheirOrder) {
    EXPECT_EQ(sizeof gl_tSat.strFixedSerialPort, 32U);
    EXPECT_EQ(gl_tSat.strFixedSerialPort + 32, gl_tSat.strSerialPortConfig);
}

TEST_F(FixedPortSetting, AMissingKeyClears128BytesInThePass) {
    memset(&gl_tSat, 'x', sizeof gl_tSat);
    WriteIni(ConfigText(ConfigStep("FixarPorta")));
    UpdateZantirConfiguration();
    EXPECT_EQ(std::string(gl_tSat.strFixedSerialPort, 32), std::string(32, '\0'));
    // The next step fills the front of the serial parameters again; what is left of them shows how far it
    // went.
    std::string parameters(gl_tSat.strSerialPortConfig, sizeof gl_tSat.strSerialPortConfig);
    EXPECT_EQ(parameters.substr(0, 96), "9600,8,E,2" + std::string(86, '\0'));
    EXPECT_EQ(parameters.substr(96), std::string(32, 'x'));
}

TEST_F(FixedPortSetting, AnEmptyKeyLeavesThePortInThePass) {
    memset(&gl_tSat, 'x', sizeof gl_tSat);
    VKO_CopyText(gl_tSat.strFixedSerialPort, sizeof gl_tSat.strFixedSerialPort, "COM9");
    WriteIni(ConfigText(SIZE_MAX, ConfigStep("FixarPorta"), ""));
    UpdateZantirConfiguration();
    EXPECT_STREQ(gl_tSat.strFixedSerialPort, "COM9");
    EXPECT_EQ(gl_tSat.strSerialPortConfig[127], 'x');
    EXPECT_EQ(GetFixedSerialPort(port), 1);
    EXPECT_STREQ(gl_tSat.strFixedSerialPort, "");
}

TEST_F(FixedPortSetting, ThePassStoresTheValueAsItStands) {
    WriteIni(ConfigText(SIZE_MAX, ConfigStep("FixarPorta"), "COM7 x"));
    UpdateZantirConfiguration();
    EXPECT_STREQ(gl_tSat.strFixedSerialPort, "COM7x");
}

// ------------------------------------------------------------------------------------------- too long values

class LongSettings : public LoggedLibrary {};

TEST_F(LongSettings, EveryTextIsCutToItsFieldAndReportedOnce) {
    struct Row {
        const char* key;
        const char* field;
        size_t size;
    };
    const Row rows[] = {{"FixarPorta", gl_tSat.strFixedSerialPort, 32},
                        {"SerialPortConfig", gl_tSat.strSerialPortConfig, 128},
                        {"PathWindows", gl_tSat.strReceiptPathWindows, 128},
                        {"PathLinux", gl_tSat.strReceiptPathLinux, 128}};
    const std::string longer(5000, 'v');
    for (const Row& row : rows) {
        for (const size_t excess : {size_t{0}, size_t{1}, size_t{4000}}) {
            const std::string value = longer.substr(0, row.size - 1 + excess);
            memset(&gl_tSat, 'x', sizeof gl_tSat);
            WriteIni(ConfigText(SIZE_MAX, ConfigStep(row.key), value));
            EXPECT_EQ(UpdateZantirConfiguration(), 30);
            EXPECT_EQ(std::string(row.field, row.size), value.substr(0, row.size - 1) + '\0') << row.key;
            const std::string log = TakeLog();
            EXPECT_EQ(CountOf(log, "TOO LONG"), excess == 0 ? 0U : 1U) << row.key << " " << excess;
            EXPECT_EQ(CountOf(log, "WRN [#] VKO_GetIniFileValue"), excess == 0 ? 0U : 1U) << row.key;
        }
    }
}

TEST_F(LongSettings, ATooLongLogFolderOrNumberIsReportedOnce) {
    for (const char* key : {"LogFilePath", "LogFileName", "LogFileMaxSize", "LogMode", "EnviarDadosVenda",
                            "WriteTotalTimeoutConstant", "ReadIntervalTimeout", "Enable"}) {
        WriteIni(ConfigText(SIZE_MAX, ConfigStep(key), std::string(300, '1')));
        EXPECT_EQ(UpdateZantirConfiguration(), 30);
        EXPECT_EQ(CountOf(TakeLog(), "TOO LONG"), 1U) << key;
    }
}

}  // namespace

/*
 * What the keys of the configuration do: values, defaults, and the rules that invert what one expects.
 */
#include "config_table.h"
#include "logged_library.h"

namespace {

class ConfigurationValues : public Library {
  protected:
    /** One pass over a file in which one key has this value. */
    static void Set(const std::string& key, const std::string& value, const std::string& section = "") {
        const size_t step = ConfigStep(key, section);
        ASSERT_NE(step, SIZE_MAX);
        WriteIni(ConfigText(SIZE_MAX, step, value));
        ASSERT_EQ(UpdateZantirConfiguration(), 30);
    }
    static void Remove(const std::string& key, const std::string& section = "") {
        WriteIni(ConfigText(ConfigStep(key, section)));
        ASSERT_EQ(UpdateZantirConfiguration(), 30);
    }

    static std::vector<int> Timeouts() {
        std::vector<int> seconds;
        for (const tSatCmd& command : gl_tSatCmd)
            seconds.push_back(command.iTimeout);
        return seconds;
    }
};

/** Built-in reply time-outs in the order of the command table, where 10 is AtualizarSoftwareSAT. */
const std::vector<int> kBuiltIn = {1800, 300, 30, 30, 10, 20, 10, 20, 20, 1800, 1800, 30, 300, 20, 30, 20};

TEST_F(ConfigurationValues, EveryPresentValueTakesEffect) {
    WriteIni(ConfigText());
    UpdateZantirConfiguration();
    EXPECT_STREQ(gl_tSat.strFixedSerialPort, "COM12");
    EXPECT_STREQ(gl_tSat.strSerialPortConfig, "9600,8,E,2");
    EXPECT_EQ(gl_tSat.iWriteTotalTimeoutMultiplier, 4);
    EXPECT_EQ(gl_tSat.iWriteTotalTimeoutConstant, 5000);
    EXPECT_STREQ(gl_tSat.strReceiptPathWindows, "D:\\Cupons");
    EXPECT_STREQ(gl_tSat.strReceiptPathLinux, "/srv/cupons");
    EXPECT_EQ(gl_tSat.iReceiptFilesEnabled, 1);
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 1);
}

TEST_F(ConfigurationValues, TextsFallBackToTheirDefaults) {
    struct Row {
        const char* key;
        const char* field;
        const char* text;
    };
    const Row rows[] = {
        {"SerialPortConfig", gl_tSat.strSerialPortConfig, "115200,8,n,1"},
        {"PathWindows", gl_tSat.strReceiptPathWindows, "C:\\ProgramData\\CupomDesk\\Cupons\\New"},
        {"PathLinux", gl_tSat.strReceiptPathLinux, "/etc/CupomDesk/Cupons/New"}};
    for (const Row& row : rows) {
        memset(&gl_tSat, 'x', sizeof gl_tSat);
        Remove(row.key);
        EXPECT_STREQ(row.field, row.text);
        memset(&gl_tSat, 'x', sizeof gl_tSat);
        Set(row.key, "");
        EXPECT_STREQ(row.field, row.text);
    }
}

TEST_F(ConfigurationValues, BlanksOfTheLineSettingsAreGone) {
    Set("SerialPortConfig", " 9600, 8, N, 1");
    EXPECT_STREQ(gl_tSat.strSerialPortConfig, "9600,8,N,1");
}

TEST_F(ConfigurationValues, OnlyTheNamedTextChangesAReadTimeout) {
    struct Row {
        const char* key;
        uint32_t tSatState::*field;
        const char* named;
        uint32_t otherwise;
    };
    static const Row rows[] = {
        {"ReadIntervalTimeout", &tSatState::uiReadIntervalTimeout, "MAXDWORD", 0xFFFFFFFF},
        {"ReadTotalTimeoutMultiplier", &tSatState::uiReadTotalTimeoutMultiplier, "MAXDWORD", 0xFFFFFFFF},
        {"ReadTotalTimeoutConstant", &tSatState::uiReadTotalTimeoutConstant, "MAXDWORD-10", 0xFFFFFFF5},
    };
    for (const Row& row : rows) {
        gl_tSat.*row.field = 5;
        Set(row.key, row.named);
        EXPECT_EQ(gl_tSat.*row.field, 0U) << row.key;
        for (const char* other :
             {"10", "0", "", "maxdword", "MAXDWORD-1", "MAXDWORDx", "xMAXDWORD", "4294967295"}) {
            gl_tSat.*row.field = 5;
            Set(row.key, other);
            EXPECT_EQ(gl_tSat.*row.field, row.otherwise) << row.key << "=" << other;
        }
        Set(row.key, row.named == std::string("MAXDWORD") ? "MAXDWORD-10" : "MAXDWORD");
        EXPECT_EQ(gl_tSat.*row.field, row.otherwise) << row.key;
        gl_tSat.*row.field = 5;
        Remove(row.key);
        EXPECT_EQ(gl_tSat.*row.field, row.otherwise) << row.key;
    }
    // Blanks are dropped before the comparison.
    Set("ReadIntervalTimeout", " MAX DWORD ");
    EXPECT_EQ(gl_tSat.uiReadIntervalTimeout, 0U);
}

TEST_F(ConfigurationValues, WriteTimeoutsAreDecimalNumbers) {
    struct Row {
        const char* text;
        int32_t number;
    };
    static const Row rows[] = {{"7", 7},
                               {"abc", 0},
                               {"0", 0},
                               {"-3", -3},
                               {"12x", 12},
                               {"", 1},
                               {"99999999999", INT32_MAX},
                               {"-99999999999", INT32_MIN}};
    for (const Row& row : rows) {
        Set("WriteTotalTimeoutMultiplier", row.text);
        EXPECT_EQ(gl_tSat.iWriteTotalTimeoutMultiplier, row.number) << row.text;
        Set("WriteTotalTimeoutConstant", row.text);
        EXPECT_EQ(gl_tSat.iWriteTotalTimeoutConstant, row.number) << row.text;
    }
    gl_tSat.iWriteTotalTimeoutMultiplier = gl_tSat.iWriteTotalTimeoutConstant = 9;
    Remove("WriteTotalTimeoutMultiplier");
    EXPECT_EQ(gl_tSat.iWriteTotalTimeoutMultiplier, 1);
    Remove("WriteTotalTimeoutConstant");
    EXPECT_EQ(gl_tSat.iWriteTotalTimeoutConstant, 1);
}

// ---------------------------------------------------------------------------------------------- reply
// time-outs

TEST_F(ConfigurationValues, OnlyTheFirstSevenReplyTimeoutsCanBeConfigured) {
    EXPECT_EQ(Timeouts(), kBuiltIn);
    WriteIni(ConfigText());
    UpdateZantirConfiguration();
    std::vector<int> expected = kBuiltIn;
    for (size_t i = 0; i < 7; ++i)
        expected[i] = 101 + static_cast<int>(i);
    EXPECT_EQ(Timeouts(), expected);
}

TEST_F(ConfigurationValues, AReplyTimeoutThatIsNotAboveZeroKeepsTheBuiltInOne) {
    for (size_t i = 0; i < 16; ++i) {
        const std::string& key = ConfigKeys()[11 + i].key;
        // Configured names follow the default file, which names ExtrairLogs behind AtualizarSoftwareSAT as
        // the command table does.
        EXPECT_EQ(key, SAT_COMMANDS[i].pName);
        for (const char* value : {"0", "abc", "-5", ""}) {
            Set(key, value);
            EXPECT_EQ(gl_tSatCmd[i].iTimeout, kBuiltIn[i]) << key << "=" << value;
        }
        Remove(key);
        EXPECT_EQ(gl_tSatCmd[i].iTimeout, kBuiltIn[i]) << key;
    }
}

TEST_F(ConfigurationValues, AReplyTimeoutIsTheLeadingNumber) {
    Set("EnviarDadosVenda", "  45 s");
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 45);
    Set("ExtrairLogs", "90");
    EXPECT_EQ(gl_tSatCmd[11].iTimeout, 30);
}

TEST_F(ConfigurationValues, EveryPassStartsFromTheBuiltInTimeouts) {
    Set("EnviarDadosVenda", "45");
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 45);
    Set("EnviarDadosVenda", "abc");
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 30);
    Set("EnviarDadosVenda", "45");
    Remove("EnviarDadosVenda");
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 30);
    for (tSatCmd& command : gl_tSatCmd)
        command.iTimeout = 1;
    Remove("EnviarDadosVenda");
    EXPECT_EQ(gl_tSatCmd[15].iTimeout, 20);
}

TEST_F(ConfigurationValues, AChangedFileTakesEffectAtTheNextCall) {
    WriteIni(DefaultIniWith("SAT_TIMEOUT", "ConsultarSAT", "44"));
    VersaoDllZantir();
    EXPECT_EQ(gl_tSatCmd[4].iTimeout, 44);
    World().clock.Advance(2000);
    WriteIni(DefaultIniWith("SAT_TIMEOUT", "ConsultarSAT", "55"));
    VersaoDllZantir();
    EXPECT_EQ(gl_tSatCmd[4].iTimeout, 55);
    // The same modification time means the same file.
    const int64_t modified = World().files.Modified("SAT.ini");
    WriteIni(DefaultIniWith("SAT_TIMEOUT", "ConsultarSAT", "66"));
    World().files.SetModified("SAT.ini", modified);
    VersaoDllZantir();
    EXPECT_EQ(gl_tSatCmd[4].iTimeout, 55);
}

// ---------------------------------------------------------------------------------------------- switches

TEST_F(ConfigurationValues, ASwitchIsOnWhenItsValueBeginsWithOne) {
    struct Row {
        const char* text;
        int32_t on;
    };
    static const Row rows[] = {{"1", 1}, {"1abc", 1}, {" = 1", 1}, {"0", 0}, {"yes", 0}, {"01", 0}, {"", 0}};
    for (const Row& row : rows) {
        gl_tSat.iReceiptFilesEnabled = gl_tSat.iEmulatorEnabled = 9;
        Set("Enable", row.text, "CUPOM_DESK");
        EXPECT_EQ(gl_tSat.iReceiptFilesEnabled, row.on) << row.text;
        EXPECT_EQ(gl_tSat.iEmulatorEnabled, 1) << row.text;
        Set("Enable", row.text, "SAT_EMULATOR");
        EXPECT_EQ(gl_tSat.iEmulatorEnabled, row.on) << row.text;
        EXPECT_EQ(gl_tSat.iReceiptFilesEnabled, 1) << row.text;
    }
    gl_tSat.iReceiptFilesEnabled = gl_tSat.iEmulatorEnabled = 9;
    Remove("Enable", "CUPOM_DESK");
    EXPECT_EQ(gl_tSat.iReceiptFilesEnabled, 0);
    gl_tSat.iEmulatorEnabled = 9;
    Remove("Enable", "SAT_EMULATOR");
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 0);
}

}  // namespace

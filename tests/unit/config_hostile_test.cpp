/*
 * A configuration file that nobody meant: whatever it holds, the library goes on.
 */
#include <random>

#include "config_table.h"
#include "logged_library.h"

namespace {

class HostileConfiguration : public Library {};

TEST_F(HostileConfiguration, ASaleGoesThroughWithEveryValueTooLong) {
    std::string text;
    for (const ConfigKeyRow& row : ConfigKeys()) {
        // The switches and the log mode stay usable, so that every routine that takes a text runs.
        const bool short_value = row.key == "Enable" || row.key == "LogMode";
        const std::string value = short_value ? row.value : std::string(5000, '7');
        text += "[" + row.section + "]\n";
        for (const ConfigKeyRow& other : ConfigKeys())
            if (other.section == row.section)
                text += other.key + "=" + (&other == &row ? value : other.value) + "\n";
        WriteIni(text);
        text.clear();
        sim::HonestDevice device([](const std::string&) { return "000042|06000|0000|Emitido"; });
        AttachDevice(&device);
        const std::string reply = EnviarDadosVenda(42, "12345678", "<CFe/>");
        EXPECT_TRUE(reply == "000042|06000|0000|Emitido" || reply.starts_with("SAT Erro[")) << reply;
        EXPECT_EQ(World().LiveAllocations(), 0) << row.key;
        EXPECT_EQ(World().files.OpenFiles(), 0U) << row.key;
        Load();
    }
}

TEST_F(HostileConfiguration, ALongLogFolderIsReportedOnceInEachPass) {
    WriteIni(DefaultIniWith("LOG", "LogMode", "5"));
    VersaoDllZantir();
    World().clock.Advance(2000);
    WriteIni("[LOG]\nLogMode=5\nLogFileName=SAT_api.log\nLogFilePath=" + std::string(700, 'p') + "\n");
    World().files.Remove("Log\\20261120_SAT_api.log");
    VersaoDllZantir();
    // The folder is cut to the settings' field, and as it does not exist the log goes on in the current one.
    EXPECT_EQ(gl_tLogSettings.strLogFilePath, std::string(511, 'p'));
    EXPECT_EQ(CountOf(DiagnosticLog() + DiagnosticLog("."), "TOO LONG"), 1U);
}

TEST_F(HostileConfiguration, RandomFilesLeaveTheLibraryInOrder) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        Load();
        std::string text;
        for (size_t left = random() % 60; left > 0; --left) {
            const ConfigKeyRow& row = ConfigKeys()[random() % ConfigKeys().size()];
            switch (random() % 8) {
                case 0:
                    text += "[" + row.section + "]\n";
                    break;
                case 1:
                    text += row.key;
                    break;
                case 2:
                    text += "=" + std::string(random() % 700, static_cast<char>('0' + random() % 75)) + "\n";
                    break;
                case 3:
                    text += static_cast<char>(random() % 256);
                    break;
                case 4:
                    text += "%n%s%s%x";
                    break;
                default:
                    text += "[" + row.section + "]\n" + row.key + "=" + row.value + "\n";
            }
        }
        WriteIni(text);
        VersaoDllZantir();
        const std::string reply = EnviarDadosVenda(1, "12345678", "x");
        // An emulator without a port leaves the command's own text.
        ASSERT_TRUE(reply.starts_with("SAT Erro[") || reply ==
                                                          "\x02"
                                                          "EnviarDadosVenda|000001|12345678|x\x03")
            << reply << testing::PrintToString(text);
        World().clock.Advance(1000);
        WriteIni(text + "\n");
        ASSERT_STREQ(VersaoDllZantir(), "ZANTIR DLL Ver. 02.00");
        ASSERT_EQ(World().LiveAllocations(), 0) << testing::PrintToString(text);
        ASSERT_EQ(World().files.OpenFiles(), 0U);
        ASSERT_EQ(World().ports.OpenCount(), 0U);
        ASSERT_EQ(memchr(gl_tSat.strFixedSerialPort, 0, sizeof gl_tSat.strFixedSerialPort) != nullptr, true);
        ASSERT_EQ(memchr(gl_tSat.strSerialPortConfig, 0, sizeof gl_tSat.strSerialPortConfig) != nullptr,
                  true);
    }
}

}  // namespace

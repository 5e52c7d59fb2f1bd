/*
 * The section LOG of the configuration file and what it makes of the log settings.
 */
#include "logged_library.h"

namespace {

class LogSettings : public Library {
  protected:
    static int Configure(const std::string& section) {
        World().files.SetText("log.ini", "[LOG]\n" + section);
        return VKO_SetIniFileLogMode("SAT_api.log", "log.ini");
    }

    /** The flags in their order, each 0 or 1. */
    static std::string Flags() {
        const tVkoLogFlags& f = gl_tLogFlags;
        std::string text;
        for (const int32_t flag :
             {f.iError, f.iWarning, f.iInfoA, f.iInfoB, f.iTrace, f.iJni, f.iDebug, f.iConsole})
            text += std::to_string(flag);
        return text;
    }

    /** Markers under which the next configuration keeps the flags, so that its own lines are written. */
    static void KeepFlags() {
        gl_tLogSettings.ucStartMarker = 0xAA;
        gl_tLogSettings.ucEndMarker = 0x55;
        gl_tLogFlags.iDebug = 1;
    }

    /** Configures with all lines written, and returns those of the configuration itself, masked. */
    static std::string LinesOf(const std::string& section) {
        World().files.MakeFolder("Log");
        VKO_CopyText(gl_tLogSettings.strLogFilePath, sizeof gl_tLogSettings.strLogFilePath, "Log");
        gl_pLogBaseName = "SAT_api.log";
        World().files.Remove("Log\\20261120_SAT_api.log");
        KeepFlags();
        Configure("LogFilePath=Log\n" + section);
        std::string lines;
        const std::string log = MaskTimesAndLines(DiagnosticLog());
        for (size_t at = 0; at < log.size();) {
            const size_t end = log.find('\n', at) + 1;
            const std::string line = log.substr(at, end - at);
            if (line.find("VKO_SetIniFileLogMode") != std::string::npos) lines += line;
            at = end;
        }
        return lines;
    }

    static std::string Line(const std::string& rest) {
        return " [#] ../src/vko_utils/vko_utils VKO_SetIniFileLogMode rc" + rest + "\n";
    }
};

TEST_F(LogSettings, TheFirstCharacterOfLogModeSetsOneFlagAndTheMask) {
    struct Row {
        const char* value;
        int mask;
        const char* flags;
    };
    static const Row rows[] = {{"0", 0, "00000000"},    {"1", 1, "10000000"},  {"2", 3, "01000000"},
                               {"3", 7, "00010000"},    {"4", 15, "00001000"}, {"5", 31, "00000010"},
                               {"", 1, "10000000"},     {"6", 1, "10000000"},  {"x", 1, "10000000"},
                               {"-5", 1, "10000000"},   {"0x", 0, "00000000"}, {"59", 31, "00000010"},
                               {"2abc", 3, "01000000"}, {"=3", 7, "00010000"}, {" 4", 15, "00001000"}};
    for (const Row& row : rows) {
        Load();
        EXPECT_EQ(Configure(std::string("LogMode=") + row.value + "\n"), row.mask) << row.value;
        EXPECT_EQ(gl_tLogSettings.iLevelMask, row.mask) << row.value;
        EXPECT_EQ(Flags(), row.flags) << row.value;
    }
}

TEST_F(LogSettings, EachModeIsReportedInItsOwnWords) {
    struct Row {
        const char* value;
        int mask;
        const char* words;
    };
    static const Row rows[] = {{"0", 0, "DISABLED!"},
                               {"1", 1, "ERROR_LOGS_ENABLED"},
                               {"2", 3, "WARNING_LOGS_ENABLED"},
                               {"3", 7, "INFO_LOGS_ENABLED"},
                               {"4", 15, "TRACE_LOGS_ENABLED"},
                               {"5", 31, "DEBUG_LOGS_ENABLED"},
                               {"7", 1, "ERROR_LOGS_ENABLED<DEFAULT>"}};
    for (const Row& row : rows) {
        Load();
        const std::string lines =
            LinesOf(std::string("LogFileName=long.log\nLogFileMaxSize=1\nLogMode=") + row.value + "\n");
        char code[32];
        VKO_FormatText(code, sizeof code, "[%04d]", row.mask);
        EXPECT_EQ(lines, "WRN" + Line(code + std::string("WR FileName[log.ini] Session[LOG] item[LogMode=") +
                                      row.value + "]" + row.words));
    }
}

TEST_F(LogSettings, TheFlagIsSetBeforeItsReportIsWritten) {
    World().files.MakeFolder("Log");
    EXPECT_EQ(Configure("LogMode=2\nLogFilePath=Log\n"), 3);
    EXPECT_EQ(MaskTimesAndLines(DiagnosticLog()),
              "WRN" + Line("[0003]WR FileName[log.ini] Session[LOG] item[LogMode=2]WARNING_LOGS_ENABLED"));
    World().files.Remove("Log\\20261120_SAT_api.log");
    EXPECT_EQ(Configure("LogMode=1\nLogFilePath=Log\n"), 1);
    EXPECT_EQ(DiagnosticLog(), "");
}

TEST_F(LogSettings, TheDefaultsOfMissingKeysApplyAndAreReported) {
    const std::string missing = LinesOf("#\n");
    EXPECT_STREQ(gl_tLogSettings.strLogFileName, "SAT_api.log");
    EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 800000);
    EXPECT_EQ(gl_tLogSettings.iLevelMask, 1);
    const std::string front = "[-305]ER FileName[log.ini] Session[LOG] item[";
    EXPECT_EQ(missing, "ERR" + Line(front + "LogFileName=SAT_api.log]<DEFAULT>") + "ERR" +
                           Line(front + "LogFileMaxSize=800000]<DEFAULT>") + "ERR" +
                           Line(front + "LogMode=1]<DEFAULT>"));
}

TEST_F(LogSettings, AMissingFolderKeyMeansLog) {
    LinesOf("");
    World().files.Remove("Log\\20261120_SAT_api.log");
    KeepFlags();
    EXPECT_EQ(Configure("LogMode=5\n"), 31);
    EXPECT_STREQ(gl_tLogSettings.strLogFilePath, "Log");
    EXPECT_THAT(MaskTimesAndLines(DiagnosticLog()),
                testing::HasSubstr(
                    "ERR" + Line("[-305]ER FileName[log.ini] Session[LOG] item[LogFilePath=Log]<DEFAULT>")));
}

TEST_F(LogSettings, AnEmptyFolderKeyIsAnEmptyFolder) {
    EXPECT_EQ(Configure("LogFilePath=\nLogMode=5\n"), 31);
    EXPECT_STREQ(gl_tLogSettings.strLogFilePath, "");
}

TEST_F(LogSettings, ALogNameOfThreeCharactersOrLessFallsBackToTheDefaultName) {
    for (const char* name : {"", "a", "a.b"}) {
        const std::string lines =
            LinesOf("LogFileName=" + std::string(name) + "\nLogFileMaxSize=1\nLogMode=5\n");
        EXPECT_STREQ(gl_tLogSettings.strLogFileName, "SAT_api.log") << name;
        EXPECT_THAT(lines,
                    testing::StartsWith(
                        "WRN" + Line("[0000]WR FileName[log.ini] Session[LOG] item[LogFileName=SAT_api.log]"
                                     "<DEFAULT>")));
    }
    EXPECT_THAT(LinesOf("LogFileName=ab.c\nLogFileMaxSize=1\nLogMode=5\n"),
                testing::Not(testing::HasSubstr("LogFileName")));
    EXPECT_STREQ(gl_tLogSettings.strLogFileName, "ab.c");
}

TEST_F(LogSettings, ASizeLimitThatIsNoPositiveNumberIsReportedWithoutItsBracket) {
    for (const char* value : {"abc", "0", "-5", ""}) {
        const std::string lines =
            LinesOf("LogFileName=long.log\nLogFileMaxSize=" + std::string(value) + "\nLogMode=5\n");
        EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 800000) << value;
        EXPECT_THAT(lines, testing::StartsWith(
                               "WRN" + Line("[0000]WR FileName[log.ini] Session[LOG] item[LogFileMaxSize=" +
                                            std::string(value) + "<DEFAULT>")));
    }
}

TEST_F(LogSettings, TheSizeLimitIsTheLeadingNumber) {
    struct Row {
        const char* value;
        int32_t size;
    };
    static const Row rows[] = {{"1", 1},
                               {"123abc", 123},
                               {"1 0 0", 100},
                               {"+7", 7},
                               {"2147483647", INT32_MAX},
                               {"99999999999999999999", INT32_MAX},
                               {"1300000", 1300000}};
    for (const Row& row : rows) {
        EXPECT_THAT(
            LinesOf("LogFileName=long.log\nLogFileMaxSize=" + std::string(row.value) + "\nLogMode=5\n"),
            testing::Not(testing::HasSubstr("LogFileMaxSize")));
        EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, row.size) << row.value;
    }
}

TEST_F(LogSettings, WithoutAFileNameEveryDefaultApplies) {
    Configure("LogFilePath=Log\nLogMode=5\n");
    World().files.MakeFolder("Log");
    EXPECT_EQ(VKO_SetIniFileLogMode("SAT_api.log", nullptr), -300);
    // The flags are cleared behind the first line, and the error flag is set in front of the last.
    EXPECT_EQ(MaskTimesAndLines(DiagnosticLog()),
              "ERR" + Line("[-300]ER pIniFileName=NULL") + "ERR" +
                  Line("[-300]ER FileName[(null)] Session[LOG] item[LogMode=1]<DEFAULT>"));
    EXPECT_STREQ(gl_tLogSettings.strLogFilePath, "Log");
    EXPECT_STREQ(gl_tLogSettings.strLogFileName, "SAT_api.log");
    EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 800000);
    EXPECT_EQ(gl_tLogSettings.iLevelMask, 1);
    EXPECT_EQ(Flags(), "10000000");
}

TEST_F(LogSettings, AMissingFileReturnsTheReadersCode) {
    EXPECT_EQ(VKO_SetIniFileLogMode("SAT_api.log", "missing.ini"), -301);
    World().files.SetText("other.ini", "[OTHER]\n");
    EXPECT_EQ(VKO_SetIniFileLogMode("SAT_api.log", "other.ini"), -304);
    EXPECT_EQ(Configure("LogFilePath=x\n"), -305);
    EXPECT_EQ(gl_tLogSettings.iLevelMask, 1);
    EXPECT_EQ(Flags(), "10000000");
}

TEST_F(LogSettings, EveryConfigurationStartsAnewBecauseOfTheEndMarker) {
    Configure("LogFilePath=first\nLogFileName=first.log\nLogFileMaxSize=5\nLogMode=5\n");
    EXPECT_EQ(gl_tLogSettings.ucStartMarker, 0xAA);
    EXPECT_EQ(gl_tLogSettings.ucEndMarker, 0xAA);
    gl_tLogFlags.iInfoA = gl_tLogFlags.iJni = gl_tLogFlags.iConsole = 1;
    memset(gl_tLogSettings.strLogFilePath, 'x', sizeof gl_tLogSettings.strLogFilePath);
    EXPECT_EQ(Configure("LogMode=4\nLogFilePath=y\n"), 15);
    EXPECT_EQ(Flags(), "00001000");
    EXPECT_EQ(gl_tLogSettings.strLogFilePath[511], '\0');
    EXPECT_STREQ(gl_tLogSettings.strLogFileName, "SAT_api.log");
    EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 800000);
}

TEST_F(LogSettings, OnlyTheMarkersAaAnd55KeepTheFlags) {
    Configure("LogMode=1\n");
    KeepFlags();
    Configure("LogMode=1\n");
    EXPECT_EQ(Flags(), "10000010");
    KeepFlags();
    gl_tLogSettings.ucStartMarker = 0x55;
    Configure("LogMode=1\n");
    EXPECT_EQ(Flags(), "10000000");
}

TEST_F(LogSettings, TheFirstArgumentBecomesTheDefaultLogName) {
    EXPECT_STREQ(gl_pLogBaseName, "vko_utils.log");
    EXPECT_EQ(VKO_SetIniFileLogMode(nullptr, "missing.ini"), -301);
    EXPECT_STREQ(gl_pLogBaseName, "vko_utils.log");
    EXPECT_STREQ(gl_tLogSettings.strLogFileName, "vko_utils.log");
    EXPECT_EQ(VKO_SetIniFileLogMode("mine.log", "missing.ini"), -301);
    EXPECT_STREQ(gl_pLogBaseName, "mine.log");
    EXPECT_STREQ(gl_tLogSettings.strLogFileName, "mine.log");
}

TEST_F(LogSettings, TheTimeOfTheConfigurationIsKeptUnlessTheModeCouldNotBeRead) {
    for (const char* mode : {"0", "1", "5", "x"}) {
        Configure("LogMode=" + std::string(mode) + "\n");
        EXPECT_EQ(gl_tLogSettings.uiConfigTick, VKO_GetTickOfDay()) << mode;
    }
    Configure("LogFilePath=Log\n");
    EXPECT_EQ(gl_tLogSettings.uiConfigTick, 0U);
}

TEST_F(LogSettings, AnyModeButTwoClearsTheWarningFlag) {
    for (const char* mode : {"0", "1", "3", "4", "5", "x"}) {
        KeepFlags();
        gl_tLogFlags.iWarning = 1;
        Configure("LogMode=" + std::string(mode) + "\n");
        EXPECT_EQ(gl_tLogFlags.iWarning, 0) << mode;
    }
    KeepFlags();
    gl_tLogFlags.iWarning = 1;
    Configure("LogMode=2\n");
    EXPECT_EQ(gl_tLogFlags.iWarning, 1);
    // An unreadable mode ends the configuration before that step.
    KeepFlags();
    Configure("LogFilePath=Log\n");
    EXPECT_EQ(gl_tLogFlags.iWarning, 1);
}

TEST_F(LogSettings, ValuesLongerThanTheirFieldsAreCutAndReportedOnce) {
    const std::string path(600, 'p');
    const std::string name(600, 'n');
    LinesOf("LogMode=5\n");
    World().files.Remove("Log\\20261120_SAT_api.log");
    KeepFlags();
    Configure("LogFilePath=" + path + "\nLogFileName=" + name + "\nLogFileMaxSize=1\nLogMode=5\n");
    EXPECT_EQ(gl_tLogSettings.strLogFilePath, path.substr(0, 511));
    EXPECT_EQ(gl_tLogSettings.strLogFileName, name.substr(0, 511));
    // The folder is missing, so its own line still stands in the old one and all others in the current one.
    const std::string log = DiagnosticLog() + DiagnosticLog(".");
    EXPECT_EQ(CountOf(log, "TOO LONG"), 2U) << log;
    EXPECT_EQ(CountOf(log, "]WRN"), 3U) << log;
}

TEST_F(LogSettings, AValueThatJustFitsIsNotReported) {
    LinesOf("LogMode=5\n");
    KeepFlags();
    Configure("LogFilePath=Log\nLogFileName=" + std::string(511, 'n') + "\nLogFileMaxSize=1\nLogMode=5\n");
    EXPECT_EQ(strlen(gl_tLogSettings.strLogFileName), 511U);
    EXPECT_THAT(DiagnosticLog(), testing::Not(testing::HasSubstr("TOO LONG")));
}

TEST_F(LogSettings, TheTickOfTheDayAddsTheBareDayNumber) {
    World().clock.SetUtc(2026, 3, 31, 23, 59, 58, 999);
    EXPECT_EQ(VKO_GetTickOfDay(), 999U + 1000 * 58 + 60000 * 59 + 3600000 * 23 + 31 + 86400000);
    World().clock.SetUtc(2026, 3, 1, 0, 0, 0, 0);
    EXPECT_EQ(VKO_GetTickOfDay(), 86400001U);
    // UTC, whatever the machine's zone.
    World().clock.SetZone(600);
    EXPECT_EQ(VKO_GetTickOfDay(), 86400001U);
}

}  // namespace

/*
 * The diagnostic log's size control: what is measured, what is moved, and under which name.
 */
#include "logged_library.h"

namespace {

class LogSize : public LoggedLibrary {
  protected:
    static constexpr const char* kLog = "Log\\20261120_SAT_api.log";

    static std::string Backup(const std::string& number) { return kLog + ("_bkp_" + number + ".log"); }

    /** A log of `size` bytes under a limit of 100. */
    static void GrowLog(size_t size, const std::string& path = kLog) {
        gl_tLogSettings.iLogFileMaxSize = 100;
        World().files.SetText(path, std::string(size, 'x'));
    }
};

TEST_F(LogSize, ALogUpToTheLimitStays) {
    GrowLog(100);
    EXPECT_EQ(TraleFileLogSzCtl(), 100);
    EXPECT_EQ(FileText(kLog), std::string(100, 'x'));
    EXPECT_EQ(World().faults.Count(sim::Call::MoveFile), 0U);
}

TEST_F(LogSize, AMissingLogMeasuresMinusOne) {
    EXPECT_EQ(TraleFileLogSzCtl(), -1);
    EXPECT_EQ(TakeLog(), "");
}

/** A log that is missing from a folder that has not changed for a while. */
class MissingLog : public LogSize {
  protected:
    void SetUp() override {
        LogSize::SetUp();
        gl_tLogSettings.iLogFileMaxSize = 100;
        World().clock.Advance(kStepMs);
        EXPECT_EQ(Measured(), std::pair(-1, kLooked));
    }
    /** What the size control measures, and whether it looked at more than the folder for that. */
    static std::pair<int, bool> Measured() {
        const size_t before = World().faults.Count(sim::Call::FileQuery);
        const int size = TraleFileLogSzCtl();
        return {size, World().faults.Count(sim::Call::FileQuery) > before + 1};
    }
    /** Behind it a change of the folder has another time. */
    static constexpr int64_t kStepMs = 3000;
    static constexpr bool kLooked = true;
};

TEST_F(MissingLog, IsLookedForAgainOnlyWhenItsFolderHasChanged) {
    EXPECT_EQ(Measured(), std::pair(-1, !kLooked));
    World().clock.Advance(60000);
    EXPECT_EQ(Measured(), std::pair(-1, !kLooked));
    GrowLog(7);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Measured(), std::pair(7, kLooked)) << i;
    World().files.Remove(kLog);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Measured(), std::pair(-1, kLooked)) << i;
    World().clock.Advance(kStepMs);
    EXPECT_EQ(Measured(), std::pair(-1, kLooked));
    EXPECT_EQ(Measured(), std::pair(-1, !kLooked));
}

TEST_F(MissingLog, IsLookedForBehindEachLineWhateverTheFoldersTime) {
    const int64_t changed = World().files.Modified("Log");
    UTIL_LOG(VKO_LOG_ERR, "a line of its own%s\n", "");
    World().files.SetModified("Log", changed);
    const auto [size, looked] = Measured();
    EXPECT_GT(size, 0);
    EXPECT_TRUE(looked);
}

TEST_F(MissingLog, IsLookedForUnderEachName) {
    World().files.SetText("Log\\20261121_SAT_api.log", "12");
    World().clock.Advance(kStepMs);
    EXPECT_EQ(Measured(), std::pair(-1, kLooked));
    World().clock.SetUtc(2026, 11, 21, 0, 0, 0, 0);
    EXPECT_EQ(Measured(), std::pair(2, kLooked));
}

TEST_F(MissingLog, IsLookedForEachTimeWhereItsFolderIsAnother) {
    // The size control looks below the current folder all the same.
    for (const char* folder : {"C:\\logs", "\\logs"}) {
        World().files.MakeFolder(folder);
        World().clock.Advance(kStepMs);
        VKO_CopyText(gl_tLogSettings.strLogFilePath, sizeof gl_tLogSettings.strLogFilePath, folder);
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(Measured(), std::pair(-1, kLooked)) << folder;
    }
    VKO_CopyText(gl_tLogSettings.strLogFilePath, sizeof gl_tLogSettings.strLogFilePath, "Log");
    VKO_CopyText(gl_tLogSettings.strLogFileName, sizeof gl_tLogSettings.strLogFileName, "sub\\a.log");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Measured(), std::pair(-1, kLooked)) << i;
}

TEST_F(MissingLog, IsLookedForEachTimeInTheCurrentFolder) {
    World().files.Remove("Log");
    for (int i = 0; i < 3; ++i) {
        // The folder is asked for too, in vain.
        EXPECT_EQ(Measured(), std::pair(-1, kLooked)) << i;
        World().clock.Advance(kStepMs);
    }
}

TEST_F(LogSize, AnOversizedLogIsReportedAndMoved) {
    GrowLog(101);
    EXPECT_EQ(TraleFileLogSzCtl(), -1);
    EXPECT_FALSE(World().files.Exists(kLog));
    EXPECT_EQ(MaskTimesAndLines(FileText(Backup("00")).substr(101)),
              "WRN [#] [../src/vko_utils/vko_utils] [TraleFileLogSzCtl]\n"
              "\t     strTraceFileName[.\\Log\\20261120_SAT_api.log]MOVE:OLD\n"
              "\t strTmpBkpLogFileName[.\\Log\\20261120_SAT_api.log_bkp_00.log]MOVE:NEW\n");
}

TEST_F(LogSize, TheFirstFreeBackupNumberIsTaken) {
    World().files.SetText(Backup("00"), "a");
    World().files.SetText(Backup("01"), "b");
    World().files.SetText(Backup("03"), "d");
    GrowLog(101);
    TraleFileLogSzCtl();
    EXPECT_TRUE(World().files.Exists(Backup("02")));
    // The search starts at 0 each time.
    World().files.Remove(Backup("00"));
    GrowLog(101);
    TraleFileLogSzCtl();
    EXPECT_TRUE(World().files.Exists(Backup("00")));
    EXPECT_EQ(FileText(Backup("01")), "b");
}

TEST_F(LogSize, BeyondNinetyNineTheNumberHasThreeDigits) {
    for (int i = 0; i < 101; ++i) {
        char number[16];
        VKO_FormatText(number, sizeof number, "%02d", i);
        World().files.SetText(Backup(number), "x");
    }
    GrowLog(101);
    EXPECT_EQ(TraleFileLogSzCtl(), -1);
    EXPECT_TRUE(World().files.Exists(Backup("101")));
    EXPECT_FALSE(World().files.Exists(kLog));
}

TEST_F(LogSize, AnEmptyBackupIsTheNameButTheSystemDoesNotMoveOntoIt) {
    World().files.SetText(Backup("00"), "");
    GrowLog(101);
    World().faults.TraceOn({sim::Call::MoveFile});
    EXPECT_EQ(TraleFileLogSzCtl(), 0);
    EXPECT_THAT(World().faults.trace,
                testing::ElementsAre(
                    "MoveFile .\\Log\\20261120_SAT_api.log .\\Log\\20261120_SAT_api.log_bkp_00.log"));
    EXPECT_TRUE(World().files.Exists(kLog));
    EXPECT_FALSE(World().files.Exists(Backup("01")));
}

TEST_F(LogSize, AMoveThatIsRefusedLeavesTheLog) {
    GrowLog(101);
    World().faults.FailAlways(sim::Call::MoveFile);
    EXPECT_EQ(TraleFileLogSzCtl(), -1);
    EXPECT_GT(World().files.Size(kLog), 101);
}

TEST_F(LogSize, TheNameOfTheSettingsIsMeasuredAndTheDefaultNameLogged) {
    VKO_CopyText(gl_tLogSettings.strLogFileName, sizeof gl_tLogSettings.strLogFileName, "other.log");
    GrowLog(500);
    GrowLog(101, "Log\\20261120_other.log");
    TraleFileLogSzCtl();
    EXPECT_EQ(FileText("Log\\20261120_other.log_bkp_00.log"), std::string(101, 'x'));
    EXPECT_FALSE(World().files.Exists(Backup("00")));
    EXPECT_THAT(FileText(kLog).substr(500), testing::HasSubstr("MOVE:NEW\n"));
}

TEST_F(LogSize, TheLogOfTheUtcDayIsMeasured) {
    // Still the 20th on the machine's own clock.
    World().clock.SetUtc(2026, 11, 21, 1, 0, 0);
    GrowLog(101);
    EXPECT_EQ(TraleFileLogSzCtl(), -1);
    EXPECT_TRUE(World().files.Exists(kLog));
    GrowLog(101, "Log\\20261121_SAT_api.log");
    TraleFileLogSzCtl();
    EXPECT_TRUE(World().files.Exists("Log\\20261121_SAT_api.log_bkp_00.log"));
}

TEST_F(LogSize, ALogInTheCurrentFolderIsMovedThere) {
    World().files.Remove("Log");
    GrowLog(101, "20261120_SAT_api.log");
    TraleFileLogSzCtl();
    EXPECT_TRUE(World().files.Exists("20261120_SAT_api.log_bkp_00.log"));
    EXPECT_FALSE(World().files.Exists("20261120_SAT_api.log"));
}

TEST_F(LogSize, ALogInAFolderWithADriveOrFromTheRootIsNeverMoved) {
    for (const char* folder : {"C:\\logs", "/logs"}) {
        LoadAtMode('5');
        World().files.MakeFolder(folder);
        VKO_CopyText(gl_tLogSettings.strLogFilePath, sizeof gl_tLogSettings.strLogFilePath, folder);
        const std::string log = folder + std::string("\\20261120_SAT_api.log");
        GrowLog(101, log);
        World().faults.TraceOn({sim::Call::FileQuery});
        EXPECT_EQ(TraleFileLogSzCtl(), -1);
        EXPECT_THAT(World().faults.trace, testing::Contains(".\\" + log).Times(0));
        EXPECT_THAT(World().faults.trace, testing::Contains("FileQuery .\\" + log));
        EXPECT_EQ(World().files.Size(log), 101);
    }
}

TEST_F(LogSize, TheLimitIsComparedWithItsSign) {
    GrowLog(1);
    gl_tLogSettings.iLogFileMaxSize = -1;
    EXPECT_EQ(TraleFileLogSzCtl(), -1);
    EXPECT_TRUE(World().files.Exists(Backup("00")));
    World().files.Remove("Log\\20261120_SAT_api.log_bkp_00.log");
    // A missing log is not above a limit of -1.
    EXPECT_EQ(TraleFileLogSzCtl(), -1);
    EXPECT_EQ(World().files.List("Log"), std::vector<std::string>());
}

TEST_F(LogSize, EveryExportAfterTheFirstRunsTheControl) {
    Load();
    World().files.MakeFolder("Log");
    WriteIni("[LOG]\nLogFilePath=Log\nLogFileMaxSize=100\nLogMode=5\n");
    VersaoDllZantir();
    ASSERT_FALSE(World().files.Exists(Backup("00")));
    VersaoDllZantir();
    EXPECT_TRUE(World().files.Exists(Backup("00")));
}

}  // namespace

/*
 * The protocol log's file: where it lies, when it is opened and closed, and what happens when it cannot be.
 */
#include "logged_library.h"

namespace {

/** The descriptor as a program finds it that has made no call yet. */
const int32_t kDescriptorAtLoad = gl_iFd;

class ProtocolFile : public LoggedLibrary {
  protected:
    static constexpr const char* kFrame =
        "\x02"
        "a\x61\x03";
    static constexpr const char* kLine = "20261120120405 PC->SAT >> [<02>a<61><03>]OK:a\n";

    static void SetLogFolder(const std::string& folder) {
        VKO_CopyText(gl_tLogSettings.strLogFilePath, sizeof gl_tLogSettings.strLogFilePath, folder.c_str());
    }
    static std::string Create(const std::string& tag, const std::string& rest) {
        return Api(tag, "CreateSAT_ProtLogFile") + rest + "\n";
    }
    static std::string Message(const std::string& rest) {
        return Api("WRN", "LogSATProtocolMsg") + rest + "\n";
    }

    /** The line about a packet's good frame. */
    static std::string GoodFrame() {
        return Message("All WR\n\t iSatPkgLen[00000004]\n\t pSatPkt[iSatPkgLen-1]=[03h]Rcvd ETX");
    }
    static std::string Existing(const std::string& function = "VKO_Exist") {
        return "INF [#] " + function +
               "  rc[000001]OK:S_IFDIR is directory         st_mode[000041FFh] & S_IFMT[0000F000h] return 1\n";
    }
    static std::string Updated(const std::string& folder) {
        return Create("WRN", "---  gl_tSat.strSatProtLogFilePath[" + folder + "]UPDATED");
    }
};

// ---------------------------------------------------------------------------------------------- the folder

TEST(ProtocolFileAtLoad, IsNotOpen) {
    EXPECT_EQ(kDescriptorAtLoad, 0);
}

TEST_F(ProtocolFile, TheFolderFollowsTheDiagnosticLogs) {
    World().files.MakeFolder("other");
    struct Step {
        const char* configured;
        const char* folder;
        bool updated;
    };
    // An empty folder is "Log" too, and a folder that stays is not reported again.
    static const Step steps[] = {{"Log", "Log", true},      {"Log", "Log", false}, {"other", "other", true},
                                 {"other", "other", false}, {"", "Log", true},     {"Log", "Log", false}};
    for (const Step& step : steps) {
        SetLogFolder(step.configured);
        TakeLog();
        TakeLog("other");
        World().files.Remove("20261120_SAT_api.log");
        CreateSAT_ProtLogFile();
        EXPECT_STREQ(gl_tSat.strSatProtLogFilePath, step.folder);
        const std::string log =
            TakeLog() + TakeLog("other") + MaskTimesAndLines(FileText("20261120_SAT_api.log"));
        EXPECT_EQ(CountOf(log, Updated(step.folder)), step.updated ? 1U : 0U) << log;
        EXPECT_EQ(CountOf(log, "UPDATED"), step.updated ? 1U : 0U) << log;
    }
}

TEST_F(ProtocolFile, TheFolderFollowsEvenWhileLoggingIsDisabled) {
    gl_tLogSettings.iLevelMask = 0;
    SetLogFolder("other");
    CreateSAT_ProtLogFile();
    EXPECT_STREQ(gl_tSat.strSatProtLogFilePath, "other");
    EXPECT_EQ(gl_iFd, 0);
    EXPECT_FALSE(World().files.Exists("other"));
    EXPECT_EQ(World().faults.Count(sim::Call::AppendOpen), 0U);
}

TEST_F(ProtocolFile, AMissingFolderIsCreated) {
    World().files.Remove("Log");
    CreateSAT_ProtLogFile();
    EXPECT_TRUE(World().files.IsFolder("Log"));
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_EQ(ProtocolLog(), kLine);
}

TEST_F(ProtocolFile, AFolderThatCannotBeCreatedIsReportedTwiceOver) {
    SetLogFolder("other");
    World().faults.FailAlways(sim::Call::CreateFolder);
    CreateSAT_ProtLogFile();
    EXPECT_EQ(gl_iFd, 0);
    EXPECT_EQ(World().faults.Count(sim::Call::AppendOpen), 0U);
    EXPECT_EQ(MaskTimesAndLines("[00:00:00.000]ERR " + World().printed),
              "ERR [#] [../src/api/ZANTIR] [CreateSAT_ProtLogFile]--- rc[-0005]ER "
              "gl_tSat.strSatProtLogFilePath[other]\n");
    EXPECT_EQ(MaskTimesAndLines(FileText("20261120_SAT_api.log"))
                  .substr(MaskTimesAndLines(FileText("20261120_SAT_api.log")).rfind("ERR")),
              Create("ERR", "---   rc[-00005]ER: dir[other]Not Created!!!!!!!!!"));
}

TEST_F(ProtocolFile, AFileInPlaceOfTheFolderIsReportedToo) {
    World().files.SetText("other", "x");
    SetLogFolder("other");
    CreateSAT_ProtLogFile();
    EXPECT_EQ(gl_iFd, 0);
    EXPECT_THAT(World().printed,
                testing::HasSubstr("--- rc[-0004]ER gl_tSat.strSatProtLogFilePath[other]\n"));
    EXPECT_THAT(FileText("20261120_SAT_api.log"),
                testing::HasSubstr("---   rc[-00004]ER: dir[other]Not Created!!!!!!!!!\n"));
}

TEST_F(ProtocolFile, AFolderLongerThanItsFieldIsCutAndReportedOnce) {
    const std::string folder(300, 'f');
    SetLogFolder(folder);
    CreateSAT_ProtLogFile();
    EXPECT_EQ(gl_tSat.strSatProtLogFilePath, folder.substr(0, 199));
    EXPECT_EQ(strlen(gl_tSat.strSatProtLogFileName), 199U);
    const std::string warning = "LogFilePath[" + folder + "]TOO LONG, CUT\n";
    CreateSAT_ProtLogFile();
    const std::string log = FileText("20261120_SAT_api.log");
    EXPECT_EQ(CountOf(log, warning), 1U);
    EXPECT_EQ(CountOf(log, "TOO LONG"), 1U);
}

// ------------------------------------------------------------------------------------------------ the file

TEST_F(ProtocolFile, OpeningIsReportedWithDescriptorAndName) {
    World().faults.TraceOn({sim::Call::AppendOpen});
    CreateSAT_ProtLogFile();
    EXPECT_EQ(gl_iFd, 3);
    EXPECT_STREQ(gl_tSat.strSatProtLogFileName, "Log\\20261120_SAT_ProtocolLog.txt");
    EXPECT_THAT(World().faults.trace, testing::ElementsAre("AppendOpen Log\\20261120_SAT_ProtocolLog.txt"));
    EXPECT_EQ(TakeLog(), Updated("Log") + Existing() +
                             Create("INF",
                                    "---  rc[000000]OK:logFd[00000003h] "
                                    "pcLogName[Log\\20261120_SAT_ProtocolLog.txt]Created!!!"));
    EXPECT_EQ(World().printed, "");
}

TEST_F(ProtocolFile, AnOpenFileIsPrintedAndLeftAlone) {
    CreateSAT_ProtLogFile();
    TakeLog();
    CreateSAT_ProtLogFile();
    EXPECT_EQ(gl_iFd, 3);
    EXPECT_EQ(World().faults.Count(sim::Call::AppendOpen), 1U);
    EXPECT_EQ(TakeLog(), Existing());
    EXPECT_EQ(MaskTimesAndLines("[00:00:00.000]ERR " + World().printed),
              "ERR [#] [../src/api/ZANTIR] [CreateSAT_ProtLogFile]--- rc[00000] "
              "gl_tSat.strSatProtLogFilePath[Log] gl_iFd[00000003h]\n");
}

TEST_F(ProtocolFile, AFileThatCannotBeOpenedIsReported) {
    World().faults.FailAlways(sim::Call::AppendOpen);
    CreateSAT_ProtLogFile();
    EXPECT_EQ(gl_iFd, 0);
    EXPECT_EQ(TakeLog(), Updated("Log") + Existing() +
                             Create("ERR",
                                    "---   rc[-01102]ER:logFd[FFFFFFFFh]=NULL or -1 "
                                    "pcLogName[Log\\20261120_SAT_ProtocolLog.txt]File Not Created"));
}

TEST_F(ProtocolFile, TheNameCarriesTheLocalDate) {
    World().clock.SetUtc(2027, 1, 1, 2, 0, 0);
    CreateSAT_ProtLogFile();
    EXPECT_STREQ(gl_tSat.strSatProtLogFileName, "Log\\20261231_SAT_ProtocolLog.txt");
}

TEST_F(ProtocolFile, TheFirstPacketOpensTheFile) {
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_EQ(ProtocolLog(), kLine);
    const std::string log = TakeLog();
    EXPECT_THAT(log, testing::StartsWith(GoodFrame() +
                                         Message("All ER:gl_iFd[00000000h]=NULL\n\t Msg[000046:" +
                                                 std::string(kLine) + "] Trying to Open NOw") +
                                         Updated("Log")));
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_EQ(TakeLog(), GoodFrame());
    EXPECT_EQ(ProtocolLog(), std::string(kLine) + kLine);
}

TEST_F(ProtocolFile, ALineIsDroppedAfterTwoAttemptsToOpen) {
    World().faults.FailAlways(sim::Call::AppendOpen);
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_EQ(World().faults.Count(sim::Call::AppendOpen), 2U);
    EXPECT_EQ(ProtocolLog(), "");
    EXPECT_TRUE(gl_bProtocolLineFormatted);
    const std::string dropped =
        Message("All ER:gl_iFd[00000000h]=NULL\n\t Msg[000046:" + std::string(kLine) + "]");
    EXPECT_THAT(TakeLog(), testing::EndsWith(dropped));
}

TEST_F(ProtocolFile, AFileThatOpensOnlyAtTheSecondAttemptServesTheNextPacket) {
    World().faults.FailNth(sim::Call::AppendOpen, 1);
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_NE(gl_iFd, 0);
    EXPECT_EQ(ProtocolLog(), "");
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_EQ(ProtocolLog(), kLine);
}

TEST_F(ProtocolFile, WhileLoggingIsDisabledNothingIsCreatedAndNothingWritten) {
    LoadAtMode('0');
    World().files.Remove("Log");
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_EQ(gl_iFd, 0);
    EXPECT_FALSE(World().files.Exists("Log"));
    EXPECT_EQ(World().faults.Count(sim::Call::AppendOpen), 0U);
}

TEST_F(ProtocolFile, AFullDiskCostsOnlyWhatDidNotFit) {
    CreateSAT_ProtLogFile();
    // The diagnostic log would take the room.
    gl_tLogFlags = {};
    World().files.SetDiskFree(10);
    LogSATProtocolMsg(kFrame, 0);
    World().files.SetDiskFree(-1);
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_EQ(ProtocolLog(), std::string(kLine).substr(0, 10) + kLine);
    EXPECT_NE(gl_iFd, 0);
}

// -------------------------------------------------------------------------------------------- size control

TEST_F(ProtocolFile, BeforeTheFirstLineTheSizeControlDoesNothing) {
    CreateSAT_ProtLogFile();
    gl_tLogSettings.iLogFileMaxSize = 0;
    ProtLogFileSzCtl();
    EXPECT_EQ(gl_iFd, 3);
    EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 0);
}

TEST_F(ProtocolFile, TheSizeControlClosesTheFileAndTheNextPacketReopensIt) {
    LogSATProtocolMsg(kFrame, 0);
    ProtLogFileSzCtl();
    EXPECT_EQ(gl_iFd, 0);
    EXPECT_EQ(World().files.OpenAppends(), 0U);
    // Once more with nothing open.
    ProtLogFileSzCtl();
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_EQ(ProtocolLog(), std::string(kLine) + kLine);
    EXPECT_EQ(World().files.OpenAppends(), 1U);
}

TEST_F(ProtocolFile, EveryExportAfterTheFirstRunsTheSizeControl) {
    WriteIni(DefaultIni());
    VersaoDllZantir();
    LogSATProtocolMsg(kFrame, 0);
    ASSERT_NE(gl_iFd, 0);
    VersaoDllZantir();
    EXPECT_EQ(gl_iFd, 0);
}

TEST_F(ProtocolFile, AfterMidnightTheSizeControlLeadsToTheNewDaysFile) {
    World().clock.SetUtc(2026, 11, 21, 2, 59, 59);
    LogSATProtocolMsg(kFrame, 0);
    World().clock.Advance(2000);
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_EQ(CountOf(FileText("Log\\20261120_SAT_ProtocolLog.txt"), "\n"), 2U);
    ProtLogFileSzCtl();
    LogSATProtocolMsg(kFrame, 0);
    EXPECT_EQ(CountOf(FileText("Log\\20261120_SAT_ProtocolLog.txt"), "\n"), 2U);
    EXPECT_EQ(FileText("Log\\20261121_SAT_ProtocolLog.txt"),
              "20261121000001 PC->SAT >> [<02>a<61><03>]OK:a\n");
}

TEST_F(ProtocolFile, WhatIsNotOpenIsNotClosed) {
    LogSATProtocolMsg(kFrame, 0);
    ProtLogFileSzCtl();
    EXPECT_EQ(World().faults.Count(sim::Call::AppendClose), 1U);
    EXPECT_EQ(gl_iFd, 0);
    ProtLogFileSzCtl();
    EXPECT_EQ(World().faults.Count(sim::Call::AppendClose), 1U);
}

TEST_F(ProtocolFile, AZeroLimitBecomesTheDefaultOne) {
    LogSATProtocolMsg(kFrame, 0);
    gl_tLogSettings.iLogFileMaxSize = 0;
    ProtLogFileSzCtl();
    EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 800000);
    gl_tLogSettings.iLogFileMaxSize = 5;
    ProtLogFileSzCtl();
    EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 5);
}

/** The names that the size control measures. */
std::vector<std::string> Measured() {
    sim::world().faults.TraceOn({sim::Call::FileQuery});
    sim::world().faults.trace.clear();
    ProtLogFileSzCtl();
    sim::world().faults.TraceOff();
    return sim::world().faults.trace;
}

TEST_F(ProtocolFile, ALogAboveThreeTimesTheLimitStaysWhereItIs) {
    LogSATProtocolMsg(kFrame, 0);
    const std::string name = "FileQuery Log\\20261120_SAT_ProtocolLog.txt";
    gl_tLogSettings.iLogFileMaxSize = 100;
    World().files.SetText("Log\\20261120_SAT_ProtocolLog.txt", std::string(300, 'x'));
    EXPECT_THAT(Measured(), testing::ElementsAre(name));
    World().files.SetText("Log\\20261120_SAT_ProtocolLog.txt", std::string(301, 'x'));
    World().files.SetText("Log\\20261120_SAT_ProtocolLog.txt_bkp_00.txt", "x");
    World().files.SetText("Log\\20261120_SAT_ProtocolLog.txt_bkp_01.txt", "");
    EXPECT_THAT(Measured(), testing::ElementsAre(name, name + "_bkp_00.txt", name + "_bkp_01.txt"));
    EXPECT_EQ(World().files.Size("Log\\20261120_SAT_ProtocolLog.txt"), 301);
    EXPECT_EQ(World().faults.Count(sim::Call::MoveFile), 0U);
}

TEST_F(ProtocolFile, TheLongestNameIsMeasuredWhole) {
    LogSATProtocolMsg(kFrame, 0);
    const std::string name(sizeof gl_tSat.strSatProtLogFileName - 1, 'n');
    VKO_CopyText(gl_tSat.strSatProtLogFileName, sizeof gl_tSat.strSatProtLogFileName, name.c_str());
    gl_tLogSettings.iLogFileMaxSize = 1;
    World().files.SetText(name, "full");
    EXPECT_THAT(Measured(), testing::ElementsAre("FileQuery " + name, "FileQuery " + name + "_bkp_00.txt"));
}

TEST_F(ProtocolFile, ThreeTimesAHugeLimitWrapsBelowZero) {
    LogSATProtocolMsg(kFrame, 0);
    gl_tLogSettings.iLogFileMaxSize = 800000000;
    EXPECT_EQ(Measured().size(), 2U);
    gl_tLogSettings.iLogFileMaxSize = 700000000;
    EXPECT_EQ(Measured().size(), 1U);
}

}  // namespace

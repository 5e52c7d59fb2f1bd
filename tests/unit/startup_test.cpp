#include "api_fixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/** The start that every export begins with. */
class Startup : public Api {
  protected:
    /** Lets a minute pass, so that a file written now has another modification time. */
    static void Later() { World().clock.Advance(60000); }

    static constexpr const char* kBanner =
        "WRN [init_global_sat_struct]--- Sat Struct Initialized!!\n\t   Version[ZANTIR DLL Ver. 02.00 - "
        "23-JUL-2020]\n\t BuildDate[Jan 14 2021-14:37:25]\n\t   This Is[64 Bits] Platform\n";
};

TEST_F(Startup, TheFirstCallGivesZeroAndEveryLaterOneGivesOne) {
    EXPECT_EQ(init_global_sat_struct(), 0);
    EXPECT_EQ(gl_tSat.ucStartMarker, 0xAA);
    EXPECT_EQ(gl_tSat.ucEndMarker, 0x55);
    EXPECT_EQ(init_global_sat_struct(), 1);
    EXPECT_EQ(init_global_sat_struct(), 1);
}

TEST_F(Startup, BothMarkersMakeAnInitialisedState) {
    init_global_sat_struct();
    gl_tSat.ucEndMarker = 0;
    EXPECT_EQ(init_global_sat_struct(), 0);
    gl_tSat.ucStartMarker = 0x55;
    EXPECT_EQ(init_global_sat_struct(), 0);
    EXPECT_EQ(init_global_sat_struct(), 1);
}

TEST_F(Startup, TheFirstCallClearsTheWholeState) {
    memset(static_cast<void*>(&gl_tSat), 0x11, sizeof gl_tSat);
    init_global_sat_struct();
    EXPECT_EQ(FirstNonZero(gl_tSat.strCurSatCmdInProc, 0, sizeof gl_tSat.strCurSatCmdInProc),
              sizeof gl_tSat.strCurSatCmdInProc);
    EXPECT_EQ(FirstNonZero(gl_tSat.strFixedSerialPort, 0, sizeof gl_tSat.strFixedSerialPort),
              sizeof gl_tSat.strFixedSerialPort);
    EXPECT_EQ(gl_tSat.hSizeControlThread, 0);
    EXPECT_STREQ(gl_tSat.strSatProtLogFileName, "");
}

TEST_F(Startup, AMissingIniIsWrittenWithItsDefaults) {
    VersaoDllZantir();
    EXPECT_EQ(FileText("SAT.ini"), DefaultIni());
    EXPECT_THAT(FileText("SAT.ini"), HasSubstr("[SAT_EMULATOR]"));
}

TEST_F(Startup, AnExistingIniIsLeftAlone) {
    WriteIni("[LOG]\nLogMode=0\n");
    VersaoDllZantir();
    EXPECT_EQ(FileText("SAT.ini"), "[LOG]\nLogMode=0\n");
}

TEST_F(Startup, TheCreatedLineIsWrittenWhereLevelsAreKnownAlready) {
    // A first start knows no levels yet, so its line is dropped.
    init_global_sat_struct();
    EXPECT_THAT(Log(), Not(Contains(HasSubstr("Created!!!"))));

    Load();
    StartLog();
    init_global_sat_struct();
    char line[128];
    snprintf(line, sizeof line, "WRN [init_global_sat_struct]--- rc[%06d]OK ConfigFile[SAT.ini]Created!!!\n",
             static_cast<int>(DefaultIni().size()));
    EXPECT_THAT(Log(), Contains(line));
}

TEST_F(Startup, AnIniThatCannotBeCreatedIsReported) {
    StartLog();
    World().faults.FailNth(sim::Call::FileReplace, 1);
    EXPECT_EQ(init_global_sat_struct(), 0);
    EXPECT_THAT(Log(),
                Contains("ERR [init_global_sat_struct]--- rc[-00001]ER ConfigFile[SAT.ini]NotCreated!!!\n"));
}

TEST_F(Startup, WithoutAnyIniTheLibraryWorksWithItsDefaults) {
    World().faults.FailAlways(sim::Call::FileReplace);
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    EXPECT_STREQ(ConsultarSAT(1), "ok");
    EXPECT_FALSE(World().files.Exists("SAT.ini"));
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 30);
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 0);
    EXPECT_EQ(gl_tSat.ucStartMarker, 0xAA);
}

TEST_F(Startup, TheBannerIsLoggedAfterTheLogModeWasRead) {
    WriteIniWithLog('5');
    init_global_sat_struct();
    EXPECT_THAT(LogOf("init_global_sat_struct"), ElementsAre(kBanner));
}

TEST_F(Startup, AnIniWithoutLogModeIsReportedInsteadOfTheBanner) {
    WriteIni("[LOG]\nLogFilePath=Log\n");
    World().files.MakeFolder("Log");
    init_global_sat_struct();
    EXPECT_THAT(LogOf("init_global_sat_struct"),
                ElementsAre("ERR [init_global_sat_struct]--- rc[-00305]ER ConfigFile[SAT.ini]\n"));
}

TEST_F(Startup, TheLevelFlagsFollowTheLogModeBehindTheStart) {
    WriteIniWithLog('2');
    init_global_sat_struct();
    EXPECT_EQ(gl_tLogFlags.iWarning, 1);
    EXPECT_EQ(gl_tLogSettings.iLevelMask, 3);
    EXPECT_STREQ(gl_pLogBaseName, "SAT_api.log");
}

TEST_F(Startup, TheConfigurationIsReadTwiceAtTheStart) {
    WriteIniWithLog('5');
    init_global_sat_struct();
    size_t passes = 0;
    for (const std::string& line : Log())
        if (line.find("item[SerialPortConfig=") != std::string::npos) ++passes;
    EXPECT_EQ(passes, 2U);
}

TEST_F(Startup, TheFirstCallReadsASettledIniWithoutAFixedPortOnce) {
    WriteIniWithLog('1');
    Later();
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    const uint64_t read = World().faults.Count(sim::Call::ReadText);
    EXPECT_STREQ(ConsultarSAT(1), "ok");
    EXPECT_EQ(World().faults.Count(sim::Call::ReadText) - read, 1U);
}

TEST_F(Startup, AnIniThatCannotBeReadAtFirstIsReadAgain) {
    for (const uint64_t times : {1U, 2U}) {
        Load();
        WriteIni("[LOG]\nLogMode=5\n[SAT_EMULATOR]\nEnable=1\n");
        Later();
        World().faults.FailNth(sim::Call::ReadText, 1, times);
        init_global_sat_struct();
        EXPECT_EQ(gl_tSat.iEmulatorEnabled, 1) << times;
        EXPECT_EQ(gl_tLogSettings.iLevelMask, 31) << times;
    }
}

TEST_F(Startup, AnIniThatAnErrorCutsOffAtFirstIsReadAgain) {
    for (const int cut : {1, 2}) {
        Load();
        WriteIni("[SERIAL_PORT_CONFIG]\nFixarPorta=COM5\n[LOG]\nLogMode=5\n[SAT_EMULATOR]\nEnable=1\n");
        Later();
        World().faults.FailNth(sim::Call::ReadText, 1, 1, cut);
        init_global_sat_struct();
        EXPECT_EQ(gl_tSat.iEmulatorEnabled, 1) << cut;
        EXPECT_EQ(gl_tLogSettings.iLevelMask, 31) << cut;
    }
}

TEST_F(Startup, AnIniThatIsThereOnlyBehindTheStartIsReadThen) {
    WriteIni("[LOG]\nLogMode=0\n[SAT_EMULATOR]\nEnable=1\n");
    Later();
    World().faults.FailAlways(sim::Call::FileReplace);
    // All looks at it but the first two, behind which it is read.
    World().faults.FailNth(sim::Call::FileQuery, 3, 100);
    init_global_sat_struct();
    World().faults.Clear();
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 0);
    EXPECT_EQ(init_global_sat_struct(), 1);
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 1);
}

TEST_F(Startup, AnEmptyIniIsFilledAndReadInTheSameCall) {
    WriteIni("");
    Later();
    init_global_sat_struct();
    EXPECT_EQ(FileText("SAT.ini"), DefaultIni());
    EXPECT_EQ(gl_tSat.iWriteTotalTimeoutConstant, 1000);
    EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 1300000);
    EXPECT_EQ(gl_tSat.iConfigTime, World().files.Modified("SAT.ini"));
}

/** Changes things while the start makes the folder of the logs, which fails: between its two rounds. */
class ChangeDuringTheStart : public Startup {
  protected:
    struct Editor : sim::Observer {
        void OnFault(sim::Call call, int) override {
            if (call == sim::Call::CreateFolder) edit();
        }
        void (*edit)() = nullptr;
    };
    static void Start(void (*edit)()) {
        Editor editor;
        editor.edit = edit;
        World().observer = &editor;
        World().faults.FailNth(sim::Call::CreateFolder, 1);
        EXPECT_EQ(init_global_sat_struct(), 0);
        World().observer = nullptr;
    }
    static constexpr char kBefore[] = "[LOG]\nLogFilePath=Log\nLogMode=1\n[SAT_EMULATOR]\nEnable=0\n";
    static constexpr char kBehind[] = "[LOG]\nLogFilePath=Log\nLogMode=5\n[SAT_EMULATOR]\nEnable=1\n";
};

TEST_F(ChangeDuringTheStart, OfASettledIniIsReadAtTheNextCall) {
    WriteIni(kBefore);
    Later();
    Start([] { WriteIni(kBehind); });
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 0);
    EXPECT_EQ(init_global_sat_struct(), 1);
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 1);
    EXPECT_EQ(gl_tLogSettings.iLevelMask, 31);
}

TEST_F(ChangeDuringTheStart, InTheSecondOfTheLastOneIsReadInTheSameCall) {
    WriteIni(kBefore);
    Start([] { WriteIni(kBehind); });
    EXPECT_EQ(gl_tSat.iConfigTime, World().files.Modified("SAT.ini"));
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 1);
    EXPECT_EQ(gl_tLogSettings.iLevelMask, 31);
}

TEST_F(ChangeDuringTheStart, ThatRemovesTheIniGivesTheDefaultsAtOnceAndTheirLevelsInTheNextCall) {
    WriteIni(kBehind);
    Later();
    Start([] {
        World().files.Remove("SAT.ini");
        Later();
    });
    EXPECT_EQ(FileText("SAT.ini"), DefaultIni());
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 0);
    EXPECT_EQ(gl_tSat.iWriteTotalTimeoutConstant, 1000);
    EXPECT_EQ(init_global_sat_struct(), 1);
    EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 1300000);
}

TEST_F(Startup, TheCataloguesFirstRowCarriesCodeZeroFromThenOn) {
    EXPECT_STREQ(SAT_Get_RetCodeMessage(4000, nullptr), "SAT Ativado Corretamente");
    VersaoDllZantir();
    EXPECT_EQ(tSatRetCodeTbl[0].iCode, 0);
    EXPECT_STREQ(tSatRetCodeTbl[0].pCmdName, "AtivarSAT");
    EXPECT_STREQ(SAT_Get_RetCodeMessage(0, nullptr), "SAT Ativado Corretamente");
    EXPECT_STRNE(SAT_Get_RetCodeMessage(4000, nullptr), "SAT Ativado Corretamente");
}

TEST_F(Startup, TheModificationTimeOfTheIniIsRemembered) {
    WriteIni("[LOG]\nLogMode=0\n");
    Later();
    init_global_sat_struct();
    EXPECT_EQ(gl_tSat.iConfigTime, World().files.Modified("SAT.ini"));
    EXPECT_NE(gl_tSat.iConfigTime, 0);
}

TEST_F(Startup, WithoutAChangeALaterCallReadsNothing) {
    WriteIni("[LOG]\nLogMode=0\n");
    init_global_sat_struct();
    Later();
    const uint64_t read = World().faults.Count(sim::Call::ReadText);
    gl_tSat.iEmulatorEnabled = 7;
    EXPECT_EQ(init_global_sat_struct(), 1);
    EXPECT_EQ(World().faults.Count(sim::Call::ReadText), read);
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 7);
}

TEST_F(Startup, AChangedIniIsReadAtTheNextCallAndOnlyThen) {
    WriteIni("[LOG]\nLogMode=0\n");
    init_global_sat_struct();
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 0);
    Later();
    WriteIni("[LOG]\nLogMode=0\n[SAT_EMULATOR]\nEnable=1\n[SAT_TIMEOUT]\nConsultarSAT=77\n");
    VersaoDllZantir();
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 1);
    EXPECT_EQ(gl_tSatCmd[4].iTimeout, 77);
    EXPECT_EQ(gl_tSat.iConfigTime, World().files.Modified("SAT.ini"));
    const uint64_t read = World().faults.Count(sim::Call::ReadText);
    VersaoDllZantir();
    EXPECT_EQ(World().faults.Count(sim::Call::ReadText), read);
}

TEST_F(Startup, AnOlderModificationTimeIsAChangeToo) {
    WriteIni("[LOG]\nLogMode=0\n");
    init_global_sat_struct();
    WriteIni("[LOG]\nLogMode=0\n[SAT_EMULATOR]\nEnable=1\n");
    World().files.SetModified("SAT.ini", 1000000000);
    EXPECT_EQ(init_global_sat_struct(), 1);
    EXPECT_EQ(gl_tSat.iEmulatorEnabled, 1);
    EXPECT_EQ(gl_tSat.iConfigTime, 1000000000);
}

TEST_F(Startup, AReloadReadsTheSettingsBeforeTheLogMode) {
    WriteIniWithLog('5');
    init_global_sat_struct();
    ClearLog();
    Later();
    WriteIniWithLog('0');
    init_global_sat_struct();
    // The old levels still let the pass over the settings through, and nothing that follows.
    EXPECT_THAT(Log(), Contains(HasSubstr("item[LogMode=0]")));
    EXPECT_EQ(gl_tLogSettings.iLevelMask, 0);
    ClearLog();
    ConsultarSAT(1);
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(Startup, AnIniWhoseStatusCannotBeReadIsNotReloaded) {
    WriteIni("[LOG]\nLogMode=0\n");
    init_global_sat_struct();
    Later();
    World().files.Remove("SAT.ini");
    const uint64_t read = World().faults.Count(sim::Call::ReadText);
    EXPECT_EQ(init_global_sat_struct(), 1);
    EXPECT_EQ(World().faults.Count(sim::Call::ReadText), read);
    EXPECT_FALSE(World().files.Exists("SAT.ini"));
}

TEST_F(Startup, AnIniThatIsEmptiedIsWrittenAtTheNextCallAndOneThatIsRemovedIsNot) {
    WriteIni("[SAT_TIMEOUT]\nConsultarSAT=55\n");
    VersaoDllZantir();
    World().files.Remove("SAT.ini");
    Later();
    VersaoDllZantir();
    EXPECT_FALSE(World().files.Exists("SAT.ini"));
    EXPECT_EQ(gl_tSatCmd[4].iTimeout, 55);
    WriteIni("");
    VersaoDllZantir();
    EXPECT_EQ(FileText("SAT.ini"), DefaultIni());
    EXPECT_EQ(gl_tSatCmd[4].iTimeout, 10);
}

TEST_F(Startup, ALaterCallMovesALogAboveItsLimitAside) {
    WriteIni("[LOG]\nLogFilePath=Log\nLogFileMaxSize=500\nLogMode=5\n");
    init_global_sat_struct();
    ASSERT_GT(DiagnosticLog().size(), 500U);
    EXPECT_EQ(init_global_sat_struct(), 1);
    EXPECT_THAT(World().files.List("Log"), ElementsAre("20261120_SAT_api.log_bkp_00.log"));
}

TEST_F(Startup, ALaterCallLooksAtTheLogsBeforeItLooksAtTheIni) {
    WriteIni("[LOG]\nLogFilePath=Log\nLogFileMaxSize=500\nLogMode=5\n");
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    ConsultarSAT(1);
    World().faults.TraceOn({sim::Call::MoveFile, sim::Call::AppendClose, sim::Call::FileQuery});
    VersaoDllZantir();
    std::vector<std::string> order;
    for (const std::string& call : World().faults.trace) {
        const std::string name = call.substr(0, call.find(' '));
        if (name != "FileQuery" || call.find("SAT.ini") != std::string::npos) order.push_back(name);
    }
    EXPECT_THAT(order, ElementsAre("MoveFile", "AppendClose", "FileQuery"));
}

TEST_F(Startup, ALaterCallClosesTheProtocolLogAndTheNextExchangeOpensItAgain) {
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    ConsultarSAT(1);
    EXPECT_EQ(World().files.OpenAppends(), 1U);
    VersaoDllZantir();
    EXPECT_EQ(World().files.OpenAppends(), 0U);
    EXPECT_EQ(gl_iFd, 0);
    ConsultarSAT(2);
    EXPECT_EQ(World().files.OpenAppends(), 1U);
    EXPECT_EQ(World().faults.Count(sim::Call::AppendOpen), 2U);
}

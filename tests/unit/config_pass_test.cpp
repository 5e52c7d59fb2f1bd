/*
 * A pass over the configuration: its steps and their log lines, present, empty and missing.
 */
#include "config_table.h"
#include "logged_library.h"

namespace {

class ConfigurationPass : public LoggedLibrary {
  protected:
    static std::string Step(size_t step, char letter) {
        char text[16];
        VKO_FormatText(text, sizeof text, "STEP%02d%c", static_cast<int>(step), letter);
        return text;
    }

    /** The report line of a step: tag, result, verdict and what follows. */
    static std::string Line(const std::string& tag, const std::string& rc, const std::string& verdict,
                            size_t step, char letter, const std::string& value, const std::string& end = "") {
        const ConfigKeyRow& row = ConfigKeys()[step];
        return tag + " [#]  ../src/api/ZANTIR  UpdateZantirConfiguration  rc[" + rc + "]" + verdict + "  " +
               Step(step, letter) + "  ZantirIniFileName[SAT.ini]  strSessionName[" + row.section +
               "]  item[" + row.key + "=" + value + "]" + end + "\n";
    }
    static std::string Present(size_t step) {
        const std::string& value = ConfigKeys()[step].value;
        if (step == 4) {
            return Line("WRN", "0000", "WR:WARN", step, 'a', value,
                        "PARAMETRO ADICIONADO MANUALMENTE PELO CLIENTE!!!");
        }
        return Line("INF", "0000", "OK:PASS", step, 'a', value, step == 30 ? "SAT_EMU=ON" : "");
    }
    static std::string Empty(size_t step) {
        if (step == 4) return Line("INF", "0000", "OK:PASS", step, 'b', "", "NORMAL_NAO_EXISTIR!!!");
        return Line("WRN", "0000", "WR:WARN", step, 'b', "", step == 30 ? "SAT_EMU=OFF" : "");
    }
    static std::string Missing(size_t step) {
        if (step == 4) return Line("INF", "-305", "OK:PASS", step, 'c', "", "NORMAL_NAO_EXISTIR!!!");
        return Line("ERR", "-305", "ER:FAIL", step, 'c', "", step == 30 ? "SAT_EMU=OFF" : "");
    }

    /** The reader's own line about a missing item. */
    static std::string NotFound(size_t step) {
        const ConfigKeyRow& row = ConfigKeys()[step];
        return "ERR [#] VKO_GetIniFileValue rc[-00305]ER:INI_FILE_ERR_ITEM_NOT_FOUND VKO_GetIniFileValue Fail\n\t "
               "pIniFileName[SAT.ini] \n\t pSession[" +
               row.section + "] \n\t        pItem[" + row.key + "]ITEM NOT FOUND!!\n";
    }

    static std::string Banner() {
        return Api("WRN", "UpdateZantirConfiguration") +
               "\n\t   Version[ZANTIR DLL Ver. 02.00 - 23-JUL-2020]\n\t BuildDate[Jan 14 2021-14:37:25]\n\t   This "
               "Is[64 Bits] Platform\n";
    }
    static std::string Exists() {
        return "INF [#] VKO_Exist  rc[000001]OK:S_IFDIR is directory         st_mode[000041FFh] & "
               "S_IFMT[0000F000h] return 1\n";
    }
    /** What follows the report of the log folder's key when it is there. */
    static std::string BehindFolder() { return Exists() + Banner(); }

    /** The lines of a pass in which every key is present. */
    static std::string AllPresent() {
        std::string lines = Present(0) + BehindFolder();
        for (size_t step = 1; step < ConfigKeys().size(); ++step)
            lines += Present(step);
        return lines;
    }

    static std::string Pass(const std::string& text) {
        WriteIni(text);
        EXPECT_EQ(UpdateZantirConfiguration(), 30);
        return TakeLog();
    }
};

TEST_F(ConfigurationPass, ThereAreThirtyOneKeys) {
    EXPECT_EQ(ConfigKeys().size(), 31U);
    EXPECT_EQ(CountOf(Pass(ConfigText()), "  STEP"), 31U);
}

TEST_F(ConfigurationPass, EveryPresentKeyHasItsLine) {
    EXPECT_EQ(Pass(ConfigText()), AllPresent());
}

TEST_F(ConfigurationPass, AnInitialisedStateIsReportedFirst) {
    gl_tSat.ucStartMarker = 0xAA;
    gl_tSat.ucEndMarker = 0x55;
    EXPECT_EQ(Pass(ConfigText()),
              "INF [#]  ../src/api/ZANTIR  UpdateZantirConfiguration  rc[0000]OK:PASS  STEP00a  "
              "ZantirIniFileName[SAT.ini]OK\n" +
                  AllPresent());
}

TEST_F(ConfigurationPass, EveryEmptyKeyHasItsLine) {
    for (size_t step = 0; step < ConfigKeys().size(); ++step) {
        std::string expected;
        for (size_t i = 0; i < ConfigKeys().size(); ++i) {
            expected += i == step ? Empty(i) : Present(i);
            if (i == 0 && step != 0) expected += BehindFolder();
        }
        EXPECT_EQ(Pass(ConfigText(SIZE_MAX, step)), expected) << ConfigKeys()[step].key;
    }
}

TEST_F(ConfigurationPass, EveryMissingKeyHasItsLine) {
    for (size_t step = 0; step < ConfigKeys().size(); ++step) {
        std::string expected;
        for (size_t i = 0; i < ConfigKeys().size(); ++i) {
            if (i == step && i != 4) expected += NotFound(i);
            expected += i == step ? Missing(i) : Present(i);
            if (i == 0 && step != 0) expected += BehindFolder();
        }
        EXPECT_EQ(Pass(ConfigText(step)), expected) << ConfigKeys()[step].key;
    }
}

TEST_F(ConfigurationPass, AMissingSectionIsReportedForEveryKeyOfIt) {
    const std::string log = Pass("[NOTHING]\n");
    EXPECT_EQ(CountOf(log, "rc[-304]ER:FAIL  STEP"), 30U);
    EXPECT_EQ(CountOf(log, "rc[-304]OK:PASS  STEP04c"), 1U);
    EXPECT_EQ(CountOf(log, "INI_FILE_ERR_SESSION_NOT_FOUND"), 31U);
    EXPECT_EQ(CountOf(log, "  STEP30c  "), 1U);
}

TEST_F(ConfigurationPass, AnEmulatorThatIsOffSaysSo) {
    const size_t step = ConfigStep("Enable", "SAT_EMULATOR");
    for (const char* value : {"0", "yes", "01", "x1"}) {
        EXPECT_THAT(Pass(ConfigText(SIZE_MAX, step, value)),
                    testing::EndsWith(Line("INF", "0000", "OK:PASS", step, 'a', value, "SAT_EMU=OFF")));
    }
    EXPECT_THAT(Pass(ConfigText(SIZE_MAX, step, "1x")),
                testing::EndsWith(Line("INF", "0000", "OK:PASS", step, 'a', "1x", "SAT_EMU=ON")));
}

TEST_F(ConfigurationPass, TheLinesAppearAtTheirLevels) {
    LoadAtMode('1');
    EXPECT_EQ(CountOf(Pass("[X]"), "STEP"), 30U);
    LoadAtMode('2');
    // The warnings are the fixed port's line and the banner.
    EXPECT_EQ(Pass(ConfigText()), Banner() + Present(4));
    LoadAtMode('0');
    EXPECT_EQ(Pass("[X]"), "");
}

// ------------------------------------------------------------------------------------- the log folder's key

TEST_F(ConfigurationPass, AMissingLogFolderIsCreated) {
    Pass(ConfigText(SIZE_MAX, 0, "C:\\logs"));
    EXPECT_TRUE(World().files.IsFolder("C:\\logs"));
    // One level only.
    Pass(ConfigText(SIZE_MAX, 0, "C:\\a\\b"));
    EXPECT_FALSE(World().files.Exists("C:\\a"));
}

TEST_F(ConfigurationPass, AFolderThatIsThereIsNotCreatedAgain) {
    World().files.MakeFolder("C:\\logs");
    World().faults.TraceOn({sim::Call::CreateFolder});
    Pass(ConfigText(SIZE_MAX, 0, "C:\\logs"));
    EXPECT_THAT(World().faults.trace, testing::IsEmpty());
    Pass(ConfigText(SIZE_MAX, 0, "C:\\other"));
    EXPECT_THAT(World().faults.trace, testing::ElementsAre("CreateFolder C:\\other"));
}

TEST_F(ConfigurationPass, WithoutLoggingNeitherFolderNorBannerIsMade) {
    // The flags let lines through, but the mask decides.
    gl_tLogSettings.iLevelMask = 0;
    const std::string log = Pass(ConfigText(SIZE_MAX, 0, "C:\\logs"));
    EXPECT_FALSE(World().files.Exists("C:\\logs"));
    EXPECT_THAT(log, testing::Not(testing::HasSubstr("BuildDate")));
    EXPECT_THAT(log, testing::HasSubstr("item[LogFilePath=C:\\logs]\n"));
}

TEST_F(ConfigurationPass, AnEmptyOrMissingLogFolderKeyDoesNothing) {
    World().files.Remove("Log");
    for (const std::string& text : {ConfigText(SIZE_MAX, 0, ""), ConfigText(0)}) {
        const uint64_t created = World().faults.Count(sim::Call::CreateFolder);
        WriteIni(text);
        UpdateZantirConfiguration();
        EXPECT_EQ(World().faults.Count(sim::Call::CreateFolder), created);
        EXPECT_THAT(FileText("20261120_SAT_api.log"), testing::Not(testing::HasSubstr("BuildDate")));
    }
}

// -------------------------------------------------------------------------------------------- no file at all

TEST_F(ConfigurationPass, AMissingFileIsCreatedFirst) {
    EXPECT_EQ(UpdateZantirConfiguration(), 30);
    EXPECT_GT(World().files.Size("SAT.ini"), 1000);
    WriteIni("");
    EXPECT_EQ(UpdateZantirConfiguration(), 30);
    EXPECT_GT(World().files.Size("SAT.ini"), 1000);
}

TEST_F(ConfigurationPass, AFileThatCannotBeCreatedEndsThePass) {
    gl_tSat.iWriteTotalTimeoutConstant = 77;
    gl_tSatCmd[2].iTimeout = 99;
    World().faults.FailNth(sim::Call::Alloc, 1);
    EXPECT_EQ(UpdateZantirConfiguration(), -1);
    EXPECT_EQ(TakeLog(),
              Api("ERR", "CreateFile_ZantirIni") +
                  " rc[-00001]ER file[SAT.ini] calloc fail!!!\n"
                  "ERR [#]  ../src/api/ZANTIR  UpdateZantirConfiguration  rc[-001]ER:FAIL  STEP00b  "
                  "ZantirIniFileName[SAT.ini]Could  Not  Be  Created!!\n");
    EXPECT_EQ(gl_tSat.iWriteTotalTimeoutConstant, 77);
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 99);
}

TEST_F(ConfigurationPass, AnUnreadableFileGivesEveryDefault) {
    WriteIni(ConfigText());
    gl_tLogFlags = {};
    World().faults.FailNth(sim::Call::ReadText, 1);
    EXPECT_EQ(UpdateZantirConfiguration(), 30);
    EXPECT_STREQ(gl_tSat.strSerialPortConfig, "115200,8,n,1");
    EXPECT_EQ(gl_tSatCmd[2].iTimeout, 30);
}

}  // namespace

#include "api_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

/** The small routines around the log folder. */
class LogFolder : public Api {
  protected:
    void SetUp() override {
        Load();
        StartLog();
    }
    static void MakeFiles(int count) {
        for (int i = 0; i < count; ++i)
            World().files.SetText("Log\\" + std::string(1, static_cast<char>('a' + i)) + ".txt", "x");
    }
};

TEST_F(LogFolder, WithoutTextFilesThereIsAWarning) {
    EXPECT_EQ(GetFiles(), -1102);
    EXPECT_THAT(Log(), ElementsAre("WRN [GetFiles]Win: rc[-01102]WR:SAT_API_ERR_WIN_FILE_NOT_FOUND\n"));
    World().files.Remove("Log");
    EXPECT_EQ(GetFiles(), -1102);
}

TEST_F(LogFolder, OnlyTextFilesCount) {
    World().files.SetText("Log\\a.log", "x");
    World().files.SetText("b.txt", "x");
    EXPECT_EQ(GetFiles(), -1102);
    World().files.SetText("Log\\c.txt", "x");
    EXPECT_EQ(GetFiles(), 1);
}

TEST_F(LogFolder, CountsItsTextFiles) {
    for (const int count : {1, 6, 9, 10, 12}) {
        SCOPED_TRACE(count);
        SetUp();
        MakeFiles(count);
        EXPECT_EQ(GetFiles(), count);
        // Nothing is ever removed.
        EXPECT_EQ(World().files.List("Log").size(), static_cast<size_t>(count) + 1);
    }
}

TEST_F(LogFolder, NineFilesAreSearchedOnceAndTheSearchIsClosed) {
    MakeFiles(9);
    World().faults.TraceOn({sim::Call::FindOpen, sim::Call::FindClose, sim::Call::RemoveFile});
    GetFiles();
    EXPECT_THAT(World().faults.trace, ElementsAre("FindOpen Log/*.txt", "FindClose"));
    EXPECT_EQ(World().files.OpenSearches(), 0U);
}

TEST_F(LogFolder, TenFilesAreSearchedAgainAndThatSearchStaysOpen) {
    MakeFiles(10);
    World().faults.TraceOn({sim::Call::FindOpen, sim::Call::FindClose, sim::Call::RemoveFile});
    GetFiles();
    const std::vector<std::string>& trace = World().faults.trace;
    ASSERT_EQ(trace.size(), 4U);
    EXPECT_EQ(trace[0], "FindOpen Log/*.txt");
    EXPECT_EQ(trace[1], "FindClose");
    EXPECT_EQ(trace[2], "FindOpen Log/*.txt");
    EXPECT_EQ(trace[3], "RemoveFile Log/  t");
    EXPECT_EQ(World().files.OpenSearches(), 1U);
}

TEST_F(LogFolder, AProtocolLogsNameBecomesFourteenBlanks) {
    for (int day = 10; day < 20; ++day) {
        World().files.SetText("Log\\202611" + std::to_string(day) + "_SAT_ProtocolLog.txt", "x");
    }
    World().faults.TraceOn({sim::Call::RemoveFile});
    GetFiles();
    EXPECT_THAT(World().faults.trace, ElementsAre("RemoveFile Log/" + std::string(14, ' ')));
}

TEST_F(LogFolder, ASearchThatWasLeftOpenEndsWithTheNextOne) {
    MakeFiles(12);
    for (int i = 0; i < 100; ++i)
        GetFiles();
    EXPECT_EQ(World().files.OpenSearches(), 1U);
}

/** The same where no name is logged, and the folder has been as it is for a while. */
class SettledLogFolder : public LogFolder {
  protected:
    void SetUp() override {
        LogFolder::SetUp();
        gl_tLogFlags.iDebug = 0;
        gl_tLogFlags.iWarning = 1;
        MakeFiles(9);
        World().clock.Advance(kStepMs);
    }
    /** What GetFiles says, and whether it looked for that. */
    static std::pair<int, bool> Counted() {
        const size_t before = World().faults.Count(sim::Call::FindOpen);
        const int count = GetFiles();
        return {count, World().faults.Count(sim::Call::FindOpen) > before};
    }
    /** Behind it a change of the folder has another time, whatever the file system. */
    static constexpr int64_t kStepMs = 3000;
    static constexpr bool kLooked = true;
};

TEST_F(SettledLogFolder, IsCountedAgainOnlyWhenItHasChanged) {
    EXPECT_EQ(Counted(), std::pair(9, kLooked));
    EXPECT_EQ(Counted(), std::pair(9, !kLooked));
    World().files.Remove("Log\\a.txt");
    EXPECT_EQ(Counted(), std::pair(8, kLooked));
    World().clock.Advance(kStepMs);
    EXPECT_EQ(Counted(), std::pair(8, kLooked));
    EXPECT_EQ(Counted(), std::pair(8, !kLooked));
    World().files.SetText("Log\\a.txt", "x");
    EXPECT_EQ(Counted(), std::pair(9, kLooked));
    // What only changes the files leaves their number as it is.
    World().clock.Advance(kStepMs);
    EXPECT_EQ(Counted(), std::pair(9, kLooked));
    World().files.SetText("Log\\a.txt", "longer");
    EXPECT_EQ(Counted(), std::pair(9, !kLooked));
}

TEST_F(SettledLogFolder, IsCountedEachTimeWhileAnotherChangeMightNotShow) {
    World().files.SetText("Log\\b.txt", "x");
    World().files.Remove("Log\\b.txt");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(Counted(), std::pair(8, kLooked)) << i;
        World().clock.Advance(500);
    }
    EXPECT_EQ(Counted(), std::pair(8, kLooked));
    EXPECT_EQ(Counted(), std::pair(8, !kLooked));
}

TEST_F(SettledLogFolder, IsCountedEachTimeWhereNamesAreLogged) {
    EXPECT_EQ(Counted(), std::pair(9, kLooked));
    gl_tLogFlags.iInfoB = 1;
    // The first time makes the log, and so changes the folder.
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Counted(), std::pair(9, kLooked)) << i;
        World().clock.Advance(kStepMs);
    }
    gl_tLogFlags.iInfoB = 0;
    EXPECT_EQ(Counted(), std::pair(9, !kLooked));
}

TEST_F(SettledLogFolder, IsCountedEachTimeAboveNineFilesAndWithoutAny) {
    MakeFiles(10);
    World().clock.Advance(kStepMs);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Counted(), std::pair(10, kLooked)) << i;
    for (const std::string& name : World().files.List("Log"))
        World().files.Remove("Log\\" + name);
    World().clock.Advance(kStepMs);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Counted(), std::pair(-1102, kLooked)) << i;
    EXPECT_EQ(LogOf("GetFiles").size(), 3U);
}

TEST_F(SettledLogFolder, IsCountedAnewInAnotherFolderOfAnotherTime) {
    EXPECT_EQ(Counted(), std::pair(9, kLooked));
    World().files.Remove("Log");
    EXPECT_EQ(Counted(), std::pair(-1102, kLooked));
    World().files.SetText("Log\\a.txt", "x");
    World().files.SetModified("Log", 1);
    EXPECT_EQ(Counted(), std::pair(1, kLooked));
    EXPECT_EQ(Counted(), std::pair(1, !kLooked));
}

TEST_F(LogFolder, EachNameIsConvertedForTheLog) {
    MakeFiles(3);
    World().faults.TraceOn({sim::Call::WideToBytes});
    GetFiles();
    EXPECT_EQ(World().faults.trace.size(), 3U);
    EXPECT_EQ(LogOf("WideCharToByte").size(), 3U);
}

TEST_F(LogFolder, TheNameOfAProtocolLogBecomesFourteenBlanksEverywhereAndIsNotLogged) {
    World().files.SetText("Log\\20261120_SAT_ProtocolLog.txt", "x");
    EXPECT_EQ(GetFiles(), 1);
    EXPECT_THAT(LogOf("WideCharToByte"), ElementsAre());
}

TEST_F(LogFolder, TheBytesOfANameArePairedIntoWideCharacters) {
    // The pairs "a." "tx" are no characters of the code page; the last byte stands alone and is one.
    World().files.SetText("Log\\a.txt", "x");
    EXPECT_EQ(GetFiles(), 1);
    EXPECT_THAT(LogOf("WideCharToByte"), ElementsAre("INF [WideCharToByte]Win: response[00003:  t]\n"));
}

TEST_F(LogFolder, NothingOfALongNameStaysBehindAShortOne) {
    World().files.SetText("Log\\aaaaaaa.txt", "x");
    World().files.SetText("Log\\b.txt", "x");
    EXPECT_EQ(GetFiles(), 2);
    EXPECT_THAT(LogOf("WideCharToByte"), ElementsAre("INF [WideCharToByte]Win: response[00006:     t]\n",
                                                     "INF [WideCharToByte]Win: response[00003:  t]\n"));
}

TEST_F(LogFolder, NamesOfAnyLengthAreCounted) {
    World().files.SetText("Log\\" + std::string(255, 'n') + ".txt", "x");
    EXPECT_EQ(GetFiles(), 1);
}

TEST_F(LogFolder, AWideTextIsConvertedAndLogged) {
    char response[20];
    WideCharToByte(L"protocolo.txt", response);
    EXPECT_STREQ(response, "protocolo.txt");
    EXPECT_THAT(Log(), ElementsAre("INF [WideCharToByte]Win: response[00013:protocolo.txt]\n"));
}

TEST_F(LogFolder, AWideTextIsCutBehindNineteenCharactersAndTwentyBytesAreCopied) {
    char response[21];
    memset(response, '#', sizeof response);
    WideCharToByte(L"0123456789012345678901234", response);
    EXPECT_STREQ(response, "0123456789012345678");
    EXPECT_EQ(response[20], '#');
    memset(response, '#', sizeof response);
    WideCharToByte(L"ab", response);
    EXPECT_EQ(std::string(response, 21), "ab" + std::string(18, '\0') + "#");
}

TEST_F(LogFolder, ACharacterThatTheCodePageLacksBecomesABlank) {
    char response[20];
    WideCharToByte(
        L"a\x4E2D"
        L"b",
        response);
    EXPECT_STREQ(response, "a b");
}

TEST_F(LogFolder, FourteenBlanksAreNotLogged) {
    char response[20];
    WideCharToByte(L"              ", response);
    EXPECT_THAT(Log(), ElementsAre());
    WideCharToByte(L"             ", response);
    EXPECT_THAT(Log(), ElementsAre("INF [WideCharToByte]Win: response[00013:             ]\n"));
}

TEST_F(LogFolder, NullPointersOfTheConversionAreReported) {
    char response[20] = "kept";
    WideCharToByte(nullptr, response);
    EXPECT_STREQ(response, "kept");
    WideCharToByte(L"x", nullptr);
    WideCharToByte(nullptr, nullptr);
    EXPECT_THAT(Log(), ElementsAre("WRN [WideCharToByte]Win: warray=null\n",
                                   "WRN [WideCharToByte]Win: response=null\n",
                                   "WRN [WideCharToByte]Win: warray=null\n"));
}

TEST_F(LogFolder, InformationGoesToTheProtocolLogWithTheLocalTime) {
    LogInfo("hello %s");
    EXPECT_EQ(ProtocolLog(), "20261120120405 INFO [hello %s]\n");
    EXPECT_EQ(LogOf("LogInfo").back(),
              "INF [LogInfo]Win: OK:logFd[" + Hex8(gl_iFd) + "h]n\t pTextInfo[00008:hello %s]\n");
    LogInfo("again");
    EXPECT_EQ(ProtocolLog(), "20261120120405 INFO [hello %s]\n20261120120405 INFO [again]\n");
    EXPECT_EQ(World().faults.Count(sim::Call::AppendOpen), 1U);
}

TEST_F(LogFolder, InformationWithoutAProtocolLogIsReported) {
    World().faults.FailAlways(sim::Call::AppendOpen);
    LogInfo("hello");
    EXPECT_EQ(LogOf("LogInfo").back(),
              "ERR [LogInfo]Win: ER:logFd[00000000h]=NULL File Handle\n\t pTextInfo[00005:hello]\n");
}

TEST_F(LogFolder, NullInformationIsReported) {
    LogInfo(nullptr);
    EXPECT_THAT(Log(), ElementsAre("WRN [LogInfo]Win: WR:pTextInfo=NULL\n"));
    EXPECT_EQ(World().faults.Count(sim::Call::AppendOpen), 0U);
}

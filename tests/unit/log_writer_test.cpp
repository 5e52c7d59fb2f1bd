/*
 * The writer of the diagnostic log: which lines it lets through, what they look like, and what it prints.
 */
#include <array>

#include "logged_library.h"

namespace {

class LogWriter : public LoggedLibrary {
  protected:
    static std::string Tag(unsigned level) {
        switch (level) {
            case 1:
                return "ERR";
            case 2:
                return "WRN";
            case 4:
                return "INF";
            case 8:
                return "TRC";
            case 16:
                return "JNI";
            case 32:
                return "DBG";
            default:
                return "Unk";
        }
    }

    /** Writes one line of each level from 0 to 33 and returns what should stand in the log. */
    static std::string WriteAllLevels(unsigned mask) {
        std::string expected;
        for (unsigned level = 0; level <= 33; ++level) {
            EXPECT_EQ(VKO_LogWrite("SAT_api.log", level, "level %u\n", level), 0);
            if ((level & mask) != 0) {
                expected += "[12:04:05.006]" + Tag(level) + " level " + std::to_string(level) + "\n";
            }
        }
        return expected;
    }
};

TEST_F(LogWriter, EachModeWritesTheLevelsOfItsMaskAndNoOther) {
    static const unsigned masks[] = {0, 1, 3, 7, 15, 31};
    for (size_t mode = 0; mode < std::size(masks); ++mode) {
        LoadAtMode(static_cast<char>('0' + mode));
        const std::string expected = WriteAllLevels(masks[mode]);
        EXPECT_EQ(DiagnosticLog(), expected) << "LogMode " << mode;
    }
}

TEST_F(LogWriter, EveryFlagHasItsOwnMaskAlsoThoseThatNoModeSets) {
    struct Row {
        int32_t tVkoLogFlags::*flag;
        unsigned mask;
    };
    static const Row rows[] = {
        {&tVkoLogFlags::iError, 1},  {&tVkoLogFlags::iWarning, 3}, {&tVkoLogFlags::iInfoA, 7},
        {&tVkoLogFlags::iInfoB, 7},  {&tVkoLogFlags::iTrace, 15},  {&tVkoLogFlags::iJni, 16},
        {&tVkoLogFlags::iDebug, 31}, {&tVkoLogFlags::iConsole, 0},
    };
    for (const Row& row : rows) {
        LoadAtMode('0');
        gl_tLogFlags.*row.flag = 1;
        const std::string expected = WriteAllLevels(row.mask);
        EXPECT_EQ(DiagnosticLog(), expected) << "mask " << row.mask;
    }
}

TEST_F(LogWriter, NothingIsWrittenBeforeTheLogIsConfigured) {
    Load();
    EXPECT_EQ(WriteAllLevels(0), "");
    EXPECT_EQ(World().faults.Count(sim::Call::AppendText), 0U);
    EXPECT_EQ(World().files.List("C:\\app"), std::vector<std::string>());
}

TEST_F(LogWriter, ALineOfADisabledLevelTouchesNoFile) {
    LoadAtMode('1');
    const uint64_t appends = World().faults.Count(sim::Call::AppendText);
    const uint64_t queries = World().faults.Count(sim::Call::FileQuery);
    EXPECT_EQ(VKO_LogWrite("SAT_api.log", VKO_LOG_WRN, "x\n"), 0);
    EXPECT_EQ(World().faults.Count(sim::Call::AppendText), appends);
    EXPECT_EQ(World().faults.Count(sim::Call::FileQuery), queries);
}

TEST_F(LogWriter, TwoLevelBitsAtOnceAreWrittenWithTheTagUnk) {
    LoadAtMode('1');
    VKO_LogWrite("SAT_api.log", 3, "both\n");
    EXPECT_EQ(DiagnosticLog(), "[12:04:05.006]Unk both\n");
}

TEST_F(LogWriter, TheHourIsThreeBehindUtcAndTheDateStays) {
    static const char* const hours[24] = {"21", "22", "23", "24", "01", "02", "03", "04",
                                          "05", "06", "07", "08", "09", "10", "11", "12",
                                          "13", "14", "15", "16", "17", "18", "19", "20"};
    for (int hour = 0; hour < 24; ++hour) {
        World().files.Remove("Log\\20240229_SAT_api.log");
        World().clock.SetUtc(2024, 2, 29, hour, 30, 9, 87);
        // The machine's own time zone does not matter.
        World().clock.SetZone(hour * 10);
        VKO_LogWrite("SAT_api.log", VKO_LOG_INF, "x\n");
        EXPECT_EQ(FileText("Log\\20240229_SAT_api.log"),
                  "[" + std::string(hours[hour]) + ":30:09.087]INF x\n")
            << "UTC hour " << hour;
    }
}

TEST_F(LogWriter, ALineIsAppendedInOnePiece) {
    World().files.SetText("Log\\20261120_SAT_api.log", "old\n");
    World().faults.TraceOn({sim::Call::FileOpen, sim::Call::AppendText});
    VKO_LogWrite("SAT_api.log", VKO_LOG_ERR, "new\n");
    EXPECT_EQ(DiagnosticLog(), "old\n[12:04:05.006]ERR new\n");
    EXPECT_THAT(World().faults.trace, testing::ElementsAre("AppendText .\\Log\\20261120_SAT_api.log"));
}

TEST_F(LogWriter, NoLineFeedIsAddedToTheCallersFormat) {
    VKO_LogWrite("SAT_api.log", VKO_LOG_ERR, "a");
    VKO_LogWrite("SAT_api.log", VKO_LOG_WRN, "b\n");
    EXPECT_EQ(DiagnosticLog(), "[12:04:05.006]ERR a[12:04:05.006]WRN b\n");
}

TEST_F(LogWriter, EachLogNameIsAFileOfItsOwn) {
    VKO_LogWrite("first.log", VKO_LOG_ERR, "1\n");
    VKO_LogWrite("second.log", VKO_LOG_ERR, "2\n");
    EXPECT_EQ(FileText("Log\\20261120_first.log"), "[12:04:05.006]ERR 1\n");
    EXPECT_EQ(FileText("Log\\20261120_second.log"), "[12:04:05.006]ERR 2\n");
}

TEST_F(LogWriter, ALineOfAMegabyteIsWrittenWhole) {
    const std::string text(1 << 20, 'x');
    VKO_LogWrite("SAT_api.log", VKO_LOG_ERR, "%s\n", text.c_str());
    EXPECT_TRUE(DiagnosticLog() == "[12:04:05.006]ERR " + text + "\n") << DiagnosticLog().size();
}

TEST_F(LogWriter, ALineOfAnyLengthIsWrittenWholeOnceAndWithoutMemory) {
    const uint64_t allocations = World().faults.Count(sim::Call::Alloc);
    // Around 4 KB, 8 KB and 16 KB, where a buffer may end.
    for (const size_t about : {4096U, 8192U, 16384U}) {
        for (size_t length = about - 30; length < about + 5; ++length) {
            World().files.Remove("Log\\20261120_SAT_api.log");
            const std::string text(length, 'x');
            VKO_LogWrite("SAT_api.log", VKO_LOG_ERR, "%s%c\n", text.c_str(), '\0');
            EXPECT_EQ(DiagnosticLog(), "[12:04:05.006]ERR " + text + std::string("\0\n", 2)) << length;
        }
    }
    EXPECT_EQ(World().faults.Count(sim::Call::Alloc), allocations);
    EXPECT_EQ(World().files.OpenFiles(), 0U);
}

TEST_F(LogWriter, AFileThatCannotBeOpenedDropsItsLineAndNothingElse) {
    World().faults.FailNth(sim::Call::AppendText, 1);
    World().faults.FailNth(sim::Call::FileOpen, 1);
    EXPECT_EQ(VKO_LogWrite("SAT_api.log", VKO_LOG_ERR, "lost\n"), 0);
    EXPECT_EQ(VKO_LogWrite("SAT_api.log", VKO_LOG_ERR, "%s\n", std::string(20000, 'l').c_str()), 0);
    EXPECT_EQ(VKO_LogWrite("SAT_api.log", VKO_LOG_ERR, "kept\n"), 0);
    EXPECT_EQ(DiagnosticLog(), "[12:04:05.006]ERR kept\n");
    EXPECT_EQ(World().files.OpenFiles(), 0U);
}

TEST_F(LogWriter, AFullDiskIsSurvived) {
    World().files.SetDiskFree(0);
    EXPECT_EQ(VKO_LogWrite("SAT_api.log", VKO_LOG_ERR, "lost\n"), 0);
    World().files.SetDiskFree(-1);
    EXPECT_EQ(VKO_LogWrite("SAT_api.log", VKO_LOG_ERR, "kept\n"), 0);
    EXPECT_EQ(DiagnosticLog(), "[12:04:05.006]ERR kept\n");
}

// ------------------------------------------------------------------------------------------ the console copy

TEST_F(LogWriter, TheConsoleGetsALineOnlyUnderTheFlagOfExactlyItsLevelOrTheTraceFlag) {
    struct Row {
        int32_t tVkoLogFlags::*flag;
        std::vector<unsigned> levels;
    };
    static const Row rows[] = {
        {&tVkoLogFlags::iError, {1}},
        {&tVkoLogFlags::iWarning, {2}},
        {&tVkoLogFlags::iInfoA, {}},
        {&tVkoLogFlags::iInfoB, {4}},
        // All that the trace mask lets through: 1 to 15, and the mixed levels above.
        {&tVkoLogFlags::iTrace, {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 17,
                                 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 33}},
        {&tVkoLogFlags::iJni, {}},
        {&tVkoLogFlags::iDebug, {}},
    };
    for (const Row& row : rows) {
        LoadAtMode('0');
        gl_tLogFlags.iConsole = 1;
        gl_tLogFlags.*row.flag = 1;
        std::string expected;
        for (const unsigned level : row.levels)
            expected += "level " + std::to_string(level) + "\n";
        WriteAllLevels(0);
        EXPECT_EQ(World().printed, expected);
    }
}

TEST_F(LogWriter, WithoutTheConsoleFlagNothingIsPrinted) {
    LoadAtMode('4');
    WriteAllLevels(15);
    EXPECT_EQ(World().printed, "");
}

TEST_F(LogWriter, TheConsoleCopyComesAlsoWhenTheFileCannotBeOpened) {
    gl_tLogFlags.iConsole = 1;
    gl_tLogFlags.iError = 1;
    World().faults.FailAlways(sim::Call::AppendText);
    VKO_LogWrite("SAT_api.log", VKO_LOG_ERR, "[%04d] %s\n", 7, "100%s%n");
    EXPECT_EQ(World().printed, "[0007] 100%s%n\n");
}

// ----------------------------------------------------------------------------------------- text from outside

static const char kPercents[] = "100%s%n%d%x%%";

TEST_F(LogWriter, PercentSignsOfACallersTextAreNotInterpreted) {
    WriteIni(DefaultIniWith("LOG", "LogMode", "5"));
    sim::HonestDevice device([](const std::string&) { return std::string("000001|06000|") + kPercents; });
    AttachDevice(&device);
    EXPECT_STREQ(EnviarDadosVenda(1, kPercents, kPercents),
                 ("000001|06000|" + std::string(kPercents)).c_str());
    const std::string command = std::string("EnviarDadosVenda|000001|") + kPercents + "|" + kPercents;
    EXPECT_EQ(device.last_command, command);
    EXPECT_THAT(DiagnosticLog(), testing::HasSubstr(std::string(kPercents)));
    EXPECT_THAT(ProtocolLog(), testing::HasSubstr("[<02>" + command + "<"));
    EXPECT_THAT(ProtocolLog(), testing::HasSubstr("000001|06000|" + std::string(kPercents) + "<"));
}

TEST_F(LogWriter, PercentSignsOfTheConfigurationAreNotInterpreted) {
    WriteIni(DefaultIniWith("SERIAL_PORT_CONFIG", "SerialPortConfig", kPercents));
    UpdateZantirConfiguration();
    EXPECT_STREQ(gl_tSat.strSerialPortConfig, kPercents);
    EXPECT_THAT(TakeLog(), testing::HasSubstr("item[SerialPortConfig=" + std::string(kPercents) + "]\n"));
}

}  // namespace

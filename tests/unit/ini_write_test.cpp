/*
 * The INI writer: every result with what it leaves in the file.
 */
#include "logged_library.h"
#include "lost_memory.h"

namespace {

using namespace std::string_literals;

class IniWrite : public LoggedLibrary {
  protected:
    struct Row {
        std::string before;
        const char* section;
        const char* item;
        const char* value;
        int rc;
        std::string after;
    };

    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) {
            World().files.SetText("w.ini", row.before);
            EXPECT_EQ(VKO_SetIniFileValue("w.ini", row.section, row.item, row.value), row.rc) << row.before;
            EXPECT_EQ(FileText("w.ini"), row.after) << row.before;
            EXPECT_EQ(World().LiveAllocations(), 0);
            EXPECT_EQ(World().files.OpenFiles(), 0U);
        }
    }

    static std::string Failure(const std::string& code, const std::string& reason, const std::string& value) {
        return "ERR [#] VKO_SetIniFileValue rc[" + code + "]" + reason +
               " pIniFileName[w.ini] pSession[S] pItem[A] pNewValue" + value + "\n";
    }
};

TEST_F(IniWrite, AMissingNameOrSectionIsAnInvalidParameter) {
    EXPECT_EQ(VKO_SetIniFileValue(nullptr, nullptr, nullptr, nullptr), -300);
    EXPECT_EQ(TakeLog(),
              "ERR [#] VKO_SetIniFileValue rc[-00300]ER:INI_FILE_ERR_INVALID_PARAM Invalid Params "
              "pIniFileName[00000000h] pSession[00000000h] pItem[00000000h] pRetValue[00000000h] "
              "bSessionFound[0]\n");
    EXPECT_EQ(VKO_SetIniFileValue("w.ini", nullptr, "A", "1"), -300);
    EXPECT_EQ(VKO_SetIniFileValue(nullptr, "S", "A", "1"), -300);
    EXPECT_FALSE(World().files.Exists("w.ini"));
}

TEST_F(IniWrite, AMissingFileIsMade) {
    struct New {
        const char* item;
        const char* value;
        int rc;
        const char* after;
    };
    static const New rows[] = {{"A", "1", 4, "[S]\nA=1\n"}, {"A", nullptr, 2, "[S]\n"},
                               {"A", "", 2, "[S]\n"},       {nullptr, "1", 2, "[S]\n"},
                               {"", "1", 2, "[S]\n"},       {nullptr, nullptr, 2, "[S]\n"}};
    for (const New& row : rows) {
        World().files.Remove("w.ini");
        EXPECT_EQ(VKO_SetIniFileValue("w.ini", "S", row.item, row.value), row.rc);
        EXPECT_EQ(FileText("w.ini"), row.after);
    }
}

TEST_F(IniWrite, AMissingSectionIsAppended) {
    Check({{"[T]\nB=2\n", "S", "A", "1", 4, "[T]\nB=2\n\n[S]\nA=1\n"},
           {"[T]\nB=2\n", "S", "A", nullptr, 8, "[T]\nB=2\n\n[S]\n-\n"},
           {"[T]\nB=2\n", "S", "A", "", 8, "[T]\nB=2\n\n[S]\n-\n"},
           {"[T]\nB=2\n", "S", nullptr, "1", 2, "[T]\nB=2\n\n[S]\n"},
           {"[T]\nB=2", "S", "", "", 2, "[T]\nB=2\n[S]\n"},
           // An empty file is a file.
           {"", "S", "A", "1", 4, "\n[S]\nA=1\n"}});
}

TEST_F(IniWrite, ASectionThatIsThereIsLeftAlone) {
    Check({{"[S]\nB=2\n", "S", nullptr, nullptr, 2, "[S]\nB=2\n"},
           {"[S]\nB=2\n", "S", "", "x", 2, "[S]\nB=2\n"}});
    World().faults.TraceOn({sim::Call::ReadText, sim::Call::FileOpen, sim::Call::AppendText});
    VKO_SetIniFileValue("w.ini", "S", nullptr, nullptr);
    EXPECT_THAT(World().faults.trace, testing::ElementsAre("ReadText w.ini"));
}

TEST_F(IniWrite, AnEqualValueIsNotWritten) {
    Check({{"[S]\nA=1\n", "S", "A", "1", 0, "[S]\nA=1\n"}});
    World().faults.TraceOn({sim::Call::ReadText, sim::Call::FileOpen, sim::Call::AppendText});
    VKO_SetIniFileValue("w.ini", "S", "A", "1");
    EXPECT_THAT(World().faults.trace, testing::ElementsAre("ReadText w.ini"));
}

TEST_F(IniWrite, AnotherValueIsWrittenInPlace) {
    const std::string text = DefaultIni();
    const std::string changed = DefaultIniWith("LOG", "LogMode", "3");
    Check({{text, "LOG", "LogMode", "3", 5, changed},
           {"[S]\nA=12\nB=3\n", "S", "A", "34", 5, "[S]\nA=34\nB=3\n"},
           // Shorter: the line keeps its length.
           {"[LOG]\nLogFilePath=Logs\nB=1\n", "LOG", "LogFilePath", "L", 5, "[LOG]\nLogFilePath=L   \nB=1\n"},
           // Longer: everything behind moves, line end and later sections included.
           {"[S]\nA=1\nB=3\n[T]\nC=4\n", "S", "A", "12345678901234567890", 5,
            "[S]\nA=12345678901234567890\nB=3\n[T]\nC=4\n"},
           {"[S]\nA=1", "S", "A", "123", 5, "[S]\nA=123"},
           {"[S]\nA=\n", "S", "A", "1", 5, "[S]\nA=1\n"},
           {"[S]\nA=1\r\nB=2\r\n", "S", "A", "345", 5, "[S]\nA=345\r\nB=2\r\n"}});
}

TEST_F(IniWrite, ABlankInFrontOfTheEqualSignCountsAsValue) {
    Check({{"[S]\nA =1\n", "S", "A", "1", 5, "[S]\nA 1 \n"},
           {"[S]\nA =1\n", "S", "A", "=1", 0, "[S]\nA =1\n"}});
}

TEST_F(IniWrite, ANameAloneOnItsLineKeepsItsLineEnd) {
    Check({{"[S]\nA\nB=2\n", "S", "A", "1", 5, "[S]\nA1\nB=2\n"}, {"[S]\nA", "S", "A", "1", 5, "[S]\nA1"}});
}

TEST_F(IniWrite, NoValueBlanksTheLine) {
    Check({{"[S]\nAbc=123\nB=2\n", "S", "Abc", nullptr, 5, "[S]\n       \nB=2\n"},
           {"[S]\nAbc=123\nB=2\n", "S", "Abc", "", 5, "[S]\n       \nB=2\n"},
           {"[S]\n  A=1\nB=2\n", "S", "A", "", 5, "[S]\n     \nB=2\n"},
           // The blanks begin at the name, wherever it was found.
           {"[S]\nxA=1\n", "S", "A", "", 5, "[S]\nx   \n"}});
}

TEST_F(IniWrite, TheWalkSkipsEqualSignsAndBlanksAndMatchesAPrefix) {
    Check({{"[S]\n = = A=1\n", "S", "A", "2", 5, "[S]\n = = A=2\n"},
           {"[S]\nAB=1\n", "S", "A", "2", 5, "[S]\nAB2 \n"},
           // A name that begins with what the walk skips is never found.
           {"[S]\n=A=1\n", "S", "=A", "2", 7, "[S]\n=A=1\n=A=2\n"},
           {"[S]\n A=1\n", "S", " A", "2", 7, "[S]\n A=1\n A=2\n"}});
}

TEST_F(IniWrite, AnItemAddedInFrontOfAnotherSectionDropsThatSection) {
    Check({{"[S]\nB=2\n\n[T]\nC=3\n[U]\n", "S", "A", "1", 7, "[S]\nB=2\nA=1\n"},
           // Whatever stands in front of the bracket is overwritten.
           {"[S]\nB=2\n[T]\nC=3\n", "S", "A", "1", 7, "[S]\nB=2A=1\n"},
           {"[S][T]\n", "S", "A", "1", 7, "[SA=1\n"},
           {"[S]\nB=2\n\n[T]\nC=3\n", "S", "A", nullptr, 7, "[S]\nB=2\n-\n"},
           {"[S]\nB=2\n\n[T]\nC=3\n", "S", "A", "", 7, "[S]\nB=2\n-\n"},
           {"[S]\n\n[T]", "S", "ALongName", "andALongValueToo", 7, "[S]\nALongName=andALongValueToo\n"}});
}

TEST_F(IniWrite, AnItemAddedBeforeAnotherSectionIsReported) {
    World().files.SetText("w.ini", "[S]\n\n[T]\n");
    TakeLog();
    VKO_SetIniFileValue("w.ini", "S", "A", "1");
    EXPECT_EQ(TakeLog(),
              "WRN [#] VKO_SetIniFileValue rc[000007]WR:INI_FILE_ITEM_ADDED Fail pIniFileName[w.ini] "
              "pSession[S] pItem[A]\n");
}

TEST_F(IniWrite, AnItemIsAppendedToTheLastSection) {
    Check({{"[T]\n[S]\nB=2\n", "S", "A", "1", 7, "[T]\n[S]\nB=2\nA=1\n"},
           {"[S]\nB=2", "S", "A", "1", 7, "[S]\nB=2A=1\n"},
           {"[S]\nB=2\n", "S", "A", nullptr, 8, "[S]\nB=2\n"},
           {"[S]\nB=2\n", "S", "A", "", 8, "[S]\nB=2\n"}});
    EXPECT_EQ(TakeLog(), "");
}

TEST_F(IniWrite, LongTextsFit) {
    const std::string section(3000, 's');
    const std::string item(3000, 'i');
    const std::string first(3000, '1');
    const std::string second(9000, '2');
    const auto set = [&](const std::string& value) {
        return VKO_SetIniFileValue("w.ini", section.c_str(), item.c_str(), value.c_str());
    };
    EXPECT_EQ(set(first), 4);
    EXPECT_EQ(set(first), 0);
    EXPECT_EQ(set(second), 5);
    EXPECT_EQ(FileText("w.ini"), "[" + section + "]\n" + item + "=" + second + "\n");
    World().files.SetText("w.ini", "[" + section + "]\n[T]");
    EXPECT_EQ(set(second), 7);
    EXPECT_EQ(FileText("w.ini"), "[" + section + "]" + item + "=" + second + "\n");
}

TEST_F(IniWrite, WhatStandsBehindANulByteMovesWithTheRest) {
    Check({{"[S]\nA=1\n\0tail"s, "S", "A", "123", 5, "[S]\nA=123\n\0tail"s},
           // The search ends there.
           {"[S]\n\0A=1\n"s, "S", "A", "2", 7, "[S]\n\0A=1\nA=2\n"s}});
}

// ------------------------------------------------------------------------------------------------ failures

TEST_F(IniWrite, AFileThatCannotBeCreatedIsReported) {
    World().faults.FailNth(sim::Call::AppendText, 2);  // the first one reports the missing file
    EXPECT_EQ(VKO_SetIniFileValue("w.ini", "S", "A", "1"), -401);
    EXPECT_EQ(TakeLog(), "WRN [#] VKO_FileExist rc[-00001]WR pFileName[w.ini] NOT FOUND!!\n" +
                             Failure("-00401", "ER:INI_FILE_ERR_CREATE fopen Fail", "[1]"));
}

TEST_F(IniWrite, AFileThatCannotBeReadIsReported) {
    World().files.SetText("w.ini", "[S]\nA=1\n");
    World().faults.FailNth(sim::Call::ReadText, 1);
    EXPECT_EQ(VKO_SetIniFileValue("w.ini", "S", "A", nullptr), -401);
    EXPECT_EQ(TakeLog(), Failure("-00401", "ER:INI_FILE_ERR_CREATE fopen Fail", "=NULL"));
    EXPECT_EQ(World().LiveAllocations(), 0);
}

TEST_F(IniWrite, WithoutMemoryNothingIsWritten) {
    World().files.SetText("w.ini", "[S]\nB=1\n");
    for (const uint64_t nth : {1U, 2U}) {
        World().faults.FailNth(sim::Call::Alloc, nth);
        EXPECT_EQ(VKO_SetIniFileValue("w.ini", "S", "A", "1"), -401);
        EXPECT_EQ(TakeLog(), Failure("-00401", "ER:INI_FILE_ERR_CREATE calloc() Fail", "[1]"));
    }
    EXPECT_EQ(FileText("w.ini"), "[S]\nB=1\n");
    EXPECT_EQ(World().LiveAllocations(), 0);
    World().files.Remove("w.ini");
    World().faults.FailNth(sim::Call::Alloc, 1);
    EXPECT_EQ(VKO_SetIniFileValue("w.ini", "S", "A", "1"), -401);
    EXPECT_FALSE(World().files.Exists("w.ini"));
}

TEST_F(IniWrite, AProcessKilledWhileAValueIsChangedLeavesTheOldFileOrTheNewOne) {
    const std::string old = "[S]\nA=1\nB=2\n";
    for (const int64_t reached : {0, 1, 5, 12}) {
        Load();
        World().files.SetText("w.ini", old);
        World().files.KillAfterBytes(reached);
        const LostMemory lost;
        EXPECT_THROW(VKO_SetIniFileValue("w.ini", "S", "A", "345"), sim::Killed) << reached;
        EXPECT_EQ(FileText("w.ini"), old) << reached;
    }
    Load();
    World().files.SetText("w.ini", old);
    EXPECT_EQ(VKO_SetIniFileValue("w.ini", "S", "A", "345"), INI_FILE_ITEM_CHANGED);
    EXPECT_EQ(FileText("w.ini"), "[S]\nA=345\nB=2\n");
}

TEST_F(IniWrite, AFileThatCannotBeReopenedIsReportedByTheStepThatNeedsIt) {
    struct Reopen {
        const char* text;
        const char* value;
        int rc;
        std::string line;
        sim::Call call = sim::Call::FileReplace;
        uint64_t n = 1;
    };
    const std::string notFound = "ER:INI_FILE_ERR_NOT_FOUND fopen() Fail";
    const Reopen rows[] = {
        {"[S]\nA=1\n", "2", -301, Failure("-00301", notFound, "[2]")},
        {"[S]\nA=1\n", nullptr, -301, Failure("-00301", notFound, "=NULL")},
        {"[S]\n\n[T]\n", "2", -301, Failure("-00301", notFound, "[2]")},
        {"[S]\n\n[T]\n", "", -301, Failure("-00301", notFound, "=NULL")},
        {"[S]\nB=1\n", "2", -301, Failure("-00301", notFound, "[2]"), sim::Call::AppendText},
        {"[T]\n", "2", -401, Failure("-00401", "ER:INI_FILE_ERR_CREATE fopen Fail", "[2]"),
         sim::Call::AppendText},
    };
    for (const Reopen& row : rows) {
        World().files.SetText("w.ini", row.text);
        World().faults.FailNth(row.call, row.n);
        EXPECT_EQ(VKO_SetIniFileValue("w.ini", "S", "A", row.value), row.rc) << row.text;
        EXPECT_EQ(TakeLog(), row.line);
        EXPECT_EQ(FileText("w.ini"), row.text);
        EXPECT_EQ(World().LiveAllocations(), 0);
    }
}

// ------------------------------------------------------------------------------------------------ wrappers

TEST_F(IniWrite, TheWrappersPassWhatTheirNamesSay) {
    EXPECT_EQ(VKO_AddIniFileSection("w.ini", "S"), 2);
    EXPECT_EQ(FileText("w.ini"), "[S]\n");
    EXPECT_EQ(VKO_AddIniFileItem("w.ini", "S", "A"), 8);
    EXPECT_EQ(FileText("w.ini"), "[S]\n");
    EXPECT_EQ(VKO_WriteIniFileValue("w.ini", "S", "A", "1"), 7);
    EXPECT_EQ(VKO_WriteIniFileValue("w.ini", "S", "A", "2"), 5);
    EXPECT_EQ(FileText("w.ini"), "[S]\nA=2\n");
    EXPECT_EQ(VKO_AddIniFileItem("w.ini", "S", "A"), 5);
    EXPECT_EQ(FileText("w.ini"), "[S]\n   \n");
    EXPECT_EQ(VKO_AddIniFileItem("w.ini", "T", "A"), 8);
    EXPECT_EQ(FileText("w.ini"), "[S]\n   \n\n[T]\n-\n");
}

}  // namespace

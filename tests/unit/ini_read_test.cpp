/*
 * The INI reader: every step with its result and its lines.
 */
#include <chrono>

#include "logged_library.h"

namespace {

class IniRead : public LoggedLibrary {
  protected:
    /** Reads from a file with this text; the buffer begins as "old". */
    static int Read(const std::string& text, const char* section, const char* item) {
        World().files.SetText("t.ini", text);
        VKO_CopyText(value, sizeof value, "old");
        return VKO_GetIniFileValue("t.ini", section, item, value);
    }

    /** The value of an item that is there. */
    static std::string ValueOf(const std::string& text, const char* section, const char* item) {
        EXPECT_EQ(Read(text, section, item), 0);
        return value;
    }

    static std::string Line(const std::string& code, const std::string& rest) {
        return "ERR [#] VKO_GetIniFileValue rc[" + code + "]ER:" + rest + "\n";
    }

    static inline char value[4096];
};

// ------------------------------------------------------------------------------------------------ failures

TEST_F(IniRead, ANullArgumentIsAnInvalidParameter) {
    World().files.SetText("t.ini", "[S]\nA=1\n");
    char low[4][16];
    const char* const text = "t.ini";
    VKO_FormatText(low[1], 16, "%08X", LogHandle(text));
    for (int missing = 0; missing < 4; ++missing) {
        const char* const file = missing == 0 ? nullptr : text;
        const char* const section = missing == 1 ? nullptr : text;
        const char* const item = missing == 2 ? nullptr : text;
        VKO_CopyText(value, sizeof value, "old");
        VKO_FormatText(low[3], 16, "%08X", LogHandle(value));
        EXPECT_EQ(VKO_GetIniFileValue(file, section, item, missing == 3 ? nullptr : value), -300);
        const auto shown = [&](int argument) {
            return missing == argument ? std::string("00000000") : std::string(low[argument == 3 ? 3 : 1]);
        };
        EXPECT_EQ(TakeLog(),
                  Line("-00300", "INI_FILE_ERR_INVALID_PARAM pIniFileName[" + shown(0) + "h] pSession[" +
                                     shown(1) + "h] pItem[" + shown(2) + "h] pRetValue[" + shown(3) +
                                     "h] bSessionFound[0] bItemFound[0] bValueMatch[0]"));
        EXPECT_STREQ(value, "old");
    }
}

TEST_F(IniRead, AMissingFileIsNotFoundAndLeavesTheBuffer) {
    VKO_CopyText(value, sizeof value, "old");
    EXPECT_EQ(VKO_GetIniFileValue("none.ini", "S", "A", value), -301);
    EXPECT_STREQ(value, "old");
    EXPECT_EQ(TakeLog(), "WRN [#] VKO_FileExist rc[-00001]WR pFileName[none.ini] NOT FOUND!!\n" +
                             Line("-00301",
                                  "INI_FILE_ERR_NOT_FOUND \n\t pIniFileName[none.ini] \n\t     "
                                  "pSession[S] \n\t        pItem[A] \n\t    pRetValue[]"));
}

TEST_F(IniRead, AnEmptyFileIsNotFoundEither) {
    EXPECT_EQ(Read("", "S", "A"), -301);
    EXPECT_STREQ(value, "");
    EXPECT_EQ(TakeLog(), Line("-00301",
                              "INI_FILE_ERR_NOT_FOUND \n\t pIniFileName[t.ini] \n\t     pSession[S] "
                              "\n\t        pItem[A] \n\t    pRetValue[] sztFileSize[0]=0"));
}

TEST_F(IniRead, WithoutMemoryTheFileIsNotOpened) {
    World().faults.FailNth(sim::Call::Alloc, 1);
    EXPECT_EQ(Read("[S]\nA=1\n", "S", "A"), -302);
    EXPECT_STREQ(value, "");
    EXPECT_THAT(TakeLog(), testing::AllOf(testing::StartsWith("ERR [#] VKO_GetIniFileValue rc[-00302]ER:"),
                                          testing::EndsWith("calloc() Fail\n")));
    EXPECT_EQ(World().files.OpenFiles(), 0U);
}

TEST_F(IniRead, AFileThatCannotBeOpenedIsReported) {
    World().faults.FailNth(sim::Call::ReadText, 1);
    EXPECT_EQ(Read("[S]\nA=1\n", "S", "A"), -302);
    EXPECT_THAT(TakeLog(), testing::AllOf(testing::StartsWith("ERR [#] VKO_GetIniFileValue rc[-00302]ER:"),
                                          testing::EndsWith("fopen() Fail\n")));
    EXPECT_EQ(World().LiveAllocations(), 0);
}

TEST_F(IniRead, AMissingSectionIsReported) {
    EXPECT_EQ(Read("[s]\nA=1\n[S \n[SS]", "S", "A"), -304);
    EXPECT_STREQ(value, "");
    EXPECT_EQ(TakeLog(), Line("-00304",
                              "INI_FILE_ERR_SESSION_NOT_FOUND Fail\n\t pIniFileName[t.ini] \n\t     "
                              "pSession[S] \n\t        pItem[A] \n\t    pRetValue[]"));
}

TEST_F(IniRead, AMissingItemIsReported) {
    EXPECT_EQ(Read("[S]\nB=1\na=2\n", "S", "A"), -305);
    EXPECT_STREQ(value, "");
    EXPECT_EQ(TakeLog(), Line("-00305",
                              "INI_FILE_ERR_ITEM_NOT_FOUND VKO_GetIniFileValue Fail\n\t "
                              "pIniFileName[t.ini] \n\t pSession[S] \n\t        pItem[A]ITEM NOT "
                              "FOUND!!"));
}

TEST_F(IniRead, OnlyTheOptionalKeyIsMissedInSilence) {
    EXPECT_EQ(Read("[S]\nB=1\n", "S", "FixarPorta"), -305);
    EXPECT_EQ(TakeLog(), "");
    EXPECT_EQ(Read("[S]\nB=1\n", "S", "FixarPort"), -305);
    EXPECT_EQ(Read("[S]\nB=1\n", "S", "FixarPortaX"), -305);
    EXPECT_EQ(CountOf(TakeLog(), "ITEM NOT FOUND!!"), 2U);
}

TEST_F(IniRead, NoPathLeavesAFileOrABufferBehind) {
    for (const char* text : {"", "[S]\nA=1\n", "[S]\n", "[T]\n"}) {
        Read(text, "S", "A");
        EXPECT_EQ(World().LiveAllocations(), 0) << text;
        EXPECT_EQ(World().files.OpenFiles(), 0U) << text;
    }
}

TEST_F(IniRead, ASuccessfulReadLogsNothing) {
    EXPECT_EQ(ValueOf("[S]\nA=1\n", "S", "A"), "1");
    EXPECT_EQ(TakeLog(), "");
}

// ------------------------------------------------------------------------------------------------ the rules

TEST_F(IniRead, TheFileIsReadAnewInTextMode) {
    World().faults.TraceOn({sim::Call::ReadText, sim::Call::FileOpen});
    EXPECT_EQ(ValueOf("[S]\nA=1\n", "S", "A"), "1");
    EXPECT_EQ(ValueOf("[S]\nA=2\n", "S", "A"), "2");
    EXPECT_THAT(World().faults.trace, testing::ElementsAre("ReadText t.ini", "ReadText t.ini"));
}

TEST_F(IniRead, EqualSignsAndBlanksAreDroppedWhereverTheyStand) {
    EXPECT_EQ(ValueOf("[S]\nA = 1 2\n", "S", "A"), "12");
    EXPECT_EQ(ValueOf("[S]\nA=b=c==d\n", "S", "A"), "bcd");
    EXPECT_EQ(ValueOf("[S]\nPath = D:\\Program Files\\X\n", "S", "Path"), "D:\\ProgramFiles\\X");
    EXPECT_EQ(ValueOf("[S]\nA=\t1\t\n", "S", "A"), "\t1\t");
    EXPECT_EQ(ValueOf("[S]\nA 1;#\"x\"\n", "S", "A"), "1;#\"x\"");
    EXPECT_EQ(ValueOf("[SERIAL_PORT_CONFIG]\nSerialPortConfig = 9600, 8, N, 1\n", "SERIAL_PORT_CONFIG",
                      "SerialPortConfig"),
              "9600,8,N,1");
}

TEST_F(IniRead, AnItemWithoutAValueIsEmptyAndFound) {
    EXPECT_EQ(ValueOf("[S]\nA=\nB=1\n", "S", "A"), "");
    EXPECT_EQ(ValueOf("[S]\nA\n", "S", "A"), "");
    EXPECT_EQ(ValueOf("[S]\nA = = \n", "S", "A"), "");
    EXPECT_EQ(ValueOf("[S]\nA", "S", "A"), "");
}

TEST_F(IniRead, AHeaderInACommentBeginsTheSearch) {
    EXPECT_EQ(ValueOf("# about [LOG]\nA=1\n[LOG]\nA=2\n", "LOG", "A"), "1");
    EXPECT_EQ(Read("# about [LOG]\n[X]\n[LOG]\nA=2\n", "LOG", "A"), -305);
    EXPECT_EQ(ValueOf("[X]\nB=[LOG]A=7\n", "LOG", "A"), "7");
}

TEST_F(IniRead, ANameMatchesAsAPrefixAndInsideAWord) {
    EXPECT_EQ(ValueOf("[LOG]\nLogMode=5\n", "LOG", "Log"), "Mode5");
    EXPECT_EQ(ValueOf("[LOG]\nXLogMode=5\n", "LOG", "LogMode"), "5");
    EXPECT_EQ(ValueOf("[LOG]\n# LogMode goes first\nLogMode=5\n", "LOG", "LogMode"), "goesfirst");
    EXPECT_EQ(ValueOf("[LOG]\nB=LogMode\nLogMode=5\n", "LOG", "LogMode"), "");
}

TEST_F(IniRead, ASectionEndsAtTheNextBracket) {
    const std::string text = "[SAT_EMULATOR]\nPort=1\n[CUPOM_DESK]\nEnable=1\n";
    EXPECT_EQ(Read(text, "SAT_EMULATOR", "Enable"), -305);
    EXPECT_EQ(ValueOf(text, "CUPOM_DESK", "Enable"), "1");
    EXPECT_EQ(Read("[S]\nB=[x]\nA=1\n", "S", "A"), -305);
    EXPECT_EQ(ValueOf("[S]\nA=[x]\n", "S", "A"), "[x]");
    EXPECT_EQ(Read("[S]\n[A=1\n", "S", "[A"), -305);
}

TEST_F(IniRead, TheSearchForTheCarriageReturnLooksBehindTheHeader) {
    // The text before the header is 4 characters long, so a carriage return ends a value 4 characters early.
    EXPECT_EQ(ValueOf("###\n[S]\nA=123456\r\n", "S", "A"), "12");
    // Without such a text it is the usual place.
    EXPECT_EQ(ValueOf("[S]\nA=123456\r\n", "S", "A"), "123456");
    // A carriage return inside the value does not end it when the other place has none.
    EXPECT_EQ(ValueOf("###\n[S]\nA=1\r23456789\n", "S", "A"), "1\r23456789");
    // The last lines of a file: the place looked at lies behind the file.
    EXPECT_EQ(ValueOf(std::string(3000, '#') + "\n[S]\nA=1\r\n", "S", "A"), "1");
}

TEST_F(IniRead, TrailingCarriageReturnsGo) {
    EXPECT_EQ(ValueOf("##########\n[S]\nA=12\r\r\r\n", "S", "A"), "12");
    EXPECT_EQ(ValueOf("##########\n[S]\nA=\r\n", "S", "A"), "");
}

TEST_F(IniRead, WhatStandsInFrontOfTheBufferStays) {
    World().files.SetText("a.ini", "##########\n[S]\nA=\r\n");
    char bytes[4] = {'\n', '#', '#', '#'};
    EXPECT_EQ(VKO_GetIniFileValueSized("a.ini", "S", "A", bytes + 1, 3), 0);
    EXPECT_EQ(bytes[0], '\n');
    EXPECT_EQ(bytes[1], '\0');
}

TEST_F(IniRead, AFileWithWindowsLineEndsIsRead) {
    std::string text = DefaultIni();
    for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2))
        text.insert(at, "\r");
    // The first section begins in line 4; its values may end early, but never hold a carriage return.
    EXPECT_EQ(Read(text, "LOG", "LogMode"), 0);
    EXPECT_STREQ(value, "1");
    EXPECT_EQ(Read(text, "SAT_EMULATOR", "Enable"), 0);
    EXPECT_STREQ(value, "0");
}

TEST_F(IniRead, TheTextEndsAtANulByte) {
    using namespace std::string_literals;
    EXPECT_EQ(Read("\0[S]\nA=1\n"s, "S", "A"), -304);
    EXPECT_EQ(Read("[S]\nB=1\0\nA=1\n"s, "S", "A"), -305);
    EXPECT_EQ(ValueOf("[S]\nA=1\0002\n"s, "S", "A"), "1");
    // The carriage return that is looked for may stand behind it.
    EXPECT_EQ(ValueOf("##[S]\nA=123\0\r"s, "S", "A"), "12");
}

TEST_F(IniRead, AValueAtTheEndOfTheFileNeedsNoLineEnd) {
    EXPECT_EQ(ValueOf("[S]\nA=last", "S", "A"), "last");
}

TEST_F(IniRead, HalfAFileIsReadAsFarAsItGoes) {
    World().files.SetText("t.ini", "[S]\nA=1\nB=2\nC=3\n");
    World().faults.FailNth(sim::Call::ReadText, 1, 1, 2);
    EXPECT_EQ(VKO_GetIniFileValue("t.ini", "S", "A", value), 0);
    EXPECT_STREQ(value, "1");
    World().faults.FailNth(sim::Call::ReadText, 1, 1, 2);
    EXPECT_EQ(VKO_GetIniFileValue("t.ini", "S", "C", value), -305);
}

TEST_F(IniRead, AnEmptyNameIsFoundAtOnce) {
    EXPECT_EQ(ValueOf("[S]x y\nA=1\n", "S", ""), "xy");
    EXPECT_EQ(ValueOf("[]\nA=1\n", "", "A"), "1");
    EXPECT_EQ(Read("[S]", "S", ""), -305);
}

// ----------------------------------------------------------------------------------------------- the bound

TEST_F(IniRead, AValueLongerThanTheBufferIsCutAndReportedOnce) {
    World().files.SetText("t.ini", "[S]\nA=1234 567890\n");
    char small[6] = "?????";
    EXPECT_EQ(VKO_GetIniFileValueSized("t.ini", "S", "A", small, 5), 0);
    EXPECT_STREQ(small, "1234");
    EXPECT_EQ(TakeLog(),
              "WRN [#] VKO_GetIniFileValue rc[000000]WR pIniFileName[t.ini] pSession[S] pItem[A] VALUE "
              "TOO LONG, CUT TO[1234]\n");
    EXPECT_EQ(VKO_GetIniFileValueSized("t.ini", "S", "A", small, 1), 0);
    EXPECT_STREQ(small, "");
    EXPECT_EQ(CountOf(TakeLog(), "TOO LONG"), 1U);
}

TEST_F(IniRead, AValueThatJustFitsIsNotReported) {
    char small[6];
    for (const char* text : {"[S]\nA=12345\n", "[S]\nA=1 2 3 4 5 = \n", "#######\n[S]\nA=12345\r\n",
                             "#######\n[S]\nA=12345\r\r", "[S]\nA=12345"}) {
        World().files.SetText("t.ini", text);
        EXPECT_EQ(VKO_GetIniFileValueSized("t.ini", "S", "A", small, 6), 0);
        EXPECT_STREQ(small, "12345");
        EXPECT_EQ(TakeLog(), "") << text;
    }
}

TEST_F(IniRead, AMegabyteSectionIsSearchedInLinearTime) {
    std::string text = "[S]\n";
    for (int i = 0; text.size() < (1U << 20); ++i)
        text += "Key" + std::to_string(i) + "=value\n";
    text += "Last=found\n";
    World().files.SetText("t.ini", text);
    // A search whose cost grows with the square of the length would take many seconds for one of these.
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(VKO_GetIniFileValue("t.ini", "S", "Last", value), 0);
        EXPECT_EQ(VKO_GetIniFileValue("t.ini", "S", "Missing", value), -305);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

}  // namespace

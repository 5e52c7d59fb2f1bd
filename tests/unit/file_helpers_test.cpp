/*
 * The file helpers: what stands under a name, how large it is, and making folders.
 */
#include "logged_library.h"

namespace {

class FileHelpers : public LoggedLibrary {
  protected:
    void SetUp() override {
        LoggedLibrary::SetUp();
        World().files.MakeFolder("folder");
        World().files.SetText("file", "12345");
        World().files.SetText("empty", "");
    }

    static std::string Kind(const std::string& tag, const std::string& rc, const std::string& text,
                            const std::string& mode) {
        return tag + " [#] VKO_Exist  rc[" + rc + "]" + text + " st_mode[" + mode +
               "h] & S_IFMT[0000F000h] return " + std::to_string(std::stoi(rc)) + "\n";
    }
};

TEST_F(FileHelpers, AChangeShowsTwoSecondsAndSomeTicksBehindTheLastOne) {
    World().clock.SetUtc(2026, 11, 20, 15, 4, 5, 99);
    constexpr int64_t kNow = 1'795'187'045;
    EXPECT_FALSE(VKO_ChangeShows(kNow - 2));
    EXPECT_TRUE(VKO_ChangeShows(kNow - 3));
    World().clock.Advance(1);
    EXPECT_TRUE(VKO_ChangeShows(kNow - 2));
    EXPECT_FALSE(VKO_ChangeShows(kNow));
    // Of another clock.
    EXPECT_FALSE(VKO_ChangeShows(kNow + 3600));
    EXPECT_TRUE(VKO_ChangeShows(0));
    EXPECT_TRUE(VKO_ChangeShows(-1));
    EXPECT_FALSE(VKO_ChangeShows(INT64_MAX));
    EXPECT_FALSE(VKO_ChangeShows(INT64_MIN));
}

TEST_F(FileHelpers, TheSizeOfAFile) {
    EXPECT_EQ(VKO_GetFileSize("file"), 5);
    EXPECT_EQ(VKO_GetFileSize("empty"), 0);
    EXPECT_EQ(VKO_GetFileSize("none"), -1);
    EXPECT_EQ(TakeLog(), "");
    World().faults.FailNth(sim::Call::FileQuery, 1);
    EXPECT_EQ(VKO_GetFileSize("file"), -1);
}

TEST_F(FileHelpers, ASizeWithoutANameIsAWarning) {
    EXPECT_EQ(VKO_GetFileSize(nullptr), -1);
    EXPECT_EQ(TakeLog(),
              "WRN [#] [../src/vko_utils/vko_utils] [VKO_GetFileSize] rc[-00001]WR: pFileName=NULL\n");
}

TEST_F(FileHelpers, AnExistingFileGivesItsSize) {
    EXPECT_EQ(VKO_FileExist("file"), 5);
    EXPECT_EQ(VKO_FileExist("empty"), 0);
    EXPECT_EQ(TakeLog(), "");
}

TEST_F(FileHelpers, AMissingFileIsReportedUnlessItIsTheConfiguration) {
    EXPECT_EQ(VKO_FileExist("none"), -1);
    EXPECT_EQ(TakeLog(), "WRN [#] VKO_FileExist rc[-00001]WR pFileName[none] NOT FOUND!!\n");
    EXPECT_EQ(VKO_FileExist("SAT.ini"), -1);
    EXPECT_EQ(TakeLog(), "");
    EXPECT_EQ(VKO_FileExist(".\\SAT.ini"), -1);
    EXPECT_EQ(VKO_FileExist("sat.ini"), -1);
    EXPECT_EQ(CountOf(TakeLog(), "NOT FOUND!!"), 2U);
}

TEST_F(FileHelpers, AnExistenceTestWithoutANameIsAnError) {
    EXPECT_EQ(VKO_FileExist(nullptr), -1);
    EXPECT_EQ(TakeLog(), "ERR [#] VKO_FileExist rc[-00001]ER pFileName[null]\n");
    EXPECT_EQ(VKO_Exist(nullptr), -1);
    EXPECT_EQ(TakeLog(), "ERR [#] VKO_Exist  rc[-00001]ER:  pDirFileName=NULL\n");
}

TEST_F(FileHelpers, EveryKindHasItsResultAndItsLine) {
    struct Row {
        uint32_t kind;
        int result;
        std::string line;
    };
    const Row rows[] = {
        {0x1000, 0x1000, Kind("ERR", "004096", "ER:S_IFCHR is  FIFO/pipe", "000011B6")},
        {0x2000, 0x2000, Kind("ERR", "008192", "ER:S_IFCHR is character device", "000021B6")},
        {0x3000, 0x3000, Kind("ERR", "012288", "ER:S_IFBLK is block device", "000031B6")},
        {0x6000, 0x6000, Kind("ERR", "024576", "ER:S_UNKNW is Unknown?", "000061B6")},
        {0xC000, 0xC000, Kind("ERR", "049152", "ER:S_UNKNW is Unknown?", "0000C1B6")},
        {0x0000, 0, Kind("ERR", "000000", "ER:S_UNKNW is Unknown?", "000001B6")},
    };
    for (const Row& row : rows) {
        World().files.SetKind("special", row.kind);
        EXPECT_EQ(VKO_Exist("special"), row.result);
        EXPECT_EQ(TakeLog(), row.line);
    }
    EXPECT_EQ(VKO_Exist("folder"), 1);
    EXPECT_EQ(TakeLog(),
              "INF [#] VKO_Exist  rc[000001]OK:S_IFDIR is directory         st_mode[000041FFh] & "
              "S_IFMT[0000F000h] return 1\n");
    // Found, and yet an error: that is how it is.
    EXPECT_EQ(VKO_Exist("file"), 2);
    EXPECT_EQ(TakeLog(),
              "ERR [#] VKO_Exist  rc[000002]ER:S_IFREG is regular file     st_mode[000081B6h] & "
              "S_IFMT[0000F000h] return 2\n");
}

TEST_F(FileHelpers, NothingUnderANameIsReportedUnlessTheNameIsLog) {
    EXPECT_EQ(VKO_Exist("none"), 0);
    EXPECT_EQ(TakeLog(),
              "WRN [#] VKO_Exist  rc[-00001]WR:  pDirFileName[none] Not Found!!! force return 0\n");
    World().files.Remove("Log");
    World().files.Remove("20261120_SAT_api.log");
    EXPECT_EQ(VKO_Exist("Log"), 0);
    EXPECT_FALSE(World().files.Exists("20261120_SAT_api.log"));
    EXPECT_EQ(VKO_Exist("Logs"), 0);
    EXPECT_EQ(CountOf(FileText("20261120_SAT_api.log"), "Not Found!!!"), 1U);
}

// ------------------------------------------------------------------------------------------ making folders

TEST_F(FileHelpers, AFolderThatIsThereIsNotMadeAgain) {
    EXPECT_EQ(VKO_CreateDir("folder"), 1);
    EXPECT_EQ(World().faults.Count(sim::Call::CreateFolder), 0U);
    EXPECT_EQ(TakeLog(), "");
}

TEST_F(FileHelpers, TheDirectoryBitAloneDecides) {
    World().files.SetKind("special", 0xC000);
    EXPECT_EQ(VKO_CreateDir("special"), 1);
}

TEST_F(FileHelpers, AMissingFolderIsMade) {
    EXPECT_EQ(VKO_CreateDir("new"), 2);
    EXPECT_TRUE(World().files.IsFolder("new"));
    EXPECT_EQ(VKO_CreateDir("new\\deeper"), 2);
    EXPECT_EQ(VKO_CreateDir("new\\deeper"), 1);
    EXPECT_EQ(TakeLog(), "");
}

TEST_F(FileHelpers, AFolderOnAFileIsRefused) {
    EXPECT_EQ(VKO_CreateDir("file"), -4);
    EXPECT_EQ(FileText("file"), "12345");
    EXPECT_THAT(TakeLog(), testing::StartsWith("ERR [#] VKO_CreateDir rc[-00004]"));
}

TEST_F(FileHelpers, AFolderBelowAMissingOneIsNotMade) {
    EXPECT_EQ(VKO_CreateDir("a\\b"), -5);
    EXPECT_EQ(TakeLog(), "ERR [#] VKO_CreateDir rc[-00005] pDirName[a\\b] Not Created!\n");
    EXPECT_FALSE(World().files.Exists("a"));
    World().faults.FailAlways(sim::Call::CreateFolder);
    EXPECT_EQ(VKO_CreateDir("c"), -5);
}

TEST_F(FileHelpers, AFolderWithoutANameIsAnError) {
    EXPECT_EQ(VKO_CreateDir(nullptr), -1);
    EXPECT_THAT(TakeLog(), testing::StartsWith("ERR [#] VKO_CreateDir rc[-00001]"));
}

// --------------------------------------------------------------------------------------------- hexadecimal

TEST_F(FileHelpers, BytesAsHexadecimalPairs) {
    const uint8_t bytes[] = {0x00, 0x0A, 0xFF, 0x5C};
    EXPECT_STREQ(VKO_BinToHexStr(bytes, 4), "000AFF5C");
    EXPECT_STREQ(VKO_BinToHexStr(bytes, 2), "000A");
    EXPECT_STREQ(VKO_BinToHexStr(bytes, 0), "");
    EXPECT_STREQ(VKO_BinToHexStr(bytes, -1), "");
    EXPECT_STREQ(VKO_BinToHexStr(nullptr, 4), "");
}

TEST_F(FileHelpers, TheHexadecimalTextEndsWithItsBuffer) {
    const std::vector<uint8_t> bytes(5000, 0xAB);
    const char* text = VKO_BinToHexStr(bytes.data(), 2043);
    EXPECT_EQ(strlen(text), 4086U);
    // One more pair begins below 4087 characters, and none after it.
    EXPECT_EQ(strlen(VKO_BinToHexStr(bytes.data(), 2044)), 4088U);
    EXPECT_EQ(strlen(VKO_BinToHexStr(bytes.data(), 5000)), 4088U);
    // The buffer is the same one and is cleared whole.
    EXPECT_EQ(VKO_BinToHexStr(bytes.data(), 1), text);
    EXPECT_EQ(std::string(text, 4096), "AB" + std::string(4094, '\0'));
}

}  // namespace

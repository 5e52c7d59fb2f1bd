/*
 * Deleting folders and files by the shell.
 */
#include "logged_library.h"

namespace {

constexpr const char* kExists =
    "INF [#] VKO_Exist  rc[000001]OK:S_IFDIR is directory         st_mode[000041FFh] & S_IFMT[0000F000h] return 1\n";
constexpr const char* kRegular =
    "ERR [#] VKO_Exist  rc[000002]ER:S_IFREG is regular file     st_mode[000081B6h] & S_IFMT[0000F000h] return 2\n";
constexpr const char* kMissing =
    "WRN [#] VKO_Exist  rc[-00001]WR:  pDirFileName[x] Not Found!!! force return 0\n";

class Deletion : public LoggedLibrary {
  protected:
    static void MakeFolder() { World().files.SetText("x\\sub\\file", "1"); }
    static void MakeFile() { World().files.SetText("x", "1"); }
    static void MakePipe() { World().files.SetKind("x", PLAT_MODE_PIPE); }

    static std::string Line(const std::string& tag, const std::string& routine, const std::string& rest) {
        return tag + " [#] " + routine + " rc" + rest + "\n";
    }
};

TEST_F(Deletion, AFolderGoesWithAllThatIsInIt) {
    MakeFolder();
    EXPECT_EQ(VKO_DeleteDir("x"), 1);
    EXPECT_FALSE(World().files.Exists("x"));
    EXPECT_THAT(World().files.commands, testing::ElementsAre("rmdir /S /Q x"));
    EXPECT_EQ(
        TakeLog(),
        kExists +
            Line("WRN", "VKO_DeleteDir", "[000001]WR   pDirName[x] Directory Exist >> Delete it Now!!!") +
            kMissing +
            Line("WRN", "VKO_DeleteDir", "[000001]WR   pDirName[x] Directory Successfull Deleted return 1"));
}

TEST_F(Deletion, AMissingFolderOrFileIsNotDeleted) {
    EXPECT_EQ(VKO_DeleteDir("x"), 0);
    EXPECT_EQ(TakeLog(), kMissing + Line("WRN", "VKO_DeleteDir",
                                         "[000000]WR   pDirName[x] Directory do not Exist! >> return 0"));
    EXPECT_EQ(VKO_DeleteFile("x"), 0);
    EXPECT_EQ(TakeLog(), kMissing + Line("WRN", "VKO_DeleteFile",
                                         "[000000]WR   pDirName[x] File do not Exist! >> return 0"));
    EXPECT_TRUE(World().files.commands.empty());
}

TEST_F(Deletion, AnotherKindIsRefusedWithoutACommand) {
    MakeFile();
    EXPECT_EQ(VKO_DeleteDir("x"), -2);
    EXPECT_EQ(TakeLog(), kRegular + Line("ERR", "VKO_DeleteDir",
                                         "[-00002]ER   pDirName[x] Is not a Directort! >> return -2"));
    World().files.Remove("x");
    MakeFolder();
    EXPECT_EQ(VKO_DeleteFile("x"), -2);
    EXPECT_EQ(TakeLog(), kExists + Line("ERR", "VKO_DeleteFile",
                                        "[-00002]ER   pDirName[x] Is not a File! >> return -2"));
    World().files.Remove("x");
    MakePipe();
    EXPECT_EQ(VKO_DeleteDir("x"), -2);
    EXPECT_EQ(VKO_DeleteFile("x"), -2);
    EXPECT_TRUE(World().files.commands.empty());
    EXPECT_TRUE(World().files.Exists("x"));
}

TEST_F(Deletion, AFolderThatStaysIsReported) {
    MakeFolder();
    World().files.Lock("x\\sub\\file");
    EXPECT_EQ(VKO_DeleteDir("x"), -1);
    EXPECT_THAT(TakeLog(),
                testing::EndsWith(Line("ERR", "VKO_DeleteDir",
                                       "[-00001]ER   pDirName[x] Directory Could not be Deleted return -1")));
}

TEST_F(Deletion, AFileGoesAlsoInTheSubfolders) {
    MakeFile();
    World().files.SetText("sub\\x", "2");
    World().files.SetText("sub\\y", "3");
    EXPECT_EQ(VKO_DeleteFile("x"), 1);
    EXPECT_FALSE(World().files.Exists("x"));
    EXPECT_FALSE(World().files.Exists("sub\\x"));
    EXPECT_TRUE(World().files.Exists("sub\\y"));
    EXPECT_THAT(World().files.commands, testing::ElementsAre("del /S x"));
    EXPECT_EQ(
        TakeLog(),
        kRegular + Line("WRN", "VKO_DeleteFile", "[000002]WR   pDirName[x] File Exist >> Delete it Now!!!") +
            kMissing +
            Line("WRN", "VKO_DeleteFile", "[000001]WR   pDirName[x] File Successfull Deleted return 1"));
}

TEST_F(Deletion, AFileThatStaysCountsAsTheRemainingOutcome) {
    MakeFile();
    World().files.Lock("x");
    EXPECT_EQ(VKO_DeleteFile("x"), 3);
    EXPECT_THAT(TakeLog(), testing::EndsWith(Line("WRN", "VKO_DeleteFile",
                                                  "[000003]WR   pDirName[x] File Deleted return 3")));
}

TEST_F(Deletion, TheAnswerOfTheShellDoesNotCountOnlyWhatIsLeft) {
    MakeFile();
    World().faults.FailNth(sim::Call::Shell, 1, 1, 1);  // exit code 0, nothing done
    EXPECT_EQ(VKO_DeleteFile("x"), 3);
    World().files.Remove("x");
    MakeFolder();
    World().faults.FailNth(sim::Call::Shell, 1, 1, 1);
    EXPECT_EQ(VKO_DeleteDir("x"), -1);
}

TEST_F(Deletion, AStatusThatIsRefusedAfterwardsCountsAsGone) {
    LoadAtMode('0');
    MakeFolder();
    World().faults.FailNth(sim::Call::Shell, 1);
    World().faults.FailNth(sim::Call::FileQuery, 2);
    EXPECT_EQ(VKO_DeleteDir("x"), 1);
    EXPECT_TRUE(World().files.Exists("x"));
}

TEST_F(Deletion, AMissingNameIsAnError) {
    EXPECT_EQ(VKO_DeleteDir(nullptr), -1);
    EXPECT_THAT(TakeLog(), testing::StartsWith("ERR [#] VKO_DeleteDir rc[-00001]ER"));
    EXPECT_EQ(VKO_DeleteFile(nullptr), -1);
    EXPECT_THAT(TakeLog(), testing::StartsWith("ERR [#] VKO_DeleteFile rc[-00001]ER"));
    EXPECT_TRUE(World().files.commands.empty());
}

TEST_F(Deletion, ANameWithABlankCountsAsTwoNames) {
    World().files.MakeFolder("a b");
    World().files.MakeFolder("a");
    World().files.MakeFolder("b");
    EXPECT_EQ(VKO_DeleteDir("a b"), -1);
    EXPECT_TRUE(World().files.Exists("a b"));
    EXPECT_FALSE(World().files.Exists("a"));
    EXPECT_FALSE(World().files.Exists("b"));
}

TEST_F(Deletion, ANameTooLongForTheCommandIsNotRun) {
    // 511 characters and the NUL fill the command's buffer.
    const std::string dirFits(511 - strlen("rmdir /S /Q "), 'd');
    const std::string fileFits(511 - strlen("del /S "), 'f');
    World().files.MakeFolder(dirFits);
    World().files.MakeFolder(dirFits + "d");
    World().files.SetText(fileFits, "1");
    World().files.SetText(fileFits + "f", "1");
    EXPECT_EQ(VKO_DeleteDir((dirFits + "d").c_str()), -1);
    EXPECT_THAT(TakeLog(), testing::HasSubstr(Line("ERR", "VKO_DeleteDir",
                                                   "[000003]ER   pDirName[" + dirFits +
                                                       "d] Name too long for the command >> not run")));
    EXPECT_EQ(VKO_DeleteFile((fileFits + "f").c_str()), 3);
    EXPECT_TRUE(World().files.commands.empty());
    EXPECT_EQ(VKO_DeleteDir(dirFits.c_str()), 1);
    EXPECT_EQ(VKO_DeleteFile(fileFits.c_str()), 1);
    EXPECT_TRUE(World().files.Exists(dirFits + "d"));
    EXPECT_TRUE(World().files.Exists(fileFits + "f"));
}

}  // namespace

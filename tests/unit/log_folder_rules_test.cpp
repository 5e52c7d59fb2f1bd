/*
 * Where the diagnostic log lies.
 */
#include <algorithm>

#include "logged_library.h"

namespace {

class LogFolderRules : public Library {
  protected:
    /** Configures the folder, writes one line, and returns the name under which its file was opened. */
    static std::string OpenedFor(const std::string& folder) {
        World().files.SetText("log.ini", "[LOG]\nLogMode=5\nLogFilePath=" + folder + "\n");
        VKO_SetIniFileLogMode("SAT_api.log", "log.ini");
        World().faults.TraceOn({sim::Call::AppendText});
        World().faults.trace.clear();
        VKO_LogWrite("n.log", VKO_LOG_ERR, "x\n");
        World().faults.TraceOff();
        return World().faults.trace.empty() ? "" : World().faults.trace[0];
    }
};

TEST_F(LogFolderRules, AFolderWithADriveIsTakenAsItStands) {
    World().files.MakeFolder("C:\\logs");
    EXPECT_EQ(OpenedFor("C:\\logs"), "AppendText C:\\logs\\20261120_n.log");
    EXPECT_EQ(FileText("C:\\logs\\20261120_n.log"), "[12:04:05.006]ERR x\n");
}

TEST_F(LogFolderRules, AFolderFromTheRootIsTakenAsItStands) {
    World().files.MakeFolder("/var/log/zantir");
    EXPECT_EQ(OpenedFor("/var/log/zantir"), "AppendText /var/log/zantir\\20261120_n.log");
}

TEST_F(LogFolderRules, AnyOtherFolderLiesBelowTheCurrentOne) {
    World().files.MakeFolder("logs");
    World().files.MakeFolder("deep\\logs");
    EXPECT_EQ(OpenedFor("logs"), "AppendText .\\logs\\20261120_n.log");
    EXPECT_EQ(OpenedFor("deep\\logs"), "AppendText .\\deep\\logs\\20261120_n.log");
    EXPECT_EQ(FileText("C:\\app\\logs\\20261120_n.log"), "[12:04:05.006]ERR x\n");
}

TEST_F(LogFolderRules, AMissingFolderSendsTheLogToTheCurrentOne) {
    EXPECT_EQ(OpenedFor("missing"), "AppendText 20261120_n.log");
    EXPECT_EQ(OpenedFor("C:\\missing"), "AppendText 20261120_n.log");
    EXPECT_EQ(OpenedFor(""), "AppendText 20261120_n.log");
    EXPECT_FALSE(World().files.Exists("missing"));
}

TEST_F(LogFolderRules, AFolderOfOneCharacterIsNotUsed) {
    World().files.MakeFolder("x");
    World().files.MakeFolder("xy");
    EXPECT_EQ(OpenedFor("x"), "AppendText 20261120_n.log");
    EXPECT_EQ(OpenedFor("xy"), "AppendText .\\xy\\20261120_n.log");
}

TEST_F(LogFolderRules, SomethingElseInPlaceOfTheFolderIsNotUsed) {
    World().files.SetText("file", "x");
    World().files.SetKind("pipe", PLAT_MODE_PIPE);
    // Shares the folder's bit without being one.
    World().files.SetKind("other", 0xC000);
    EXPECT_EQ(OpenedFor("file"), "AppendText 20261120_n.log");
    EXPECT_EQ(OpenedFor("pipe"), "AppendText 20261120_n.log");
    EXPECT_EQ(OpenedFor("other"), "AppendText 20261120_n.log");
}

TEST_F(LogFolderRules, AFolderWhoseStatusIsRefusedIsNotUsed) {
    World().files.MakeFolder("logs");
    OpenedFor("logs");
    World().faults.FailAlways(sim::Call::FileQuery);
    // As every call of the library does first.
    TraleFileLogSzCtl();
    VKO_LogWrite("n.log", VKO_LOG_ERR, "y\n");
    EXPECT_EQ(FileText("20261120_n.log"), "[12:04:05.006]ERR y\n");
}

TEST_F(LogFolderRules, AFolderThatWasThereIsNotLookedForAtEachLine) {
    World().files.MakeFolder("logs");
    World().files.MakeFolder("C:\\logs");
    for (const char* folder : {"logs", "C:\\logs"}) {
        OpenedFor(folder);
        const uint64_t looks = World().faults.Count(sim::Call::FileQuery);
        for (int i = 0; i < 5; ++i)
            VKO_LogWrite("n.log", VKO_LOG_ERR, "y\n");
        EXPECT_EQ(World().faults.Count(sim::Call::FileQuery), looks) << folder;
    }
}

TEST_F(LogFolderRules, ALineWhoseFolderHasGoneMeanwhileIsNotLost) {
    World().files.MakeFolder("logs");
    // The longer one goes to its file in pieces.
    for (const std::string& text : {std::string("y"), std::string(5000, 'z')}) {
        OpenedFor("logs");
        World().files.Remove("logs\\20261120_n.log");
        World().files.Remove("logs");
        World().files.Remove("20261120_n.log");
        VKO_LogWrite("n.log", VKO_LOG_ERR, "%s\n", text.c_str());
        EXPECT_EQ(FileText("20261120_n.log"), "[12:04:05.006]ERR " + text + "\n");
        World().files.MakeFolder("logs");
        VKO_LogWrite("n.log", VKO_LOG_ERR, "back\n");
        EXPECT_EQ(FileText("logs\\20261120_n.log"), "[12:04:05.006]ERR back\n");
    }
}

TEST_F(LogFolderRules, AKnownFolderIsNotTakenForTheNextOneOfTheSettings) {
    World().files.MakeFolder("xy");
    World().files.MakeFolder("x");
    EXPECT_EQ(OpenedFor("xy"), "AppendText .\\xy\\20261120_n.log");
    EXPECT_EQ(OpenedFor("x"), "AppendText 20261120_n.log");
    World().files.MakeFolder("logs");
    EXPECT_EQ(OpenedFor("logs"), "AppendText .\\logs\\20261120_n.log");
    EXPECT_EQ(OpenedFor("\\logs"), "AppendText 20261120_n.log");
}

TEST_F(LogFolderRules, WhatAFullDiskTookOfALineIsNotWrittenTwice) {
    World().files.MakeFolder("logs");
    OpenedFor("logs");
    World().files.Remove("logs\\20261120_n.log");
    World().faults.FailNth(sim::Call::AppendText, 1, 1, 2);
    VKO_LogWrite("n.log", VKO_LOG_ERR, "y\n");
    EXPECT_EQ(FileText("logs\\20261120_n.log"), std::string("[12:04:05.006]ERR y\n").substr(0, 10));
    EXPECT_FALSE(World().files.Exists("20261120_n.log"));
}

TEST_F(LogFolderRules, AFolderBelowTheCurrentOneIsNotTakenForThatOfTheRoot) {
    World().files.MakeFolder("\\logs");
    World().files.MakeFolder("logs");
    OpenedFor("\\logs");
    World().files.Remove("\\logs");
    VKO_LogWrite("n.log", VKO_LOG_ERR, "y\n");
    EXPECT_EQ(FileText("20261120_n.log"), "[12:04:05.006]ERR y\n");
}

TEST_F(LogFolderRules, ANameThatLeadsOutOfTheFolderStillNeedsIt) {
    World().files.MakeFolder("logs");
    World().files.MakeFolder("a");
    OpenedFor("logs");
    World().files.Remove("logs\\20261120_n.log");
    World().files.Remove("logs");
    World().faults.TraceOn({sim::Call::AppendText});
    World().faults.trace.clear();
    VKO_LogWrite("\\..\\..\\a\\n.log", VKO_LOG_ERR, "y\n");
    World().faults.TraceOff();
    EXPECT_EQ(World().faults.trace, std::vector<std::string>{"AppendText 20261120_\\..\\..\\a\\n.log"});
}

TEST_F(LogFolderRules, BlanksOfTheFolderAreGone) {
    World().files.MakeFolder("ProgramFiles");
    EXPECT_EQ(OpenedFor("Program Files"), "AppendText .\\ProgramFiles\\20261120_n.log");
}

TEST_F(LogFolderRules, ALogNameLongerThanThePathBufferIsCut) {
    World().files.MakeFolder("logs");
    OpenedFor("logs");
    VKO_LogWrite(std::string(5000, 'n').c_str(), VKO_LOG_ERR, "x\n");
    size_t longest = 0;
    for (const std::string& name : World().files.List("C:\\app\\logs"))
        longest = std::max(longest, name.size());
    EXPECT_EQ(longest, 2047 - std::string(".\\logs\\").size());
}

}  // namespace

/*
 * Files and folders of the simulated machine.
 */
#include "sim_files.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <vector>

#include "sim_platform.h"

namespace {

using sim::Call;

class SimFiles : public ::testing::Test {
  protected:
    void SetUp() override { world.Reset(); }
    sim::World& world = sim::world();
    sim::Files& files = sim::world().files;
};

bool Put(const char* path, const char* mode, const std::string& text) {
    plat_file* file = plat_file_open(path, mode);
    if (file == nullptr) return false;
    const bool written = plat_file_write(file, text.data(), text.size());
    return plat_file_close(file) && written;
}

bool Print(plat_file* file, const char* format, ...) PLAT_PRINTF_CHECK(2, 3);
bool Print(plat_file* file, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const bool printed = plat_file_vprintf(file, format, arguments);
    va_end(arguments);
    return printed;
}

std::vector<std::string> Found(const char* pattern) {
    std::vector<std::string> names;
    char name[64];
    const plat_handle search = plat_find_open(pattern, name, sizeof name);
    if (!plat_handle_valid(search)) return names;
    do {
        names.emplace_back(name);
    } while (plat_find_next(search, name, sizeof name));
    plat_find_close(search);
    return names;
}

TEST_F(SimFiles, PathsOfOneFile) {
    files.SetText("C:\\app\\Log\\a.txt", "text");
    plat_file_status status;
    for (const char* path : {"Log\\a.txt", "Log/a.txt", ".\\Log\\a.txt", "./Log/./a.txt", "C:/app/Log//a.txt",
                             "Log\\..\\Log\\a.txt", "..\\app\\Log\\a.txt"}) {
        EXPECT_TRUE(plat_file_query(path, &status)) << path;
        EXPECT_EQ(status.size, 4) << path;
    }
    for (const char* path : {"log\\a.txt", "Log\\A.txt", "a.txt", "\\Log\\a.txt", "Log\\a.txt\\b", ""})
        EXPECT_FALSE(plat_file_query(path, &status)) << path;
    EXPECT_EQ(plat_last_error(), 2u);
}

TEST_F(SimFiles, EachProcessHasItsCurrentFolder) {
    files.SetText("SAT.ini", "one");
    files.SetCurrentFolder(2, "D:\\other");
    plat_file_status status;
    EXPECT_TRUE(plat_file_query("SAT.ini", &status));
    world.SetThread(2, 2);
    EXPECT_FALSE(plat_file_query("SAT.ini", &status));
    EXPECT_TRUE(Put("SAT.ini", "w", "three"));
    EXPECT_EQ(files.Text("D:/other/SAT.ini"), "three");
    world.SetThread(1, 1);
    EXPECT_EQ(files.Text("SAT.ini"), "one");
    EXPECT_TRUE(plat_file_query("SAT.ini", &status));
    EXPECT_EQ(status.size, 3);
}

TEST_F(SimFiles, OpenModes) {
    EXPECT_EQ(plat_file_open("missing\\a", "w"), nullptr);
    EXPECT_EQ(plat_file_open("a", "rb+"), nullptr);
    EXPECT_TRUE(Put("a", "a", "12"));
    EXPECT_TRUE(Put("a", "a", "34"));
    EXPECT_EQ(files.Text("a"), "1234");
    EXPECT_TRUE(Put("a", "w", "5"));
    EXPECT_EQ(files.Text("a"), "5");
    EXPECT_TRUE(Put("a", "w+", "6\n7"));

    EXPECT_EQ(files.Text("a"), "6\n7");
    EXPECT_EQ(files.OpenFiles(), 0u);
    EXPECT_EQ(plat_file_open("a", "r"), nullptr);
    EXPECT_EQ(files.Text("a"), "6\n7");
}

TEST_F(SimFiles, ReadingText) {
    char text[8] = "";
    size_t length = 7;
    EXPECT_FALSE(plat_read_text("a", text, sizeof text, &length));
    EXPECT_TRUE(Put("a", "w", "6\n7"));
    EXPECT_TRUE(plat_read_text("a", text, 2, &length));
    EXPECT_EQ(length, 2u);
    EXPECT_STREQ(text, "6\n");
    EXPECT_TRUE(plat_read_text("a", text, sizeof text, &length));
    EXPECT_EQ(length, 3u);
    EXPECT_STREQ(text, "6\n7");
    files.MakeFolder("dir");
    EXPECT_EQ(plat_file_open("dir", "a"), nullptr);
}

TEST_F(SimFiles, FormattedTextOfAnyLength) {
    plat_file* file = plat_file_open("a", "a");
    const std::string longer(5000, 'x');
    EXPECT_TRUE(Print(file, "[%04d] %s\n", 7, "seven"));
    EXPECT_TRUE(Print(file, "<%s>", longer.c_str()));
    EXPECT_TRUE(plat_file_close(file));
    EXPECT_EQ(files.Text("a"), "[0007] seven\n<" + longer + ">");
}

TEST_F(SimFiles, WritesWaitForTheClose) {
    plat_file* file = plat_file_open("a", "w");
    EXPECT_TRUE(plat_file_write(file, "1234", 4));
    EXPECT_EQ(files.Size("a"), 0);
    EXPECT_TRUE(plat_file_close(file));
    EXPECT_EQ(files.Size("a"), 4);
}

TEST_F(SimFiles, AFolderChangesWhenSomethingComesIntoItOrLeavesIt) {
    files.MakeFolder("from");
    files.MakeFolder("to");
    files.SetText("from\\a", "1");
    const auto changed = [this](const char* folder, auto action) {
        files.SetModified(folder, 1);
        action();
        return files.Modified(folder) != 1;
    };
    EXPECT_FALSE(changed("from", [] { Put("from\\a", "w", "2"); }));
    EXPECT_TRUE(changed("from", [] { Put("from\\b", "w", "2"); }));
    EXPECT_TRUE(changed("from", [] { plat_create_folder("from\\c"); }));
    EXPECT_TRUE(changed("from", [] { plat_remove_file("from\\b"); }));
    EXPECT_TRUE(changed("to", [] { plat_move_file("from\\a", "to\\a"); }));
    EXPECT_TRUE(changed("from", [] { plat_move_file("to\\a", "from\\a"); }));
}

TEST_F(SimFiles, ModificationTimeIsTheCalendarInSeconds) {
    world.clock.SetUtc(2026, 11, 20, 13, 4, 5, 999);
    Put("a", "w", "x");
    plat_file_status status;
    plat_file_query("a", &status);
    EXPECT_EQ(status.modified, 1'795'179'845);
    plat_sleep_ms(2000);
    Put("a", "a", "y");
    EXPECT_EQ(files.Modified("a"), 1'795'179'847);
    files.SetModified("a", 12);
    plat_file_query("a", &status);
    EXPECT_EQ(status.modified, 12);
}

TEST_F(SimFiles, KindsOfFiles) {
    plat_file_status status;
    files.SetText("file", "x");
    files.MakeFolder("folder");
    files.SetKind("pipe", PLAT_MODE_PIPE);
    files.SetKind("odd", 0xA000);
    plat_file_query("file", &status);
    EXPECT_EQ(status.mode & PLAT_MODE_FORMAT, PLAT_MODE_REGULAR);
    plat_file_query("folder", &status);
    EXPECT_EQ(status.mode & PLAT_MODE_FORMAT, PLAT_MODE_DIRECTORY);
    plat_file_query("pipe", &status);
    EXPECT_EQ(status.mode & PLAT_MODE_FORMAT, PLAT_MODE_PIPE);
    plat_file_query("odd", &status);
    EXPECT_EQ(status.mode & PLAT_MODE_FORMAT, 0xA000u);
}

TEST_F(SimFiles, Appending) {
    EXPECT_EQ(plat_append_open("missing\\log"), -1);
    EXPECT_FALSE(plat_append_text("missing\\log", "x", 1));
    const int first = plat_append_open("log");
    const int second = plat_append_open("log");
    EXPECT_GT(first, 0);
    EXPECT_NE(first, second);
    EXPECT_TRUE(plat_append_write(first, "one\n", 4));
    EXPECT_TRUE(plat_append_write(second, "two\n", 4));
    EXPECT_EQ(files.Text("log"), "one\ntwo\n");
    EXPECT_EQ(files.OpenAppends(), 2u);
    plat_append_close(first);
    plat_append_close(first);
    EXPECT_FALSE(plat_append_write(first, "x", 1));
    EXPECT_FALSE(plat_append_write(0, "x", 1));
    EXPECT_FALSE(plat_append_write(99, "x", 1));
    EXPECT_EQ(files.OpenAppends(), 1u);
    plat_append_close(second);
}

TEST_F(SimFiles, Folders) {
    EXPECT_TRUE(plat_create_folder("Log"));
    EXPECT_FALSE(plat_create_folder("Log"));
    EXPECT_EQ(plat_last_error(), 183u);
    EXPECT_TRUE(plat_create_folder("Log\\sub\\"));
    EXPECT_FALSE(plat_create_folder("a\\b"));
    EXPECT_EQ(plat_last_error(), 3u);
    EXPECT_TRUE(files.IsFolder("Log\\sub"));
    files.SetText("file", "");
    EXPECT_FALSE(plat_create_folder("file"));
    EXPECT_FALSE(plat_create_folder("file\\sub"));
}

TEST_F(SimFiles, MovingAndRemoving) {
    files.SetText("Log\\a", "1");
    files.SetText("Log\\b", "2");
    EXPECT_FALSE(plat_move_file("Log\\a", "Log\\b"));
    EXPECT_FALSE(plat_move_file("Log\\x", "Log\\y"));
    EXPECT_FALSE(plat_move_file("Log\\a", "none\\y"));
    plat_file_status status;
    EXPECT_TRUE(plat_file_query("Log\\a", &status));
    EXPECT_TRUE(plat_move_file("Log\\a", "c"));
    EXPECT_FALSE(plat_file_query("Log\\a", &status)) << "the lookup must not remember the old place";
    EXPECT_EQ(files.Text("c"), "1");
    EXPECT_TRUE(plat_remove_file("c"));
    EXPECT_FALSE(plat_remove_file("c"));
    EXPECT_FALSE(plat_remove_file("Log"));
}

TEST_F(SimFiles, WhatIsOpenOrHeldIsNeitherMovedNorRemoved) {
    const int log = plat_append_open("log");
    EXPECT_FALSE(plat_move_file("log", "old"));
    EXPECT_FALSE(plat_remove_file("log"));
    EXPECT_EQ(plat_last_error(), 32u);
    plat_append_close(log);
    files.Lock("log");
    EXPECT_EQ(plat_file_open("log", "a"), nullptr);
    EXPECT_FALSE(plat_remove_file("log"));
    files.Lock("log", false);
    EXPECT_TRUE(plat_remove_file("log"));
}

TEST_F(SimFiles, SearchesGoInNameOrderAndFindFoldersToo) {
    for (const char* name : {"Log\\c.txt", "Log\\a.txt", "Log\\b.log", "Log\\.txt", "Log\\b.txt.old"})
        files.SetText(name, "");
    files.MakeFolder("Log\\z.txt");
    EXPECT_EQ(Found("Log/*.txt"), (std::vector<std::string>{".txt", "a.txt", "c.txt", "z.txt"}));
    EXPECT_EQ(Found("Log/*b*"), (std::vector<std::string>{"b.log", "b.txt.old"}));
    EXPECT_TRUE(Found("Log/*.ini").empty());
    EXPECT_TRUE(Found("None/*.txt").empty());
    EXPECT_EQ(files.OpenSearches(), 0u);
    char name[4] = "";
    const plat_handle search = plat_find_open("Log\\a.*", name, sizeof name);
    EXPECT_STREQ(name, "a.t") << "cut to the buffer";
    EXPECT_EQ(files.OpenSearches(), 1u);
    plat_find_close(search);
    EXPECT_FALSE(plat_find_next(search, name, sizeof name));
}

TEST_F(SimFiles, ASearchThatIsLeftOpenDisturbsNoOther) {
    files.SetText("Log\\a.txt", "");
    files.SetText("Log\\b.txt", "");
    char name[64];
    const plat_handle oldest = plat_find_open("Log\\*", name, sizeof name);
    const plat_handle left = plat_find_open("Log\\*", name, sizeof name);
    for (int i = 0; i < 4095; ++i)
        plat_find_open("Log\\*", name, sizeof name);
    EXPECT_FALSE(plat_find_next(oldest, name, sizeof name)) << "4096 newer ones have taken all places";
    EXPECT_TRUE(plat_find_next(left, name, sizeof name));
    EXPECT_STREQ(name, "b.txt");
    EXPECT_EQ(files.OpenSearches(), 4097u);
}

TEST_F(SimFiles, TheShellRemovesTreesAndFiles) {
    files.SetText("a\\b\\x.txt", "");
    files.SetText("a\\x.txt", "");
    files.SetText("a\\y.txt", "");
    EXPECT_EQ(plat_shell("del /S a\\x.txt"), 0);
    EXPECT_EQ(files.List("a"), (std::vector<std::string>{"b", "y.txt"}));
    EXPECT_TRUE(files.List("a\\b").empty());
    EXPECT_EQ(plat_shell("rmdir /S /Q a\\y.txt"), 1);
    EXPECT_EQ(plat_shell("rmdir /S /Q a none"), 1);
    EXPECT_FALSE(files.Exists("a"));
    EXPECT_NE(plat_shell("format C:"), 0);
    EXPECT_EQ(files.commands, (std::vector<std::string>{"del /S a\\x.txt", "rmdir /S /Q a\\y.txt",
                                                        "rmdir /S /Q a none", "format C:"}));
}

TEST_F(SimFiles, AnOpenFileKeepsItsFolder) {
    files.SetText("a\\b\\x.txt", "");
    const int log = plat_append_open("a\\log");
    EXPECT_EQ(plat_shell("rmdir /S /Q a"), 1);
    EXPECT_EQ(files.List("a"), std::vector<std::string>{"log"});
    plat_append_close(log);
}

TEST_F(SimFiles, TheDiskFillsUp) {
    files.SetDiskFree(6);
    EXPECT_TRUE(Put("a", "w", "1234"));
    EXPECT_FALSE(Put("a", "a", "5678"));
    EXPECT_EQ(files.Text("a"), "123456");
    const int log = plat_append_open("log");
    EXPECT_FALSE(plat_append_write(log, "x", 1));
    EXPECT_EQ(plat_last_error(), 112u);
    files.SetDiskFree(-1);
    EXPECT_TRUE(plat_append_write(log, "x", 1));
    plat_append_close(log);
}

TEST_F(SimFiles, AKillCutsAWrite) {
    files.SetText("a", "old");
    files.KillAfterBytes(2);
    EXPECT_THROW(Put("a", "w", "12345"), sim::Killed);
    EXPECT_EQ(files.Text("a"), "12");
    EXPECT_EQ(files.OpenFiles(), 0u);
    EXPECT_TRUE(Put("a", "w", "12345"));
}

TEST_F(SimFiles, WritesFailInTheirWays) {
    world.faults.FailNth(Call::FileWrite, 1, 1, 1);
    EXPECT_FALSE(Put("a", "w", "1234"));
    EXPECT_EQ(files.Text("a"), "12");
    world.faults.FailNth(Call::FileClose, 1, 1, 0);
    EXPECT_FALSE(Put("a", "w", "1234"));
    EXPECT_EQ(files.Text("a"), "");
    world.faults.FailNth(Call::FileClose, 1, 1, 1);
    EXPECT_FALSE(Put("a", "w", "1234"));
    EXPECT_EQ(files.Text("a"), "12");
    EXPECT_EQ(files.OpenFiles(), 0u);
    const int log = plat_append_open("log");
    world.faults.FailNth(Call::AppendWrite, 1, 1, 1);
    EXPECT_FALSE(plat_append_write(log, "1234", 4));
    EXPECT_EQ(files.Text("log"), "12");
    plat_append_close(log);
    char text[8];
    size_t length = 0;
    world.faults.FailNth(Call::ReadText, 1, 1, 0);
    EXPECT_FALSE(plat_read_text("a", text, 2, &length));
    world.faults.FailNth(Call::ReadText, 1, 1, 2);
    EXPECT_TRUE(plat_read_text("a", text, 2, &length));
    EXPECT_EQ(length, 1u);
    world.faults.FailNth(Call::ReadText, 1, 1, 1);
    EXPECT_TRUE(plat_read_text("a", text, 2, &length));
    EXPECT_EQ(length, 0u);
    for (const int way : {0, 1, 2}) {
        world.faults.FailNth(Call::AppendText, 1, 1, way);
        EXPECT_FALSE(plat_append_text("log", "34", 2));
    }
    EXPECT_EQ(files.Text("log"), "123");
}

TEST_F(SimFiles, LongRunsMayForgetContent) {
    files.ForgetAbove(10);
    Put("a", "a", "12345678");
    Put("a", "a", "12345678");
    EXPECT_EQ(files.Size("a"), 16);
    EXPECT_EQ(files.Text("a"), "");
    Put("a", "w", "1");
    EXPECT_EQ(files.Size("a"), 1);
}

TEST_F(SimFiles, TheCommonDataFolder) {
    char path[64];
    EXPECT_TRUE(plat_common_data_folder(path, sizeof path));
    EXPECT_STREQ(path, "C:\\ProgramData");
    EXPECT_TRUE(files.IsFolder(path));
    EXPECT_FALSE(plat_common_data_folder(path, 14));
    files.SetCommonDataFolder(nullptr);
    EXPECT_FALSE(plat_common_data_folder(path, sizeof path));
}

}  // namespace

/*
 * Files: permissions of new ones, last errors, and writes that the system cuts, interrupts or refuses.
 */
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <thread>

#include "platform/posix/last_error.h"
#include "processes.h"
#include "scratch_folder.h"
#include "system_calls.h"

namespace fs = std::filesystem;

struct FileCalls : ScratchFolder {
    void TearDown() override {
        ResetSystemCalls();
        ScratchFolder::TearDown();
    }

    static mode_t ModeOf(const char* path) {
        struct stat status = {};
        return stat(path, &status) == 0 ? status.st_mode & 07777 : 0;
    }

    /** Expects a failure of what was just called, with a last error of its own. */
    static void ExpectRefused(bool success, uint32_t code, const char* call) {
        EXPECT_FALSE(success) << call;
        EXPECT_EQ(plat_last_error(), code) << call;
        SetLastErrno(0);
    }
};

TEST_F(FileCalls, NewOnesGetWhatTheUsersMaskLeaves) {
    for (const mode_t mask : {mode_t{0}, mode_t{027}}) {
        const mode_t old_mask = umask(mask);
        const std::string end = std::to_string(mask);
        plat_file_close(plat_file_open(("w" + end).c_str(), "w"));
        plat_file_close(plat_file_open(("a" + end).c_str(), "a"));
        EXPECT_TRUE(plat_append_text(("text" + end).c_str(), "1", 1));
        plat_append_close(plat_append_open(("log" + end).c_str()));
        EXPECT_TRUE(plat_create_folder(("sub" + end).c_str()));
        EXPECT_TRUE(plat_file_replace(("ini" + end).c_str(), "1", 1));
        umask(old_mask);
        EXPECT_EQ(ModeOf(("w" + end).c_str()), 0666 & ~mask);
        EXPECT_EQ(ModeOf(("a" + end).c_str()), 0666 & ~mask);
        EXPECT_EQ(ModeOf(("text" + end).c_str()), 0666 & ~mask);
        EXPECT_EQ(ModeOf(("log" + end).c_str()), 0600 & ~mask);
        EXPECT_EQ(ModeOf(("sub" + end).c_str()), 0777 & ~mask);
        EXPECT_EQ(ModeOf(("ini" + end).c_str()), 0666 & ~mask);
    }
}

TEST_F(FileCalls, SayWhyTheyFail) {
    plat_file_status status = {};
    fs::create_directory("sub");
    WriteText("file", "1");
    SetLastErrno(0);
    ExpectRefused(plat_file_query("missing", &status), PLAT_ERROR_FILE_NOT_FOUND, "query");
    ExpectRefused(plat_create_folder("sub"), EEXIST, "create folder");
    ExpectRefused(plat_create_folder("no/sub"), PLAT_ERROR_FILE_NOT_FOUND, "create folder");
    ExpectRefused(plat_move_file("file", "sub"), EEXIST, "move");
    ExpectRefused(plat_move_file("missing", "new"), PLAT_ERROR_FILE_NOT_FOUND, "move");
    ExpectRefused(plat_remove_file("sub"), EISDIR, "remove");
    char text[4] = "";
    size_t length = 0;
    ExpectRefused(plat_read_text("missing", text, sizeof text, &length), PLAT_ERROR_FILE_NOT_FOUND, "read");
    ExpectRefused(plat_read_text("sub", text, sizeof text, &length), PLAT_ERROR_ACCESS_DENIED, "read");
    ExpectRefused(plat_file_open("no/file", "w") != nullptr, PLAT_ERROR_FILE_NOT_FOUND, "open");
    ExpectRefused(plat_file_open("sub", "a") != nullptr, EISDIR, "open");
    for (const char* mode : {"r", "r+", "", "nonsense"})
        ExpectRefused(plat_file_open("file", mode) != nullptr, EINVAL, "open");
    ExpectRefused(plat_append_text("no/file", "x", 1), PLAT_ERROR_FILE_NOT_FOUND, "append text");
    ExpectRefused(plat_append_text("/dev/full", "x", 1), ENOSPC, "append text");
    ExpectRefused(plat_append_open("no/file") != -1, PLAT_ERROR_FILE_NOT_FOUND, "append");
    ExpectRefused(plat_append_write(-1, "x", 1), EBADF, "append");
}

TEST_F(FileCalls, APathThatIsTooLongIsToldAsSuch) {
    const std::string longest(5000, 'x');
    const char* path = longest.c_str();
    char name[8] = "";
    plat_file_status status = {};
    WriteText("file", "1");
    SetLastErrno(0);
    ExpectRefused(plat_file_query(path, &status), ENAMETOOLONG, "query");
    ExpectRefused(plat_create_folder(path), ENAMETOOLONG, "create folder");
    ExpectRefused(plat_move_file("file", path), ENAMETOOLONG, "move");
    ExpectRefused(plat_move_file(path, "file"), ENAMETOOLONG, "move");
    ExpectRefused(plat_remove_file(path), ENAMETOOLONG, "remove");
    ExpectRefused(plat_file_open(path, "w") != nullptr, ENAMETOOLONG, "open");
    ExpectRefused(plat_append_text(path, "x", 1), ENAMETOOLONG, "append text");
    ExpectRefused(plat_append_open(path) != -1, ENAMETOOLONG, "append");
    ExpectRefused(plat_file_replace(path, "x", 1), ENAMETOOLONG, "replace");
    ExpectRefused(plat_find_open(path, name, sizeof name) != -1, ENAMETOOLONG, "find");
    ExpectRefused(plat_port_open(path) != -1, ENAMETOOLONG, "port");
}

TEST_F(FileCalls, AppendingTextLeavesNothingOpen) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    const long count_before = OpenDescriptors();
    EXPECT_TRUE(plat_append_text("file", "x", 1));
    EXPECT_FALSE(plat_append_text("pipe", "x", 1));
    EXPECT_FALSE(plat_append_text("/dev/full", "x", 1));
    EXPECT_EQ(OpenDescriptors(), count_before);
    close(reader);
}

TEST_F(FileCalls, ADiskThatIsFullOnlyAtTheCloseIsToldOf) {
    SetLastErrno(0);
    FailNext(&system_calls.close, 1, ENOSPC);
    ExpectRefused(plat_append_text("file", "x", 1), ENOSPC, "append text");
}

TEST_F(FileCalls, AFailedOpenLeavesNothingOpen) {
    fs::create_directory("sub");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const long count_before = OpenDescriptors();
    char text[4] = "";
    size_t length = 0;
    EXPECT_FALSE(plat_read_text("sub", text, sizeof text, &length));
    EXPECT_EQ(plat_file_open("pipe", "w"), nullptr);
    EXPECT_EQ(plat_file_open("file", "nonsense"), nullptr);
    EXPECT_EQ(OpenDescriptors(), count_before);
}

TEST_F(FileCalls, AFileSystemThatCannotRenameSoMovesAndNeverReplaces) {
    for (const int error : {EINVAL, ENOSYS}) {
        WriteText("a", "first");
        WriteText("b", "second");
        FailNext(&system_calls.renameat2, 1, error);
        ExpectRefused(plat_move_file("a", "b"), EEXIST, "move");
        EXPECT_EQ(ReadText("b"), "second");
        fs::remove("b");
        FailNext(&system_calls.renameat2, 1, error);
        EXPECT_TRUE(plat_move_file("a", "b"));
        EXPECT_EQ(ReadText("b"), "first");
        EXPECT_FALSE(fs::exists("a"));
        fs::remove("b");
    }
    WriteText("a", "first");
    FailNext(&system_calls.renameat2, 1, EXDEV);
    ExpectRefused(plat_move_file("a", "b"), EXDEV, "move");
    EXPECT_FALSE(fs::exists("b"));
}

TEST_F(FileCalls, AnAppendInPiecesOrInterruptedIsFinished) {
    const int descriptor = plat_append_open("log");
    ASSERT_GT(descriptor, 0);
    system_calls.longest_write = 3;
    FailNext(&system_calls.write, 1, EINTR, 1);
    EXPECT_TRUE(plat_append_write(descriptor, "abcdefgh", 8));
    EXPECT_EQ(system_calls.write.calls, 4);
    system_calls.longest_write = 0;
    SetLastErrno(0);
    ExpectRefused(plat_append_write(descriptor, "x", 1), ENOSPC, "append");
    FailNext(&system_calls.write, 1, EIO);
    ExpectRefused(plat_append_write(descriptor, "x", 1), kErrorIoDevice, "append");
    plat_append_close(descriptor);
    EXPECT_EQ(ReadText("log"), "abcdefgh");
}

TEST_F(FileCalls, AReadThatIsInterruptedIsFinishedAndOneThatFailsIsCut) {
    WriteText("file", "abcdefgh");
    char text[16] = "";
    size_t length = 0;
    FailNext(&system_calls.read, 1, EINTR);
    bool whole = false;
    EXPECT_TRUE(plat_read_text("file", text, sizeof text, &length, &whole));
    EXPECT_EQ(length, 8U);
    EXPECT_STREQ(text, "abcdefgh");
    EXPECT_TRUE(whole);
    SetLastErrno(0);
    FailNext(&system_calls.read, 1, EIO);
    EXPECT_TRUE(plat_read_text("file", text, sizeof text, &length, &whole));
    EXPECT_EQ(length, 0U);
    EXPECT_FALSE(whole);
    EXPECT_EQ(plat_last_error(), kErrorIoDevice);
}

TEST_F(FileCalls, AFullDiskIsToldAtTheLatestAtTheClose) {
    plat_file* file = plat_file_open("/dev/full", "a");
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(plat_file_write(file, "x", 1));
    SetLastErrno(0);
    ExpectRefused(plat_file_close(file), ENOSPC, "close");
    const std::string much(100000, 'x');
    file = plat_file_open("/dev/full", "a");
    ASSERT_NE(file, nullptr);
    ExpectRefused(plat_file_write(file, much.data(), much.size()), ENOSPC, "write");
    plat_file_close(file);
    file = plat_file_open("/dev/full", "a");
    ASSERT_NE(file, nullptr);
    SetLastErrno(0);
    ExpectRefused(Print(file, "%s", much.c_str()), ENOSPC, "print");
    plat_file_close(file);
}

TEST_F(FileCalls, TheEndOfAFileAndAnEmptyTextAreNoErrors) {
    plat_file* file = plat_file_open("a", "w+");
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(Print(file, "%s", ""));
    EXPECT_TRUE(plat_file_write(file, "", 0));
    EXPECT_TRUE(plat_file_close(file));
    SetLastErrno(0);
    errno = EIO;
    char text[4] = "";
    size_t length = 7;
    EXPECT_TRUE(plat_read_text("a", text, sizeof text, &length));
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(plat_last_error(), 0u);
}

TEST_F(FileCalls, AFileIsOpenForWhatItsModeSays) {
    WriteText("a", "");
    const std::pair<const char*, int> kModes[] = {
        {"w", O_WRONLY}, {"w+", O_RDWR}, {"a", O_WRONLY | O_APPEND}, {"a+", O_RDWR | O_APPEND}};
    for (const auto& [mode, flags] : kModes) {
        // The lowest free descriptor, which the file gets next.
        const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(descriptor);
        plat_file* file = plat_file_open("a", mode);
        ASSERT_NE(file, nullptr) << mode;
        EXPECT_EQ(fcntl(descriptor, F_GETFL) & (O_ACCMODE | O_APPEND), flags) << mode;
        EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC) << mode;
        EXPECT_TRUE(plat_file_close(file)) << mode;
    }
}

TEST_F(FileCalls, WhatIsPrintedIsOutAtOnce) {
    EXPECT_EQ(InFork([] {
                  const int out = open("out", O_WRONLY | O_CREAT, 0600);
                  dup2(out, 1);
                  plat_print("text without a line's end");
                  return 0;
              }),
              0);
    EXPECT_EQ(ReadText("out"), "text without a line's end");
}

TEST(UnixErrors, BelongToTheirThread) {
    SetLastErrno(EINVAL);
    uint32_t fresh = 1;
    std::thread([&] {
        fresh = plat_last_error();
        SetLastErrno(EIO);
    }).join();
    EXPECT_EQ(fresh, 0u);
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EINVAL));
}

TEST(UnixErrors, HaveTheSystemsTexts) {
    const std::pair<uint32_t, const char*> kRows[] = {
        {PLAT_ERROR_FILE_NOT_FOUND, "No such file or directory"},
        {PLAT_ERROR_ACCESS_DENIED, "Permission denied"},
        {kErrorIoDevice, "Input/output error"},
        {kErrorNotOwner, "Operation not permitted"},
        {28, "No space left on device"}};
    for (const auto& [code, text] : kRows) {
        char* found = plat_error_text(code);
        EXPECT_STREQ(found, text) << code;
        const std::string end(found + std::char_traits<char>::length(found), 8);
        EXPECT_EQ(end, std::string(8, '\0')) << code;
        plat_free(found);
    }
}

TEST(UnixText, OnlyAsciiIsKept) {
    char bytes[8] = "";
    plat_wide_to_bytes(L"a\x7f\x80\xff", bytes, sizeof bytes);
    EXPECT_STREQ(bytes, "a\x7f  ");
    plat_wide_to_bytes(L"ab", bytes, 2);
    EXPECT_STREQ(bytes, "a");
}

TEST(UnixText, TheCommonDataFolderNeedsItsRoom) {
    char path[16] = "kept";
    SetLastErrno(0);
    EXPECT_FALSE(plat_common_data_folder(path, 8));
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(ERANGE));
    EXPECT_STREQ(path, "kept");
}

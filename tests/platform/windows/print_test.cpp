/*
 * Standard output as a pipe: a program whose output nobody reads goes on.
 */
#include <windows.h>
// The order matters: the header above defines what these may leave out.
#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "platform/platform.h"

/** Standard output is a pipe until the end of the test. */
struct PrintToPipe : testing::Test {
    void SetUp() override {
        HANDLE writer = nullptr;
        ASSERT_NE(CreatePipe(&reader, &writer, nullptr, 4096), 0);
        fflush(stdout);
        kept = _dup(1);
        const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(writer), _O_TEXT);
        ASSERT_GE(descriptor, 0);
        _dup2(descriptor, 1);
        _close(descriptor);
    }

    void TearDown() override {
        Restore();
        CloseReader();
    }

    void Restore() {
        if (kept < 0) return;
        _dup2(kept, 1);
        _close(kept);
        kept = -1;
    }

    void CloseReader() {
        if (reader != nullptr) CloseHandle(reader);
        reader = nullptr;
    }

    /** What stands in the pipe. */
    std::string Read() const {
        std::string text;
        char bytes[256];
        DWORD count = 0;
        while (PeekNamedPipe(reader, nullptr, 0, nullptr, &count, nullptr) != 0 && count > 0 &&
               ReadFile(reader, bytes, sizeof bytes, &count, nullptr) != 0) {
            text.append(bytes, count);
        }
        return text;
    }

    HANDLE reader = nullptr;
    int kept = -1;
};

TEST_F(PrintToPipe, LineEndsAreThoseOfATextFile) {
    plat_print("one\n\ntwo");
    const std::string text = Read();
    Restore();
    EXPECT_EQ(text, "one\r\n\r\ntwo");
}

TEST_F(PrintToPipe, TheProgramsOwnTextComesFirst) {
    fputs("before ", stdout);
    plat_print("behind");
    const std::string text = Read();
    Restore();
    EXPECT_EQ(text, "before behind");
}

TEST_F(PrintToPipe, AReaderThatDoesNotReadDoesNotHoldTheProgram) {
    const std::string long_text(100000, 'x');
    plat_print(long_text.c_str());
    plat_print("dropped\n");
    const size_t size = Read().size();
    plat_print("taken");
    const std::string text = Read();
    Restore();
    EXPECT_GT(size, 0u);
    EXPECT_LT(size, long_text.size());
    EXPECT_EQ(text, "taken");
}

TEST_F(PrintToPipe, ThePipeWaitsForOthersAsBefore) {
    plat_print("text");
    DWORD mode = PIPE_NOWAIT;
    GetNamedPipeHandleStateA(reinterpret_cast<HANDLE>(_get_osfhandle(1)), &mode, nullptr, nullptr, nullptr,
                             nullptr, 0);
    Restore();
    EXPECT_EQ(mode & PIPE_NOWAIT, 0u);
}

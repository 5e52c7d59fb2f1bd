/*
 * Standard output.
 */
#include <windows.h>
// The order matters: the header above defines what this one may leave out.
#include <io.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "../platform.h"

/** How long the reader of a pipe may let us wait, milliseconds. */
constexpr ULONGLONG kReaderPauseMs = 200;

/** The last text was not taken: until the reader is back, nobody waits for it again. */
static std::atomic<bool> reader_is_gone{false};

/** Writes to a pipe that does not wait. False when its reader is gone, or takes nothing for too long. */
static bool WriteToPipe(HANDLE pipe, const char* bytes, size_t size) {
    ULONGLONG last_ms = GetTickCount64();
    while (size > 0) {
        // The smallest pipes hold so much; a larger portion might never find room at once.
        constexpr size_t kPortion = 512;
        DWORD count = 0;
        if (WriteFile(pipe, bytes, static_cast<DWORD>(size < kPortion ? size : kPortion), &count, nullptr) ==
            0) {
            return false;
        }
        const ULONGLONG now_ms = GetTickCount64();
        if (count > 0) {
            bytes += count;
            size -= count;
            last_ms = now_ms;
            reader_is_gone = false;
        } else if (reader_is_gone || now_ms - last_ms > kReaderPauseMs) {
            return false;
        } else {
            Sleep(1);
        }
    }
    return true;
}

/** Writes a text to a pipe with the line ends of a text file. */
static void PrintToPipe(HANDLE pipe, const char* text) {
    bool taken = true;
    while (taken && *text != '\0') {
        const size_t length = strcspn(text, "\n");
        taken = WriteToPipe(pipe, text, length);
        text += length;
        if (*text != '\n') continue;
        taken = taken && WriteToPipe(pipe, "\r\n", 2);
        ++text;
    }
    reader_is_gone = !taken;
}

void plat_print(const char* text) {
    // What the program itself has printed goes first.
    fflush(stdout);
    // A program without a console has no descriptor behind its standard output.
    const int descriptor = _fileno(stdout);
    const intptr_t number = descriptor >= 0 ? _get_osfhandle(descriptor) : -1;
    // The number is a handle, or the invalid one. NOLINTNEXTLINE(performance-no-int-to-ptr)
    const HANDLE output = reinterpret_cast<HANDLE>(number);
    DWORD mode = 0;
    DWORD without_waiting = PIPE_NOWAIT;
    // A program whose output nobody reads would wait for ever once the pipe is full.
    const bool pipe = GetFileType(output) == FILE_TYPE_PIPE &&
                      GetNamedPipeHandleStateA(output, &mode, nullptr, nullptr, nullptr, nullptr, 0) != 0 &&
                      SetNamedPipeHandleState(output, &without_waiting, nullptr, nullptr) != 0;
    if (pipe) {
        PrintToPipe(output, text);
        SetNamedPipeHandleState(output, &mode, nullptr, nullptr);
        return;
    }
    fputs(text, stdout);
    fflush(stdout);
}

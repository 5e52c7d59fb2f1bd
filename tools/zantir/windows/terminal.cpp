#include "terminal.h"

// windows.h first: the headers behind it need its types.
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <csignal>
#include <cstdio>

namespace tool {

static std::string Utf8(const wchar_t* wide) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 1) return "";
    std::string text(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), size, nullptr, nullptr);
    text.pop_back();
    return text;
}

static void PrepareConsole() {
    SetConsoleOutputCP(CP_UTF8);
    for (const DWORD stream : {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
        const HANDLE console = GetStdHandle(stream);
        DWORD mode = 0;
        // Colours are escape sequences, which older consoles have to be told to obey.
        if (GetConsoleMode(console, &mode)) SetConsoleMode(console, mode | 0x0004);
    }
}

std::vector<std::string> CommandLineArguments(int, char**) {
    PrepareConsole();
    // The C runtime's own arguments have lost every character that the ANSI code page lacks.
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int at = 1; at < count; ++at) {
        arguments.push_back(Utf8(wide[at]));
    }
    LocalFree(wide);
    return arguments;
}

static bool IsConsole(DWORD stream) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

bool OutputIsTerminal() {
    return IsConsole(STD_OUTPUT_HANDLE);
}

bool ErrorIsTerminal() {
    return IsConsole(STD_ERROR_HANDLE);
}

size_t TerminalColumns() {
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info)) return 100;
    const int columns = info.srWindow.Right - info.srWindow.Left + 1;
    return static_cast<size_t>(columns);
}

std::string ReadStandardInput() {
    // Text mode would take a Ctrl-Z in a packet for the end.
    _setmode(_fileno(stdin), _O_BINARY);
    std::string bytes;
    char buffer[65536];
    for (;;) {
        const size_t count = fread(buffer, 1, sizeof buffer, stdin);
        if (count == 0) return bytes;
        bytes.append(buffer, count);
    }
}

void OnInterrupt(void (*handler)(int)) {
    signal(SIGINT, handler);
    signal(SIGTERM, handler);
}

OutputSilencer::OutputSilencer() {
    fflush(stdout);
    saved_ = _dup(1);
    const int nowhere = _open("NUL", _O_WRONLY);
    if (saved_ >= 0 && nowhere >= 0) _dup2(nowhere, 1);
    if (nowhere >= 0) _close(nowhere);
}

OutputSilencer::~OutputSilencer() {
    fflush(stdout);
    if (saved_ < 0) return;
    _dup2(saved_, 1);
    _close(saved_);
}

}  // namespace tool

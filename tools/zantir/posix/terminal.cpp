#include "terminal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace tool {

std::vector<std::string> CommandLineArguments(int argc, char** argv) {
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

bool OutputIsTerminal() {
    return isatty(STDOUT_FILENO) == 1;
}

bool ErrorIsTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

size_t TerminalColumns() {
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 100;
}

std::string ReadStandardInput() {
    std::string bytes;
    char buffer[65536];
    for (;;) {
        const size_t count = fread(buffer, 1, sizeof buffer, stdin);
        if (count == 0) return bytes;
        bytes.append(buffer, count);
    }
}

void OnInterrupt(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

OutputSilencer::OutputSilencer() {
    fflush(stdout);
    saved_ = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (saved_ >= 0 && nowhere >= 0) dup2(nowhere, STDOUT_FILENO);
    if (nowhere >= 0) close(nowhere);
}

OutputSilencer::~OutputSilencer() {
    fflush(stdout);
    if (saved_ < 0) return;
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
}

}  // namespace tool

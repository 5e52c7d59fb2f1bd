#include "../console.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

namespace emulator {

namespace {

// In the background of a terminal nothing can be read until somebody brings the program to the front.
bool WaitForForeground() {
    if (tcgetpgrp(STDIN_FILENO) < 0) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    return true;
}

}  // namespace

void SecureInput() {
    for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
        // What is opened takes the lowest free number.
        if (fcntl(number, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0) return;
    }
    // Started with "&", the whole program would be stopped by its first look at the terminal.
    std::signal(SIGTTIN, SIG_IGN);
}

int ReadInput(char* buffer, size_t size) {
    ssize_t count = -1;
    do {
        count = read(STDIN_FILENO, buffer, size);
    } while (count < 0 && (errno == EINTR || (errno == EIO && WaitForForeground())));
    return static_cast<int>(count);
}

}  // namespace emulator

/*
 * What tests ask about this process and its children.
 */
#pragma once

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/** Runs `action` in a forked child and gives its exit code; -1 when a signal ended it. */
template <class Action>
int InFork(Action action) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) _exit(action());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/** How many descriptors this process has open. */
inline long OpenDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

/** Whether a thread of this process waits in the kernel right now. */
inline bool IsAsleep(pid_t thread) {
    std::string status;
    std::getline(std::ifstream("/proc/self/task/" + std::to_string(thread) + "/stat"), status);
    // The state stands behind the name, which may hold anything.
    const size_t behind_name = status.rfind(')');
    return behind_name != std::string::npos && status.substr(behind_name, 3) == ") S";
}

#include "child_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "platform/platform.h"

// The kernel's lock simply falls to the next process.
const uint32_t kResultAfterKill = PLAT_WAIT_ACQUIRED;

bool StartMutexHolder(const char* mutex_name, ChildProcess* child) {
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) return false;
    const pid_t process = fork();
    if (process == 0) {
        dup2(input[0], 0);
        dup2(output[1], 1);
        execl("/proc/self/exe", "holder", HOLD_MUTEX_ARGUMENT, mutex_name, nullptr);
        _exit(1);
    }
    close(input[0]);
    close(output[1]);
    *child = {process, input[1], output[0]};
    char text[sizeof HELD_TEXT] = "";
    return read(output[0], text, sizeof text - 1) > 0 && strcmp(text, HELD_TEXT) == 0;
}

void KillChild(ChildProcess* child) {
    const pid_t process = static_cast<pid_t>(child->process);
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    close(static_cast<int>(child->input));
    close(static_cast<int>(child->output));
}

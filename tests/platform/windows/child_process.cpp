#include "child_process.h"

#include <windows.h>

#include <cstdio>
#include <cstring>

#include "platform/platform.h"

const uint32_t kResultAfterKill = PLAT_WAIT_ABANDONED;

bool StartMutexHolder(const char* mutex_name, ChildProcess* child) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE input[2];
    HANDLE output[2];
    if (!CreatePipe(&input[0], &input[1], &inherited, 0) ||
        !CreatePipe(&output[0], &output[1], &inherited, 0)) {
        return false;
    }
    SetHandleInformation(input[1], HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(output[0], HANDLE_FLAG_INHERIT, 0);

    char program[MAX_PATH] = "";
    char command[2 * MAX_PATH];
    GetModuleFileNameA(nullptr, program, sizeof program);
    snprintf(command, sizeof command, "\"%s\" %s \"%s\"", program, HOLD_MUTEX_ARGUMENT, mutex_name);
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = input[0];
    start.hStdOutput = output[1];
    start.hStdError = output[1];
    PROCESS_INFORMATION started = {};
    if (!CreateProcessA(program, command, nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &started)) {
        return false;
    }
    CloseHandle(started.hThread);
    CloseHandle(input[0]);
    CloseHandle(output[1]);
    *child = {reinterpret_cast<intptr_t>(started.hProcess), reinterpret_cast<intptr_t>(input[1]),
              reinterpret_cast<intptr_t>(output[0])};
    char text[16] = "";
    DWORD count = 0;
    return ReadFile(output[0], text, sizeof text - 1, &count, nullptr) && strncmp(text, HELD_TEXT, 4) == 0;
}

void KillChild(ChildProcess* child) {
    const HANDLE process = reinterpret_cast<HANDLE>(child->process);
    TerminateProcess(process, 1);
    WaitForSingleObject(process, INFINITE);
    CloseHandle(process);
    CloseHandle(reinterpret_cast<HANDLE>(child->input));
    CloseHandle(reinterpret_cast<HANDLE>(child->output));
}

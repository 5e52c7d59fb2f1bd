/*
 * A second process that holds a mutex.
 */
#pragma once

#include <cstdint>

constexpr char HOLD_MUTEX_ARGUMENT[] = "--hold-mutex";
constexpr char HELD_TEXT[] = "held\n";

struct ChildProcess {
    intptr_t process;
    intptr_t input;   ///< our end of its standard input
    intptr_t output;  ///< our end of its standard output
};

/** Starts the process and waits until it holds the mutex. False when it does not. */
bool StartMutexHolder(const char* mutex_name, ChildProcess* child);

/** Kills the process, as a crash would, and waits for its end. */
void KillChild(ChildProcess* child);

/** What the next owner is told about a mutex whose owning process was killed. */
extern const uint32_t kResultAfterKill;

/*
 * The system calls of the code under test, for tests that count them or make them fail.
 *
 * The test program defines these calls itself, and the code under test, which is linked into it, comes here
 * instead of to the C library. A call without a plan goes on to the kernel.
 */
#pragma once

#include <sys/stat.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

/** What is planned for one kind of call, and how often it was made. */
struct SystemCall {
    std::atomic<int> calls{0};
    std::atomic<int> passing{0};   ///< so many go to the kernel first
    std::atomic<int> failures{0};  ///< so many fail then; all others go to the kernel
    std::atomic<int> error{0};     ///< with this errno
};

struct SystemCalls {
    SystemCall open;
    SystemCall openat;
    SystemCall read;
    SystemCall write;
    SystemCall close;  ///< one that fails closes all the same
    SystemCall fsync;
    SystemCall flock;
    SystemCall fchmod;
    SystemCall lstat;
    SystemCall unlinkat;
    SystemCall renameat2;
    SystemCall tcdrain;
    SystemCall tcgetattr;
    SystemCall tcsetattr;
    SystemCall exclusive;  ///< ioctl with TIOCEXCL
    SystemCall allocate;   ///< operator new, of the planning thread alone

    std::atomic<size_t> longest_write{SIZE_MAX};  ///< what one write takes at most
    std::atomic<short> poll_answer{0};            ///< if not 0, the next poll finds this at once
    std::atomic<int> raised_line{0};              ///< the modem line that was asked for last
    std::atomic<bool> has_modem_lines{false};     ///< a terminal that takes them, unlike a pseudo terminal
    std::atomic<dev_t> synced_device{0};          ///< what was synced last
    std::atomic<ino_t> synced_file{0};
    std::atomic<bool> hold_flock{false};  ///< a flock waits until this is false again
};

extern SystemCalls system_calls;

/** The next `count` calls fail, behind `passing` that do not. */
void FailNext(SystemCall* call, int count, int error, int passing = 0);

/** Forgets all plans and counts. */
void ResetSystemCalls();

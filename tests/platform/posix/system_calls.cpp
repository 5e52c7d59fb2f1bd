#include "system_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <thread>

#include <gtest/gtest.h>

SystemCalls system_calls;

static thread_local bool plans_memory = false;

void FailNext(SystemCall* call, int count, int error, int passing) {
    call->error = error;
    call->passing = passing;
    call->failures = count;
    if (call == &system_calls.allocate) plans_memory = true;
}

static void Reset(SystemCall* call) {
    call->calls = 0;
    call->passing = 0;
    call->failures = 0;
}

void ResetSystemCalls() {
    SystemCalls& all = system_calls;
    for (SystemCall* call : {&all.open, &all.openat, &all.read, &all.write, &all.close, &all.fsync,
                             &all.flock, &all.fchmod, &all.lstat, &all.unlinkat, &all.renameat2, &all.tcdrain,
                             &all.tcgetattr, &all.tcsetattr, &all.exclusive, &all.allocate}) {
        Reset(call);
    }
    plans_memory = false;
    all.longest_write = SIZE_MAX;
    all.poll_answer = 0;
    all.raised_line = 0;
    all.has_modem_lines = false;
    all.hold_flock = false;
}

namespace {

/** Every test begins without plans and counts. */
struct FreshPlans : testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override { ResetSystemCalls(); }
};

[[maybe_unused]] const bool gl_listening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new FreshPlans);
    return true;
}();

}  // namespace

/** Counts a call; true when it is planned to fail, errno is then set. */
static bool Fails(SystemCall* call) {
    ++call->calls;
    if (call->passing > 0) {
        --call->passing;
        return false;
    }
    if (call->failures <= 0) return false;
    --call->failures;
    errno = call->error;
    return true;
}

static mode_t ModeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

/** The C library's own routine, for calls that it translates for the kernel. */
template <class Routine>
static Routine LibraryRoutine(const char* name) {
    return reinterpret_cast<Routine>(dlsym(RTLD_NEXT, name));
}

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    if (Fails(&system_calls.open)) return -1;
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    if (Fails(&system_calls.openat)) return -1;
    return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}

ssize_t read(int descriptor, void* bytes, size_t size) {
    return Fails(&system_calls.read) ? -1 : syscall(SYS_read, descriptor, bytes, size);
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
    if (Fails(&system_calls.write)) return -1;
    return syscall(SYS_write, descriptor, bytes, std::min(size, system_calls.longest_write.load()));
}

int close(int descriptor) {
    const bool fails = Fails(&system_calls.close);
    const int planned = errno;
    const int result = static_cast<int>(syscall(SYS_close, descriptor));
    if (fails) errno = planned;
    return fails ? -1 : result;
}

int fsync(int descriptor) {
    struct stat status = {};
    if (fstat(descriptor, &status) == 0) {
        system_calls.synced_device = status.st_dev;
        system_calls.synced_file = status.st_ino;
    }
    return Fails(&system_calls.fsync) ? -1 : static_cast<int>(syscall(SYS_fsync, descriptor));
}

int flock(int descriptor, int operation) noexcept {
    const bool fails = Fails(&system_calls.flock);
    while (system_calls.hold_flock) {
        std::this_thread::yield();
    }
    return fails ? -1 : static_cast<int>(syscall(SYS_flock, descriptor, operation));
}

int fchmod(int descriptor, mode_t mode) noexcept {
    return Fails(&system_calls.fchmod) ? -1 : static_cast<int>(syscall(SYS_fchmod, descriptor, mode));
}

int lstat(const char* path, struct stat* status) noexcept {
    return Fails(&system_calls.lstat) ? -1 : fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    return Fails(&system_calls.unlinkat) ? -1 : static_cast<int>(syscall(SYS_unlinkat, folder, path, flags));
}

int renameat2(int old_folder, const char* from, int new_folder, const char* to, unsigned flags) noexcept {
    if (Fails(&system_calls.renameat2)) return -1;
    return static_cast<int>(syscall(SYS_renameat2, old_folder, from, new_folder, to, flags));
}

int tcdrain(int descriptor) {
    return Fails(&system_calls.tcdrain) ? -1 : static_cast<int>(syscall(SYS_ioctl, descriptor, TCSBRK, 1));
}

int tcgetattr(int descriptor, termios* line) noexcept {
    static const auto real = LibraryRoutine<int (*)(int, termios*)>("tcgetattr");
    return Fails(&system_calls.tcgetattr) ? -1 : real(descriptor, line);
}

int tcsetattr(int descriptor, int when, const termios* line) noexcept {
    static const auto real = LibraryRoutine<int (*)(int, int, const termios*)>("tcsetattr");
    return Fails(&system_calls.tcsetattr) ? -1 : real(descriptor, when, line);
}

// A pseudo terminal has no modem lines: what was asked for is all that can be seen.
int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request == TIOCEXCL && Fails(&system_calls.exclusive)) return -1;
    if (request == TIOCMBIS) {
        system_calls.raised_line = *static_cast<const int*>(argument);
        if (system_calls.has_modem_lines) return 0;
    }
    return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
}

int ppoll(pollfd* lines, nfds_t count, const timespec* limit, const sigset_t* mask) {
    const short answer = system_calls.poll_answer.exchange(0);
    if (answer != 0) {
        lines->revents = answer;
        return 1;
    }
    // The kernel writes the time that is left.
    timespec left = *limit;
    return static_cast<int>(syscall(SYS_ppoll, lines, count, &left, mask, _NSIG / 8));
}
}

void* operator new(size_t size) {
    if (plans_memory && Fails(&system_calls.allocate)) throw std::bad_alloc();
    void* const memory = malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept {
    free(memory);
}

void operator delete(void* memory, size_t) noexcept {
    free(memory);
}

/*
 * Open files: buffered ones, the append descriptor.
 */
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "../platform.h"
#include "descriptor.h"
#include "last_error.h"
#include "path.h"

/** What plat_append_open opened and nobody has closed yet; the library has one such descriptor at a time. */
static std::atomic<int> open_append{kNoDescriptor};

/**
 * Runs when the library is unloaded. A descriptor left behind then is out of everybody's reach: a program
 * that loads the library anew for each sale would run out of them within days.
 */
__attribute__((destructor)) static void CloseAppendAtUnload() {
    close(open_append.exchange(kNoDescriptor));
}

static FILE* Stream(plat_file* file) {
    return reinterpret_cast<FILE*>(file);
}

/**
 * Whether an open descriptor may be used: for reading only a plain file, which nobody has to be waited for;
 * for writing everything but a pipe, whose reader may go, which ends a program that writes on.
 */
static bool IsUsable(int descriptor, bool for_reading) {
    struct stat status = {};
    if (fstat(descriptor, &status) != 0) return false;
    return for_reading ? S_ISREG(status.st_mode) : !S_ISFIFO(status.st_mode);
}

/** The flags of open that a mode of fopen for writing stands for. */
static int OpenFlags(const char* mode) {
    const int access = strchr(mode, '+') != nullptr ? O_RDWR : O_WRONLY;
    return access | O_CREAT | (mode[0] == 'a' ? O_APPEND : O_TRUNC);
}

/** Reads up to `size` bytes, in as many pieces as it takes, and returns their number. */
static size_t ReadAll(int descriptor, char* bytes, size_t size, bool* whole) {
    size_t length = 0;
    *whole = true;
    while (length < size) {
        const ssize_t count = read(descriptor, bytes + length, size - length);
        if (count > 0) {
            length += static_cast<size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            *whole = Done(count == 0);
            break;
        }
    }
    return length;
}

bool plat_read_text(const char* path, char* text, size_t size, size_t* length, bool* whole) {
    const PosixPath name = ToPosixPath(path);
    if (!name.valid) return false;
    const Descriptor file(open(name.text, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!Done(file.IsOpen())) return false;
    if (!IsUsable(file.number(), true)) {
        SetLastErrno(EACCES);
        return false;
    }
    bool read_whole = true;
    *length = ReadAll(file.number(), text, size, &read_whole);
    if (whole != nullptr) *whole = read_whole;
    return true;
}

plat_file* plat_file_open(const char* path, const char* mode) {
    const PosixPath name = ToPosixPath(path);
    if (!name.valid) return nullptr;

    if (mode[0] != 'a' && mode[0] != 'w') {
        SetLastErrno(EINVAL);
        return nullptr;
    }
    // A pipe under the file's name would hold the open until somebody comes to its other end.
    const int descriptor = open(name.text, OpenFlags(mode) | O_CLOEXEC | O_NONBLOCK, 0666);
    if (!Done(descriptor != kNoDescriptor)) return nullptr;
    const bool usable = IsUsable(descriptor, false);
    FILE* stream = usable ? fdopen(descriptor, mode) : nullptr;
    if (stream == nullptr) {
        SetLastErrno(usable ? errno : EACCES);
        close(descriptor);
        return nullptr;
    }
    return reinterpret_cast<plat_file*>(stream);
}

bool plat_file_write(plat_file* file, const void* bytes, size_t size) {
    return Done(fwrite(bytes, 1, size, Stream(file)) == size);
}

bool plat_file_vprintf(plat_file* file, const char* format, va_list arguments) {
    return Done(vfprintf(Stream(file), format, arguments) >= 0);
}

bool plat_file_close(plat_file* file) {
    const bool failed_before = ferror(Stream(file)) != 0;
    return Done(fclose(Stream(file)) == 0) && !failed_before;
}

bool plat_append_text(const char* path, const char* text, size_t size) {
    const PosixPath name = ToPosixPath(path);
    if (!name.valid) return false;
    const int descriptor = open(name.text, OpenFlags("a") | O_CLOEXEC | O_NONBLOCK, 0666);
    if (!Done(descriptor != kNoDescriptor)) return false;
    const bool usable = IsUsable(descriptor, false);
    const bool written = usable && Done(WriteAll(descriptor, text, size));
    if (!usable) SetLastErrno(EACCES);
    // A file on the network may tell of a full disk only now.
    return Done(close(descriptor) == 0) && written;
}

int plat_append_open(const char* path) {
    const PosixPath name = ToPosixPath(path);
    if (!name.valid) return kNoDescriptor;

    int descriptor =
        open(name.text, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, S_IRUSR | S_IWUSR);
    if (descriptor == 0) {
        // A program without standard input would give 0, which the engine takes for "not open".
        descriptor = fcntl(0, F_DUPFD_CLOEXEC, 3);
        close(0);
    }
    if (!Done(descriptor != kNoDescriptor)) return kNoDescriptor;
    if (!IsUsable(descriptor, false)) {
        close(descriptor);
        SetLastErrno(EACCES);
        return kNoDescriptor;
    }
    open_append = descriptor;
    return descriptor;
}

bool plat_append_write(int descriptor, const void* bytes, size_t size) {
    return Done(WriteAll(descriptor, bytes, size));
}

void plat_append_close(int descriptor) {
    int expected = descriptor;
    open_append.compare_exchange_strong(expected, kNoDescriptor);
    close(descriptor);
}

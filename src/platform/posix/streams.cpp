/*
 * Open files: buffered ones, the append descriptor, standard output.
 */
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "../platform.h"
#include "last_error.h"
#include "path.h"

static FILE* Stream(plat_file* file) {
    return reinterpret_cast<FILE*>(file);
}

plat_file* plat_file_open(const char* path, const char* mode) {
    const PosixPath name = ToPosixPath(path);
    if (!name.valid) return nullptr;

    char mode_without_inheritance[8];
    snprintf(mode_without_inheritance, sizeof mode_without_inheritance, "%.6se", mode);
    FILE* stream = fopen(name.text, mode_without_inheritance);
    if (stream == nullptr) {
        SetLastErrno(errno);
        return nullptr;
    }
    // Reading a folder opens here and only fails later; the engine expects the open to fail.
    struct stat status = {};
    if (fstat(fileno(stream), &status) == 0 && S_ISDIR(status.st_mode)) {
        fclose(stream);
        SetLastErrno(EACCES);
        return nullptr;
    }
    return reinterpret_cast<plat_file*>(stream);
}

size_t plat_file_read(plat_file* file, void* buffer, size_t size) {
    const size_t count = fread(buffer, 1, size, Stream(file));
    if (count < size && ferror(Stream(file)) != 0) SetLastErrno(errno);
    return count;
}

bool plat_file_write(plat_file* file, const void* bytes, size_t size) {
    if (fwrite(bytes, 1, size, Stream(file)) == size) return true;
    SetLastErrno(errno);
    return false;
}

bool plat_file_vprintf(plat_file* file, const char* format, va_list arguments) {
    if (vfprintf(Stream(file), format, arguments) >= 0) return true;
    SetLastErrno(errno);
    return false;
}

bool plat_file_close(plat_file* file) {
    const bool failed_before = ferror(Stream(file)) != 0;
    if (fclose(Stream(file)) != 0) {
        SetLastErrno(errno);
        return false;
    }
    return !failed_before;
}

int plat_append_open(const char* path) {
    const PosixPath name = ToPosixPath(path);
    if (!name.valid) return -1;

    int descriptor = open(name.text, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor == 0) {
        // A program without standard input would give 0, which the engine takes for "not open".
        descriptor = fcntl(0, F_DUPFD_CLOEXEC, 3);
        close(0);
    }
    if (descriptor < 0) SetLastErrno(errno);
    return descriptor;
}

bool plat_append_write(int descriptor, const void* bytes, size_t size) {
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t count = write(descriptor, next, size);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            SetLastErrno(count < 0 ? errno : ENOSPC);
            return false;
        }
        next += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

void plat_append_close(int descriptor) {
    close(descriptor);
}

void plat_print(const char* text) {
    fputs(text, stdout);
    fflush(stdout);
}

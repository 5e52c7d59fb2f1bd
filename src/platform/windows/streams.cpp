/*
 * Open files: buffered ones, the append descriptor.
 */
#include <windows.h>
// The order matters: the header above defines what these may leave out.
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "../platform.h"

/** What plat_append_open opened and nobody has closed yet; the library has one such descriptor at a time. */
static std::atomic<int> open_append{-1};

/**
 * The system tells when the library is unloaded (`reserved` is NULL then) and when the process ends. A
 * descriptor left behind by the former is out of everybody's reach: a program that loads the library anew for
 * each sale would run out of them within days. At the end of the process other threads may have died with the
 * runtime's locks.
 */
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
    if (reason != DLL_PROCESS_DETACH || reserved != nullptr) return TRUE;
    const int descriptor = open_append.exchange(-1);
    if (descriptor >= 0) _close(descriptor);
    return TRUE;
}

static FILE* Stream(plat_file* file) {
    return reinterpret_cast<FILE*>(file);
}

plat_file* plat_file_open(const char* path, const char* mode) {
    // Text mode is asked for by name: the program around us may have made binary the default. Sharing is not
    // restricted, since logs are read while they are written.
    char text_mode[8];
    snprintf(text_mode, sizeof text_mode, "%.6st", mode);
    return reinterpret_cast<plat_file*>(_fsopen(path, text_mode, _SH_DENYNO));
}

size_t plat_file_read(plat_file* file, void* buffer, size_t size) {
    return fread(buffer, 1, size, Stream(file));
}

bool plat_file_write(plat_file* file, const void* bytes, size_t size) {
    return fwrite(bytes, 1, size, Stream(file)) == size;
}

bool plat_file_vprintf(plat_file* file, const char* format, va_list arguments) {
    return vfprintf(Stream(file), format, arguments) >= 0;
}

bool plat_file_close(plat_file* file) {
    const bool failed_before = ferror(Stream(file)) != 0;
    return fclose(Stream(file)) == 0 && !failed_before;
}

int plat_append_open(const char* path) {
    const int opened =
        _sopen(path, _O_WRONLY | _O_APPEND | _O_CREAT | _O_TEXT, _SH_DENYNO, _S_IREAD | _S_IWRITE);
    int descriptor = opened;
    if (opened == 0) {
        // A program without standard input gave us 0, which the engine takes for "not open".
        descriptor = _dup(opened);
        _close(opened);
    }
    if (descriptor >= 0) open_append = descriptor;
    return descriptor;
}

bool plat_append_write(int descriptor, const void* bytes, size_t size) {
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        constexpr size_t kMostAtOnce = 0x40000000;
        const unsigned portion = static_cast<unsigned>(size < kMostAtOnce ? size : kMostAtOnce);
        const int count = _write(descriptor, next, portion);
        if (count <= 0) return false;
        next += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

void plat_append_close(int descriptor) {
    int expected = descriptor;
    open_append.compare_exchange_strong(expected, -1);
    _close(descriptor);
}

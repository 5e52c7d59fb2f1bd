/*
 * Open files: buffered ones, the append descriptor.
 */
#include <windows.h>
// The order matters: the header above defines what this one may leave out.
#include <share.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "../platform.h"
#include "unload.h"

/** What plat_append_open opened and nobody has closed yet; the library has one such descriptor at a time. */
static std::atomic<int> open_append{-1};

static HANDLE Handle(int descriptor) {
    // The number is one of these, cast by the routine that made it. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<HANDLE>(static_cast<intptr_t>(descriptor));
}

void CloseLeftAppend() {
    const int descriptor = open_append.exchange(-1);
    if (descriptor >= 0) CloseHandle(Handle(descriptor));
}

static FILE* Stream(plat_file* file) {
    return reinterpret_cast<FILE*>(file);
}

/** Up to `size` bytes; fewer at the file's end, and where an error cuts them off: then not `whole`. */
static size_t ReadBytes(HANDLE file, char* bytes, size_t size, bool* whole) {
    constexpr size_t kMostAtOnce = 0x40000000;
    size_t length = 0;
    *whole = true;
    while (length < size) {
        const size_t portion = size - length < kMostAtOnce ? size - length : kMostAtOnce;
        DWORD count = 0;
        *whole = ReadFile(file, bytes + length, static_cast<DWORD>(portion), &count, nullptr) != 0;
        if (!*whole || count == 0) break;
        length += count;
    }
    return length;
}

/**
 * Makes of bytes what text mode reads in them, in place: line ends are one byte, and Ctrl-Z ends the text.
 * The bytes that this leaves over are cleared.
 */
static size_t ToText(char* bytes, size_t size) {
    constexpr char kEndOfText = 0x1A;
    const void* const mark = memchr(bytes, kEndOfText, size);
    const size_t end = mark != nullptr ? static_cast<size_t>(static_cast<const char*>(mark) - bytes) : size;
    size_t length = 0;
    for (size_t i = 0; i < end; ++i) {
        if (bytes[i] == '\r' && i + 1 < end && bytes[i + 1] == '\n') continue;
        bytes[length++] = bytes[i];
    }
    memset(bytes + length, 0, size - length);
    return length;
}

bool plat_read_text(const char* path, char* text, size_t size, size_t* length, bool* whole) {
    const HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    bool read_whole = true;
    *length = ToText(text, ReadBytes(file, text, size, &read_whole));
    if (whole != nullptr) *whole = read_whole;
    CloseHandle(file);
    return true;
}

plat_file* plat_file_open(const char* path, const char* mode) {
    // Text mode is asked for by name: the program around us may have made binary the default. Sharing is not
    // restricted, since logs are read while they are written.
    char text_mode[8];
    snprintf(text_mode, sizeof text_mode, "%.6st", mode);
    return reinterpret_cast<plat_file*>(_fsopen(path, text_mode, _SH_DENYNO));
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

static bool WriteBytes(HANDLE file, const char* bytes, size_t size) {
    DWORD written = 0;
    return WriteFile(file, bytes, static_cast<DWORD>(size), &written, nullptr) != 0 && written == size;
}

/** Room for line ends on their way; of a longer text what fits at a time. */
struct LineEnds {
    char* bytes;
    size_t size;
};

/** Writes text with the line ends of text mode, in as few writes as there is room for. */
static bool WriteText(HANDLE file, const char* text, size_t size, LineEnds room) {
    size_t used = 0;
    while (size > 0) {
        // Up to the next line feed, which needs room for two bytes, or as much as there is room for.
        const void* const feed = memchr(text, '\n', size);
        const size_t line =
            feed != nullptr ? static_cast<size_t>(static_cast<const char*>(feed) - text) : size;
        const size_t left = room.size - 2 - used;
        const size_t taken = line < left ? line : left;
        memcpy(room.bytes + used, text, taken);
        used += taken;
        text += taken;
        size -= taken;
        if (taken == line && size > 0) {
            room.bytes[used++] = '\r';
            room.bytes[used++] = '\n';
            ++text;
            --size;
        }
        if (used < room.size - 2 && size > 0) continue;
        if (!WriteBytes(file, room.bytes, used)) return false;
        used = 0;
    }
    return true;
}

/** The same with room that keeps a usual line in one piece: on the stack of a caller's thread there is
 * little. */
static bool WriteText(HANDLE file, const char* text, size_t size) {
    constexpr size_t kMost = 65536;
    char small[2048];
    if (size < sizeof small / 2) return WriteText(file, text, size, {small, sizeof small});
    const size_t wanted = size < kMost / 2 ? 2 * size + 2 : kMost;
    // Not plat_alloc: zeros would be written there for nothing.
    char* const large = static_cast<char*>(HeapAlloc(GetProcessHeap(), 0, wanted));
    const bool written = large != nullptr ? WriteText(file, text, size, {large, wanted})
                                          : WriteText(file, text, size, {small, sizeof small});
    if (large != nullptr) HeapFree(GetProcessHeap(), 0, large);
    return written;
}

/** Opens for appending only: without the right to write elsewhere the system itself puts each write at the
 * end. */
static HANDLE OpenAppend(const char* path) {
    return CreateFileA(path, FILE_APPEND_DATA | SYNCHRONIZE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                       OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

bool plat_append_text(const char* path, const char* text, size_t size) {
    const HANDLE file = OpenAppend(path);
    if (file == INVALID_HANDLE_VALUE) return false;
    const bool written = WriteText(file, text, size);
    return CloseHandle(file) != 0 && written;
}

int plat_append_open(const char* path) {
    // The system's handles have 32 significant bits, and a file's is above 0.
    const int descriptor = static_cast<int>(reinterpret_cast<intptr_t>(OpenAppend(path)));
    if (descriptor >= 0) open_append = descriptor;
    return descriptor;
}

bool plat_append_write(int descriptor, const void* bytes, size_t size) {
    return WriteText(Handle(descriptor), static_cast<const char*>(bytes), size);
}

void plat_append_close(int descriptor) {
    int expected = descriptor;
    open_append.compare_exchange_strong(expected, -1);
    CloseHandle(Handle(descriptor));
}

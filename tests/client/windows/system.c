#include "../system.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <stdlib.h>

static HANDLE held_mutex = NULL;

// The system's table of all handles, class 16 of its queries.
struct handle_entry {
    ULONG process;
    BYTE type;
    BYTE flags;
    USHORT value;
    void* object;
    ULONG access;
};
struct handle_table {
    ULONG count;
    struct handle_entry entries[];
};
typedef LONG(WINAPI* query_system_information)(int, void*, ULONG, ULONG*);

void* system_load_library(const char* path) {
    return (void*)LoadLibraryA(path);
}

bool system_unload_library(void* library) {
    return FreeLibrary((HMODULE)library) != 0;
}

library_function system_find_function(void* library, const char* name) {
    return (library_function)GetProcAddress((HMODULE)library, name);
}

const char* system_library_error(void) {
    static char text[32];
    snprintf(text, sizeof text, "error %lu", GetLastError());
    return text;
}

bool system_change_directory(const char* path) {
    return SetCurrentDirectoryA(path) != 0;
}

double system_now_ms(void) {
    LARGE_INTEGER frequency;
    LARGE_INTEGER counter;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    return (double)counter.QuadPart * 1000.0 / (double)frequency.QuadPart;
}

void system_plain_streams(void) {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

enum hold_result system_hold(const char* name, unsigned long milliseconds) {
    if (held_mutex == NULL) held_mutex = CreateMutexA(NULL, FALSE, name);
    if (held_mutex == NULL) return HOLD_FAILED;
    switch (WaitForSingleObject(held_mutex, milliseconds)) {
        case WAIT_OBJECT_0:
            return HOLD_ACQUIRED;
        case WAIT_ABANDONED:
            return HOLD_ABANDONED;
        case WAIT_TIMEOUT:
            return HOLD_TIMEOUT;
        default:
            return HOLD_FAILED;
    }
}

bool system_release(void) {
    if (held_mutex == NULL || !ReleaseMutex(held_mutex)) return false;
    CloseHandle(held_mutex);
    held_mutex = NULL;
    return true;
}

// Counts this process's rows of the system's table.
static long count_table_rows(void) {
    const ULONG size = 16 << 20;
    struct handle_table* table = malloc(size);
    const query_system_information query = (query_system_information)(void (*)(void))GetProcAddress(
        GetModuleHandleA("ntdll.dll"), "NtQuerySystemInformation");
    long count = -1;
    if (table != NULL && query != NULL && query(16, table, size, NULL) == 0) {
        count = 0;
        for (ULONG i = 0; i < table->count; ++i) {
            count += table->entries[i].process == GetCurrentProcessId();
        }
    }
    free(table);
    return count;
}

long system_open_handles(void) {
    DWORD count = 0;
    // Wine answers this question with 0, but keeps the table.
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count > 0) return (long)count;
    return count_table_rows();
}

bool system_keep_file(const char* path) {
    return CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, NULL, OPEN_EXISTING, 0, NULL) !=
           INVALID_HANDLE_VALUE;
}

struct thread {
    HANDLE handle;
    int number;
    thread_work work;
    void* context;
};

static DWORD WINAPI run_thread(void* argument) {
    const struct thread* thread = argument;
    thread->work(thread->number, thread->context);
    return 0;
}

bool system_run_threads(int count, thread_work work, void* context) {
    struct thread* threads = calloc((size_t)count, sizeof *threads);
    if (threads == NULL) return false;
    int started = 0;
    for (; started < count; ++started) {
        threads[started].number = started;
        threads[started].work = work;
        threads[started].context = context;
        threads[started].handle = CreateThread(NULL, 0, run_thread, &threads[started], 0, NULL);
        if (threads[started].handle == NULL) break;
    }
    for (int i = 0; i < started; ++i) {
        WaitForSingleObject(threads[i].handle, INFINITE);
        CloseHandle(threads[i].handle);
    }
    free(threads);
    return started == count;
}

static SRWLOCK callers_lock = SRWLOCK_INIT;

void system_enter(void) {
    AcquireSRWLockExclusive(&callers_lock);
}

void system_leave(void) {
    ReleaseSRWLockExclusive(&callers_lock);
}

#include "../system.h"

#include <dirent.h>
#include <dlfcn.h>
#include <pthread.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

void* system_load_library(const char* path) {
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

bool system_unload_library(void* library) {
    return dlclose(library) == 0;
}

library_function system_find_function(void* library, const char* name) {
    void* symbol = dlsym(library, name);
    library_function function = NULL;
    // ISO C has no cast from an object pointer to a function pointer; POSIX says that the bits are the same.
    memcpy(&function, &symbol, sizeof function);
    return function;
}

const char* system_library_error(void) {
    const char* text = dlerror();
    return text == NULL ? "unknown" : text;
}

bool system_change_directory(const char* path) {
    return chdir(path) == 0;
}

double system_now_ms(void) {
    struct timespec now = {0, 0};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec * 1000.0 + (double)now.tv_nsec / 1e6;
}

void system_plain_streams(void) {}

// The lock that the library takes here is held by test programs of their own; nothing here knows its form.
enum hold_result system_hold(const char* name, unsigned long milliseconds) {
    (void)name;
    (void)milliseconds;
    return HOLD_UNSUPPORTED;
}

bool system_release(void) {
    return false;
}

long system_open_handles(void) {
    DIR* folder = opendir("/proc/self/fd");
    if (folder == NULL) return -1;
    long count = 0;
    while (readdir(folder) != NULL) {
        ++count;
    }
    closedir(folder);
    // The folder itself, its parent and the descriptor that reads it are no handles of the process.
    return count - 3;
}

// Here, nothing keeps others from a file that they may open.
bool system_keep_file(const char* path) {
    (void)path;
    return false;
}

struct thread {
    pthread_t id;
    int number;
    thread_work work;
    void* context;
};

static void* run_thread(void* argument) {
    const struct thread* thread = argument;
    thread->work(thread->number, thread->context);
    return NULL;
}

bool system_run_threads(int count, thread_work work, void* context) {
    struct thread* threads = calloc((size_t)count, sizeof *threads);
    if (threads == NULL) return false;
    int started = 0;
    for (; started < count; ++started) {
        threads[started].number = started;
        threads[started].work = work;
        threads[started].context = context;
        if (pthread_create(&threads[started].id, NULL, run_thread, &threads[started]) != 0) break;
    }
    for (int i = 0; i < started; ++i) {
        pthread_join(threads[i].id, NULL);
    }
    free(threads);
    return started == count;
}

static pthread_mutex_t callers_lock = PTHREAD_MUTEX_INITIALIZER;

void system_enter(void) {
    pthread_mutex_lock(&callers_lock);
}

void system_leave(void) {
    pthread_mutex_unlock(&callers_lock);
}

#include "threads.h"

#include <stdio.h>
#include <string.h>

struct run {
    const char* (*consultar_sat)(int session);
    int calls;
    int next_session;
    int good;
};

static void make_calls(int thread, void* context) {
    struct run* run = context;
    (void)thread;
    for (int i = 0; i < run->calls; ++i) {
        char expected[16];
        system_enter();
        const int session = ++run->next_session;
        const int length = snprintf(expected, sizeof expected, "%06d|", session);
        if (strncmp(run->consultar_sat(session), expected, (size_t)length) == 0) ++run->good;
        system_leave();
    }
}

int threads_call(library_function consultar_sat, int count, int calls) {
    struct run run = {(const char* (*)(int))consultar_sat, calls, 0, 0};
    return system_run_threads(count, make_calls, &run) ? run.good : -1;
}

/*
 * Entry of the platform tests. Called with HOLD_MUTEX_ARGUMENT and a name it is the helper process that takes
 * a mutex and keeps it until it is killed.
 */
#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>

#include "child_process.h"
#include "platform/platform.h"

static int HoldMutex(const char* name) {
    const plat_handle mutex = plat_mutex_create(name);
    const uint32_t result = plat_mutex_wait(mutex, 0);
    plat_print(result == PLAT_WAIT_ACQUIRED ? HELD_TEXT : "refused\n");
    // The parent kills us; the end of its pipe is for the case that it dies first.
    while (getchar() != EOF) {
    }
    return 0;
}

int main(int argc, char** argv) {
    if (argc == 3 && strcmp(argv[1], HOLD_MUTEX_ARGUMENT) == 0) return HoldMutex(argv[2]);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

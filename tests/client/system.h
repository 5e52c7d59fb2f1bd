/*
 * What zantir-call needs of the operating system.
 */
#pragma once

#include <stdbool.h>

/** A function of a library, to be cast to what it really is. */
typedef void (*library_function)(void);

/** Loads the library at `path`. NULL on failure. */
void* system_load_library(const char* path);

/** Gives a library back that system_load_library loaded. False when the system refuses. */
bool system_unload_library(void* library);

/** The exported function `name`; NULL when there is none. */
library_function system_find_function(void* library, const char* name);

/** Why the last of the two calls above failed. */
const char* system_library_error(void);

/** Changes the current directory. */
bool system_change_directory(const char* path);

/** A clock in milliseconds that never runs backwards. */
double system_now_ms(void);

/** Lets standard input and output carry "\n" as it stands. */
void system_plain_streams(void);

enum hold_result { HOLD_ACQUIRED, HOLD_ABANDONED, HOLD_TIMEOUT, HOLD_FAILED, HOLD_UNSUPPORTED };

/** Takes the named mutex, waiting at most `milliseconds`. */
enum hold_result system_hold(const char* name, unsigned long milliseconds);

/** How many handles, or descriptors, the process has open; -1 when the system does not say. */
long system_open_handles(void);

/** Gives back the mutex that system_hold took. */
bool system_release(void);

/** Opens a file so that no other program can until this one ends. False when that fails or is not to be had.
 */
bool system_keep_file(const char* path);

/** What runs in each of several threads, which count from 0. */
typedef void (*thread_work)(int thread, void* context);

/** Runs `work` in `count` new threads at once and waits for their end. False when one could not be started.
 */
bool system_run_threads(int count, thread_work work, void* context);

/** The caller's own lock, one for the process: the library leaves that to its caller. */
void system_enter(void);
void system_leave(void);

/*
 * Paths in the library's spelling, turned into the system's.
 */
#pragma once

#include <cstddef>

/** A path with slashes. Not valid when the path given was longer than the system takes. */
struct PosixPath {
    char text[4096];
    bool valid;
};

/** Turns every backslash into a slash. A path that does not fit sets the last error and is not valid. */
PosixPath ToPosixPath(const char* path);

/** Whether `name` matches `pattern`: "*" stands for any characters or none, "?" for exactly one. */
bool MatchesPattern(const char* name, const char* pattern);

/** Copies `text`, cut to what fits `size` with its NUL. */
void CopyCut(char* target, size_t size, const char* text);

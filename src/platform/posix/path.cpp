/*
 * Path spelling and name patterns.
 */
#include "path.h"

#include <cerrno>
#include <cstring>

#include "last_error.h"

PosixPath ToPosixPath(const char* path) {
    PosixPath converted;
    const size_t length = strlen(path);
    converted.valid = length < sizeof converted.text;
    if (!converted.valid) {
        SetLastErrno(ENAMETOOLONG);
        return converted;
    }
    for (size_t index = 0; index <= length; ++index) {
        converted.text[index] = path[index] == '\\' ? '/' : path[index];
    }
    return converted;
}

// Written out instead of fnmatch, for which "[" and "\" have a meaning that Windows names do not give them.
// One way back, to the last star, is enough: an earlier star can never match better.
bool MatchesPattern(const char* name, const char* pattern) {
    const char* behind_star = nullptr;
    const char* retry = nullptr;
    while (*name != '\0') {
        if (*pattern == '*') {
            behind_star = ++pattern;
            retry = name;
        } else if (*pattern == '?' || *pattern == *name) {
            ++pattern;
            ++name;
        } else if (behind_star != nullptr) {
            pattern = behind_star;
            name = ++retry;
        } else {
            return false;
        }
    }
    while (*pattern == '*') {
        ++pattern;
    }
    return *pattern == '\0';
}

void CopyCut(char* target, size_t size, const char* text) {
    if (size == 0) return;
    const size_t length = strnlen(text, size - 1);
    memcpy(target, text, length);
    target[length] = '\0';
}

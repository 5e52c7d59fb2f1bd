/*
 * The C library's routines for memory and text, one byte at a time. The C library has a version of each for
 * every kind of processor; with these in their place a program runs the same instructions on all of them, and
 * each byte that somebody touches shows in the counts.
 */
#include <stddef.h>

void* memcpy(void* to, const void* from, size_t size) {
    char* target = to;
    const char* source = from;
    for (size_t i = 0; i < size; ++i) {
        target[i] = source[i];
    }
    return to;
}

void* memmove(void* to, const void* from, size_t size) {
    char* target = to;
    const char* source = from;
    if (target <= source) return memcpy(to, from, size);
    for (size_t i = size; i > 0; --i) {
        target[i - 1] = source[i - 1];
    }
    return to;
}

void* memset(void* at, int value, size_t size) {
    char* target = at;
    for (size_t i = 0; i < size; ++i) {
        target[i] = (char)value;
    }
    return at;
}

void* memchr(const void* at, int value, size_t size) {
    const unsigned char* bytes = at;
    for (size_t i = 0; i < size; ++i) {
        if (bytes[i] == (unsigned char)value) return (void*)(bytes + i);
    }
    return NULL;
}

size_t strlen(const char* text) {
    size_t length = 0;
    while (text[length] != '\0') {
        ++length;
    }
    return length;
}

int strncmp(const char* first, const char* second, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        if (first[i] != second[i]) return (unsigned char)first[i] - (unsigned char)second[i];
        if (first[i] == '\0') break;
    }
    return 0;
}

int strcmp(const char* first, const char* second) {
    return strncmp(first, second, (size_t)-1);
}

int memcmp(const void* first, const void* second, size_t size) {
    const unsigned char* left = first;
    const unsigned char* right = second;
    for (size_t i = 0; i < size; ++i) {
        if (left[i] != right[i]) return left[i] - right[i];
    }
    return 0;
}

char* strchr(const char* text, int value) {
    for (;; ++text) {
        if (*text == (char)value) return (char*)text;
        if (*text == '\0') return NULL;
    }
}

char* strstr(const char* text, const char* wanted) {
    const size_t length = strlen(wanted);
    for (;; ++text) {
        if (strncmp(text, wanted, length) == 0) return (char*)text;
        if (*text == '\0') return NULL;
    }
}

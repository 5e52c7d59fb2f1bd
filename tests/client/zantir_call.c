/*
 * zantir-call LIBRARY: calls the library's exports as a test driver asks on standard input, and answers each
 * line with one line on standard output. Fields are separated by tabs.
 *
 *   asked                                  answered
 *   NAME ARGUMENT... (see argument.h)      MILLISECONDS REPLY POINTER
 *   NAME ARGUMENT... >FILE                 MILLISECONDS @FILE POINTER, with the reply in the file
 *   chdir PATH                             ok
 *   hold MUTEX [SECONDS]                   held (or abandoned, timeout, failed, unsupported)
 *   release                                released (or failed)
 *   threads COUNT CALLS                    how many calls of COUNT threads, CALLS each, got their own reply
 *   reload                                 ok, the library having been given back and loaded anew
 *   keep PATH                              kept: no other program can open the file (or failed)
 *   handles                                how many handles or descriptors the process has open
 *   quit                                   (nothing; the program ends, as it does at the end of its input)
 *
 * The reply is hex, without its NUL, or NULL; a dot stands for an empty one. The pointer is the one that the
 * export returned. It says "ready" first. What it does not understand is answered with "error" and the
 * reason.
 */
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "argument.h"
#include "export.h"
#include "system.h"
#include "threads.h"

// A name, its arguments and a file.
#define MOST_FIELDS (EXPORT_MOST_ARGUMENTS + 3)

// Reads a line of any length without its end; NULL at the end of the input.
static char* read_line(void) {
    size_t size = 4096;
    size_t length = 0;
    char* line = malloc(size);
    while (line != NULL && fgets(line + length, (int)(size - length), stdin) != NULL) {
        length += strlen(line + length);
        if (length > 0 && line[length - 1] == '\n') {
            line[--length] = '\0';
            if (length > 0 && line[length - 1] == '\r') line[length - 1] = '\0';
            return line;
        }
        if (size > (size_t)1 << 29) break;
        if (length + 1 == size) {
            char* longer = realloc(line, size * 2);
            if (longer == NULL) break;
            line = longer;
            size *= 2;
        }
    }
    free(line);
    return NULL;
}

static int split_fields(char* line, char** fields) {
    int count = 0;
    for (char* field = line; field != NULL && count < MOST_FIELDS;) {
        char* tab = strchr(field, '\t');
        if (tab != NULL) *tab++ = '\0';
        fields[count++] = field;
        field = tab;
    }
    return count;
}

static void print_hex(const char* text) {
    static const char digits[] = "0123456789abcdef";
    char buffer[8192];
    size_t used = 0;
    for (const unsigned char* byte = (const unsigned char*)text; *byte != '\0'; ++byte) {
        buffer[used++] = digits[*byte >> 4];
        buffer[used++] = digits[*byte & 15];
        if (used == sizeof buffer) {
            fwrite(buffer, 1, used, stdout);
            used = 0;
        }
    }
    fwrite(buffer, 1, used, stdout);
}

static bool write_file(const char* path, const char* text) {
    FILE* file = fopen(path, "wb");
    if (file == NULL) return false;
    const size_t length = strlen(text);
    const bool written = fwrite(text, 1, length, file) == length;
    return fclose(file) == 0 && written;
}

static void report(double milliseconds, const char* reply, const char* path) {
    if (reply != NULL && path != NULL && !write_file(path, reply)) {
        printf("error\tcannot write %s\n", path);
        return;
    }
    printf("%.3f\t", milliseconds);
    if (reply == NULL) {
        printf("NULL");
    } else if (path != NULL) {
        printf("@%s", path);
    } else if (*reply == '\0') {
        putchar('.');
    } else {
        print_hex(reply);
    }
    printf("\t%llx\n", (unsigned long long)(uintptr_t)reply);
}

static void call(void* library, const char* name, const char* shape, const struct argument* arguments,
                 const char* path) {
    const library_function function = system_find_function(library, name);
    if (function == NULL) {
        printf("error\tnot exported: %s\n", system_library_error());
        return;
    }
    const double start = system_now_ms();
    const char* reply = export_call(function, shape, arguments);
    report(system_now_ms() - start, reply, path);
}

// Runs a line that names an export.
static void run_call(void* library, char** fields, int count) {
    struct argument arguments[EXPORT_MOST_ARGUMENTS] = {{0, 0, NULL}};
    const char* shape = export_shape(fields[0]);
    const char* path = count > 1 && fields[count - 1][0] == '>' ? fields[--count] + 1 : NULL;
    int read = 0;
    if (shape == NULL) {
        printf("error\tunknown function %s\n", fields[0]);
        return;
    }
    bool good = (size_t)count == strlen(shape) + 1;
    for (; good && read < count - 1; ++read) {
        good = argument_parse(fields[read + 1], &arguments[read]) && arguments[read].kind == shape[read];
    }
    if (good) {
        call(library, fields[0], shape, arguments, path);
    } else {
        printf("error\targuments of %s must be \"%s\", see field %d\n", fields[0], shape, read);
    }
    for (int i = 0; i < EXPORT_MOST_ARGUMENTS; ++i) {
        argument_free(&arguments[i]);
    }
}

static void run_hold(char** fields, int count) {
    static const char* const answers[] = {"held", "abandoned", "timeout", "failed", "unsupported"};
    const unsigned long seconds = count > 2 ? strtoul(fields[2], NULL, 10) : 10;
    puts(count < 2 ? "error\thold needs a name" : answers[system_hold(fields[1], seconds * 1000)]);
}

static void run_threads(void* library, char** fields, int count) {
    const library_function function = system_find_function(library, "ConsultarSAT");
    if (count != 3 || function == NULL) {
        puts("error\tthreads needs two numbers and a library");
        return;
    }
    printf("%d\n", threads_call(function, atoi(fields[1]), atoi(fields[2])));
}

// Gives the library back and loads it anew. NULL when either fails.
static void* reload(void* library, const char* path) {
    void* loaded = system_unload_library(library) ? system_load_library(path) : NULL;
    if (loaded == NULL) {
        printf("error\tcannot load the library again: %s\n", system_library_error());
    } else {
        puts("ok");
    }
    return loaded;
}

// Runs one line; false when it asks for the end.
static bool run_line(void** library, const char* path, char* line) {
    char* fields[MOST_FIELDS];
    if (strncmp(line, "chdir ", 6) == 0) line[5] = '\t';
    const int count = split_fields(line, fields);
    if (strcmp(fields[0], "quit") == 0) return false;
    if (strcmp(fields[0], "chdir") == 0) {
        puts(count == 2 && system_change_directory(fields[1]) ? "ok" : "error\tcannot change the directory");
    } else if (strcmp(fields[0], "hold") == 0) {
        run_hold(fields, count);
    } else if (strcmp(fields[0], "release") == 0) {
        puts(system_release() ? "released" : "failed");
    } else if (strcmp(fields[0], "keep") == 0) {
        puts(count == 2 && system_keep_file(fields[1]) ? "kept" : "failed");
    } else if (strcmp(fields[0], "threads") == 0) {
        run_threads(*library, fields, count);
    } else if (strcmp(fields[0], "reload") == 0) {
        *library = reload(*library, path);
        return *library != NULL;
    } else if (strcmp(fields[0], "handles") == 0) {
        printf("%ld\n", system_open_handles());
    } else {
        run_call(*library, fields, count);
    }
    return true;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: zantir-call LIBRARY\n");
        return 2;
    }
    system_plain_streams();
    void* library = system_load_library(argv[1]);
    if (library == NULL) {
        fprintf(stderr, "zantir-call: cannot load %s: %s\n", argv[1], system_library_error());
        return 1;
    }
    puts("ready");
    fflush(stdout);
    bool going = true;
    while (going) {
        char* line = read_line();
        if (line == NULL) break;
        going = run_line(&library, argv[1], line);
        // The driver waits for this line before it writes the next.
        fflush(stdout);
        free(line);
    }
    return 0;
}

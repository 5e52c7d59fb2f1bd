#include "argument.h"

#include <errno.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int digit_value(char c) {
    static const char digits[] = "0123456789abcdef";
    const char* place = c == '\0' ? NULL : strchr(digits, c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c);
    return place == NULL ? -1 : (int)(place - digits);
}

// The bytes of a hex text, with a NUL behind them; NULL when it is not one.
static char* parse_hex(const char* hex, size_t* length) {
    const size_t count = strlen(hex);
    if (count % 2 != 0) return NULL;
    char* bytes = malloc(count / 2 + 1);
    for (size_t i = 0; bytes != NULL && i < count; i += 2) {
        const int high = digit_value(hex[i]);
        const int low = digit_value(hex[i + 1]);
        if (high < 0 || low < 0) {
            free(bytes);
            return NULL;
        }
        bytes[i / 2] = (char)(unsigned char)(high * 16 + low);
    }
    if (bytes != NULL) bytes[count / 2] = '\0';
    *length = count / 2;
    return bytes;
}

static char* repeat(const char* pattern, size_t length, unsigned long times) {
    if (length > 0 && times > (SIZE_MAX - 1) / length) return NULL;
    char* text = malloc(length * times + 1);
    if (text == NULL) return NULL;
    for (unsigned long i = 0; i < times; ++i) {
        memcpy(text + i * length, pattern, length);
    }
    text[length * times] = '\0';
    return text;
}

static char* parse_repeated(const char* field) {
    char* rest = NULL;
    const unsigned long times = strtoul(field, &rest, 10);
    if (rest == field || rest[0] != ':' || rest[1] != 'x') return NULL;
    size_t length = 0;
    char* pattern = parse_hex(rest + 2, &length);
    if (pattern == NULL) return NULL;
    char* text = repeat(pattern, length, times);
    free(pattern);
    return text;
}

static char* read_file(const char* path) {
    FILE* file = fopen(path, "rb");
    if (file == NULL) return NULL;
    char* text = NULL;
    if (fseek(file, 0, SEEK_END) == 0) {
        const long size = ftell(file);
        rewind(file);
        text = size < 0 ? NULL : malloc((size_t)size + 1);
        if (text != NULL) text[fread(text, 1, (size_t)size, file)] = '\0';
    }
    fclose(file);
    return text;
}

static bool parse_number(const char* field, int* number) {
    char* rest = NULL;
    errno = 0;
    const long value = strtol(field, &rest, 10);
    if (rest == field || *rest != '\0' || errno != 0 || value < INT_MIN || value > INT_MAX) return false;
    *number = (int)value;
    return true;
}

bool argument_parse(const char* field, struct argument* argument) {
    size_t length = 0;
    argument->kind = 's';
    argument->number = 0;
    argument->text = NULL;
    if (strcmp(field, "NULL") == 0) return true;
    switch (field[0]) {
        case 'x':
            argument->text = parse_hex(field + 1, &length);
            return argument->text != NULL;
        case '@':
            argument->text = read_file(field + 1);
            return argument->text != NULL;
        case '*':
            argument->text = parse_repeated(field + 1);
            return argument->text != NULL;
        default:
            argument->kind = 'i';
            return parse_number(field, &argument->number);
    }
}

void argument_free(struct argument* argument) {
    free(argument->text);
    argument->text = NULL;
}

/*
 * The arguments of a call as a test driver writes them, one field each:
 *
 *   -5          a number
 *   x616263     the text "abc"; "x" alone is an empty text
 *   NULL        a null pointer
 *   @file       the content of a file, as a text
 *   *3:x6162    the text "ababab"
 */
#pragma once

#include <stdbool.h>
#include <stddef.h>

struct argument {
    char kind;   ///< 'i' for a number, 's' for a text or NULL
    int number;  ///< for 'i'
    char* text;  ///< for 's'; owned, may be NULL
};

/** Reads one field. False when it is none of the above, or the file or the memory is not there. */
bool argument_parse(const char* field, struct argument* argument);

/** Releases the text. */
void argument_free(struct argument* argument);

/*
 * A device's reply, field by field: what every program that talks to a SAT device needs.
 */
#pragma once

#include <stdbool.h>
#include <stddef.h>

/** No reply of the device has more fields. */
#define REPLY_MOST_FIELDS 32

/** A reply cut at its "|". */
struct reply {
    char* text;                       ///< the copy that the fields point into; owned
    char* fields[REPLY_MOST_FIELDS];  ///< NUL-terminated
    size_t count;                     ///< fields in the reply, which may be more than are kept
};

/** Copies and cuts a reply. False when there is no memory. */
bool reply_split(const char* text, struct reply* reply);

/** Releases the copy. */
void reply_free(struct reply* reply);

/** The size in bytes of what a Base64 text holds; -1 when it is not one. `bytes`, unless NULL, receives them.
 */
long base64_decode(const char* text, char* bytes);

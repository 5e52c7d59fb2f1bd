#include "reply.h"

#include <stdlib.h>
#include <string.h>

bool reply_split(const char* text, struct reply* reply) {
    const size_t size = strlen(text) + 1;
    reply->count = 0;
    reply->text = malloc(size);
    if (reply->text == NULL) return false;
    memcpy(reply->text, text, size);
    for (char* field = reply->text; field != NULL;) {
        char* separator = strchr(field, '|');
        if (separator != NULL) *separator++ = '\0';
        if (reply->count < REPLY_MOST_FIELDS) reply->fields[reply->count] = field;
        reply->count++;
        field = separator;
    }
    return true;
}

void reply_free(struct reply* reply) {
    free(reply->text);
    reply->text = NULL;
    reply->count = 0;
}

static int base64_value(char c) {
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const char* place = c == '\0' ? NULL : strchr(alphabet, c);
    return place == NULL ? -1 : (int)(place - alphabet);
}

long base64_decode(const char* text, char* bytes) {
    size_t length = strlen(text);
    if (length % 4 != 0) return -1;
    if (length > 0 && text[length - 1] == '=') length--;
    if (length > 0 && text[length - 1] == '=') length--;
    unsigned group = 0;
    int bits = 0;
    long size = 0;
    for (size_t i = 0; i < length; ++i) {
        const int value = base64_value(text[i]);
        if (value < 0) return -1;
        group = (group << 6 | (unsigned)value) & 0xFFFFFF;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            if (bytes != NULL) bytes[size] = (char)(unsigned char)(group >> bits & 0xFF);
            size++;
        }
    }
    return size;
}

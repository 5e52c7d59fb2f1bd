#include "text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int32_t VKO_DecimalValue(const char* text) {
    // strtoll saturates where the plain conversion would leave the result undefined.
    const long long value = strtoll(text, nullptr, 10);
    return static_cast<int32_t>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
}

bool VKO_CopyText(char* target, size_t size, const char* text) {
    const size_t length = strlen(text);
    const size_t copied = length < size ? length : size - 1;
    memmove(target, text, copied);
    target[copied] = '\0';
    return copied == length;
}

bool VKO_FormatText(char* target, size_t size, const char* format, ...) {
    va_list values;
    va_start(values, format);
    const int length = vsnprintf(target, size, format, values);
    va_end(values);
    return length >= 0 && static_cast<size_t>(length) < size;
}

void VKO_PrintValues(const char* format, va_list values) {
    va_list measured;
    va_copy(measured, values);
    const int length = vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    // What cannot be formatted is an empty text.
    const size_t size = static_cast<size_t>(std::max(length, 0)) + 1;
    char* text = static_cast<char*>(plat_alloc(size));
    if (text == nullptr) return;
    vsnprintf(text, size, format, values);
    plat_print(text);
    plat_free(text);
}

void VKO_Print(const char* format, ...) {
    va_list values;
    va_start(values, format);
    VKO_PrintValues(format, values);
    va_end(values);
}

/*
 * Small text operations that never leave their buffers.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "../platform/platform.h"

/**
 * The decimal number at the start of a text, as the standard string-to-integer conversion reads it: blanks, a
 * sign and the leading digits; 0 when there are none. A number beyond 32 bits gives the nearest one.
 */
int32_t VKO_DecimalValue(const char* text);

/** Copies a text, cut to what fits `size` bytes with its NUL. False when it had to be cut. */
bool VKO_CopyText(char* target, size_t size, const char* text);

/** Formats into `size` bytes, cut to what fits, always terminated. False when it had to be cut. */
bool VKO_FormatText(char* target, size_t size, const char* format, ...) PLAT_PRINTF_CHECK(3, 4);

/** Prints formatted text to standard output. */
void VKO_Print(const char* format, ...) PLAT_PRINTF_CHECK(1, 2);

/** VKO_Print for a caller that holds the values already. */
void VKO_PrintValues(const char* format, va_list values) PLAT_PRINTF_CHECK(1, 0);

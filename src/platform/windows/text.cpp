/*
 * Capitals and wide characters.
 */
#include <windows.h>

#include <algorithm>
#include <cstring>

#include "../platform.h"

/** Whether a character may have a capital: small ones, and those that only the code page knows. */
static bool MayChange(char character) {
    return (character >= 'a' && character <= 'z') || static_cast<unsigned char>(character) >= 0x80;
}

void plat_upper(char* text) {
    if (std::none_of(text, text + strlen(text), MayChange)) return;
    // What CharUpperA does, without the user interface library, which is as large as all the others together
    // and would be loaded into programs that have no windows.
    const int length = static_cast<int>(strlen(text));
    if (length > 0) LCMapStringA(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, text, length, text, length);
}

/** Converts the whole text, or tells the size needed when `bytes` is NULL. 0 on failure. */
static int Convert(const wchar_t* wide, char* bytes, int size) {
    const int converted = WideCharToMultiByte(CP_ACP, 0, wide, -1, bytes, size, " ", nullptr);
    if (converted != 0 || GetLastError() != ERROR_INVALID_PARAMETER) return converted;
    // Machines whose code page is UTF-8 refuse a replacement character: they lack no character.
    return WideCharToMultiByte(CP_ACP, 0, wide, -1, bytes, size, nullptr, nullptr);
}

void plat_wide_to_bytes(const wchar_t* wide, char* bytes, size_t size) {
    if (size == 0) return;
    bytes[0] = '\0';

    // The system leaves the target undefined when the text does not fit: it is converted whole, then cut.
    const int whole_size = Convert(wide, nullptr, 0);
    char* whole = whole_size > 0 ? static_cast<char*>(plat_alloc(static_cast<size_t>(whole_size))) : nullptr;
    if (whole == nullptr) return;
    if (Convert(wide, whole, whole_size) != 0) {
        const size_t length = strnlen(whole, size - 1);
        memcpy(bytes, whole, length);
        bytes[length] = '\0';
    }
    plat_free(whole);
}

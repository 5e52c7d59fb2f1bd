/*
 * Capitals and wide characters. There is no code page here: texts of the engine are ASCII.
 */
#include "../platform.h"

void plat_upper(char* text) {
    for (; *text != '\0'; ++text) {
        if (*text >= 'a' && *text <= 'z') *text = static_cast<char>(*text - 'a' + 'A');
    }
}

void plat_wide_to_bytes(const wchar_t* wide, char* bytes, size_t size) {
    if (size == 0) return;

    size_t length = 0;
    for (; length + 1 < size && wide[length] != L'\0'; ++length) {
        const bool ascii = static_cast<uint32_t>(wide[length]) < 0x80;
        bytes[length] = ascii ? static_cast<char>(wide[length]) : ' ';
    }
    bytes[length] = '\0';
}

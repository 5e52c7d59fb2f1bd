/*
 * What the reader and the writer of INI files share: the file as one text, and the search for a section in
 * it.
 */
#pragma once

#include <cstddef>

/** A file's content, zero-filled behind its end. `pText` comes from plat_alloc. */
struct tIniText {
    char* pText;
    size_t fileSize;  ///< bytes that came from the file
    bool bWhole;      ///< no error cut the text off
};

enum eIniLoad { INI_LOADED, INI_NO_MEMORY, INI_NO_OPEN };

/**
 * Reads up to `size` bytes of a file and allocates `spare` zero bytes more. On success `text` is filled,
 * and the caller frees its pText with plat_free.
 */
eIniLoad IniLoad(const char* pIniFileName, size_t size, size_t spare, tIniText* text);

/** The first "[pSession]" anywhere in the text, comments and values included; NULL when there is none. */
char* IniFindSection(char* pText, const char* pSession);

/** The first character behind the header at which IniFindSection stopped. */
char* IniBehindHeader(char* pHeader, const char* pSession);

constexpr bool IniLineEnd(char c) {
    return c == '\n' || c == '\r' || c == '\0';
}

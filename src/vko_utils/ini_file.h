/*
 * Reading and writing INI files. The whole file is one text, and sections and items are found by plain
 * substring search: there are no comments, no folding of case, no quotes.
 */
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int INI_FILE_OK = 0;
constexpr int INI_FILE_SECTION_ONLY = 2;     ///< writer: only a section was written, or no item was passed
constexpr int INI_FILE_SECTION_CREATED = 4;  ///< writer: file or section created together with the item
constexpr int INI_FILE_ITEM_CHANGED = 5;     ///< writer: an item's value was changed and the file rewritten
constexpr int INI_FILE_ITEM_ADDED = 7;       ///< writer: an item was added to an existing section
constexpr int INI_FILE_ITEM_NOT_ADDED = 8;   ///< writer: item not added, no value was given
constexpr int INI_FILE_ERR_INVALID_PARAM = -300;
constexpr int INI_FILE_ERR_NOT_FOUND = -301;
constexpr int INI_FILE_ERR_OPEN = -302;
constexpr int INI_FILE_ERR_SESSION_NOT_FOUND = -304;
constexpr int INI_FILE_ERR_ITEM_NOT_FOUND = -305;
constexpr int INI_FILE_ERR_CREATE = -401;

/** Files above this size are refused as unreadable: nobody writes such settings, and a look-up would take
 * long. */
constexpr int32_t INI_FILE_LARGEST = 128 * 1024 * 1024;

/** Size << 34 ^ last change of a file, which tell whether it is still the one that was read; 0 for a missing
 * one. */
uint64_t VKO_GetIniState(const char* pIniFileName);

/** A file's text in memory, for a pass over many items. Look-ups do not change it. */
struct tIniFile {
    const char* pName;    ///< the caller's; must live as long as this
    int rc;               ///< 0, or why there is no text: the code that every look-up returns
    const char* pReason;  ///< ends the line of a failed look-up
    char* pText;          ///< zero-filled behind its end; NULL when there is none
    size_t textSize;      ///< bytes that came from the file
    int64_t iModified;    ///< its last change before the reading, seconds since 1970; 0 for a missing file
    uint64_t uiState;     ///< VKO_GetIniState before the reading
    bool bSettled;        ///< read whole, and a change behind it shows in its state (VKO_ChangeShows)
};

/** A file that was not read yet: look-ups find none. */
constexpr tIniFile VKO_UnreadIniFile(const char* pIniFileName) {
    return {pIniFileName, INI_FILE_ERR_NOT_FOUND, "", nullptr, 0, 0, 0, false};
}

/** Reads a file for VKO_GetLoadedIniValue and VKO_SetIniFileLogMode. A failure is kept for the look-ups, not
 * reported. */
tIniFile VKO_LoadIniFile(const char* pIniFileName);

/** Releases what VKO_LoadIniFile took, and leaves a file that was not read. */
void VKO_FreeIniFile(tIniFile* file);

/** VKO_GetIniFileValueSized on a file as VKO_LoadIniFile found it. */
int VKO_GetLoadedIniValue(const tIniFile& file, const char* pSession, const char* pItem, char* pRetValue,
                          size_t size);

/**
 * Reads the value of an item: the rest of the line behind the first text in the section that begins with the
 * item's name, without any "=" or blank.
 *
 * A section ends at the next "[". The search is exact and by prefix: "Log" finds "LogMode", and a name may
 * also be found inside a longer word or a comment.
 *
 * @param pIniFileName  the file, read anew at every call
 * @param pSession      the section's name, without brackets
 * @param pItem         the item's name
 * @param pRetValue     receives the value; becomes empty as soon as the file is known to exist
 * @param size          bytes at pRetValue, at least 1; a longer value is cut to what fits and reported
 * @return 0, also for an empty value; INI_FILE_ERR_INVALID_PARAM for a NULL; INI_FILE_ERR_NOT_FOUND for a
 * missing or empty file; INI_FILE_ERR_OPEN; INI_FILE_ERR_SESSION_NOT_FOUND; INI_FILE_ERR_ITEM_NOT_FOUND
 */
int VKO_GetIniFileValueSized(const char* pIniFileName, const char* pSession, const char* pItem,
                             char* pRetValue, size_t size);

/** The same without a bound, for callers that know the longest value that the file can hold. */
int VKO_GetIniFileValue(const char* pIniFileName, const char* pSession, const char* pItem, char* pRetValue);

/**
 * Writes a value: changes the item where it is, adds it to the section, or creates the section or the file.
 *
 * A shorter value leaves the line its length, filled with blanks; no value at all blanks the whole line.
 * Adding an item to a section that another one follows drops everything from that next section on: the file
 * ends behind the new line. Both are how this routine has always worked and are kept on purpose.
 *
 * @param pItem      may be NULL or empty: then only the section is made
 * @param pNewValue  may be NULL or empty
 * @return 0 already so; INI_FILE_SECTION_ONLY, INI_FILE_SECTION_CREATED, INI_FILE_ITEM_CHANGED,
 * INI_FILE_ITEM_ADDED, INI_FILE_ITEM_NOT_ADDED; INI_FILE_ERR_INVALID_PARAM, INI_FILE_ERR_CREATE,
 * INI_FILE_ERR_NOT_FOUND (the file could not be opened again for writing)
 */
int VKO_SetIniFileValue(const char* pIniFileName, const char* pSession, const char* pItem,
                        const char* pNewValue);

/** VKO_SetIniFileValue under the name that says what it does. */
int VKO_WriteIniFileValue(const char* pIniFileName, const char* pSession, const char* pItem,
                          const char* pNewValue);

/** Makes sure that a section is there. */
int VKO_AddIniFileSection(const char* pIniFileName, const char* pSession);

/** Passes an item without a value. */
int VKO_AddIniFileItem(const char* pIniFileName, const char* pSession, const char* pItem);

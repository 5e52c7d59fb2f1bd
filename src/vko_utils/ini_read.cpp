#include <climits>
#include <cstring>

#include "../platform/platform.h"
#include "files.h"
#include "ini_file.h"
#include "ini_text.h"
#include "log.h"

/** The arguments of one look-up. */
struct tIniLookup {
    const tIniFile* pFile;
    const char* pSession;
    const char* pItem;
    char* pRetValue;
    size_t size;
};

/** Every line of a look-up names the public routine, whichever of its steps writes it. */
static const char LOOKUP[] = "VKO_GetIniFileValue";

/** Reports a failed look-up. No value has been read yet, so the log shows an empty one. */
static int Fail(const tIniLookup& lookup, int rc, const char* pName, const char* pReason) {
    UTIL_LOG_LINE_FUNCTION_AS(
        LOOKUP, VKO_LOG_ERR,
        "[%04d] %s rc[%06d]ER:%s\n\t pIniFileName[%s] \n\t     pSession[%s] \n\t        "
        "pItem[%s] \n\t    pRetValue[%s]%s\n",
        rc, pName, lookup.pFile->pName, lookup.pSession, lookup.pItem, "", pReason);
    return rc;
}

/** Behind the item's name; NULL when the section, which the next bracket ends wherever it stands, lacks it.
 */
static char* FindItem(char* pSectionBody, const char* pItem) {
    const size_t itemLength = strlen(pItem);
    char* pBracket = strchr(pSectionBody, '[');
    char* pEnd = pBracket != nullptr ? pBracket : pSectionBody + strlen(pSectionBody);
    // An item without a name stands everywhere.
    if (itemLength == 0) return pSectionBody != pEnd ? pSectionBody : nullptr;
    for (char* p = pSectionBody; p != pEnd; ++p) {
        p = static_cast<char*>(memchr(p, pItem[0], static_cast<size_t>(pEnd - p)));
        if (p == nullptr) return nullptr;
        if (strncmp(p, pItem, itemLength) == 0) return p + itemLength;
    }
    return nullptr;
}

/** Copies the rest of the line without "=" and blanks. False when the value had to be cut. */
static bool CopyValue(const tIniLookup& lookup, const char* pHeader, const char* pValue) {
    const tIniFile& file = *lookup.pFile;
    const size_t headerAt = static_cast<size_t>(pHeader - file.pText);
    size_t copied = 0;
    bool bWhole = true;
    for (const char* p = pValue; *p != '\0' && *p != '\n'; ++p) {
        // The test for a carriage return looks as far behind the section's header as the copy stands behind
        // the start of the file: on purpose. Carriage returns are rare in text mode, and the trailing ones go
        // below.
        const size_t tested = headerAt + static_cast<size_t>(p - file.pText);
        if (tested < file.textSize && file.pText[tested] == '\r') break;
        if (*p == '=' || *p == ' ') continue;
        if (copied + 1 >= lookup.size) {
            // A carriage return at the line's end would go anyway: it does not make the value too long.
            if (*p == '\r') continue;
            bWhole = false;
            break;
        }
        lookup.pRetValue[copied++] = *p;
    }
    // Only carriage returns can stand there: a line feed ended the copy.
    while (copied > 0 && lookup.pRetValue[copied - 1] == '\r')
        --copied;
    lookup.pRetValue[copied] = '\0';
    return bWhole;
}

static int FindValue(const tIniLookup& lookup) {
    char* pHeader = IniFindSection(lookup.pFile->pText, lookup.pSession);
    if (pHeader == nullptr) {
        return Fail(lookup, INI_FILE_ERR_SESSION_NOT_FOUND, "INI_FILE_ERR_SESSION_NOT_FOUND Fail", "");
    }
    const char* pValue = FindItem(IniBehindHeader(pHeader, lookup.pSession), lookup.pItem);
    if (pValue == nullptr) {
        // The fixed port is an optional key: its absence is the normal case.
        if (strcmp(lookup.pItem, "FixarPorta") != 0) {
            UTIL_LOG_LINE_FUNCTION_AS(
                LOOKUP, VKO_LOG_ERR,
                "[%04d] %s rc[%06d]ER:INI_FILE_ERR_ITEM_NOT_FOUND VKO_GetIniFileValue Fail\n\t "
                "pIniFileName[%s] \n\t pSession[%s] \n\t        pItem[%s]ITEM NOT FOUND!!\n",
                INI_FILE_ERR_ITEM_NOT_FOUND, lookup.pFile->pName, lookup.pSession, lookup.pItem);
        }
        return INI_FILE_ERR_ITEM_NOT_FOUND;
    }
    if (!CopyValue(lookup, pHeader, pValue)) {
        UTIL_LOG_LINE_FUNCTION_AS(
            LOOKUP, VKO_LOG_WRN,
            "[%04d] %s rc[%06d]WR pIniFileName[%s] pSession[%s] pItem[%s] VALUE TOO LONG, "
            "CUT TO[%s]\n",
            INI_FILE_OK, lookup.pFile->pName, lookup.pSession, lookup.pItem, lookup.pRetValue);
    }
    return INI_FILE_OK;
}

static int RefuseNull(const char* pIniFileName, const char* pSession, const char* pItem,
                      const char* pRetValue) {
    UTIL_LOG_LINE_FUNCTION_AS(
        LOOKUP, VKO_LOG_ERR,
        "[%04d] %s rc[%06d]ER:INI_FILE_ERR_INVALID_PARAM pIniFileName[%08Xh] "
        "pSession[%08Xh] pItem[%08Xh] pRetValue[%08Xh] bSessionFound[%d] bItemFound[%d] "
        "bValueMatch[%d]\n",
        INI_FILE_ERR_INVALID_PARAM, LogHandle(pIniFileName), LogHandle(pSession), LogHandle(pItem),
        LogHandle(pRetValue), 0, 0, 0);
    return INI_FILE_ERR_INVALID_PARAM;
}

static uint64_t StateOf(const plat_file_status& status) {
    // Both in one number, so that threads never see them apart. The seconds of five centuries take 34 bits.
    return (static_cast<uint64_t>(status.size) << 34U) ^ static_cast<uint64_t>(status.modified);
}

uint64_t VKO_GetIniState(const char* pIniFileName) {
    plat_file_status status;
    return plat_file_query(pIniFileName, &status) ? StateOf(status) : 0;
}

static tIniFile NotLoaded(tIniFile file, int rc, const char* pReason) {
    file.rc = rc;
    file.pReason = pReason;
    return file;
}

tIniFile VKO_LoadIniFile(const char* pIniFileName) {
    tIniFile file = VKO_UnreadIniFile(pIniFileName);
    if (pIniFileName == nullptr) return NotLoaded(file, INI_FILE_ERR_INVALID_PARAM, "");
    plat_file_status status;
    if (!plat_file_query(pIniFileName, &status)) {
        // It reports the missing file.
        VKO_FileExist(pIniFileName);
        return file;
    }
    // Before the reading, so that whatever changes meanwhile shows.
    file.bSettled = VKO_ChangeShows(status.modified);
    file.iModified = status.modified;
    file.uiState = StateOf(status);
    if (status.size <= 0) return NotLoaded(file, INI_FILE_ERR_NOT_FOUND, " sztFileSize[0]=0");
    if (status.size > INI_FILE_LARGEST) return NotLoaded(file, INI_FILE_ERR_OPEN, " TOO LARGE");
    tIniText text;
    switch (IniLoad(pIniFileName, static_cast<size_t>(status.size), 1024, &text)) {
        case INI_NO_MEMORY:
            return NotLoaded(file, INI_FILE_ERR_OPEN, " calloc() Fail");
        case INI_NO_OPEN:
            return NotLoaded(file, INI_FILE_ERR_OPEN, " fopen() Fail");
        case INI_LOADED:
            break;
    }
    file.rc = INI_FILE_OK;
    file.bSettled = file.bSettled && text.bWhole;
    file.pText = text.pText;
    file.textSize = text.fileSize;
    return file;
}

void VKO_FreeIniFile(tIniFile* file) {
    plat_free(file->pText);
    *file = VKO_UnreadIniFile(file->pName);
}

int VKO_GetLoadedIniValue(const tIniFile& file, const char* pSession, const char* pItem, char* pRetValue,
                          size_t size) {
    if (file.pName == nullptr || pSession == nullptr || pItem == nullptr || pRetValue == nullptr) {
        return RefuseNull(file.pName, pSession, pItem, pRetValue);
    }
    const tIniLookup lookup = {&file, pSession, pItem, pRetValue, size};
    // A missing file leaves the value as it was, every other failure empties it.
    const bool bMissing = file.rc == INI_FILE_ERR_NOT_FOUND && file.pReason[0] == '\0';
    if (!bMissing) pRetValue[0] = '\0';
    if (file.rc == INI_FILE_OK) return FindValue(lookup);
    return Fail(lookup, file.rc,
                file.rc == INI_FILE_ERR_NOT_FOUND ? "INI_FILE_ERR_NOT_FOUND " : "INI_FILE_ERR_OPEN ",
                file.pReason);
}

int VKO_GetIniFileValueSized(const char* pIniFileName, const char* pSession, const char* pItem,
                             char* pRetValue, size_t size) {
    if (pIniFileName == nullptr || pSession == nullptr || pItem == nullptr || pRetValue == nullptr) {
        return RefuseNull(pIniFileName, pSession, pItem, pRetValue);
    }
    tIniFile file = VKO_LoadIniFile(pIniFileName);
    const int rc = VKO_GetLoadedIniValue(file, pSession, pItem, pRetValue, size);
    VKO_FreeIniFile(&file);
    return rc;
}

int VKO_GetIniFileValue(const char* pIniFileName, const char* pSession, const char* pItem, char* pRetValue) {
    return VKO_GetIniFileValueSized(pIniFileName, pSession, pItem, pRetValue, SIZE_MAX);
}

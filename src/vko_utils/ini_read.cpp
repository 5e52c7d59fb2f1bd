#include <climits>
#include <cstring>

#include "../platform/platform.h"
#include "files.h"
#include "ini_file.h"
#include "ini_text.h"
#include "log.h"

/** The arguments of one look-up. */
struct tIniLookup {
    const char* pIniFileName;
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
        rc, pName, lookup.pIniFileName, lookup.pSession, lookup.pItem, "", pReason);
    return rc;
}

static char* FindItem(char* pSectionBody, const char* pItem) {
    const size_t itemLength = strlen(pItem);
    for (char* p = pSectionBody; *p != '\0' && *p != '['; ++p) {
        if (strncmp(p, pItem, itemLength) == 0) return p + itemLength;
    }
    return nullptr;
}

/** Copies the rest of the line without "=" and blanks. False when the value had to be cut. */
static bool CopyValue(const tIniText& text, const char* pHeader, const char* pValue,
                      const tIniLookup& lookup) {
    const size_t headerAt = static_cast<size_t>(pHeader - text.pText);
    size_t copied = 0;
    bool bWhole = true;
    for (const char* p = pValue; *p != '\0' && *p != '\n'; ++p) {
        // The test for a carriage return looks as far behind the section's header as the copy stands behind
        // the start of the file: on purpose. Carriage returns are rare in text mode, and the trailing ones go
        // below.
        const size_t tested = headerAt + static_cast<size_t>(p - text.pText);
        if (tested < text.fileSize && text.pText[tested] == '\r') break;
        if (*p == '=' || *p == ' ') continue;
        if (copied + 1 >= lookup.size) {
            // A carriage return at the line's end would go anyway: it does not make the value too long.
            if (*p == '\r') continue;
            bWhole = false;
            break;
        }
        lookup.pRetValue[copied++] = *p;
    }
    while (copied > 0 && (lookup.pRetValue[copied - 1] == '\n' || lookup.pRetValue[copied - 1] == '\r'))
        --copied;
    lookup.pRetValue[copied] = '\0';
    return bWhole;
}

static int FindValue(const tIniText& text, const tIniLookup& lookup) {
    char* pHeader = IniFindSection(text.pText, lookup.pSession);
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
                INI_FILE_ERR_ITEM_NOT_FOUND, lookup.pIniFileName, lookup.pSession, lookup.pItem);
        }
        return INI_FILE_ERR_ITEM_NOT_FOUND;
    }
    if (!CopyValue(text, pHeader, pValue, lookup)) {
        UTIL_LOG_LINE_FUNCTION_AS(
            LOOKUP, VKO_LOG_WRN,
            "[%04d] %s rc[%06d]WR pIniFileName[%s] pSession[%s] pItem[%s] VALUE TOO LONG, "
            "CUT TO[%s]\n",
            INI_FILE_OK, lookup.pIniFileName, lookup.pSession, lookup.pItem, lookup.pRetValue);
    }
    return INI_FILE_OK;
}

int VKO_GetIniFileValueSized(const char* pIniFileName, const char* pSession, const char* pItem,
                             char* pRetValue, size_t size) {
    if (pIniFileName == nullptr || pSession == nullptr || pItem == nullptr || pRetValue == nullptr) {
        UTIL_LOG_LINE_FUNCTION_AS(
            LOOKUP, VKO_LOG_ERR,
            "[%04d] %s rc[%06d]ER:INI_FILE_ERR_INVALID_PARAM pIniFileName[%08Xh] "
            "pSession[%08Xh] pItem[%08Xh] pRetValue[%08Xh] bSessionFound[%d] bItemFound[%d] "
            "bValueMatch[%d]\n",
            INI_FILE_ERR_INVALID_PARAM, LogHandle(pIniFileName), LogHandle(pSession), LogHandle(pItem),
            LogHandle(pRetValue), 0, 0, 0);
        return INI_FILE_ERR_INVALID_PARAM;
    }
    const tIniLookup lookup = {pIniFileName, pSession, pItem, pRetValue, size};
    if (VKO_FileExist(pIniFileName) < 0)
        return Fail(lookup, INI_FILE_ERR_NOT_FOUND, "INI_FILE_ERR_NOT_FOUND ", "");
    pRetValue[0] = '\0';

    const int32_t sztFileSize = VKO_GetFileSize(pIniFileName);
    if (sztFileSize <= 0) {
        return Fail(lookup, INI_FILE_ERR_NOT_FOUND, "INI_FILE_ERR_NOT_FOUND ", " sztFileSize[0]=0");
    }
    tIniText text;
    switch (IniLoad(pIniFileName, static_cast<size_t>(sztFileSize), 1024, &text)) {
        case INI_NO_MEMORY:
            return Fail(lookup, INI_FILE_ERR_OPEN, "INI_FILE_ERR_OPEN ", " calloc() Fail");
        case INI_NO_OPEN:
            return Fail(lookup, INI_FILE_ERR_OPEN, "INI_FILE_ERR_OPEN ", " fopen() Fail");
        case INI_LOADED:
            break;
    }
    const int rc = FindValue(text, lookup);
    plat_free(text.pText);
    return rc;
}

int VKO_GetIniFileValue(const char* pIniFileName, const char* pSession, const char* pItem, char* pRetValue) {
    return VKO_GetIniFileValueSized(pIniFileName, pSession, pItem, pRetValue, SIZE_MAX);
}

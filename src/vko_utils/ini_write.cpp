#include <algorithm>
#include <cstring>

#include "../platform/platform.h"
#include "files.h"
#include "ini_file.h"
#include "ini_text.h"
#include "log.h"

/** The arguments of one change. Item and value are empty texts where none were given. */
struct tIniChange {
    const char* pIniFileName;
    const char* pSession;
    const char* pItem;
    const char* pNewValue;
};

/** Every line of a change names the public routine, whichever of its steps writes it. */
static const char CHANGE[] = "VKO_SetIniFileValue";

static int Fail(const tIniChange& change, int rc, const char* pReason) {
    if (change.pNewValue[0] == '\0') {
        UTIL_LOG_LINE_FUNCTION_AS(
            CHANGE, VKO_LOG_ERR,
            "[%04d] %s rc[%06d]%s pIniFileName[%s] pSession[%s] pItem[%s] pNewValue=NULL\n", rc, pReason,
            change.pIniFileName, change.pSession, change.pItem);
        return rc;
    }
    UTIL_LOG_LINE_FUNCTION_AS(
        CHANGE, VKO_LOG_ERR, "[%04d] %s rc[%06d]%s pIniFileName[%s] pSession[%s] pItem[%s] pNewValue[%s]\n",
        rc, pReason, change.pIniFileName, change.pSession, change.pItem, change.pNewValue);
    return rc;
}

/** A text under construction, in memory that is large enough by its caller's reckoning. */
struct tIniBuilder {
    char* pText;
    size_t length;
};

static void Add(tIniBuilder* builder, const char* pPiece) {
    const size_t length = strlen(pPiece);
    memcpy(builder->pText + builder->length, pPiece, length);
    builder->length += length;
}

static void AddItemLine(tIniBuilder* builder, const tIniChange& change) {
    Add(builder, change.pItem);
    Add(builder, "=");
    Add(builder, change.pNewValue);
    Add(builder, "\n");
}

static size_t SpaceFor(const tIniChange& change) {
    return strlen(change.pSession) + strlen(change.pItem) + strlen(change.pNewValue) + 16;
}

/** Appends a section, with the item when there is a value for it. `bNewFile`: nothing stands in front of it.
 */
static int AppendSection(const tIniChange& change, bool bNewFile) {
    tIniBuilder builder = {static_cast<char*>(plat_alloc(SpaceFor(change))), 0};
    if (builder.pText == nullptr)
        return Fail(change, INI_FILE_ERR_CREATE, "ER:INI_FILE_ERR_CREATE calloc() Fail");
    if (!bNewFile) Add(&builder, "\n");
    Add(&builder, "[");
    Add(&builder, change.pSession);
    Add(&builder, "]\n");
    int rc = INI_FILE_SECTION_ONLY;
    if (change.pItem[0] != '\0' && change.pNewValue[0] != '\0') {
        AddItemLine(&builder, change);
        rc = INI_FILE_SECTION_CREATED;
    } else if (change.pItem[0] != '\0' && !bNewFile) {
        Add(&builder, "-\n");
        rc = INI_FILE_ITEM_NOT_ADDED;
    }
    if (!plat_append_text(change.pIniFileName, builder.pText, builder.length)) {
        rc = Fail(change, INI_FILE_ERR_CREATE, "ER:INI_FILE_ERR_CREATE fopen Fail");
    }
    plat_free(builder.pText);
    return rc;
}

/** Where the walk for an item ended: at the item, or at a "[" or the end of the text. */
struct tIniPlace {
    char* pAt;
    bool bFound;
};

static tIniPlace FindItem(char* pSectionBody, const char* pItem) {
    const size_t itemLength = strlen(pItem);
    for (char* p = pSectionBody;; ++p) {
        while (*p == '=' || *p == ' ')
            ++p;
        if (*p == '\0' || *p == '[') return {p, false};
        if (strncmp(p, pItem, itemLength) == 0) return {p, true};
    }
}

/** Changes the value of the item at `pItemAt` in the text, which has room for the new value, and rewrites the
 * file. */
static int ChangeItem(const tIniChange& change, tIniText* text, char* pItemAt) {
    // The value is taken to start one character behind the name, where "=" is expected, so a blank in front
    // of the
    // "=" counts as value: on purpose. A name that ends its line has no such character and no value.
    char* pValue = pItemAt + strlen(change.pItem);
    if (!IniLineEnd(*pValue)) ++pValue;
    char* pLineEnd = pValue;
    while (!IniLineEnd(*pLineEnd))
        ++pLineEnd;

    const size_t oldLength = static_cast<size_t>(pLineEnd - pValue);
    const size_t newLength = strlen(change.pNewValue);
    if (newLength > 0 && newLength == oldLength && memcmp(pValue, change.pNewValue, newLength) == 0) {
        return INI_FILE_OK;
    }
    if (newLength == 0) {
        memset(pItemAt, ' ', static_cast<size_t>(pLineEnd - pItemAt));
    } else {
        // A shorter value is filled up with blanks, a longer one moves the rest of the file.
        const size_t length = std::max(newLength, oldLength);
        const char* pEnd = text->pText + text->fileSize;
        memmove(pValue + length, pLineEnd, static_cast<size_t>(pEnd - pLineEnd));
        memset(pValue, ' ', length);
        memcpy(pValue, change.pNewValue, newLength);
        text->fileSize += length - oldLength;
    }
    if (!plat_file_replace(change.pIniFileName, text->pText, text->fileSize)) {
        return Fail(change, INI_FILE_ERR_NOT_FOUND, "ER:INI_FILE_ERR_NOT_FOUND fopen() Fail");
    }
    return INI_FILE_ITEM_CHANGED;
}

/** Adds the item in front of the section that follows, and drops that section and all behind it: on purpose.
 */
static int InsertItem(const tIniChange& change, const tIniText& text, char* pNextSection) {
    tIniBuilder builder = {text.pText, static_cast<size_t>(pNextSection - text.pText) - 1};
    if (change.pNewValue[0] != '\0') {
        AddItemLine(&builder, change);
    } else {
        Add(&builder, "-\n");
    }
    if (!plat_file_replace(change.pIniFileName, builder.pText, builder.length)) {
        return Fail(change, INI_FILE_ERR_NOT_FOUND, "ER:INI_FILE_ERR_NOT_FOUND fopen() Fail");
    }
    UTIL_LOG_LINE_FUNCTION_AS(CHANGE, VKO_LOG_WRN,
                              "[%04d] %s rc[%06d]WR:INI_FILE_ITEM_ADDED Fail pIniFileName[%s] pSession[%s] "
                              "pItem[%s]\n",
                              INI_FILE_ITEM_ADDED, change.pIniFileName, change.pSession, change.pItem);
    return INI_FILE_ITEM_ADDED;
}

/** Adds the item at the end of the file, which ends with its section. */
static int AppendItem(const tIniChange& change) {
    if (change.pNewValue[0] == '\0') return INI_FILE_ITEM_NOT_ADDED;
    tIniBuilder builder = {static_cast<char*>(plat_alloc(SpaceFor(change))), 0};
    if (builder.pText == nullptr)
        return Fail(change, INI_FILE_ERR_CREATE, "ER:INI_FILE_ERR_CREATE calloc() Fail");
    AddItemLine(&builder, change);
    int rc = INI_FILE_ITEM_ADDED;
    if (!plat_append_text(change.pIniFileName, builder.pText, builder.length)) {
        rc = Fail(change, INI_FILE_ERR_NOT_FOUND, "ER:INI_FILE_ERR_NOT_FOUND fopen() Fail");
    }
    plat_free(builder.pText);
    return rc;
}

static int ChangeText(const tIniChange& change, tIniText* text) {
    char* pHeader = IniFindSection(text->pText, change.pSession);
    if (pHeader == nullptr) return AppendSection(change, false);
    if (change.pItem[0] == '\0') return INI_FILE_SECTION_ONLY;
    const tIniPlace place = FindItem(IniBehindHeader(pHeader, change.pSession), change.pItem);
    if (place.bFound) return ChangeItem(change, text, place.pAt);
    return *place.pAt == '[' ? InsertItem(change, *text, place.pAt) : AppendItem(change);
}

int VKO_SetIniFileValue(const char* pIniFileName, const char* pSession, const char* pItem,
                        const char* pNewValue) {
    if (pIniFileName == nullptr || pSession == nullptr) {
        UTIL_LOG_LINE_FUNCTION(
            VKO_LOG_ERR,
            "[%04d] %s rc[%06d]ER:INI_FILE_ERR_INVALID_PARAM Invalid Params pIniFileName[%08Xh] "
            "pSession[%08Xh] pItem[%08Xh] pRetValue[%08Xh] bSessionFound[%d]\n",
            INI_FILE_ERR_INVALID_PARAM, LogHandle(pIniFileName), LogHandle(pSession), LogHandle(pItem),
            LogHandle(pNewValue), 0);
        return INI_FILE_ERR_INVALID_PARAM;
    }
    const tIniChange change = {pIniFileName, pSession, pItem != nullptr ? pItem : "",
                               pNewValue != nullptr ? pNewValue : ""};
    const int32_t iSize = VKO_FileExist(pIniFileName);
    if (iSize < 0) return AppendSection(change, true);

    tIniText text;
    // The text may grow by the new line or value; 64 and 1024 are the slack that it has always had.
    switch (IniLoad(pIniFileName, static_cast<size_t>(iSize), 64 + 1024 + SpaceFor(change), &text)) {
        case INI_NO_MEMORY:
            return Fail(change, INI_FILE_ERR_CREATE, "ER:INI_FILE_ERR_CREATE calloc() Fail");
        case INI_NO_OPEN:
            return Fail(change, INI_FILE_ERR_CREATE, "ER:INI_FILE_ERR_CREATE fopen Fail");
        case INI_LOADED:
            break;
    }
    const int rc = ChangeText(change, &text);
    plat_free(text.pText);
    return rc;
}

int VKO_WriteIniFileValue(const char* pIniFileName, const char* pSession, const char* pItem,
                          const char* pNewValue) {
    return VKO_SetIniFileValue(pIniFileName, pSession, pItem, pNewValue);
}

int VKO_AddIniFileSection(const char* pIniFileName, const char* pSession) {
    return VKO_SetIniFileValue(pIniFileName, pSession, nullptr, nullptr);
}

int VKO_AddIniFileItem(const char* pIniFileName, const char* pSession, const char* pItem) {
    return VKO_SetIniFileValue(pIniFileName, pSession, pItem, nullptr);
}

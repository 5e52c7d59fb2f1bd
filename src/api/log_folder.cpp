#include "log_folder.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "../vko_utils/files.h"
#include "../vko_utils/text.h"
#include "api_log.h"

static const char LOG_FOLDER[] = "Log";
static const char LOG_FILES[] = "Log/*.txt";
static constexpr int MOST_LOG_FILES = 9;

static constexpr size_t FILE_NAME_SIZE = 260;
static constexpr size_t RESPONSE_SIZE = 20;

plat_handle gl_hLeftOpenSearch = PLAT_INVALID_HANDLE;
std::atomic<int64_t> gl_iKnownLogFiles{0};

void WideCharToByte(const wchar_t* warray, char* response) {
    if (warray == nullptr) {
        API_LOG(VKO_LOG_WRN, "Win: warray=null\n");
        return;
    }
    if (response == nullptr) {
        API_LOG(VKO_LOG_WRN, "Win: response=null\n");
        return;
    }
    char strConverted[RESPONSE_SIZE] = {};
    plat_wide_to_bytes(warray, strConverted, sizeof strConverted);
    memcpy(response, strConverted, sizeof strConverted);
    if (strcmp(response, "              ") != 0) {
        API_LOG(VKO_LOG_INF, "Win: response[%05d:%s]\n", static_cast<int>(strlen(response)), response);
    }
}

/** Converts the single-byte name as if it were wide text, two bytes a character: on purpose. */
static void ConvertMisread(const char (&strName)[FILE_NAME_SIZE], char (&strResponse)[RESPONSE_SIZE]) {
    // Two bytes also where a wide character is larger, so that every system makes the same text of a name:
    // fourteen blanks of a protocol log's 28 characters. One character more than the name fills ends it.
    wchar_t wide[sizeof strName / sizeof(uint16_t) + 1] = {};
    uint16_t units[sizeof strName / sizeof(uint16_t)];
    memcpy(units, strName, sizeof units);
    std::copy(std::begin(units), std::end(units), wide);
    WideCharToByte(wide, strResponse);
}

/** Searches again and removes what the first name becomes when its bytes are read as wide text. */
static void RemoveMisreadName() {
    // This search stays open on purpose; the next one in its place ends it, so that there is never more than
    // one.
    if (plat_handle_valid(gl_hLeftOpenSearch)) plat_find_close(gl_hLeftOpenSearch);

    char strName[FILE_NAME_SIZE] = {};
    gl_hLeftOpenSearch = plat_find_open(LOG_FILES, strName, sizeof strName);
    if (!plat_handle_valid(gl_hLeftOpenSearch)) return;
    char strRemembered[RESPONSE_SIZE] = {};
    ConvertMisread(strName, strRemembered);
    char strPath[RESPONSE_SIZE + 8];
    VKO_FormatText(strPath, sizeof strPath, "Log/%s", strRemembered);
    // The single-byte name was read as wide text, so this is not the file's name and nothing goes: on
    // purpose.
    plat_remove_file(strPath);
}

/** A count and the folder's last change in one number, so that threads never see them apart. */
static int64_t CountWithChange(int iCount, int64_t iModified) {
    return static_cast<int64_t>((static_cast<uint64_t>(iModified) << 4U) | static_cast<uint64_t>(iCount));
}

/** The count that is known of a folder that last changed at `iModified`; 0 when it has to be counted. */
static int KnownCount(int64_t iModified) {
    const int64_t iKnown = gl_iKnownLogFiles;
    const int iCount = static_cast<int>(iKnown & 15);
    return CountWithChange(iCount, iModified) == iKnown ? iCount : 0;
}

int GetFiles() {
    plat_file_status folder = {};
    const bool bFolder = plat_file_query(LOG_FOLDER, &folder);
    // Asked before the search, so that whatever changes while it goes on shows too.
    const bool bShows = bFolder && VKO_ChangeShows(folder.modified);
    // Where no name would be logged, nothing is left to do but to find the same count.
    if (bFolder && !VKO_LogEnabled(VKO_LOG_INF)) {
        const int iKnown = KnownCount(folder.modified);
        if (iKnown > 0) return iKnown;
    }
    char strName[FILE_NAME_SIZE] = {};
    const plat_handle search = plat_find_open(LOG_FILES, strName, sizeof strName);
    if (!plat_handle_valid(search)) {
        API_LOG(VKO_LOG_WRN, "Win: rc[%06d]WR:SAT_API_ERR_WIN_FILE_NOT_FOUND\n",
                SAT_API_ERR_WIN_FILE_NOT_FOUND);
        return SAT_API_ERR_WIN_FILE_NOT_FOUND;
    }
    int iCount = 0;
    do {
        char strRemembered[RESPONSE_SIZE];
        ConvertMisread(strName, strRemembered);
        ++iCount;
        memset(strName, 0, sizeof strName);
    } while (plat_find_next(search, strName, sizeof strName));
    plat_find_close(search);
    // Above nine files there is something to do each time.
    const bool bKept = bShows && iCount <= MOST_LOG_FILES;
    gl_iKnownLogFiles = bKept ? CountWithChange(iCount, folder.modified) : 0;
    if (iCount > MOST_LOG_FILES) RemoveMisreadName();
    return iCount;
}

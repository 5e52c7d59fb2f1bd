#include "files.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "../platform/platform.h"
#include "log.h"
#include "text.h"

int32_t VKO_GetFileSize(const char* pFileName) {
    if (pFileName == nullptr) {
        UTIL_LOG(VKO_LOG_WRN, " rc[%06d]WR: pFileName=NULL\n", -1);
        return -1;
    }
    plat_file_status status;
    if (!plat_file_query(pFileName, &status)) return -1;
    return static_cast<int32_t>(std::min<int64_t>(status.size, INT32_MAX));
}

bool VKO_ChangeShows(int64_t iModified) {
    using namespace std::chrono;
    // Some file systems count in pairs of seconds, and their clock may be some ticks behind.
    constexpr milliseconds STEP = 2s + 100ms;
    plat_calendar now;
    plat_utc_now(&now);
    const sys_days day = year(now.year) / now.month / now.day;
    const auto time = day.time_since_epoch() + hours(now.hour) + minutes(now.minute) + seconds(now.second) +
                      milliseconds(now.millisecond);
    // Far away is any time that the calendar's years cannot reach.
    constexpr int64_t FAR = int64_t{1} << 40U;
    return iModified > -FAR && iModified < FAR && time - seconds(iModified) >= STEP;
}

int32_t VKO_FileExist(const char* pFileName) {
    if (pFileName == nullptr) {
        UTIL_LOG_LINE_FUNCTION(VKO_LOG_ERR, "[%04d] %s rc[%06d]ER pFileName[null]\n", -1);
        return -1;
    }
    const int32_t iSize = VKO_GetFileSize(pFileName);
    // "SAT.ini" is missing at every first start: nothing to report.
    if (iSize < 0 && strcmp(pFileName, "SAT.ini") != 0) {
        UTIL_LOG_LINE_FUNCTION(VKO_LOG_WRN, "[%04d] %s rc[%06d]WR pFileName[%s] NOT FOUND!!\n", iSize,
                               pFileName);
    }
    return iSize;
}

/** How one kind of file is answered and reported. */
struct tFileKind {
    uint32_t uiType;
    int iResult;
    unsigned uiLevel;
    const char* pLabel;
};

static const tFileKind FILE_KINDS[] = {
    {PLAT_MODE_DIRECTORY, 1, VKO_LOG_INF, "OK:S_IFDIR is directory        "},
    // A regular file is logged as an error although it is found: on purpose.
    {PLAT_MODE_REGULAR, 2, VKO_LOG_ERR, "ER:S_IFREG is regular file    "},
    // The pipe carries the character device's label: on purpose.
    {PLAT_MODE_PIPE, 0x1000, VKO_LOG_ERR, "ER:S_IFCHR is  FIFO/pipe"},
    {PLAT_MODE_CHARACTER, 0x2000, VKO_LOG_ERR, "ER:S_IFCHR is character device"},
    {PLAT_MODE_BLOCK, 0x3000, VKO_LOG_ERR, "ER:S_IFBLK is block device"},
};

static tFileKind KindOf(uint32_t uiMode) {
    const uint32_t uiType = uiMode & PLAT_MODE_FORMAT;
    for (const tFileKind& kind : FILE_KINDS) {
        if (kind.uiType == uiType) return kind;
    }
    return {uiType, static_cast<int>(uiType), VKO_LOG_ERR, "ER:S_UNKNW is Unknown?"};
}

int VKO_Exist(const char* pDirFileName) {
    if (pDirFileName == nullptr) {
        UTIL_LOG_LINE_FUNCTION(VKO_LOG_ERR, "[%04d] %s  rc[%06d]ER:  pDirFileName=NULL\n", -1);
        return -1;
    }
    plat_file_status status;
    if (!plat_file_query(pDirFileName, &status)) {
        // The folder "Log" is looked for before every first line: its absence is normal.
        if (strcmp(pDirFileName, "Log") != 0) {
            UTIL_LOG_LINE_FUNCTION(VKO_LOG_WRN,
                                   "[%04d] %s  rc[%06d]WR:  pDirFileName[%s] Not Found!!! force return 0\n",
                                   -1, pDirFileName);
        }
        return 0;
    }
    const tFileKind kind = KindOf(status.mode);
    UTIL_LOG_LINE_FUNCTION(kind.uiLevel, "[%04d] %s  rc[%06d]%s st_mode[%08Xh] & S_IFMT[%08Xh] return %d\n",
                           kind.iResult, kind.pLabel, status.mode, PLAT_MODE_FORMAT, kind.iResult);
    return kind.iResult;
}

int VKO_CreateDir(const char* pDirName) {
    if (pDirName == nullptr) {
        UTIL_LOG_LINE_FUNCTION(VKO_LOG_ERR, "[%04d] %s rc[%06d] pDirName=NULL\n", -1);
        return -1;
    }
    plat_file_status status;
    if (plat_file_query(pDirName, &status) && (status.mode & PLAT_MODE_DIRECTORY) != 0) return 1;
    plat_create_folder(pDirName);
    if (!plat_file_query(pDirName, &status)) {
        UTIL_LOG_LINE_FUNCTION(VKO_LOG_ERR, "[%04d] %s rc[%06d] pDirName[%s] Not Created!\n", -5, pDirName);
        return -5;
    }
    if ((status.mode & PLAT_MODE_DIRECTORY) == 0) {
        UTIL_LOG_LINE_FUNCTION(VKO_LOG_ERR, "[%04d] %s rc[%06d] pDirName[%s] Is not a Directory!\n", -4,
                               pDirName);
        return -4;
    }
    return 2;
}

/** What differs between deleting a folder and deleting a file. */
struct tDeletion {
    int iKind;             ///< the answer of VKO_Exist that allows it
    const char* pCommand;  ///< shell command, in front of the name
    const char* pNoun;
    const char* pNotThat;  ///< "Directort" is spelled so on purpose
    const char* pStillThere;
};

static const tDeletion DELETE_DIR = {1, "rmdir /S /Q ", "Directory", "Is not a Directort!",
                                     "Directory Unknown return 3"};
static const tDeletion DELETE_FILE = {2, "del /S ", "File", "Is not a File!", "File Deleted return 3"};

static void ReportDeletion(unsigned uiLevel, const char* pFunction, int rc, const char* pName,
                           const char* pText) {
    if (!VKO_LogEnabled(uiLevel)) return;
    VKO_LogWrite(gl_pLogBaseName, uiLevel, "[%04d] %s rc[%06d]%s   pDirName[%s] %s\n", __LINE__, pFunction,
                 rc, uiLevel == VKO_LOG_ERR ? "ER" : "WR", pName, pText);
}

static bool RunDeletion(const tDeletion& deletion, const char* pName) {
    char strCommand[512];
    // A name that was cut would be another name: what does not fit is not run.
    if (!VKO_FormatText(strCommand, sizeof strCommand, "%s%s", deletion.pCommand, pName)) return false;
    plat_shell(strCommand);
    return true;
}

static int DeleteByShell(const tDeletion& deletion, const char* pFunction, const char* pName) {
    char strReport[128];
    if (pName == nullptr) {
        ReportDeletion(VKO_LOG_ERR, pFunction, -1, "null", "Invalid Name >> return -1");
        return -1;
    }
    const int iFound = VKO_Exist(pName);
    if (iFound == 0) {
        VKO_FormatText(strReport, sizeof strReport, "%s do not Exist! >> return 0", deletion.pNoun);
        ReportDeletion(VKO_LOG_WRN, pFunction, 0, pName, strReport);
        return 0;
    }
    if (iFound != deletion.iKind) {
        VKO_FormatText(strReport, sizeof strReport, "%s >> return -2", deletion.pNotThat);
        ReportDeletion(VKO_LOG_ERR, pFunction, -2, pName, strReport);
        return -2;
    }
    VKO_FormatText(strReport, sizeof strReport, "%s Exist >> Delete it Now!!!", deletion.pNoun);
    ReportDeletion(VKO_LOG_WRN, pFunction, iFound, pName, strReport);
    if (!RunDeletion(deletion, pName)) {
        ReportDeletion(VKO_LOG_ERR, pFunction, 3, pName, "Name too long for the command >> not run");
    }

    const int iLeft = VKO_Exist(pName);
    if (iLeft < 0) return 2;
    if (iLeft == 0) {
        VKO_FormatText(strReport, sizeof strReport, "%s Successfull Deleted return 1", deletion.pNoun);
        ReportDeletion(VKO_LOG_WRN, pFunction, 1, pName, strReport);
        return 1;
    }
    if (iLeft == 1) {
        ReportDeletion(VKO_LOG_ERR, pFunction, -1, pName, "Directory Could not be Deleted return -1");
        return -1;
    }
    ReportDeletion(VKO_LOG_WRN, pFunction, 3, pName, deletion.pStillThere);
    return 3;
}

int VKO_DeleteDir(const char* pDirName) {
    return DeleteByShell(DELETE_DIR, __func__, pDirName);
}

int VKO_DeleteFile(const char* pFileName) {
    return DeleteByShell(DELETE_FILE, __func__, pFileName);
}

/** What the text of VKO_BinToHexStr holds at most; its last bytes stay free. */
static constexpr int MOST_HEX_BYTES = 2044;

char* VKO_BinToHexStr(const uint8_t* pData, int iCount) {
    static char strHex[4096];
    memset(strHex, 0, sizeof strHex);
    if (pData == nullptr) return strHex;
    for (int i = 0; i < std::min(iCount, MOST_HEX_BYTES); ++i) {
        char* pDigits = strHex + 2 * static_cast<ptrdiff_t>(i);
        snprintf(pDigits, sizeof "FF", "%02X", pData[i]);
    }
    return strHex;
}

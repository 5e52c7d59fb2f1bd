#include <atomic>

#include "files.h"
#include "log.h"
#include "log_name.h"
#include "text.h"

std::atomic<uint64_t> gl_uiMissingLog{0};

/**
 * The size of the log, -1 when it cannot be told. One that could not be measured is not tried again while its
 * folder has not changed: on a day without errors there is none, and to look for what is not there is slow
 * where names have no fixed case.
 */
static int MeasureLog(const char* pName, int64_t iFolderModified) {
    const uint64_t uiLog = VKO_NameHash(pName, iFolderModified);
    if (uiLog == gl_uiMissingLog) return -1;
    // Asked before the measurement, so that a log which comes meanwhile shows too.
    const bool bShows = VKO_ChangeShows(iFolderModified);
    const int iSize = VKO_GetFileSize(pName);
    if (iSize < 0 && bShows) gl_uiMissingLog = uiLog;
    return iSize;
}

int TraleFileLogSzCtl() {
    plat_calendar now;
    plat_utc_now(&now);
    char strTraceFileName[VKO_LOG_NAME_SIZE];
    // Unlike the writer, the size control looks below the current directory even when the folder carries a
    // drive, so a log in such a folder is never moved: on purpose.
    const char* pBaseName = gl_tLogSettings.strLogFileName;
    const int64_t iFolderModified =
        VKO_LogFileName(strTraceFileName, now, pBaseName, LOG_NAME_RELATIVE_FOLDERS);
    int iFileSize = MeasureLog(strTraceFileName, iFolderModified);
    if (iFileSize <= gl_tLogSettings.iLogFileMaxSize) return iFileSize;

    char strTmpBkpLogFileName[VKO_LOG_NAME_SIZE + 32];
    int iBackup = 0;
    do {
        VKO_FormatText(strTmpBkpLogFileName, sizeof strTmpBkpLogFileName, "%s_bkp_%02d.log", strTraceFileName,
                       iBackup);
        iFileSize = VKO_GetFileSize(strTmpBkpLogFileName);
        ++iBackup;
    } while (iFileSize > 0);

    UTIL_LOG(VKO_LOG_WRN, "\n\t     strTraceFileName[%s]MOVE:OLD\n\t strTmpBkpLogFileName[%s]MOVE:NEW\n",
             strTraceFileName, strTmpBkpLogFileName);
    plat_move_file(strTraceFileName, strTmpBkpLogFileName);
    return iFileSize;
}

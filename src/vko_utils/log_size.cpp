#include "files.h"
#include "log.h"
#include "log_name.h"
#include "text.h"

int TraleFileLogSzCtl() {
    plat_calendar now;
    plat_utc_now(&now);
    char strTraceFileName[VKO_LOG_NAME_SIZE];
    // Unlike the writer, the size control looks below the current directory even when the folder carries a
    // drive, so a log in such a folder is never moved: on purpose.
    VKO_LogFileName(strTraceFileName, now, gl_tLogSettings.strLogFileName, LOG_NAME_RELATIVE_FOLDERS);

    int iFileSize = VKO_GetFileSize(strTraceFileName);
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

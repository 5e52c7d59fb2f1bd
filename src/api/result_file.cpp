#include "result_file.h"

#include <cstring>

#include "../vko_utils/files.h"
#include "../vko_utils/text.h"
#include "api_log.h"
#include "state.h"

static const char RESULT[] = "write_operation_result";
static const char DEFAULT_FOLDER[] = "CupomDesk\\Cupons\\New";
static constexpr size_t PATH_SIZE = 512;

static bool CommonDataFolder(char* pPath, size_t size) {
    if (plat_common_data_folder(pPath, size)) return true;
    // The doubled "d" behind the code belongs to the text.
    API_LOG_AS(RESULT, VKO_LOG_ERR, "Win: rc[%04dd]ER Function:SHGetFolderPath:Fail\n\t      path[%s]\n", -1,
               "");
    return false;
}

/** The configured folder, or the default one below the common application data. */
static void TargetFolder(const char* pCommonData, char* pTarget, size_t size) {
    VKO_FormatText(pTarget, size, "%s\\%s", pCommonData, DEFAULT_FOLDER);
    const char* pConfigured = gl_tSat.strReceiptPathWindows;
    if (pConfigured[0] != '\0' && strcmp(pConfigured, pTarget) != 0) VKO_CopyText(pTarget, size, pConfigured);
    API_LOG_AS(RESULT, VKO_LOG_INF, " rc[%06d]Win:OK \n\t<Operation><DHMS-<Session>.sat\n\tstrTarget[%s]\n",
               0, pTarget);
}

static void WriteResult(const char* pPath, const plat_calendar& now, const void* pReply, int iLength) {
    char strTmpTimeStamp[64];
    VKO_FormatText(strTmpTimeStamp, sizeof strTmpTimeStamp, "%02d/%02d/%04d %02d:%02d:%02d", now.day,
                   now.month, now.year, now.hour, now.minute, now.second);
    plat_file* file = plat_file_open(pPath, "w+");
    if (file == nullptr) {
        API_LOG_AS(RESULT, VKO_LOG_INF,
                   "Win: rc[%06d]ER:Timestamp Not Saved on File[%s]\n\t          [DD/MM/YYYY HH:MM:SS]\n\t "
                   "strTmpTimeStamp[%s]\n",
                   -1, pPath, strTmpTimeStamp);
        return;
    }
    API_LOG_AS(
        RESULT, VKO_LOG_INF,
        "Win: rc[%06d]OK:\n\tSaved File[%s]\n\t          [DD/MM/YYYY HH:MM:SS]\n\t strTmpTimeStamp[%s]\n", 0,
        pPath, strTmpTimeStamp);
    plat_file_write(file, pReply, static_cast<size_t>(iLength));
    if (!plat_file_close(file)) {
        API_LOG_AS(RESULT, VKO_LOG_ERR, "Win: rc[%06d]ER:File[%s]Not Written\n", -1, pPath);
    }
}

void write_operation_result(const void* pReply, int iSession, int iLength, const char* pcOperation,
                            const char*, int) {
    if (gl_tSat.iReceiptFilesEnabled == 0) return;
    char strCommonData[PATH_SIZE];
    if (!CommonDataFolder(strCommonData, sizeof strCommonData)) return;

    plat_calendar now;
    plat_local_now(&now);
    char strName[PATH_SIZE];
    // Month and year are not part of the name.
    VKO_FormatText(strName, sizeof strName, "%s%02d%02d%02d%02d-%02d-1.sat", pcOperation, now.day, now.hour,
                   now.minute, now.second, iSession);
    API_LOG(VKO_LOG_INF, "Win: rc[%06d]OK:File[%s]\n", 0, strName);

    char strTarget[PATH_SIZE];
    TargetFolder(strCommonData, strTarget, sizeof strTarget);
    if (VKO_Exist(strTarget) != 1) return;
    char strPath[2 * PATH_SIZE];
    VKO_FormatText(strPath, sizeof strPath, "%s\\%s", strTarget, strName);
    WriteResult(strPath, now, pReply, iLength);
}

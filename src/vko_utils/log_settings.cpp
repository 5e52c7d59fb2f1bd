#include <cstring>

#include "ini_file.h"
#include "log.h"
#include "text.h"

static const char SECTION[] = "LOG";
static constexpr int32_t DEFAULT_MAX_SIZE = 800000;

/** Every line of a configuration names the public routine, whichever of its steps writes it. */
static const char CONFIGURE[] = "VKO_SetIniFileLogMode";

#define CONFIGURE_LOG(level, format, ...)                                     \
    VKO_LOG_OWN_FRONT_AS(gl_pLogBaseName, VKO_UTILS_SOURCE, CONFIGURE, level, \
                         format __VA_OPT__(, ) __VA_ARGS__)

/** The key being read and where it came from, for the report lines. */
struct tLogKey {
    const char* pIniFileName;
    const char* pItem;
    int rc;
};

/** What one first character of the value of "LogMode" switches on. */
struct tLogMode {
    char cMode;
    int32_t iMask;
    int32_t tVkoLogFlags::*pFlag;
    const char* pReport;
};

static const tLogMode LOG_MODES[] = {
    {'0', 0, nullptr, "DISABLED!"},
    {'1', 1, &tVkoLogFlags::iError, "ERROR_LOGS_ENABLED"},
    {'2', 3, &tVkoLogFlags::iWarning, "WARNING_LOGS_ENABLED"},
    {'3', 7, &tVkoLogFlags::iInfoB, "INFO_LOGS_ENABLED"},
    {'4', 15, &tVkoLogFlags::iTrace, "TRACE_LOGS_ENABLED"},
    {'5', 31, &tVkoLogFlags::iDebug, "DEBUG_LOGS_ENABLED"},
};
static const tLogMode FALLBACK_MODE = {'\0', 1, &tVkoLogFlags::iError, "ERROR_LOGS_ENABLED<DEFAULT>"};

/** Reads one key of the section into the empty text `value`. */
static tLogKey ReadKey(const tIniFile& file, const char* pItem, char (&value)[512]) {
    return {file.pName, pItem, VKO_GetLoadedIniValue(file, SECTION, pItem, value, sizeof value)};
}

static void ReportReadError(const tLogKey& key, const char* value) {
    CONFIGURE_LOG(VKO_LOG_ERR, "[%04d] %s %s rc[%04d]ER FileName[%s] Session[%s] item[%s=%s]<DEFAULT>\n",
                  key.rc, key.pIniFileName, SECTION, key.pItem, value);
}

static void ResetSettings(const char* logName) {
    // The end marker is written as 0xAA and tested against 0x55, so the settings start anew at every call and
    // never survive a reconfiguration in part: on purpose.
    if (gl_tLogSettings.ucStartMarker == 0xAA && gl_tLogSettings.ucEndMarker == 0x55) return;
    memset(&gl_tLogSettings, 0, sizeof gl_tLogSettings);
    gl_tLogSettings.ucStartMarker = 0xAA;
    gl_tLogSettings.ucEndMarker = 0xAA;
    gl_tLogFlags = {};
    if (logName != nullptr) gl_pLogBaseName = logName;
}

static void ReadFolder(const tIniFile& file) {
    char value[512] = {};
    const tLogKey key = ReadKey(file, "LogFilePath", value);
    if (key.rc < 0) {
        VKO_CopyText(value, sizeof value, "Log");
        ReportReadError(key, value);
    }
    VKO_CopyText(gl_tLogSettings.strLogFilePath, sizeof gl_tLogSettings.strLogFilePath, value);
}

static void ReadName(const tIniFile& file) {
    char value[512] = {};
    const tLogKey key = ReadKey(file, "LogFileName", value);
    if (key.rc < 0) {
        VKO_CopyText(value, sizeof value, gl_pLogBaseName);
        ReportReadError(key, value);
    } else if (strlen(value) <= 3) {
        VKO_CopyText(value, sizeof value, gl_pLogBaseName);
        CONFIGURE_LOG(VKO_LOG_WRN, "[%04d] %s %s rc[%04d]WR FileName[%s] Session[%s] item[%s=%s]<DEFAULT>\n",
                      key.rc, key.pIniFileName, SECTION, key.pItem, value);
    }
    VKO_CopyText(gl_tLogSettings.strLogFileName, sizeof gl_tLogSettings.strLogFileName, value);
}

static void ReadMaxSize(const tIniFile& file) {
    char value[512] = {};
    const tLogKey key = ReadKey(file, "LogFileMaxSize", value);
    gl_tLogSettings.iLogFileMaxSize = DEFAULT_MAX_SIZE;
    if (key.rc < 0) {
        ReportReadError(key, "800000");
        return;
    }
    const int32_t iMaxSize = VKO_DecimalValue(value);
    if (iMaxSize > 0) {
        gl_tLogSettings.iLogFileMaxSize = iMaxSize;
        return;
    }
    // The closing "]" of the item is missing in this line: on purpose.
    CONFIGURE_LOG(VKO_LOG_WRN, "[%04d] %s %s rc[%04d]WR FileName[%s] Session[%s] item[%s=%s<DEFAULT>\n",
                  key.rc, key.pIniFileName, SECTION, key.pItem, value);
}

static const tLogMode& ModeOf(char cMode) {
    for (const tLogMode& mode : LOG_MODES) {
        if (mode.cMode == cMode) return mode;
    }
    return FALLBACK_MODE;
}

static int ReadSettings(const tIniFile& file) {
    ReadFolder(file);
    ReadName(file);
    ReadMaxSize(file);

    char value[512] = {};
    const tLogKey key = ReadKey(file, "LogMode", value);
    if (key.rc < 0) {
        gl_tLogSettings.iLevelMask = 1;
        gl_tLogFlags.iError = 1;
        ReportReadError(key, "1");
        return key.rc;
    }
    const tLogMode& mode = ModeOf(value[0]);
    gl_tLogSettings.iLevelMask = mode.iMask;
    if (mode.pFlag != nullptr) gl_tLogFlags.*mode.pFlag = 1;
    CONFIGURE_LOG(VKO_LOG_WRN, "[%04d] %s %s rc[%04d]WR FileName[%s] Session[%s] item[%s=%s]%s\n", mode.iMask,
                  key.pIniFileName, SECTION, key.pItem, value, mode.pReport);
    gl_tLogSettings.uiConfigTick = VKO_GetTickOfDay();
    if (value[0] != '2') gl_tLogFlags.iWarning = 0;
    return gl_tLogSettings.iLevelMask;
}

int VKO_SetIniFileLogMode(const char* logName, const char* iniFileName) {
    if (iniFileName == nullptr) {
        CONFIGURE_LOG(VKO_LOG_ERR, "[%04d] %s %s rc[%04d]ER pIniFileName=NULL\n", INI_FILE_ERR_INVALID_PARAM);
    }
    ResetSettings(logName);
    tIniFile file = VKO_LoadIniFile(iniFileName);
    const int rc = ReadSettings(file);
    VKO_FreeIniFile(&file);
    return rc;
}

int VKO_SetIniFileLogMode(const char* logName, const tIniFile& file) {
    ResetSettings(logName);
    return ReadSettings(file);
}

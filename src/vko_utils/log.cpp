#include "log.h"

#include <cstdio>
#include <cstring>

#include "log_name.h"
#include "text.h"

tVkoLogSettings gl_tLogSettings;
tVkoLogFlags gl_tLogFlags;
const char* gl_pLogBaseName = "vko_utils.log";

bool VKO_LogEnabled(unsigned level) {
    const tVkoLogFlags& flags = gl_tLogFlags;
    // Level 32 is in no mask, so "DBG" lines are never written: on purpose.
    return (flags.iError != 0 && (level & 1U) != 0) || (flags.iWarning != 0 && (level & 3U) != 0) ||
           (flags.iInfoA != 0 && (level & 7U) != 0) || (flags.iInfoB != 0 && (level & 7U) != 0) ||
           (flags.iTrace != 0 && (level & 15U) != 0) || (flags.iJni != 0 && (level & 16U) != 0) ||
           (flags.iDebug != 0 && (level & 31U) != 0);
}

static const char* LevelTag(unsigned level) {
    switch (level) {
        case VKO_LOG_ERR:
            return "ERR";
        case VKO_LOG_WRN:
            return "WRN";
        case VKO_LOG_INF:
            return "INF";
        case VKO_LOG_TRC:
            return "TRC";
        case VKO_LOG_JNI:
            return "JNI";
        case VKO_LOG_DBG:
            return "DBG";
        default:
            return "Unk";
    }
}

static bool ConsoleEnabled(unsigned level) {
    const tVkoLogFlags& flags = gl_tLogFlags;
    return flags.iConsole != 0 &&
           ((flags.iError != 0 && level == VKO_LOG_ERR) || (flags.iWarning != 0 && level == VKO_LOG_WRN) ||
            (flags.iInfoB != 0 && level == VKO_LOG_INF) || flags.iTrace != 0);
}

/** A line that is longer goes to its file in pieces: it is made on the caller's stack, which may be small. */
static constexpr size_t USUAL_LINE_SIZE = 4096;

static void AppendLongLine(const char* pFileName, const char* pFront, size_t frontSize, const char* format,
                           va_list values) PLAT_PRINTF_CHECK(4, 0);
static void AppendLongLine(const char* pFileName, const char* pFront, size_t frontSize, const char* format,
                           va_list values) {
    plat_file* file = plat_file_open(pFileName, "a");
    if (file == nullptr) return;
    plat_file_write(file, pFront, frontSize);
    plat_file_vprintf(file, format, values);
    plat_file_close(file);
}

int VKO_LogWrite(const char* logName, unsigned level, const char* format, ...) {
    if (!VKO_LogEnabled(level)) return 0;

    plat_calendar now;
    plat_utc_now(&now);
    char strFileName[VKO_LOG_NAME_SIZE];
    VKO_LogFileName(strFileName, now, logName, LOG_NAME_ABSOLUTE_FOLDERS);

    // Brasilia's hour, three behind UTC. The date is left alone and the hours 0 to 3 become 21 to 24: on
    // purpose.
    const int hour = now.hour - 3 > 0 ? now.hour - 3 : now.hour + 21;
    char strLine[USUAL_LINE_SIZE];
    const int iFront = snprintf(strLine, sizeof strLine, "[%02d:%02d:%02d.%03d]%s ", hour, now.minute,
                                now.second, now.millisecond, LevelTag(level));
    const size_t frontSize = static_cast<size_t>(iFront);
    const size_t room = sizeof strLine - frontSize;
    va_list values;
    va_start(values, format);
    const int iText = vsnprintf(strLine + frontSize, room, format, values);
    va_end(values);
    if (iText >= 0 && static_cast<size_t>(iText) < room) {
        plat_append_text(strFileName, strLine, frontSize + static_cast<size_t>(iText));
    } else {
        va_start(values, format);
        AppendLongLine(strFileName, strLine, frontSize, format, values);
        va_end(values);
    }
    // There is a log now, and not every file system changes a folder's time for a new file.
    gl_uiMissingLog = 0;
    if (ConsoleEnabled(level)) {
        va_start(values, format);
        VKO_PrintValues(format, values);
        va_end(values);
    }
    return 0;
}

uint32_t VKO_GetTickOfDay() {
    plat_calendar now;
    plat_utc_now(&now);
    const int milliseconds = now.millisecond + 1000 * now.second + 60000 * now.minute + 3600000 * now.hour;
    // The day is added as the bare number, not in milliseconds: on purpose.
    return static_cast<uint32_t>(milliseconds + now.day + 86400000);
}

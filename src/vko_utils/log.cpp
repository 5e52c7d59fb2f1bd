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

/** A line as it goes to its file. */
struct tLine {
    char strText[USUAL_LINE_SIZE];
    size_t frontSize;  ///< what stands in front of the caller's text
    size_t size;       ///< the whole line; 0 when there is no room for it in `strText`
};

static void MakeLine(tLine* pLine, const plat_calendar& now, unsigned level, const char* format,
                     va_list values) PLAT_PRINTF_CHECK(4, 0);
static void MakeLine(tLine* pLine, const plat_calendar& now, unsigned level, const char* format,
                     va_list values) {
    // Brasilia's hour, three behind UTC. The date is left alone and the hours 0 to 3 become 21 to 24: on
    // purpose.
    const int hour = now.hour - 3 > 0 ? now.hour - 3 : now.hour + 21;
    const int iFront = snprintf(pLine->strText, sizeof pLine->strText, "[%02d:%02d:%02d.%03d]%s ", hour,
                                now.minute, now.second, now.millisecond, LevelTag(level));
    pLine->frontSize = static_cast<size_t>(iFront);
    const size_t room = sizeof pLine->strText - pLine->frontSize;
    va_list copy;
    va_copy(copy, values);
    const int iText = vsnprintf(pLine->strText + pLine->frontSize, room, format, copy);
    va_end(copy);
    const bool bFits = iText >= 0 && static_cast<size_t>(iText) < room;
    pLine->size = bFits ? pLine->frontSize + static_cast<size_t>(iText) : 0;
}

/** False when nothing, or of a usual line not all, got into the file. */
static bool AppendLine(const char* pFileName, const tLine& line, const char* format, va_list values)
    PLAT_PRINTF_CHECK(3, 0);
static bool AppendLine(const char* pFileName, const tLine& line, const char* format, va_list values) {
    if (line.size > 0) return plat_append_text(pFileName, line.strText, line.size);
    plat_file* file = plat_file_open(pFileName, "a");
    if (file == nullptr) return false;
    plat_file_write(file, line.strText, line.frontSize);
    va_list copy;
    va_copy(copy, values);
    plat_file_vprintf(file, format, copy);
    va_end(copy);
    plat_file_close(file);
    return true;
}

int VKO_LogWrite(const char* logName, unsigned level, const char* format, ...) {
    if (!VKO_LogEnabled(level)) return 0;

    plat_calendar now;
    plat_utc_now(&now);
    va_list values;
    va_start(values, format);
    tLine line;
    MakeLine(&line, now, level, format, values);

    // Where the folder was there before, the opening tells whether it still is: to look for it in front of
    // each line takes a tenth of the line's time. When it is gone the line goes to the current folder; when
    // it is there, something else went wrong, and the line is not tried again.
    char strFileName[VKO_LOG_NAME_SIZE];
    const bool bKnown = VKO_KnownLogFileName(strFileName, now, logName);
    if (!bKnown || !AppendLine(strFileName, line, format, values)) {
        const int64_t iModified = VKO_LogFileName(strFileName, now, logName, LOG_NAME_ABSOLUTE_FOLDERS);
        if (!bKnown || iModified == LOG_NAME_NO_FOLDER) AppendLine(strFileName, line, format, values);
    }
    // There is a log now, and not every file system changes a folder's time for a new file.
    gl_uiMissingLog = 0;
    if (ConsoleEnabled(level)) VKO_PrintValues(format, values);
    va_end(values);
    return 0;
}

uint32_t VKO_GetTickOfDay() {
    plat_calendar now;
    plat_utc_now(&now);
    const int milliseconds = now.millisecond + 1000 * now.second + 60000 * now.minute + 3600000 * now.hour;
    // The day is added as the bare number, not in milliseconds: on purpose.
    return static_cast<uint32_t>(milliseconds + now.day + 86400000);
}

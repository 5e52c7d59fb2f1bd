/*
 * The diagnostic log: one line a call, appended to the day's file, filtered by the level mask of "SAT.ini".
 */
#pragma once

#include <atomic>
#include <cstdint>

#include "../platform/platform.h"
#include "utils_source.h"

struct tIniFile;

/** Levels of a log line. Each is one bit; any other value is written with the tag "Unk". */
constexpr unsigned VKO_LOG_ERR = 1;
constexpr unsigned VKO_LOG_WRN = 2;
constexpr unsigned VKO_LOG_INF = 4;
constexpr unsigned VKO_LOG_TRC = 8;
constexpr unsigned VKO_LOG_JNI = 16;
constexpr unsigned VKO_LOG_DBG = 32;  ///< let through by no flag, so such lines are never written

/** The settings of the section "LOG", as VKO_SetIniFileLogMode read them. */
struct tVkoLogSettings {
    uint8_t ucStartMarker;    ///< 0xAA once configured
    int32_t iLogFileMaxSize;  ///< size limit of the diagnostic log, bytes
    uint32_t uiConfigTick;    ///< VKO_GetTickOfDay when the log mode was read
    int32_t iLevelMask;       ///< 0, 1, 3, 7, 15 or 31
    char strLogFilePath[512];
    char strLogFileName[512];
    uint8_t ucEndMarker;
};

/** One flag a level, 0 or 1, in the order in which the writer tests them. */
struct tVkoLogFlags {
    int32_t iError;
    int32_t iWarning;
    int32_t iInfoA;  ///< never set, only cleared
    int32_t iInfoB;
    int32_t iTrace;
    int32_t iJni;  ///< never set, only cleared
    int32_t iDebug;
    int32_t iConsole;  ///< never set, only cleared
};

extern tVkoLogSettings gl_tLogSettings;
extern tVkoLogFlags gl_tLogFlags;

/** The log name of this floor's own messages: "vko_utils.log" until VKO_SetIniFileLogMode replaces it. */
extern const char* gl_pLogBaseName;

/** Whether the flags let a line of this level through. */
bool VKO_LogEnabled(unsigned level);

/**
 * Appends one line to the day's log file.
 *
 * @param logName  base name of the file, such as "SAT_api.log"
 * @param level    one of VKO_LOG_*
 * @param format   printf format; by convention it begins with line, source file and function, and ends with
 * "\n"
 * @return always 0. A file that cannot be opened drops the line.
 */
int VKO_LogWrite(const char* logName, unsigned level, const char* format, ...) PLAT_PRINTF_CHECK(3, 4);

/**
 * Writes a line whose format begins with "[%04d] [%s] [%s]" for the line, the source file and the function
 * that are named. A line that no flag lets through costs the flag tests alone: its arguments are not
 * evaluated.
 */
#define VKO_LOG_AS(logName, source, function, level, format, ...)                                            \
    (VKO_LogEnabled(level) ? VKO_LogWrite((logName), (level), "[%04d] [%s] [%s]" format, __LINE__, (source), \
                                          (function)__VA_OPT__(, ) __VA_ARGS__)                              \
                           : 0)

/** The same for formats that spell their own front for line, source file and function. */
#define VKO_LOG_OWN_FRONT(logName, source, level, format, ...) \
    VKO_LOG_OWN_FRONT_AS(logName, source, __func__, level, format __VA_OPT__(, ) __VA_ARGS__)
#define VKO_LOG_OWN_FRONT_AS(logName, source, function, level, format, ...)               \
    (VKO_LogEnabled(level) ? VKO_LogWrite((logName), (level), format, __LINE__, (source), \
                                          (function)__VA_OPT__(, ) __VA_ARGS__)           \
                           : 0)

/** The usual line: VKO_LOG_AS for the function in which it stands. */
#define VKO_LOG(logName, source, level, format, ...) \
    VKO_LOG_AS(logName, source, __func__, level, format __VA_OPT__(, ) __VA_ARGS__)

/** This floor's own messages, in the three fronts that they come in. */
#define UTIL_LOG(level, format, ...) \
    VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, level, format __VA_OPT__(, ) __VA_ARGS__)
#define UTIL_LOG_OWN_FRONT(level, format, ...) \
    VKO_LOG_OWN_FRONT(gl_pLogBaseName, VKO_UTILS_SOURCE, level, format __VA_OPT__(, ) __VA_ARGS__)
#define UTIL_LOG_LINE_FUNCTION(level, format, ...) \
    UTIL_LOG_LINE_FUNCTION_AS(__func__, level, format __VA_OPT__(, ) __VA_ARGS__)
#define UTIL_LOG_LINE_FUNCTION_AS(function, level, format, ...)                                           \
    (VKO_LogEnabled(level)                                                                                \
         ? VKO_LogWrite(gl_pLogBaseName, (level), format, __LINE__, (function)__VA_OPT__(, ) __VA_ARGS__) \
         : 0)

/** The low 32 bits of a pointer or handle, which is what the "%08Xh" of the log formats shows. */
inline uint32_t LogHandle(plat_handle handle) {
    return static_cast<uint32_t>(handle);
}
inline uint32_t LogHandle(const void* pointer) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer));
}

/**
 * Reads the section "LOG" of an INI file into the settings and sets the level flags.
 *
 * @param logName      becomes the log name of this floor's messages, unless NULL; kept by pointer
 * @param iniFileName  NULL is reported, and every default applies
 * @return the new level mask (0, 1, 3, 7, 15, 31), or the negative INI error when "LogMode" could not be read
 */
int VKO_SetIniFileLogMode(const char* logName, const char* iniFileName);

/** The same from a file as VKO_LoadIniFile found it, which has a name. */
int VKO_SetIniFileLogMode(const char* logName, const tIniFile& file);

/** The log that TraleFileLogSzCtl found missing and need not look for; 0 when it has to look, as behind each
 * line. */
extern std::atomic<uint64_t> gl_uiMissingLog;

/** Moves a diagnostic log above its size limit aside. Returns the last file size measured, -1 when there is
 * none. */
int TraleFileLogSzCtl();

/**
 * Milliseconds of the current UTC day, plus the bare day of the month (kept so on purpose), plus 86400000.
 */
uint32_t VKO_GetTickOfDay();

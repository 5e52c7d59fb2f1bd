/*
 * Where the day's diagnostic log lies: the one rule that the writer and the size control share.
 */
#pragma once

#include "../platform/platform.h"

/** Size of the buffer for a log file's name, bytes with the NUL. */
constexpr size_t VKO_LOG_NAME_SIZE = 2048;

/** Whether a folder that carries a drive is taken as it stands or, like every other, below the current
 * directory. */
enum eLogNameRule { LOG_NAME_ABSOLUTE_FOLDERS, LOG_NAME_RELATIVE_FOLDERS };

/** In place of a folder's last change: the log lies elsewhere, such as in the current directory. */
constexpr int64_t LOG_NAME_NO_FOLDER = INT64_MIN;

/**
 * Builds the name of the log of that UTC day: folder of the settings, date, base name. Returns when the
 * folder last changed, seconds since 1970.
 */
int64_t VKO_LogFileName(char (&strFileName)[VKO_LOG_NAME_SIZE], const plat_calendar& utc,
                        const char* baseName, eLogNameRule rule);

/**
 * Builds the same name for the writer without looking for the folder, where that was there when it was last
 * looked for. Whether it still is, the opening tells; the size control looks once a call.
 */
bool VKO_KnownLogFileName(char (&strFileName)[VKO_LOG_NAME_SIZE], const plat_calendar& utc,
                          const char* baseName);

/** One number for a name and what goes with it, so that threads never see the two apart. */
uint64_t VKO_NumberOfName(const char* name, int64_t companion);

/*
 * Where the day's diagnostic log lies: the one rule that the writer and the size control share.
 */
#pragma once

#include <atomic>

#include "../platform/platform.h"

/** Size of the buffer for a log file's name, bytes with the NUL. */
constexpr size_t VKO_LOG_NAME_SIZE = 2048;

/** Whether a folder that carries a drive is taken as it stands or, like every other, below the current
 * directory. */
enum eLogNameRule { LOG_NAME_ABSOLUTE_FOLDERS, LOG_NAME_RELATIVE_FOLDERS };

/** In place of a folder's last change: the log does not lie in the folder that was looked for. */
constexpr int64_t LOG_NAME_NO_FOLDER = INT64_MIN;

/**
 * The setting `LogFilePath`, as a hash, when the writer last looked for that folder, found it, and its log
 * lies in just that one; else 0. No more than a guess: whether the folder is still there, the opening of the
 * log tells.
 */
extern std::atomic<uint64_t> gl_uiKnownLogFolder;

/**
 * Looks for the folder of the settings and builds the name of the log of that UTC day: folder, date, base
 * name; without the folder, date and base name. Returns when the folder last changed, seconds since 1970, or
 * LOG_NAME_NO_FOLDER, as also when the base name may lead out of the folder. Keeps gl_uiKnownLogFolder.
 */
int64_t VKO_LogFileName(char (&strFileName)[VKO_LOG_NAME_SIZE], const plat_calendar& utc,
                        const char* baseName, eLogNameRule rule);

/**
 * Builds the writer's name without looking, from the known folder. False when the folder of the settings is
 * not the known one or the base name may lead out of it; the name is then left alone.
 */
bool VKO_KnownLogFileName(char (&strFileName)[VKO_LOG_NAME_SIZE], const plat_calendar& utc,
                          const char* baseName);

/** The hash of a name and of a time that belongs to it (or 0), which threads then never see apart. */
uint64_t VKO_NameHash(const char* name, int64_t time);

/*
 * The housekeeping of the log folder.
 */
#pragma once

#include <atomic>
#include <cstdint>

#include "../platform/platform.h"

constexpr int SAT_API_ERR_WIN_FILE_NOT_FOUND = -1102;

/** The search that GetFiles leaves open above nine files; PLAT_INVALID_HANDLE before. */
extern plat_handle gl_hLeftOpenSearch;

/** What GetFiles counted last: the time of the folder's last change * 16 + the count; 0 when nothing is
 * known. */
extern std::atomic<int64_t> gl_iKnownLogFiles;

/**
 * Counts the text files of the folder "Log" below the current directory. Returns their number, or -1102 when
 * there is none. Above nine it also tries to remove one by a name that is not the file's, so that nothing is
 * removed. A folder that has not changed since it was counted is counted again only where its names are
 * logged.
 */
int GetFiles();

/**
 * Converts a wide text to the system's code page, a blank for what it lacks, cut to 19 characters.
 *
 * @param warray    terminated wide text; NULL is logged
 * @param response  receives 20 bytes; NULL is logged
 */
void WideCharToByte(const wchar_t* warray, char* response);

/*
 * The housekeeping of the log folder.
 */
#pragma once

#include <cstddef>

#include "../platform/platform.h"

constexpr int SAT_API_ERR_WIN_FILE_NOT_FOUND = -1102;

/** The search that GetFiles leaves open above nine files; PLAT_INVALID_HANDLE before. */
extern plat_handle gl_hLeftOpenSearch;

/**
 * Counts the text files of the folder "Log" below the current directory. Returns their number, or -1102 when
 * there is none. Above nine it also tries to remove one by a name that is not the file's, so that nothing is
 * removed.
 */
int GetFiles();

/**
 * Converts a wide text to the system's code page, a blank for what it lacks, cut to 19 characters.
 *
 * @param warray    terminated wide text; NULL is logged
 * @param response  receives 20 bytes; NULL is logged
 */
void WideCharToByte(const wchar_t* warray, char* response);

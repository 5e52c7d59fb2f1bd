/*
 * File-system helpers: existence, folders and sizes. The rest of the library asks only through these. Every
 * result is a code, and nothing here stops the library.
 */
#pragma once

#include <cstdint>

/**
 * The size of a file in bytes; one of 2 GiB or more counts as 2147483647. -1 when the name is NULL or the
 * status cannot be read.
 */
int32_t VKO_GetFileSize(const char* pFileName);

/**
 * Whether whatever changes from now on in a file, or comes into a folder or leaves it, shows in the time of
 * its last change, which was `iModified`, seconds since 1970: not yet where another change might still get
 * the same time. File systems that never change a folder's time for what is in it are not told apart.
 */
bool VKO_ChangeShows(int64_t iModified);

/** The file's size, so an existing empty file gives 0; -1 when there is none or the name is NULL. */
int32_t VKO_FileExist(const char* pFileName);

/**
 * What stands under a name: 1 directory, 2 regular file, 0 nothing, -1 NULL name; for every other kind the
 * file-type bits (0x1000 pipe, 0x2000 character device, 0x3000 block device, any other value as it is).
 */
int VKO_Exist(const char* pDirFileName);

/**
 * Creates one folder; its parent must exist. 1 already a directory, 2 created, -4 there is something else of
 * that name, -5 still missing after the attempt, -1 NULL name.
 */
int VKO_CreateDir(const char* pDirName);

/**
 * Deletes a folder with all that is in it, by the shell and without asking. The name goes to the shell
 * unquoted: one with blanks counts as several names. 1 deleted, 0 there was none, -2 not a directory, -1
 * still there (or a NULL name), 2 or 3 the remaining outcomes.
 */
int VKO_DeleteDir(const char* pDirName);

/**
 * Deletes a regular file, by the shell, which also deletes the files of that name in the subfolders. The name
 * goes to the shell unquoted. 1 deleted, 0 there was none, -2 not a regular file, -1 a directory stands there
 * afterwards (or a NULL name), 2 or 3 the remaining outcomes; 3 means that the file is still there.
 */
int VKO_DeleteFile(const char* pFileName);

/**
 * Bytes as pairs of upper-case hexadecimal digits, in a buffer of the library (4096 bytes) that the next call
 * overwrites. What does not fit is left out.
 */
char* VKO_BinToHexStr(const uint8_t* pData, int iCount);

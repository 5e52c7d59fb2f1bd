/*
 * The configuration file "SAT.ini" in the process's current directory.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

struct tIniFile;

constexpr int ERR_FIXED_PORT_NULL = -5002;

/** Bytes that a fixed port's name takes with its NUL. */
constexpr size_t FIXED_PORT_SIZE = 128;

/** Whether a size that VKO_FileExist gave stands for no "SAT.ini": an empty one counts as missing, on
 * purpose.
 */
constexpr bool IniMissing(int iSize) {
    return iSize < 1;
}

/**
 * Writes the default "SAT.ini" when there is none, or an empty one. Returns its size: what was found when it
 * held at least one byte, otherwise what stands there after the attempt, -1 when there is still none.
 */
int CreateFile_ZantirIni();

/**
 * Reads every setting into the library's state. A key that is missing or without effect leaves its built-in
 * default. Returns 30, the steps of a complete pass, or a negative code when there is no "SAT.ini" and none
 * can be created.
 */
int UpdateZantirConfiguration();

/**
 * The same from "SAT.ini" as VKO_LoadIniFile found it, which stays the caller's to free. It is read here
 * where it was not yet, could not be, or had to be made first; of one that cannot be made, nothing is left in
 * `file`.
 */
int UpdateZantirConfiguration(tIniFile* file);

/** VKO_GetIniState of a "SAT.ini" that was read and has no fixed port; 0 when none is known. */
extern std::atomic<uint64_t> gl_uiIniWithoutFixedPort;

/**
 * Reads the port that the user fixed under "FixarPorta", without what follows its last digit.
 *
 * @param pFixedSerialPort  at least FIXED_PORT_SIZE bytes
 * @return the length of the name; 0 when the key is absent, 1 when it is present but empty, -5002 for NULL
 */
int GetFixedSerialPort(char* pFixedSerialPort);

/*
 * Base64 with the standard alphabet, "=" padding and no line breaks.
 *
 * The decoder's table is process state without a lock: calls of the decoder must not overlap.
 */
#pragma once

#include <cstdint>

/** What the encoder returns for a failure: a 32-bit -1 that was widened without its sign. */
constexpr uint64_t VKO_BASE64_ENCODE_ERROR = 4294967295;

/** The decoder's result for a missing argument. */
constexpr int32_t VKO_ERR_BASE64_ARGUMENT = -101;

/** The decoder's result when its table cannot be allocated. */
constexpr int32_t VKO_ERR_BASE64_TABLE = -103;

/** The decode table: 256 bytes, 0 for every byte outside the alphabet; NULL until it is built. */
extern unsigned char* psB64_DecTable;

/**
 * Encodes bytes.
 *
 * @param pBinIn         the bytes; must not be NULL unless ztBinLen is 0
 * @param ztBinLen       their number; 0 is a failure
 * @param pB64Out        receives the characters and a NUL: (ztBinLen + 2) / 3 * 4 + 1 bytes, apart from
 * pBinIn. NULL asks for the length alone: the text is encoded into memory of the routine's own, which is not
 * handed out.
 * @param pztB64OutLen   receives the length without the NUL; NULL is a failure. 0 when there is no memory.
 * @return the length, or VKO_BASE64_ENCODE_ERROR
 */
uint64_t VKO_Base64Encoder(const void* pBinIn, uint64_t ztBinLen, void* pB64Out, uint64_t* pztB64OutLen);

/**
 * Decodes whole groups of four characters. Characters outside the alphabet, "=" among them, count as value 0.
 *
 * The routine looks at what the output buffer holds before it writes there: where it finds "=" (0x3D), the
 * character of the same index counts as value 0 as well. Clear the buffer first.
 *
 * @param pB64In         the characters; NULL is a failure
 * @param ztBase64InLen  their number; what exceeds a multiple of 4 is warned about and not decoded
 * @param pBinOut        receives the bytes and a NUL: ztBase64InLen / 4 * 3 + 1 bytes always suffice. Not
 *                       checked, must not be NULL. May be pB64In itself, else must not overlap it.
 * @param pztBinOutLen   receives the number of bytes: three a group, less one for each "=" among the last two
 *                       characters, never below 0; NULL is a failure
 * @return the number of bytes (its low 32 bits), VKO_ERR_BASE64_ARGUMENT or VKO_ERR_BASE64_TABLE
 */
int32_t VKO_Base64Decoder(const void* pB64In, uint64_t ztBase64InLen, void* pBinOut, uint64_t* pztBinOutLen);

/** Builds the decode table, if there is none. 0, or -1 when there is no memory. */
int32_t VKO_Base64DecTblAlloc();

/** Releases the decode table. 0, or 1 when there is none. */
int32_t VKO_Base64DecTblFree();

/** Encodes, decodes and compares a fixed text, logs and prints what comes out. 24, or a negative code. */
int32_t VKO_Base64_Test01();

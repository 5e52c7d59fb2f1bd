/*
 * The catalogue of the device's return codes, and the messages of an emulated device. All texts are UTF-8 and
 * constant; their misspellings are part of the catalogue.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/** One return code. */
struct tSatRetCodeRow {
    const char* pCmdName;    ///< the command that answers with this code; for information only
    int32_t iCode;           ///< the code as a number: 4000 for the "04000" of a reply
    const char* pDirection;  ///< always "SAT->AC"
    const char* pMessage;
};

/** Rows of the catalogue without its terminator. */
constexpr size_t SAT_RET_CODE_COUNT = 138;

/** The code of the catalogue's terminator, whose three texts are NULL. */
constexpr int32_t SAT_RET_CODE_END = 99999;

/**
 * The catalogue, one row a code, every code once, ended by the terminator. The library's start-up sets the
 * code of the first row (4000) to 0, on purpose, which is why the table can be written; nothing else in it
 * changes.
 */
extern tSatRetCodeRow tSatRetCodeTbl[SAT_RET_CODE_COUNT + 1];

/** A text that an emulated device puts into the field mensagemSEFAZ. */
struct tEmuSefazMsgRow {
    int32_t iCode;
    const char* pMessage;
};

/** Messages of an emulated device without the terminator. */
constexpr size_t SAT_EMU_SEFAZ_MSG_COUNT = 6;

/** The messages, ended by {9999, NULL}. No routine of the library consults them: they are an emulator's data.
 */
extern const tEmuSefazMsgRow tEmuSefazMsgTbl[SAT_EMU_SEFAZ_MSG_COUNT + 1];

/**
 * The text for a return code.
 *
 * @param iRetCode  the code. 55555 stands for a reply without message and gives an empty text. 99999, the
 *                  terminator's code, gives NULL.
 * @param pMsg      looked at for a negative code only, which is an error of the library itself: it is
 * returned as it is, or cut in place to its first 100 characters, the last three of them "..>". The caller
 * owns it; may be NULL, which then is returned.
 * @return a constant text, pMsg, or, for a code without row, a static text that the next such call
 * overwrites; calls from several threads must be serialised for its sake. Never to be freed.
 */
const char* SAT_Get_RetCodeMessage(int32_t iRetCode, char* pMsg);

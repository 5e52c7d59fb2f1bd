/*
 * Parsers that write a command or reply into the diagnostic log field by field.
 *
 * Fields are the pieces between "|", numbered from 1 in the order of the text: P01, P02, ... of a command and
 * R01, R02, ... of a reply. An empty field has its own number and is shown as "[NULL]". The caller's text is
 * not changed; a working copy is allocated and freed within the call. Nothing is kept between calls, so
 * parsers may run side by side. Field lines are INF; when no flag lets them through, the parsers only count.
 */
#pragma once

#include <cstdint>

/**
 * Logs a command frame.
 *
 * @param pSatCmdPkt     STX, text, checksum and ETX, or only the beginning of a frame, or the text alone.
 * Need not be terminated. NULL gives 0.
 * @param iSatCmdPktLen  its length in bytes; nothing behind it is read. The text ends at its first NUL, and
 * when that is a checksum of 0x00 the last two bytes are shown as well.
 * @return the number of fields; 0 for NULL, for separators alone, or when the copy cannot be allocated
 */
int32_t SAT_API_CmdPktParcer(const void* pSatCmdPkt, int32_t iSatCmdPktLen);

/** The same for a reply frame. A field of more than 100 bytes is shown by its first 100. */
int32_t SAT_API_RspPktParcer(const void* pSatRspPkt, int32_t iSatRspPktLen);

/**
 * Logs the arguments of a command. Empty fields are numbered at the start of the text and behind fields of
 * one character only; other adjacent separators count as one.
 *
 * @param pCmdName  not used, may be NULL
 * @param pSatArgs  NUL-terminated text; NULL gives 0
 * @return the number of fields plus 1; 0 for NULL, for separators alone, or when the copy cannot be allocated
 */
int32_t SAT_APP_CmdParcer(const char* pCmdName, const char* pSatArgs);

/** What SAT_APP_RspParcer returns for a text without "|": an error text of the library, no device's reply. */
constexpr int32_t SAT_APP_ERR_NO_REPLY = -1101;

/** What SAT_APP_RspParcer returns when its working copy cannot be allocated. */
constexpr int32_t SAT_APP_ERR_NO_MEMORY = -1102;

/**
 * Logs a reply and takes the two values out of it that matter to the caller.
 *
 * @param pCmdName       the exported function that was called, such as "EnviarDadosVenda"; NULL is no command
 * @param iSession       the session number that the command carried
 * @param piLastSession  receives iSession after an accepted reply to "EnviarDadosVenda",
 * "CancelarUltimaVenda" or "TesteFimAFim"
 * @param piRspSession   receives the session number of the reply (R01)
 * @param piRetCode      receives the return code of the reply (R02); left alone when the reply is not
 * accepted or R02 is empty
 * @param pSatResult     the reply text, without STX, checksum and ETX, NUL-terminated
 * @return the return code, such as 6000. 0 for a NULL or empty text, the library's version text, separators
 *         alone, a missing return code, or another command's session, which only
 * "ConsultarUltimaSessaoFiscal" may have. -1101 and -1102 as above.
 *
 * Each of the three result pointers may be NULL: that result is then not stored.
 */
int32_t SAT_APP_RspParcer(const char* pCmdName, int32_t iSession, int32_t* piLastSession,
                          int32_t* piRspSession, int32_t* piRetCode, const char* pSatResult);

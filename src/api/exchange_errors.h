/*
 * The texts in which a failed exchange reaches the caller.
 */
#pragma once

#include <cstddef>

/** Every failure with a text of its own. */
enum eExchangeError {
    EXCHANGE_LOCK_NOT_CREATED,
    EXCHANGE_LOCK_TIMEOUT,
    EXCHANGE_NO_DEVICE,
    EXCHANGE_NO_COM_IN_NAME,
    EXCHANGE_NO_PORT_NUMBER,
    EXCHANGE_NOT_OPENED,
    EXCHANGE_NOT_CONFIGURED,
    EXCHANGE_NOT_SENT_ON_COM1,
    EXCHANGE_NOT_SENT,
    EXCHANGE_NOT_RECEIVED,
};

/**
 * Writes the text of a failure over the start of the reply buffer. What stood behind it stays there.
 *
 * @param pPkt      the reply buffer, GL_DEF_MAX_SAT_PKT_SIZE bytes
 * @param rc        the code shown in the text
 * @param pPort     path of the port, for the text that names it
 */
void WriteExchangeError(char* pPkt, eExchangeError eError, int rc, const char* pPort);

/** Writes the text of a command that was too long to be sent; its code is -1. */
void WriteCommandTooLong(char* pPkt, const char* pExport);

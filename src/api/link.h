/*
 * The serial link: one command frame out, one reply frame in, in acknowledged blocks of 16384 bytes.
 *
 * All routines run on the caller's thread inside the exchange's machine-wide lock, on a port that
 * cSerialSettingsW has set up. Every time-out is measured by LinkElapsedMs, in whole seconds. A read or write
 * that moves no bytes is never an error by itself: only the time-outs end a wait.
 */
#pragma once

#include "../platform/platform.h"

/**
 * Sends one command frame and waits for the acknowledgement of every block. Nothing is sent again.
 *
 * @param pusTxPkt  STX, text, ETX, with one spare byte and a NUL behind: the checksum is put in place in
 * front of ETX
 * @param ulTxPktSz bytes of STX, text and ETX, at least 2
 * @return bytes sent (ulTxPktSz + 1); -1 no acknowledgement within 2 to 3 s, or a bad argument; -1005 the
 * device answered NAK; -1007 the port took no bytes for 2 to 3 s
 */
int cSerialWriteBufW(char* pusTxPkt, int ulTxPktSz, plat_handle* phComm);

/** Waits 2 to 3 s for an acknowledgement: 1 ACK, 0 NAK, -1 none. Other bytes are logged and skipped. */
int cSerialReadAck(plat_handle* phComm);

/** Sends ACK when bAck is not 0, NAK when it is. 0 sent, -1 not. */
int lSerialWriteAck(plat_handle* phComm, bool bAck);

/** Discards what the driver has queued for reading. 0, or -1 when phComm itself is NULL or the invalid value.
 */
int lSerialFlushRx(plat_handle* phComm);

/**
 * Receives one reply frame, in up to three attempts.
 *
 * @param pcBuf        cleared; receives the text between STX and the checksum, and a NUL
 * @param iBufSz       bytes at pcBuf
 * @param iTimeoutSec  how long the first byte of the reply may take. A time-out whose milliseconds do not fit
 * 32 bits counts as the largest that does. Once bytes come, a gap of about a second ends an attempt.
 * @return the index of ETX in the frame (text length + 2), or -1
 */
int cSerialReadBufW(char* pcBuf, int iBufSz, plat_handle* phComm, int iTimeoutSec);

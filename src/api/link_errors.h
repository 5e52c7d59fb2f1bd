/*
 * How the link reports the runtime's error indicator (errno).
 *
 * It is consulted only behind a transfer that moved bytes, where it is LINK_NO_ERROR. So the link never
 * writes these lines and never returns these codes, and a transfer that moved nothing ends by its time-out
 * alone: on purpose.
 */
#pragma once

#include <cstdint>

constexpr int LINK_NO_ERROR = 0;
constexpr int LINK_EBADF = 9;
constexpr int LINK_EAGAIN = 11;
constexpr int LINK_EWOULDBLOCK = 140;

/**
 * Reports what a write of a frame of ulTxPktSz bytes left behind, diff milliseconds after it began.
 *
 * @return 0 to go on, also for EAGAIN and EWOULDBLOCK; -1006 for a hard error
 */
int LinkConsultWriteError(int iErrno, int ulTxPktSz, int64_t diff, int64_t iTimeout);

/** Where a reply stands when its reader consults the indicator; names as the log lines show them. */
struct tLinkReadPlace {
    int iPos;
    int iChkPos;
    int lNext;
    int64_t liDifTime;
    int32_t iTimeout;
};

/** The same for a read of the reply. 0 to go on, -1 for a hard error. */
int LinkConsultReadError(int iErrno, const tLinkReadPlace& place);

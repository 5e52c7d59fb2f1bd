#include "link_errors.h"

#include <cstring>

#include "api_log.h"
#include "port.h"

static const char WRITE[] = "cSerialWriteBufW";
static const char READ[] = "cSerialReadBufW";

/** The indicator's name in the log. */
static const char* ErrorName(int iErrno) {
    switch (iErrno) {
        case LINK_EAGAIN:
        case LINK_EWOULDBLOCK:
            return "EAGAIN:EWOULDBLOCK";
        case LINK_EBADF:
            return "EBADF";
        default:
            return "OTHER";
    }
}

static bool Passing(int iErrno) {
    return iErrno == LINK_EAGAIN || iErrno == LINK_EWOULDBLOCK;
}

int LinkConsultWriteError(int iErrno, int ulTxPktSz, int64_t diff, int64_t iTimeout) {
    if (iErrno == LINK_NO_ERROR) return 0;
    // Writing the log has errors of its own.
    const int iLastError = static_cast<int>(plat_last_error());
    API_LOG_AS(WRITE, VKO_LOG_ERR, "Win: ulTxPktSz[%08d] errno[%08d]%s diff[%d] iTimeout[%d]\n", ulTxPktSz,
               iErrno, ErrorName(iErrno), static_cast<int>(diff), static_cast<int>(iTimeout));
    if (Passing(iErrno)) return 0;
    API_LOG_AS(WRITE, VKO_LOG_ERR,
               "Win: rc[%06d]ER:SAT_API_ERR_WIN_DEV_COMM_WR\n\t GetLastError[%d] strerror(%s) errno[%d]\n",
               SAT_API_ERR_WIN_DEV_COMM_WR, iLastError, strerror(iErrno), iErrno);
    return SAT_API_ERR_WIN_DEV_COMM_WR;
}

int LinkConsultReadError(int iErrno, const tLinkReadPlace& place) {
    if (iErrno == LINK_NO_ERROR) return 0;
    API_LOG_AS(READ, VKO_LOG_ERR, "Win: iPos[%08d] errno[%08d]%s liDifTime[%d] iTimeout[%d]\n", place.iPos,
               iErrno, ErrorName(iErrno), static_cast<int>(place.liDifTime), place.iTimeout);
    if (Passing(iErrno)) return 0;
    if (place.iPos == 0) {
        API_LOG_AS(READ, VKO_LOG_ERR, "Win ER iPos[%03d] liDifTime:iTimeout[%ld:%d] strerror(%d)=[%s]\n",
                   place.iPos, static_cast<long>(place.liDifTime), place.iTimeout, iErrno, strerror(iErrno));
    } else {
        API_LOG_AS(READ, VKO_LOG_ERR,
                   "Win ER iChkPos[%04d] iPos[%04d] lNext[%04d] liDifTime:iTimeout[%ld:%d]FAIL!!!\n",
                   place.iChkPos, place.iPos, place.lNext, static_cast<long>(place.liDifTime),
                   place.iTimeout);
    }
    return -1;
}

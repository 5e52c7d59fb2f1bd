#include <cstring>

#include "../vko_sat_utils/packet.h"
#include "../vko_sat_utils/packet_parsers.h"
#include "api_log.h"
#include "link.h"
#include "link_clock.h"
#include "link_errors.h"
#include "port.h"
#include "protocol_log.h"

static constexpr int64_t WRITE_TIMEOUT_MS = LinkSeconds(2);
static constexpr uint32_t WRITE_PAUSE_MS = 1;

/** A NAK is reported with this code, which the port settings use for another failure: on purpose. */
static constexpr int NAK_RECEIVED = -1005;

/** Printed with a NAK. Nothing is sent again. */
static constexpr int NAK_RETRIES_SHOWN = 3;

static const char WRITE[] = "cSerialWriteBufW";

/** A frame on its way out. */
struct tOutgoing {
    char* pFrame;
    int iSize;
    int iOffset;    ///< bytes written so far
    int iBlockEnd;  ///< where the current block ends
    tLinkTime tBegun;
    plat_handle* phComm;
};

/** Puts the checksum in front of ETX, which makes the frame one byte longer. */
static int InsertChecksum(char* pPkt, int iSize) {
    const unsigned char ucCheckSum =
        SatChecksum(reinterpret_cast<const unsigned char*>(pPkt) + 1, static_cast<size_t>(iSize - 2));
    pPkt[iSize] = pPkt[iSize - 1];
    pPkt[iSize - 1] = static_cast<char>(ucCheckSum);
    return iSize + 1;
}

static int ReportWriteTimeout(const tOutgoing& out) {
    API_LOG_AS(WRITE, VKO_LOG_ERR,
               "Win: WriteFile rc[%06d]ER:SAT_API_ERR_WIN_DEV_COMM_WR_TIMEOUT \n\t*phComm[%08Xh] >> "
               "ulTxPktSz[%d] ulOffset[%d] ulBytesExpected[%d]Timeout\n",
               SAT_API_ERR_WIN_DEV_COMM_WR_TIMEOUT, LogHandle(*out.phComm), out.iBlockEnd, out.iOffset,
               out.iSize);
    return SAT_API_ERR_WIN_DEV_COMM_WR_TIMEOUT;
}

/** Writes up to the block's end. 0, or -1007 when the port does not take it in time. */
static int WriteBlock(tOutgoing* out) {
    tLinkTime start = LinkNow();
    while (out->iOffset < out->iBlockEnd) {
        const uint32_t uiWritten = plat_port_write(*out->phComm, out->pFrame + out->iOffset,
                                                   static_cast<uint32_t>(out->iBlockEnd - out->iOffset));
        if (uiWritten == 0 && LinkElapsedMsSince(start) > WRITE_TIMEOUT_MS) return ReportWriteTimeout(*out);
        plat_sleep_ms(WRITE_PAUSE_MS);
        if (uiWritten == 0) continue;

        // Bytes that moved left no error behind, so this never ends the write: on purpose.
        const int rc = LinkConsultWriteError(LINK_NO_ERROR, out->iSize, 0, WRITE_TIMEOUT_MS);
        if (rc != 0) return rc;
        start = LinkNow();
        out->iOffset += static_cast<int>(uiWritten);
        // A port that always takes one more byte in time would hold the till for hours.
        if (LinkElapsedMs(out->tBegun, start) > LINK_TRANSFER_LIMIT_MS) return ReportWriteTimeout(*out);
    }
    return 0;
}

static void LogBlock(const tOutgoing& out) {
    // The frame need not be terminated: every text in these lines is bounded by its length.
    if (out.iBlockEnd > 1000) {
        const int iTail = out.iBlockEnd - 900;
        API_LOG_AS(
            WRITE, VKO_LOG_WRN,
            "Win: OK:hC[%08Xh]Sent ulTxPktSz[%05d]BIG \n\t PC->SAT >>   pusTxPkt[%03d:%.900s...**BIGPKG "
            "SLL-SAT**....%.*s]\n",
            LogHandle(*out.phComm), out.iBlockEnd, out.iBlockEnd, out.pFrame, out.iSize - iTail,
            out.pFrame + iTail);
    } else {
        API_LOG_AS(WRITE, VKO_LOG_WRN, "Win: OK:hC[%08Xh]Sent \n\t PC->SAT >>   pusTxPkt[%03d:%.*s]\n",
                   LogHandle(*out.phComm), out.iBlockEnd, out.iSize, out.pFrame);
    }
}

/** Waits for the block's acknowledgement. 0, -1 or -1005. */
static int AwaitAck(const tOutgoing& out) {
    const int iAck = cSerialReadAck(out.phComm);
    if (iAck > 0) return 0;
    const int iLastError = static_cast<int>(plat_last_error());
    if (iAck < 0) {
        API_LOG_AS(WRITE, VKO_LOG_ERR, "Win: rc[%06d]ER: LastError[%d] << ACK\n", -1, iLastError);
        return -1;
    }
    API_LOG_AS(WRITE, VKO_LOG_ERR,
               "Win: rc[%06d]ER:NAK Recvd LastError[%d] << NAK rcry[%d]FAIL \n\t >> PC->SATPkt[%05d:%.*s]\n",
               NAK_RECEIVED, iLastError, NAK_RETRIES_SHOWN, out.iBlockEnd, out.iSize, out.pFrame);
    return NAK_RECEIVED;
}

int cSerialWriteBufW(char* pusTxPkt, int ulTxPktSz, plat_handle* phComm) {
    if (pusTxPkt == nullptr || phComm == nullptr || ulTxPktSz < 2) {
        API_LOG(VKO_LOG_ERR, "Win: rc[%06d]ER:INVALID_PARAM pusTxPkt[%08Xh] ulTxPktSz[%d] phComm[%08Xh]\n",
                -1, LogHandle(pusTxPkt), ulTxPktSz, LogHandle(phComm));
        return -1;
    }
    tOutgoing out = {pusTxPkt, InsertChecksum(pusTxPkt, ulTxPktSz), 0, {}, LinkNow(), phComm};
    do {
        out.iBlockEnd = out.iSize - out.iOffset > SAT_BLOCK_SIZE ? out.iOffset + SAT_BLOCK_SIZE : out.iSize;
        int rc = WriteBlock(&out);
        if (rc != 0) return rc;
        LogBlock(out);
        // Called for its lines, which are all information. It goes through the frame from its start at each
        // block, so where nobody wants the lines a command of megabytes need not wait for it.
        if (VKO_LogEnabled(VKO_LOG_INF)) SAT_API_CmdPktParcer(out.pFrame, out.iBlockEnd);
        rc = AwaitAck(out);
        if (rc != 0) return rc;
    } while (out.iOffset < out.iSize);
    LogSATProtocolFrame(out.pFrame, static_cast<size_t>(out.iSize), 0);
    return out.iOffset;
}

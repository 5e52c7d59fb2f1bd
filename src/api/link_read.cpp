#include <algorithm>
#include <cstring>

#include "../vko_sat_utils/packet.h"
#include "../vko_sat_utils/packet_parsers.h"
#include "api_log.h"
#include "buffers.h"
#include "link.h"
#include "link_clock.h"
#include "link_errors.h"
#include "protocol_log.h"

static constexpr int READ_ATTEMPTS = 3;
static constexpr int32_t BODY_TIMEOUT_MS = 100;
static constexpr int32_t AFTER_STALL_TIMEOUT_MS = LinkSeconds(2);
static constexpr int SHORTEST_FRAME = 3;  // STX, checksum, ETX

static const char READ[] = "cSerialReadBufW";

/** The call's working values. Names as the log lines show them. */
struct tReplyRead {
    char* pcBuf;
    plat_handle* phComm;
    int32_t iTimeout;  ///< milliseconds; not set back between attempts, on purpose
    int iFrameLimit;   ///< longest frame whose text fits pcBuf and that fits the receive area
    int iPos;          ///< bytes received so far
    int iChkPos;       ///< next byte to be scanned
    int lNext;         ///< end of the current block
    unsigned char ucCkSumCalc;
    uint32_t dwBytesRead;
    int64_t liDifTime;
    tLinkTime start;
    tLinkTime tFirstByte;  ///< when the first attempt's first byte came
    bool bFirstByte;
};

/** How a step of an attempt ended. */
enum eReadStep { READ_ON, READ_GOOD_FRAME, READ_ATTEMPT_LOST, READ_NO_REPLY };

static unsigned char AreaByte(int iAt) {
    return static_cast<unsigned char>(gl_strRcvArea[iAt]);
}

/** Milliseconds of a time-out in seconds; the largest 32-bit value where they do not fit. */
static int32_t TimeoutMs(int iSeconds) {
    return static_cast<int32_t>(std::clamp<int64_t>(LinkSeconds(iSeconds), INT32_MIN, INT32_MAX));
}

static void StartAttempt(tReplyRead* read) {
    read->iPos = 0;
    read->lNext = SAT_BLOCK_SIZE;
    read->ucCkSumCalc = 0;
    read->start = LinkNow();
    BufferClear(gl_strRcvArea, BUFFER_SIZE);
}

/** One read into the receive area at the next free place. */
static void ReadInto(tReplyRead* read, int iWanted) {
    read->dwBytesRead =
        plat_port_read(*read->phComm, gl_strRcvArea + read->iPos, static_cast<uint32_t>(iWanted));
    BufferTouched(gl_strRcvArea, static_cast<size_t>(read->iPos) + read->dwBytesRead);
}

/** Waits for the first byte. Whatever comes takes the place of STX: there is no hunt for it, on purpose. */
static eReadStep ReceiveFirstByte(tReplyRead* read) {
    for (;;) {
        ReadInto(read, 1);
        if (read->dwBytesRead > 0) break;
        read->liDifTime = LinkElapsedMsSince(read->start);
        if (read->liDifTime > read->iTimeout) {
            API_LOG_AS(READ, VKO_LOG_ERR,
                       " ER << pcWork[%03d]=[%02Xh]xxx ucCkSumCalc[%02Xh]  lNext[%04d] iPos[%04d] "
                       "dwBytesRead[%04ld]\n\t liDifTime[%ld] > iTimeout[%d] TIMEOUT!!!!\n",
                       read->iPos, AreaByte(read->iPos), read->ucCkSumCalc, read->lNext, read->iPos,
                       static_cast<long>(read->dwBytesRead), static_cast<long>(read->liDifTime),
                       read->iTimeout);
            return READ_NO_REPLY;
        }
    }
    if (AreaByte(0) != SAT_STX) {
        API_LOG_AS(READ, VKO_LOG_WRN,
                   "Win: WR << pcWork[%03d]=[%02Xh]??? ucCkSumCalc[%02Xh] lNext[%04d] iPos[%04d] "
                   "dwBytesRead[%04ld]EXPECTED STX!!!!\n",
                   read->iPos, AreaByte(0), read->ucCkSumCalc, read->lNext, read->iPos,
                   static_cast<long>(read->dwBytesRead));
    }
    read->start = LinkNow();
    if (!read->bFirstByte) read->tFirstByte = read->start;
    read->bFirstByte = true;
    read->iPos = 1;
    read->iChkPos = 1;
    read->iTimeout = BODY_TIMEOUT_MS;
    return READ_ON;
}

static void LogFrame(const tReplyRead& read) {
    if (read.iChkPos > 1000) {
        API_LOG_AS(
            READ, VKO_LOG_WRN,
            "Win:OK: liDifTime[%ld] iTimeout[%ld]  hC[%08Xh]Rcvd ucCkSumCalc[%02Xh] "
            "iChkPos[%05d]**BIG_RSP_PKT\n\tSAT->DLL <<  TmpSatPkt[%05d:%.900s....***BIG_RSP_PKT***....%s]\n",
            static_cast<long>(read.liDifTime), static_cast<long>(read.iTimeout), LogHandle(*read.phComm),
            read.ucCkSumCalc, read.iChkPos, read.iChkPos, gl_strRcvArea, gl_strRcvArea + read.iChkPos - 100);
    } else {
        API_LOG_AS(
            READ, VKO_LOG_WRN,
            "Win:OK: liDifTime[%ld] iTimeout[%ld]  hC[%08Xh]Rcvd ucCkSumCalc[%02Xh] iChkPos[%05d]\n\tSAT->DLL "
            "<<  TmpSatPkt[%05d:%s]\n",
            static_cast<long>(read.liDifTime), static_cast<long>(read.iTimeout), LogHandle(*read.phComm),
            read.ucCkSumCalc, read.iChkPos, read.iChkPos, gl_strRcvArea);
    }
}

/** The frame up to iChkPos is good: reports it, acknowledges it and hands its text over. */
static eReadStep AcceptFrame(tReplyRead* read) {
    // What arrived behind ETX in the same read is no part of the frame.
    memset(gl_strRcvArea + read->iChkPos, 0, static_cast<size_t>(read->iPos - read->iChkPos));
    LogFrame(*read);
    // Called for its lines, of which the most important is a warning: where nobody wants them the device need
    // not wait for its acknowledgement while a reply of megabytes is taken apart.
    if (VKO_LogEnabled(VKO_LOG_WRN)) SAT_API_RspPktParcer(gl_strRcvArea, read->iChkPos);
    lSerialWriteAck(read->phComm, true);
    LogSATProtocolFrame(gl_strRcvArea, static_cast<size_t>(read->iPos), 1);
    const size_t textLength = static_cast<size_t>(read->iChkPos - SHORTEST_FRAME);
    memcpy(read->pcBuf, gl_strRcvArea + 1, textLength);
    read->pcBuf[textLength] = '\0';
    BufferTouched(read->pcBuf, textLength);
    return READ_GOOD_FRAME;
}

/** The frame is not what its checksum says, or cannot be a frame: asks for it again. */
static eReadStep RejectFrame(tReplyRead* read) {
    LogSATProtocolFrame(gl_strRcvArea, static_cast<size_t>(read->iPos), 1);
    API_LOG_AS(
        READ, VKO_LOG_ERR,
        "Win ER << pcWork[%03d]=[%02Xh]CKS ucCkSumCalc[%02Xh] lNext[%04d] iPos[%04d] dwBytesRead[%04ld] Sent "
        "NAK:MissMatch!!!!\n",
        read->iChkPos, AreaByte(read->iChkPos), read->ucCkSumCalc, read->lNext, read->iPos,
        static_cast<long>(read->dwBytesRead));
    lSerialWriteAck(read->phComm, false);
    API_LOG_AS(
        READ, VKO_LOG_WRN,
        "Win: WR << pcWork[%03d]=[%02Xh]--- ucCkSumCalc[%02Xh] lNext[%04d] iPos[%04d] dwBytesRead[%04ld] "
        "WARNING!!! [iChkPos!=iPos]\n",
        read->iChkPos, AreaByte(read->iChkPos), read->ucCkSumCalc, read->lNext, read->iPos,
        static_cast<long>(read->dwBytesRead));
    return READ_ATTEMPT_LOST;
}

/** iChkPos stands on ETX: the byte before it is the checksum, which the running sum has taken in. */
static eReadStep CheckFrame(tReplyRead* read) {
    if (read->iChkPos + 1 < SHORTEST_FRAME) return RejectFrame(read);
    const unsigned char ucReceived = AreaByte(read->iChkPos - 1);
    read->ucCkSumCalc = SatChecksumByte(static_cast<unsigned char>(read->ucCkSumCalc - ucReceived));
    if (read->ucCkSumCalc != ucReceived) return RejectFrame(read);
    ++read->iChkPos;
    return AcceptFrame(read);
}

/** Looks through what the last read brought for ETX, and sums it. */
static eReadStep ScanReceived(tReplyRead* read) {
    const char* pFrom = gl_strRcvArea + read->iChkPos;
    const size_t unscanned = static_cast<size_t>(read->iPos - read->iChkPos);
    const void* pEtx = memchr(pFrom, SAT_ETX, unscanned);
    const size_t summed =
        pEtx != nullptr ? static_cast<size_t>(static_cast<const char*>(pEtx) - pFrom) : unscanned;
    read->ucCkSumCalc = static_cast<unsigned char>(
        read->ucCkSumCalc + SatSum(reinterpret_cast<const unsigned char*>(pFrom), summed));
    read->iChkPos += static_cast<int>(summed);
    return pEtx != nullptr ? CheckFrame(read) : READ_ON;
}

/** A full block without ETX is acknowledged before the device goes on. */
static void AcknowledgeBlock(tReplyRead* read) {
    lSerialWriteAck(read->phComm, true);
    read->lNext += SAT_BLOCK_SIZE;
    API_LOG_AS(READ, VKO_LOG_WRN,
               "Win: DLL->SAT Sent ACK\n\t     iChkPos[%06d]\n\t        iPos[%06d]\n\t       "
               "lNext[%06d]\n\t(lNext-iPos)[%06d]Diff To Read 16KBytes Packet!!!\n\t  iTimeout[%d]ms\n",
               read->iChkPos, read->iPos, read->lNext, read->lNext - read->iPos, read->iTimeout);
}

/** Nothing came: either there is still time, or the device has stalled and is asked to start again. */
static eReadStep CheckStall(tReplyRead* read) {
    read->liDifTime = LinkElapsedMsSince(read->start);
    if (read->liDifTime <= read->iTimeout) return READ_ON;
    API_LOG_AS(
        READ, VKO_LOG_WRN,
        "Win: ER iChkPos[%04d] iPos[%04d] lNext[%04d] liDifTime:iTimeout[%ld:%d]TIMEOUT!! >> Send NAK\n",
        read->iChkPos, read->iPos, read->lNext, static_cast<long>(read->liDifTime), read->iTimeout);
    lSerialWriteAck(read->phComm, false);
    read->iTimeout = AFTER_STALL_TIMEOUT_MS;
    return READ_ATTEMPT_LOST;
}

/** A device that always sends one more byte in time would hold the till for years. */
static eReadStep CheckLimit(const tReplyRead& read) {
    const int64_t elapsed = LinkElapsedMs(read.tFirstByte, read.start);
    if (elapsed <= LINK_TRANSFER_LIMIT_MS) return READ_ON;
    API_LOG_AS(READ, VKO_LOG_ERR,
               "Win ER iChkPos[%04d] iPos[%04d] lNext[%04d] elapsed[%ld]>limit[%ld] REPLY WITHOUT END!!!!\n",
               read.iChkPos, read.iPos, read.lNext, static_cast<long>(elapsed),
               static_cast<long>(LINK_TRANSFER_LIMIT_MS));
    return READ_NO_REPLY;
}

static tLinkReadPlace PlaceOf(const tReplyRead& read) {
    return {read.iPos, read.iChkPos, read.lNext, read.liDifTime, read.iTimeout};
}

static eReadStep ReceiveSome(tReplyRead* read) {
    const int iEnd = std::min(read->lNext, read->iFrameLimit);
    ReadInto(read, iEnd - read->iPos);
    if (read->dwBytesRead == 0) return CheckStall(read);

    // Bytes that moved left no error behind, so this never ends the reply: on purpose.
    if (LinkConsultReadError(LINK_NO_ERROR, PlaceOf(*read)) != 0) return READ_NO_REPLY;
    read->iPos += static_cast<int>(read->dwBytesRead);
    const eReadStep step = ScanReceived(read);
    if (step != READ_ON) return step;
    // No frame is that long: the device has lost its ETX.
    if (read->iPos >= read->iFrameLimit) return RejectFrame(read);
    if (read->iPos % SAT_BLOCK_SIZE == 0) AcknowledgeBlock(read);
    read->start = LinkNow();
    return CheckLimit(*read);
}

static eReadStep RunAttempt(tReplyRead* read) {
    StartAttempt(read);
    eReadStep step = ReceiveFirstByte(read);
    while (step == READ_ON)
        step = ReceiveSome(read);
    return step;
}

int cSerialReadBufW(char* pcBuf, int iBufSz, plat_handle* phComm, int iTimeoutSec) {
    if (pcBuf == nullptr || iBufSz < 1 || phComm == nullptr) {
        API_LOG(VKO_LOG_ERR, "Win: rc[%06d]ER:INVALID_PARAM pcBuf[%08Xh] iBufSz[%d] phComm[%08Xh]\n", -1,
                LogHandle(pcBuf), iBufSz, LogHandle(phComm));
        return -1;
    }
    BufferClear(pcBuf, static_cast<size_t>(iBufSz));
    tReplyRead read = {};
    read.pcBuf = pcBuf;
    read.phComm = phComm;
    read.iTimeout = TimeoutMs(iTimeoutSec);
    read.iFrameLimit = std::min(iBufSz, MAX_FRAME_SIZE - 2) + 2;

    for (int iAttempts = READ_ATTEMPTS; iAttempts != 0; --iAttempts) {
        const eReadStep step = RunAttempt(&read);
        if (step == READ_GOOD_FRAME) return read.iChkPos - 1;
        // The first byte did not come: at once, whatever attempts are left. That is on purpose.
        if (step == READ_NO_REPLY) return -1;
    }
    // Logged as information although it is a failure: on purpose.
    API_LOG(VKO_LOG_INF,
            "Win ER iChkPos[%04d] iPos[%04d] lNext[%04d] liDifTime:iTimeout[%ld:%d]FAIL TOO MANY ERRORS!!!\n",
            read.iChkPos, read.iPos, read.lNext, static_cast<long>(read.liDifTime), read.iTimeout);
    return -1;
}

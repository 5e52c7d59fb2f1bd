#include "packet.h"

#include <algorithm>
#include <cstring>

#include "../vko_utils/log.h"
#include "log_source.h"

namespace {

/** The text's length, but no more than `limit`: a hostile text is not walked further than its answer needs.
 */
size_t BoundedLength(const char* text, size_t limit) {
    const void* end = memchr(text, '\0', limit);
    return end ? static_cast<size_t>(static_cast<const char*>(end) - text) : limit;
}

/**
 * Whether the length is too small for the text. Unsigned on purpose: the subtraction wraps for a text shorter
 * than 3 characters, and a negative length counts as a very large one.
 */
bool LengthBelowText(const char* text, int32_t length) {
    const auto enough_to_decide = static_cast<size_t>(std::max<int64_t>(length, -1) + 4);
    const auto length64 = static_cast<uint64_t>(static_cast<int64_t>(length));
    return length64 < static_cast<uint64_t>(BoundedLength(text, enough_to_decide)) - 3;
}

void LogZeroChecksum(const unsigned char* frame, int32_t checksum_at) {
    VKO_LOG_AS(gl_pLogBaseName, SAT_UTILS_SOURCE, "SAT_API_CreatePacket", VKO_LOG_INF,
               "pSatPkt[%02d]=[%02Xh]rc-2=CHECKSUM=0x00!!!!!!\n", checksum_at,
               static_cast<unsigned>(frame[checksum_at]));
    VKO_LOG_AS(gl_pLogBaseName, SAT_UTILS_SOURCE, "SAT_API_CreatePacket", VKO_LOG_INF,
               "pSatPkt[%02d]=[%02Xh]rc-1=ETX\n", checksum_at + 1,
               static_cast<unsigned>(frame[checksum_at + 1]));
    // The zero checksum itself ends the text that is printed here.
    VKO_LOG_AS(gl_pLogBaseName, SAT_UTILS_SOURCE, "SAT_API_CreatePacket", VKO_LOG_INF,
               ">> SAT-PC pSatPkt[%04d:%s<0x00><ETX>]\n", checksum_at + 2,
               reinterpret_cast<const char*>(frame));
}

}  // namespace

uint8_t SAT_API_CalcCkeckSum(const void* pBuf, int32_t iBufLen) {
    if (!pBuf) {
        VKO_LOG(gl_pLogBaseName, SAT_UTILS_SOURCE, VKO_LOG_INF, "ucCheckSum[%02Xh]=NULL pBuf=NULL\n", 0U);
        return 0;
    }
    const auto* text = static_cast<const char*>(pBuf);
    if (iBufLen == 0 || LengthBelowText(text, iBufLen)) {
        VKO_LOG(gl_pLogBaseName, SAT_UTILS_SOURCE, VKO_LOG_INF,
                "ucCheckSum[%02Xh]=NULL iBufLen[%02d] < pBuf[%04d:%s]-3\n", 0U, iBufLen,
                static_cast<int>(strlen(text)), text);
        return 0;
    }
    if (iBufLen < 0) {
        return 0;
    }
    const auto* bytes = static_cast<const unsigned char*>(pBuf);
    const size_t first = bytes[0] == SAT_STX ? 1 : 0;
    const uint8_t checksum = SatChecksum(bytes + first, static_cast<size_t>(iBufLen) - first);
    // 0x7D is "}" and not the separator 0x7C that the line speaks of. It is kept so on purpose: it only logs.
    if (checksum == 0x7D) {
        VKO_LOG(gl_pLogBaseName, SAT_UTILS_SOURCE, VKO_LOG_INF,
                "ucCheckSum[%02Xh]=PIPE iBufLen[%02d] pBuf[%.*s]\n", static_cast<unsigned>(checksum), iBufLen,
                iBufLen, text);
    }
    return checksum;
}

int32_t SAT_API_CreatePacket(const void* pSatMsg, int32_t iMsgLen, void* pSatPkt, int32_t* piSatPktLen) {
    const bool has_arguments = pSatMsg && pSatPkt && piSatPktLen;
    const bool has_stx = has_arguments && *static_cast<const unsigned char*>(pSatMsg) == SAT_STX;
    // Without STX the checksum goes to iMsgLen - 1, which for an empty text would lie in front of the buffer.
    if (!has_arguments || iMsgLen < (has_stx ? 0 : 1) || iMsgLen > INT32_MAX - 2) {
        VKO_LOG(gl_pLogBaseName, SAT_UTILS_SOURCE, VKO_LOG_ERR,
                "rc[%06d]ER:INVALID_PARAM pSatMsg[%08Xh] pSatPkt[%08Xh] piSatPktLen[%08Xh]\n", -1,
                LogHandle(pSatMsg), LogHandle(pSatPkt), LogHandle(piSatPktLen));
        return -1;
    }
    const uint8_t checksum = SAT_API_CalcCkeckSum(pSatMsg, iMsgLen);
    auto* frame = static_cast<unsigned char*>(pSatPkt);
    int32_t checksum_at = iMsgLen;
    if (has_stx) {
        memmove(frame, pSatMsg, static_cast<size_t>(iMsgLen));
    } else {
        // Checksum and ETX overwrite the end of the text: kept so on purpose, callers bring their STX.
        memmove(frame + 1, pSatMsg, static_cast<size_t>(iMsgLen));
        frame[0] = SAT_STX;
        checksum_at = iMsgLen - 1;
    }
    frame[checksum_at] = checksum;
    frame[checksum_at + 1] = SAT_ETX;
    *piSatPktLen = checksum_at + 2;
    if (checksum == 0) {
        LogZeroChecksum(frame, checksum_at);
    }
    return checksum_at + 2;
}

int32_t SAT_API_DecodeSatCmd(const void* pSatCmdParam, int32_t /*iLen*/) {
    if (!pSatCmdParam) {
        VKO_LOG(gl_pLogBaseName, SAT_UTILS_SOURCE, VKO_LOG_ERR, "rc[%04d]ER:    pSatCmdParam=NULL\n", -1);
    }
    return -1;
}

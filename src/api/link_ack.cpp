#include "../vko_sat_utils/packet.h"
#include "api_log.h"
#include "link.h"
#include "link_clock.h"
#include "state.h"

/** How long an acknowledgement may take, milliseconds of the coarse measure. */
static constexpr int64_t ACK_TIMEOUT_MS = LinkSeconds(2);

int cSerialReadAck(plat_handle* phComm) {
    const tLinkTime start = LinkNow();
    for (;;) {
        unsigned char ucByte = {};
        const bool bReceived = plat_port_read(*phComm, &ucByte, 1) > 0;
        if (bReceived && ucByte == SAT_ACK) {
            API_LOG(VKO_LOG_WRN, "Win\n\tSAT->PC  <<       Rcvd[%02Xh]ACK LibVer[%s] BuildDate[%s]\n", ucByte,
                    ZANTIR_LIB_VERSION, ZANTIR_BUILD_STAMP);
            return 1;
        }
        if (bReceived && ucByte == SAT_NAK) {
            API_LOG(VKO_LOG_WRN, "Win\n\tSAT->PC  <<       Rcvd[%02Xh]NAK\n", ucByte);
            return 0;
        }
        if (bReceived) {
            API_LOG(VKO_LOG_WRN, "Win:WR SAT->PC  <<       Rcvd[%02Xh]??? Expected ACK or NAK\n", ucByte);
        }
        // Other bytes do not restart the time-out, and a device that never pauses does not escape it.
        const int64_t diff = LinkElapsedMsSince(start);
        if (diff > ACK_TIMEOUT_MS) {
            API_LOG(VKO_LOG_ERR, "Win << diff[%ld]> 2000 timeout\n", static_cast<long>(diff));
            return -1;
        }
    }
}

int lSerialWriteAck(plat_handle* phComm, bool bAck) {
    const unsigned char ucByte = bAck ? SAT_ACK : SAT_NAK;
    if (plat_port_write(*phComm, &ucByte, 1) == 0) {
        API_LOG(VKO_LOG_ERR, "Win Error writing ACK\n");
        return -1;
    }
    switch (ucByte) {
        case SAT_ACK:
            API_LOG(VKO_LOG_WRN, "Win OK\n\t PC->SAT >>       Sent[%02Xh]ACK\n\n", ucByte);
            break;
        case SAT_NAK:
            API_LOG(VKO_LOG_WRN, "Win: WR\n\t PC->SAT >>       Sent[%02Xh]NAK\n", ucByte);
            break;
        default:
            // Cannot occur; the text calls NAK 0x16, the byte is 0x15 everywhere.
            API_LOG(VKO_LOG_WRN, "Win: WR     PC->SAT >>       Sent[%02Xh]??? Exp: ACK[0x06] or NAK[0x16]\n",
                    ucByte);
            break;
    }
    return 0;
}

int lSerialFlushRx(plat_handle* phComm) {
    // The pointer itself is tested, not the handle that it points at: on purpose.
    if (phComm == nullptr || reinterpret_cast<intptr_t>(phComm) == PLAT_INVALID_HANDLE) {
        API_LOG(VKO_LOG_ERR, "All phComm[%08Xh]Port Not Openned!!!\n", LogHandle(phComm));
        return -1;
    }
    unsigned char ucDiscarded[10];
    while (plat_port_read(*phComm, ucDiscarded, sizeof ucDiscarded) > 0) {
    }
    return 0;
}

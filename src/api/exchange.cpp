#include "exchange.h"

#include <cstring>

#include "../vko_utils/ini_file.h"
#include "../vko_utils/text.h"
#include "api_log.h"
#include "buffers.h"
#include "discovery.h"
#include "exchange_errors.h"
#include "link.h"
#include "log_folder.h"
#include "port.h"
#include "protocol_log.h"
#include "state.h"

static constexpr uint32_t LOCK_WAIT_MS = 3000;

static const char EXCHANGE[] = "Communicate";

/** A step's line in the diagnostic log. */
#define STEP_LOG(level, format, ...) API_LOG_AS(EXCHANGE, level, format __VA_OPT__(, ) __VA_ARGS__)

/** The locals of one exchange. */
struct tExchange {
    char* pPkt;
    int iTimeout;
    int rc;
    plat_handle hComm;
    plat_handle hMutex;
    char strPortName[256];
};

/** Whether the exchange goes on behind a step, closes out, or returns at once. */
enum eExchangeStep { EXCHANGE_ON, EXCHANGE_CLOSE_OUT, EXCHANGE_RETURN };

static eExchangeStep Failed(tExchange* exchange, eExchangeError eError) {
    WriteExchangeError(exchange->pPkt, eError, exchange->rc, exchange->strPortName);
    return EXCHANGE_CLOSE_OUT;
}

/** Gives the exchange a code of its own unless a failed routine has left one. */
static void FailWith(tExchange* exchange, int rc) {
    if (!IsError(exchange->rc)) exchange->rc = rc;
}

static eExchangeStep TakeLock(tExchange* exchange) {
    exchange->hMutex = plat_mutex_create(SAT_LOCK_NAME);
    if (exchange->hMutex == 0) {
        exchange->rc = -1001;
        Failed(exchange, EXCHANGE_LOCK_NOT_CREATED);
        STEP_LOG(VKO_LOG_ERR, "Win:ER:STEP-01.1[FAIL] rc[%06d] CreateMutex[%s]\n", exchange->rc,
                 SAT_LOCK_NAME);
        printGetLastError();
        return EXCHANGE_CLOSE_OUT;
    }
    STEP_LOG(VKO_LOG_INF, "Win:OK:STEP-01.1[PASS] CreateMutex[%s] hMutex[%08Xh]\n", SAT_LOCK_NAME,
             LogHandle(exchange->hMutex));

    const uint32_t dwWaitResult = plat_mutex_wait(exchange->hMutex, LOCK_WAIT_MS);
    if (dwWaitResult == PLAT_WAIT_TIMEOUT) {
        exchange->rc = -1002;
        Failed(exchange, EXCHANGE_LOCK_TIMEOUT);
        STEP_LOG(VKO_LOG_ERR,
                 "Win:ER:Win:STEP-01.2[FAIL] dwWaitResult[%ld]WAIT_TIMEOUT <Erro 98*, estou ocupado.>\n",
                 static_cast<long>(dwWaitResult));
        // Not owned, so this fails, and the close-out releases once more: on purpose.
        plat_mutex_release(exchange->hMutex);
        return EXCHANGE_CLOSE_OUT;
    }
    // Acquired, abandoned by its last owner, and even a failed wait: all count as acquired.
    STEP_LOG(VKO_LOG_INF, "Win:OK:STEP-01.2[PASS] dwWaitResult[%ld]\n", static_cast<long>(dwWaitResult));
    return EXCHANGE_ON;
}

/** The emulator's port in place of a device that was not found. */
static eExchangeStep TakeEmulatorPort(tExchange* exchange) {
    if (gl_tSat.iEmulatorEnabled == 0) {
        FailWith(exchange, -1000);
        Failed(exchange, EXCHANGE_NO_DEVICE);
        STEP_LOG(VKO_LOG_ERR, "Win: ER:NO_SAT_DEVICE_FOUND and NO_EMULATOR_DEV_SET\n");
        return EXCHANGE_CLOSE_OUT;
    }
    char strPort[32] = {};
    exchange->rc = VKO_GetIniFileValueSized(ZANTIR_INI_FILE, "SAT_EMULATOR", "SerialPortWindows", strPort,
                                            sizeof strPort);
    if (IsError(exchange->rc) || strPort[0] == '\0') {
        FailWith(exchange, -1000);
        STEP_LOG(VKO_LOG_ERR, "Lnx:ER NO_SAT_DEVICE_FOUND and NO_EMULATOR_DEV_SET\n");
        // No error text and no close-out: the lock stays with the calling thread, on purpose.
        return EXCHANGE_RETURN;
    }
    VKO_FormatText(exchange->strPortName, sizeof exchange->strPortName, "\\\\?\\%s", strPort);
    STEP_LOG(VKO_LOG_WRN, "Lnx:WR Port[%05d:%s]PLMQ:USING_SAT_EMULATOR!!\n",
             static_cast<int>(strlen(exchange->strPortName)), exchange->strPortName);
    return EXCHANGE_ON;
}

/** Fills strPortName with the path of the device's port. */
static eExchangeStep FindPort(tExchange* exchange) {
    char strFound[sizeof exchange->strPortName] = {};
    vListComPorts(strFound);
    if (strFound[0] == '\0') {
        const eExchangeStep step = TakeEmulatorPort(exchange);
        // With an emulator there need not be a device; without one it is missed.
        if (step != EXCHANGE_ON) plat_devices_forget();
        return step;
    }
    // A port's name has 15 characters, a fixed port's 127 at most: both fit.
    VKO_FormatText(exchange->strPortName, sizeof exchange->strPortName, "\\\\?\\%s", strFound);
    return EXCHANGE_ON;
}

static eExchangeStep OpenPort(tExchange* exchange) {
    const char* pcPos = strstr(exchange->strPortName, "COM");
    if (pcPos == nullptr) {
        FailWith(exchange, -2002);
        Failed(exchange, EXCHANGE_NO_COM_IN_NAME);
        STEP_LOG(VKO_LOG_ERR, "Win:ER:STEP-02.2[FAIL] rc[%06d] Port[%s] has no COM\n", exchange->rc,
                 exchange->strPortName);
        return EXCHANGE_CLOSE_OUT;
    }
    const int lPort = VKO_DecimalValue(pcPos + strlen("COM"));
    if (lPort < 1) {
        FailWith(exchange, -2003);
        Failed(exchange, EXCHANGE_NO_PORT_NUMBER);
        STEP_LOG(VKO_LOG_ERR, "Win:ER:STEP-02.2[FAIL] rc[%06d] Port[%s] lPort[%d]\n", exchange->rc,
                 exchange->strPortName, lPort);
        return EXCHANGE_CLOSE_OUT;
    }
    exchange->rc = cSerialOpenW(lPort, &exchange->hComm);
    // The handle tells: an open that failed may leave a result that is not negative.
    if (!plat_handle_valid(exchange->hComm)) {
        plat_devices_forget();
        FailWith(exchange, -2004);
        Failed(exchange, EXCHANGE_NOT_OPENED);
        STEP_LOG(VKO_LOG_ERR, "Win:ER:STEP-02.2[FAIL] rc[%06d] Port[%s] lPort[%d] hComm[%08Xh]\n",
                 exchange->rc, exchange->strPortName, lPort, LogHandle(exchange->hComm));
        return EXCHANGE_CLOSE_OUT;
    }
    STEP_LOG(VKO_LOG_INF, "Win:OK:STEP-02.2[PASS] rc[%06d] Port[%s] lPort[%d] hComm[%08Xh]\n", exchange->rc,
             exchange->strPortName, lPort, LogHandle(exchange->hComm));
    return EXCHANGE_ON;
}

static eExchangeStep ConfigurePort(tExchange* exchange) {
    exchange->rc = cSerialSettingsW(&exchange->hComm);
    if (IsError(exchange->rc)) {
        Failed(exchange, EXCHANGE_NOT_CONFIGURED);
        STEP_LOG(VKO_LOG_ERR, "Win:ER:STEP-02.3[FAIL] rc[%06d] Port[%s] hComm[%08Xh]\n", exchange->rc,
                 exchange->strPortName, LogHandle(exchange->hComm));
        return EXCHANGE_CLOSE_OUT;
    }
    STEP_LOG(VKO_LOG_INF, "Win:OK:STEP-02.3[PASS] rc[%06d] Port[%s] hComm[%08Xh]\n", exchange->rc,
             exchange->strPortName, LogHandle(exchange->hComm));
    return EXCHANGE_ON;
}

/** From the owned lock to a port that is ready for the command. */
static eExchangeStep MakePortReady(tExchange* exchange) {
    exchange->rc = 0;
    gl_hComm = exchange->hComm;
    if (plat_handle_valid(exchange->hComm)) {
        // Another thread of the process had the port open when this call came in: its handle is used.
        STEP_LOG(VKO_LOG_WRN, "Win:WR:STEP-02.0 hComm[%08Xh]Already Openned\n", LogHandle(exchange->hComm));
        return EXCHANGE_ON;
    }
    STEP_LOG(VKO_LOG_INF, "Win:OK:STEP-02.0[PASS] hComm[%08Xh]\n", LogHandle(exchange->hComm));
    eExchangeStep step = FindPort(exchange);
    if (step == EXCHANGE_ON) step = OpenPort(exchange);
    if (step == EXCHANGE_ON) step = ConfigurePort(exchange);
    return step;
}

static eExchangeStep SendCommand(tExchange* exchange) {
    // Again: another thread that closed out meanwhile has taken it away.
    gl_hComm = exchange->hComm;
    const size_t length = strlen(exchange->pPkt);
    BufferTouched(exchange->pPkt, length + 1);
    exchange->rc = cSerialWriteBufW(exchange->pPkt, static_cast<int>(length), &exchange->hComm);
    if (!IsError(exchange->rc)) {
        STEP_LOG(VKO_LOG_INF, "Win:OK:STEP-03.0[PASS] rc[%06d] Port[%s]\n", exchange->rc,
                 exchange->strPortName);
        return EXCHANGE_ON;
    }
    // COM1 is the port that every machine has: a command that cannot be sent there means that there is no
    // device.
    const bool bCom1 = strcmp(exchange->strPortName, "\\\\?\\COM1") == 0;
    Failed(exchange, bCom1 ? EXCHANGE_NOT_SENT_ON_COM1 : EXCHANGE_NOT_SENT);
    STEP_LOG(VKO_LOG_ERR, "Win:ER:STEP-03.1[FAIL] rc[%06d] Port[%s]\n\t << %s\n", exchange->rc,
             exchange->strPortName, exchange->pPkt);
    return EXCHANGE_CLOSE_OUT;
}

static void ReceiveReply(tExchange* exchange) {
    exchange->rc =
        cSerialReadBufW(exchange->pPkt, GL_DEF_MAX_SAT_PKT_SIZE, &exchange->hComm, exchange->iTimeout);
    if (!IsError(exchange->rc)) return;
    Failed(exchange, EXCHANGE_NOT_RECEIVED);
    STEP_LOG(VKO_LOG_ERR, "Win:ER:STEP-04.0[FAIL] rc[%06d] Port[%s]\n\t << %s\n", exchange->rc,
             exchange->strPortName, exchange->pPkt);
}

static eExchangeStep RunExchange(tExchange* exchange) {
    eExchangeStep step = TakeLock(exchange);
    if (step == EXCHANGE_ON) step = MakePortReady(exchange);
    if (step == EXCHANGE_ON) step = SendCommand(exchange);
    if (step == EXCHANGE_ON) ReceiveReply(exchange);
    return step;
}

static void CloseOut(tExchange* exchange) {
    // Behind this, whatever it says, both handles are invalid.
    if (plat_handle_valid(exchange->hComm)) cSerialCloseW(&exchange->hComm);
    if (exchange->hMutex != 0) {
        STEP_LOG(VKO_LOG_INF, "Win:OK:STEP-06.0 ReleaseMutex hMutex[%08Xh]\n", LogHandle(exchange->hMutex));
        // Released, but never closed: each exchange leaves one handle to the mutex open, on purpose.
        plat_mutex_release(exchange->hMutex);
    }
    if (IsError(exchange->rc)) {
        STEP_LOG(VKO_LOG_ERR, "Win:ER:STEP-07.0[FAIL] rc[%06d] LibVersion[%s] BuildDate[%s] MaxPktSz[%d]\n",
                 exchange->rc, ZANTIR_LIB_VERSION, ZANTIR_BUILD_STAMP, GL_DEF_MAX_SAT_PKT_SIZE);
    } else {
        STEP_LOG(VKO_LOG_INF, "Win:OK:STEP-07.0[PASS] rc[%06d] MaxPktSz[%d]\n", exchange->rc,
                 GL_DEF_MAX_SAT_PKT_SIZE);
    }
}

int Communicate(char* pZantirPkt, int iTimeout, int, int, int) {
    // The handle is copied before the lock is taken: on purpose, see MakePortReady.
    tExchange exchange = {pZantirPkt, iTimeout, EXCHANGE_NOT_BEGUN, gl_hComm, {}, {}};
    CreateSAT_ProtLogFile();
    GetFiles();
    if (RunExchange(&exchange) != EXCHANGE_RETURN) CloseOut(&exchange);
    return exchange.rc;
}

#include "log_periodic.h"

#include <cstring>

#include "api_log.h"
#include "protocol_log.h"
#include "state.h"

static constexpr uint32_t ROUND_MS = 5000;
static constexpr int MOST_ROUNDS = 20;

static const char* const LONG_COMMANDS[] = {"AtivarSAT",    "EnviarDadosVenda", "CancelarUltimaVenda",
                                            "TesteFimAFim", "ExtrairLogs",      "AtualizarSoftwareSAT"};

static bool LongCommandRunning() {
    if (!plat_handle_valid(gl_hComm)) return false;
    for (const char* pName : LONG_COMMANDS) {
        if (strcmp(gl_tSat.strCurSatCmdInProc, pName) == 0) return true;
    }
    return false;
}

void LogSzCtlTherad() {
    API_LOG_OWN_FRONT(VKO_LOG_WRN, "[%04d] %s %s Entering hT[%08Xh]\n",
                      LogHandle(gl_tSat.hSizeControlThread));
    int iRounds = 0;
    for (;;) {
        plat_sleep_ms(ROUND_MS);
        if (LongCommandRunning()) {
            if (++iRounds < MOST_ROUNDS) continue;
            API_LOG_OWN_FRONT(VKO_LOG_WRN,
                              "[%04d] %s %s hT[%08Xh] i[%02d] CurSatCmdInProc[%s]Running for Long Time!!!\n",
                              LogHandle(gl_tSat.hSizeControlThread), iRounds, gl_tSat.strCurSatCmdInProc);
        }
        TraleFileLogSzCtl();
        ProtLogFileSzCtl();
        iRounds = 0;
    }
}

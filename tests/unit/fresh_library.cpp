#include "fresh_library.h"

#include "api/ZANTIR.h"
#include "sim_platform.h"
#include "vko_utils/log_name.h"

void LoadFreshLibrary() {
    sim::world().Reset();
    sim::world().clock.SetUtc(2026, 11, 20, 15, 4, 5, 6);
    gl_tSat = {};
    gl_hComm = PLAT_INVALID_HANDLE;
    gl_tLogSettings = {};
    gl_tLogFlags = {};
    gl_pLogBaseName = "vko_utils.log";
    gl_iFd = 0;
    gl_bProtocolLineFormatted = false;
    gl_tLinkClock = {};
    gl_hLeftOpenSearch = PLAT_INVALID_HANDLE;
    gl_iKnownLogFiles = 0;
    gl_uiMissingLog = 0;
    gl_uiKnownLogFolder = 0;
    gl_uiIniWithoutFixedPort = 0;
    ResetCommandTimeouts();
    tSatRetCodeTbl[0].iCode = 4000;
    BufferClear(gl_strSatRsp, GL_DEF_MAX_SAT_PKT_SIZE);
    BufferClear(gl_strRcvArea, BUFFER_SIZE);
}

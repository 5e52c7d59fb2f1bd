#include "startup.h"

#include <cstring>

#include "../vko_sat_utils/vko_sat_utils.h"
#include "../vko_utils/files.h"
#include "../vko_utils/ini_file.h"
#include "api_log.h"
#include "config.h"
#include "protocol_log.h"
#include "state.h"

static const char INIT[] = "init_global_sat_struct";

static void CreateMissingIni() {
    if (VKO_FileExist(ZANTIR_INI_FILE) >= 0) return;
    const int rc = CreateFile_ZantirIni();
    // The levels are not read yet, so neither line is written at a first start.
    if (IniMissing(rc)) {
        API_LOG_AS(INIT, VKO_LOG_ERR, "--- rc[%06d]ER ConfigFile[%s]NotCreated!!!\n", rc, ZANTIR_INI_FILE);
    } else {
        API_LOG_AS(INIT, VKO_LOG_WRN, "--- rc[%06d]OK ConfigFile[%s]Created!!!\n", rc, ZANTIR_INI_FILE);
    }
}

static void LogStart(int rc) {
    if (rc < 0) {
        API_LOG_AS(INIT, VKO_LOG_ERR, "--- rc[%06d]ER ConfigFile[%s]\n", rc, ZANTIR_INI_FILE);
        return;
    }
    API_LOG_AS(
        INIT, VKO_LOG_WRN,
        "--- Sat Struct Initialized!!\n\t   Version[%s - %s]\n\t BuildDate[%s]\n\t   This Is[%02d Bits] "
        "Platform\n",
        ZANTIR_VERSION_BANNER, ZANTIR_LIB_VERSION, ZANTIR_BUILD_STAMP, ZANTIR_PLATFORM_BITS);
}

static int Initialise() {
    memset(&gl_tSat, 0, sizeof gl_tSat);
    CreateMissingIni();
    tIniFile ini = VKO_LoadIniFile(ZANTIR_INI_FILE);
    const int rc = VKO_SetIniFileLogMode(SAT_API_LOG, ini);
    UpdateZantirConfiguration(&ini);
    LogStart(rc);
    gl_tLogFlags.iWarning = 0;
    // One reading is enough where a change behind it is sure to show in the next call.
    if (ini.rc != INI_FILE_OK || !ini.bSettled) {
        VKO_FreeIniFile(&ini);
        ini = VKO_LoadIniFile(ZANTIR_INI_FILE);
    }
    VKO_SetIniFileLogMode(SAT_API_LOG, ini);
    // The time of the file that the levels come from: a default that the pass has to make has another one, so
    // the next call reads both from it.
    gl_tSat.iConfigTime = ini.iModified;
    UpdateZantirConfiguration(&ini);
    VKO_FreeIniFile(&ini);
    // The first row of the catalogue gets the code 0 for the rest of the process, so that a look-up of 4000
    // finds nothing and one of 0 finds "SAT Ativado Corretamente": on purpose. Two other codes are stored
    // there before; only the last one remains.
    tSatRetCodeTbl[0].iCode = 0;
    gl_tSat.ucStartMarker = ZANTIR_START_MARKER;
    gl_tSat.ucEndMarker = ZANTIR_END_MARKER;
    return 0;
}

int init_global_sat_struct() {
    if (!SatStateInitialised()) return Initialise();
    TraleFileLogSzCtl();
    ProtLogFileSzCtl();
    plat_file_status status;
    if (!plat_file_query(ZANTIR_INI_FILE, &status) || status.modified == gl_tSat.iConfigTime) return 1;
    UpdateZantirConfiguration();
    VKO_SetIniFileLogMode(SAT_API_LOG, ZANTIR_INI_FILE);
    gl_tSat.iConfigTime = status.modified;
    return 1;
}

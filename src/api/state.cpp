#include "state.h"

tSatState gl_tSat;
plat_handle gl_hComm = PLAT_INVALID_HANDLE;

const char* const ZANTIR_BUILD_STAMP = ZANTIR_BUILD_DATE;

bool SatStateInitialised() {
    return gl_tSat.ucStartMarker == ZANTIR_START_MARKER && gl_tSat.ucEndMarker == ZANTIR_END_MARKER;
}

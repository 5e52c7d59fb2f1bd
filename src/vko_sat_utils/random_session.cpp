#include "random_session.h"

#include <cstdlib>

#include "../vko_utils/log.h"
#include "log_source.h"

namespace {

/** 1970-01-01 in units of plat_system_time, from which the seconds of the time of day are counted. */
constexpr int64_t UNIX_EPOCH = 116444736000000000;
constexpr int64_t UNITS_PER_MILLISECOND = 10000;

}  // namespace

uint32_t SAT_Get_RandomNumber(uint32_t iRange) {
    if (iRange == 0) {
        return 0;
    }
    const int64_t milliseconds = (plat_system_time() - UNIX_EPOCH) / UNITS_PER_MILLISECOND;
    srand(static_cast<uint32_t>(milliseconds));
    return static_cast<uint32_t>(rand()) % iRange;
}

int32_t SAT_Free_AllocedMsg(const void* /*pMsg*/) {
    VKO_LOG(gl_pLogBaseName, SAT_UTILS_SOURCE, VKO_LOG_WRN, "--- rc[%04d]\n", -1);
    return -1;
}

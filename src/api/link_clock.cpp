#include "link_clock.h"

#include "api_log.h"

tLinkClock gl_tLinkClock;

int64_t getFILETIMEoffset() {
    const plat_calendar epoch = {1970, 1, 1, 0, 0, 0, 0};
    API_LOG(VKO_LOG_INF, "Win: FILETIME offset %04d-%02d-%02d %02d:%02d:%02d.%03d\n", epoch.year, epoch.month,
            epoch.day, epoch.hour, epoch.minute, epoch.second, epoch.millisecond);
    return plat_calendar_to_system_time(&epoch);
}

static void StartClock() {
    const int64_t iFrequency = plat_counter_frequency();
    gl_tLinkClock.bStarted = true;
    gl_tLinkClock.bCounter = iFrequency > 0;
    if (gl_tLinkClock.bCounter) {
        gl_tLinkClock.iOrigin = plat_counter();
        gl_tLinkClock.dTicksPerMicrosecond = static_cast<double>(iFrequency) / 1000000.0;
    } else {
        gl_tLinkClock.iOrigin = getFILETIMEoffset();
        gl_tLinkClock.dTicksPerMicrosecond = 10.0;
    }
}

int getMonotonicTime(int, tLinkTime* pTime) {
    if (!gl_tLinkClock.bStarted) StartClock();
    const int64_t iNow = gl_tLinkClock.bCounter ? plat_counter() : plat_system_time();
    const int64_t iMicroseconds = static_cast<int64_t>(static_cast<double>(iNow - gl_tLinkClock.iOrigin) /
                                                       gl_tLinkClock.dTicksPerMicrosecond);
    pTime->iSeconds = static_cast<int32_t>(iMicroseconds / 1000000);
    pTime->iMicroseconds = static_cast<int32_t>(iMicroseconds % 1000000);
    return 0;
}

int64_t LinkElapsedMs(const tLinkTime& start, const tLinkTime& later) {
    // The microseconds do not count: on purpose.
    return LinkSeconds(static_cast<int64_t>(later.iSeconds) - start.iSeconds);
}

tLinkTime LinkNow() {
    tLinkTime now;
    getMonotonicTime(1, &now);
    return now;
}

int64_t LinkElapsedMsSince(const tLinkTime& start) {
    return LinkElapsedMs(start, LinkNow());
}

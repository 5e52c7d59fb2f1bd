/*
 * How the command engine and the serial link write to the diagnostic log.
 */
#pragma once

#include "../vko_utils/log.h"

/** Base name of the diagnostic log of this floor. */
constexpr const char* SAT_API_LOG = "SAT_api.log";

/** The source file that this floor's messages name, whichever of its files they stand in. */
constexpr const char* SAT_API_SOURCE = "../src/api/ZANTIR";

/** The usual line, with "[%04d] [%s] [%s]" in front. */
#define API_LOG(level, format, ...) \
    VKO_LOG(SAT_API_LOG, SAT_API_SOURCE, level, format __VA_OPT__(, ) __VA_ARGS__)

/** The same in the name of a routine that has its steps in functions of their own. */
#define API_LOG_AS(function, level, format, ...) \
    VKO_LOG_AS(SAT_API_LOG, SAT_API_SOURCE, function, level, format __VA_OPT__(, ) __VA_ARGS__)

/** For formats that spell their own front for line, source file and function. */
#define API_LOG_OWN_FRONT(level, format, ...) \
    VKO_LOG_OWN_FRONT(SAT_API_LOG, SAT_API_SOURCE, level, format __VA_OPT__(, ) __VA_ARGS__)

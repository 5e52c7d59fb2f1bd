/* Session numbers by chance, and the release of messages. */
#pragma once

#include <cstdint>

/**
 * A number by chance for a new session. The process's standard generator is seeded with the time of day on
 * every call, so two calls within one millisecond return the same number.
 *
 * @param iRange  the result is below this; must not be 0 (0 gives 0)
 */
uint32_t SAT_Get_RandomNumber(uint32_t iRange);

/** Reserved for messages that a parser allocated. None does, so nothing is freed. Always -1. */
int32_t SAT_Free_AllocedMsg(const void* pMsg);

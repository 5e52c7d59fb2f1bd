/*
 * What the exports share beyond their public declarations.
 */
#pragma once

#include <cstdint>

/**
 * A session number as it goes into the command and on to the exchange: the signed remainder of division by
 * 1000000, so that a negative session stays negative.
 */
constexpr int32_t ReducedSession(int32_t numeroSessao) {
    return numeroSessao % 1000000;
}

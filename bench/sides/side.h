/*
 * The two sides of a comparison: a program that makes exchanges through the library, and a minimal one that
 * makes the same exchanges with the port alone. Both are asked, timed and counted by the same loop
 * (side.cpp).
 *
 *   side PLACE             PLACE is the library to load, or the port's device file
 *   asked on its input     answered on its error output
 *   (the start)            = ready NANOSECONDS, which the preparation took
 *   NAME SIZE COUNT        = NANOSECONDS PROCESSOR_NANOSECONDS LENGTH
 *
 * NAME is "ConsultarSAT", or "EnviarDadosVenda" with a sale of SIZE bytes. The answer is for COUNT exchanges
 * in a row, with the length of the last reply's text. The error output, because the library may print of its
 * own on the other one. A failed exchange is answered with "= failed" and the reason, and ends the program.
 */
#pragma once

#include <cstdint>

constexpr int SIDE_SESSION = 123456;
constexpr char SIDE_ACTIVATION[] = "12345678";

/** Makes ready what all exchanges share. False when that fails. */
bool SidePrepare(const char* place);

/** One exchange: ConsultarSAT when `sale` is NULL, else EnviarDadosVenda. The reply's text, or why there is
 * none. */
const char* SideExchange(const char* sale);

/*
 * The 27 Brazilian states by their IBGE code. Constant data, safe on any thread. The texts that the lookups
 * return are the table's own: neither to be changed nor freed. What is not found is reported by one ERR line.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/** One state. */
struct tIbgeUfRow {
    int32_t iCode;           ///< IBGE code, two digits
    const char* pStateName;  ///< full name, capitals without accents
    const char* pUf;         ///< two-letter abbreviation
    const char* pRegion;     ///< region, capitals; the Centre-West is written "CENTROESTE" on purpose
};

/** Number of states, the terminator not counted. */
constexpr size_t IBGE_UF_COUNT = 27;

/** The states by rising code, ended by a row of code 99 whose texts are NULL. */
extern const tIbgeUfRow tIbgeUfTbl[IBGE_UF_COUNT + 1];

/**
 * The code of a state. (The name is written "IBGH" on purpose.)
 *
 * @param pStateName  the full name exactly as in the table, such as "SAO PAULO"
 * @return the code; -1 when there is no such state, or for NULL
 */
int32_t SAT_Get_IBGH_UF_Code(const char* pStateName);

/** The two-letter abbreviation of the state with this code, or NULL. */
const char* SAT_Get_IBGE_UF_Name(int32_t iUfCode);

/** The full name of the state with this code, or NULL. (The name is written "Estate" on purpose.) */
const char* SAT_Get_IBGE_EstateName(int32_t iUfCode);

/** The region of the state with this code, or NULL. */
const char* SAT_Get_IBGE_RegionName(int32_t iUfCode);

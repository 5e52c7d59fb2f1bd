#include "ibge.h"

#include <cstring>

#include "../vko_utils/log.h"
#include "log_source.h"

// clang-format off
const tIbgeUfRow tIbgeUfTbl[] = {
    {11, "RONDONIA", "RO", "NORTE"},
    {12, "ACRE", "AC", "NORTE"},
    {13, "AMAZONAS", "AM", "NORTE"},
    {14, "RORAIMA", "RR", "NORTE"},
    {15, "PARA", "PA", "NORTE"},
    {16, "AMAPA", "AP", "NORTE"},
    {17, "TOCANTINS", "TO", "NORTE"},
    {21, "MARANHAO", "MA", "NORDESTE"},
    {22, "PIAUI", "PI", "NORDESTE"},
    {23, "CEARA", "CE", "NORDESTE"},
    {24, "RIO GRANDE DO NORTE", "RN", "NORDESTE"},
    {25, "PARAIBA", "PB", "NORDESTE"},
    {26, "PERNAMBUCO", "PE", "NORDESTE"},
    {27, "ALAGOAS", "AL", "NORDESTE"},
    {28, "SERGIPE", "SE", "NORDESTE"},
    {29, "BAHIA", "BA", "NORDESTE"},
    {31, "MINAS GERAIS", "MG", "SUDESTE"},
    {32, "ESPIRITO SANTO", "ES", "SUDESTE"},
    {33, "RIO DE JANEIRO", "RJ", "SUDESTE"},
    {35, "SAO PAULO", "SP", "SUDESTE"},
    {41, "PARANA", "PR", "SUL"},
    {42, "SANTA CATARINA", "SC", "SUL"},
    {43, "RIO GRANDE DO SUL", "RS", "SUL"},
    {50, "MATO GROSSO DO SUL", "MS", "CENTROESTE"},
    {51, "MATO GROSSO", "MT", "CENTROESTE"},
    {52, "GOIAS", "GO", "CENTROESTE"},
    {53, "DISTRITO FEDERAL", "DF", "CENTROESTE"},
    {99, nullptr, nullptr, nullptr},
};
// clang-format on

namespace {

/** The wanted text of the state with this code. `caller` is the lookup in whose name a miss is logged. */
const char* TextOfState(int32_t code, const char* tIbgeUfRow::*text, const char* caller) {
    // The terminator ends the walk before its code is compared, so 99 is no state.
    for (const tIbgeUfRow* row = tIbgeUfTbl; row->*text; row++) {
        if (row->iCode == code) {
            return row->*text;
        }
    }
    if (VKO_LogEnabled(VKO_LOG_ERR)) {
        VKO_LogWrite(gl_pLogBaseName, VKO_LOG_ERR, "[%04d] [%s] [%s]rc[%04d]ER:iUfCode[%02d]NOT_FOUND!!!\n",
                     __LINE__, SAT_UTILS_SOURCE, caller, -1, code);
    }
    return nullptr;
}

}  // namespace

int32_t SAT_Get_IBGH_UF_Code(const char* pStateName) {
    if (!pStateName) {
        VKO_LOG(gl_pLogBaseName, SAT_UTILS_SOURCE, VKO_LOG_ERR, "rc[%04d]ER:pStateName=NULL\n", -1);
        return -1;
    }
    for (const tIbgeUfRow* row = tIbgeUfTbl; row->pStateName; row++) {
        if (strcmp(row->pStateName, pStateName) == 0) {
            return row->iCode;
        }
    }
    VKO_LOG(gl_pLogBaseName, SAT_UTILS_SOURCE, VKO_LOG_ERR, "rc[%04d]ER:pStateName[%s]NOT_FOUND!!!\n", -1,
            pStateName);
    return -1;
}

const char* SAT_Get_IBGE_UF_Name(int32_t iUfCode) {
    return TextOfState(iUfCode, &tIbgeUfRow::pUf, __func__);
}

const char* SAT_Get_IBGE_EstateName(int32_t iUfCode) {
    return TextOfState(iUfCode, &tIbgeUfRow::pStateName, __func__);
}

const char* SAT_Get_IBGE_RegionName(int32_t iUfCode) {
    return TextOfState(iUfCode, &tIbgeUfRow::pRegion, __func__);
}

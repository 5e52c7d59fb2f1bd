/*
 * The side that calls the library, as a point-of-sale program does.
 */
#include "side.h"
#include "system.h"

using ConsultarSAT_t = char* (*)(int);
using EnviarDadosVenda_t = char* (*)(int, const char*, const char*);

static ConsultarSAT_t consult;
static EnviarDadosVenda_t send_sale;

bool SidePrepare(const char* place) {
    void* library = LoadSharedLibrary(place);
    if (library == nullptr) return false;
    consult = reinterpret_cast<ConsultarSAT_t>(FindFunction(library, "ConsultarSAT"));
    send_sale = reinterpret_cast<EnviarDadosVenda_t>(FindFunction(library, "EnviarDadosVenda"));
    return consult != nullptr && send_sale != nullptr;
}

const char* SideExchange(const char* sale) {
    return sale == nullptr ? consult(SIDE_SESSION) : send_sale(SIDE_SESSION, SIDE_ACTIVATION, sale);
}

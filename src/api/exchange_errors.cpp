#include "exchange_errors.h"

#include <cstring>

#include "../vko_utils/text.h"
#include "buffers.h"

/** What a text says, and the line number that it has always shown. */
struct tErrorText {
    const char* pMessage;
    bool bNamesPort;
    int iLine;
};

// Blanks and spellings as callers know them, the two blanks before the last "SAT" included.
static const tErrorText ERROR_TEXTS[] = {
    /* EXCHANGE_LOCK_NOT_CREATED */ {"Falha ao Durante Lock do SAT", false, 1975},
    /* EXCHANGE_LOCK_TIMEOUT     */ {"Falha ao Durante Lock do SAT", false, 1986},
    /* EXCHANGE_NO_DEVICE        */ {"SAT Nao encontrado!!!", false, 2013},
    /* EXCHANGE_NO_COM_IN_NAME   */ {"Erro de Comunicacao com SAT", false, 2052},
    /* EXCHANGE_NO_PORT_NUMBER   */ {"Erro de Comunicacao com SAT", false, 2063},
    /* EXCHANGE_NOT_OPENED       */ {"Erro de Comunicacao com SAT", false, 2075},
    /* EXCHANGE_NOT_CONFIGURED   */ {"Falha ao Configurar Porta de Comunicacao com SAT", false, 2087},
    /* EXCHANGE_NOT_SENT_ON_COM1 */ {"SAT Nao Encontrado", false, 2110},
    /* EXCHANGE_NOT_SENT         */ {"Falha ao enviar Comando ao SAT", true, 2114},
    /* EXCHANGE_NOT_RECEIVED     */ {"Falha ao receber resposta do  SAT", false, 2127},
};

static void WriteError(char* pPkt, int rc, const char* pMessage, const char* pPort, int iLine,
                       const char* pRoutine) {
    const bool bPort = pPort != nullptr;
    VKO_FormatText(pPkt, GL_DEF_MAX_SAT_PKT_SIZE, "SAT Erro[%06d]Win %s%s%s%s L[%04d] F[%s] ", rc, pMessage,
                   bPort ? "[" : "", bPort ? pPort : "", bPort ? "]" : "", iLine, pRoutine);
    BufferTouched(pPkt, strlen(pPkt));
}

void WriteExchangeError(char* pPkt, eExchangeError eError, int rc, const char* pPort) {
    const tErrorText& text = ERROR_TEXTS[eError];
    WriteError(pPkt, rc, text.pMessage, text.bNamesPort ? pPort : nullptr, text.iLine, "Communicate");
}

void WriteCommandTooLong(char* pPkt, const char* pExport) {
    WriteError(pPkt, -1, "Comando excede o tamanho maximo", nullptr, 0, pExport);
}

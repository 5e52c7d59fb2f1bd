#include "busy_reply.h"

#include <cstring>

#include "../vko_utils/text.h"
#include "api_log.h"
#include "command_table.h"

static constexpr size_t BUSY_REPLY_SIZE = 128;
static constexpr int LAST_BUSY_COMMAND = 14;

static void WriteReply(char* pcOut, int iSession, const char* pCode, int iNumArgs) {
    if (iNumArgs < 0) {
        VKO_FormatText(pcOut, BUSY_REPLY_SIZE,
                       "SAT Erro[%06d] Numero de Argumentos errados  SAT L[%04d] F[%s] ",
                       ERR_BUSY_REPLY_COMMAND, 3133, "generate_98_return");
    } else if (iNumArgs == 5) {
        VKO_FormatText(pcOut, BUSY_REPLY_SIZE, "%d|%s|SAT em processamento, tente novamente.||", iSession,
                       pCode);
    } else {
        VKO_FormatText(pcOut, BUSY_REPLY_SIZE, "%d|%s|0000|SAT em processamento, tente novamente.||",
                       iSession, pCode);
    }
}

int generate_98_return(char* pcOut, int iSession, int iCmd, int iNumArgs) {
    if (iCmd < 0 || iCmd > LAST_BUSY_COMMAND) {
        VKO_FormatText(pcOut, BUSY_REPLY_SIZE, "SAT Erro[%06d] Parametro Invalido  SAT L[%04d] F[%s] ",
                       ERR_BUSY_REPLY_COMMAND, 3149, "generate_98_return");
        API_LOG(VKO_LOG_ERR, " rc[%06d]ER:All All Error!!!!!!\n", ERR_BUSY_REPLY_COMMAND);
        return ERR_BUSY_REPLY_COMMAND;
    }
    char strCode[6] = {};
    VKO_FormatText(strCode, sizeof strCode, "%s98", gl_tSatCmd[iCmd].pRetCodePrefix);
    WriteReply(pcOut, iSession, strCode, iNumArgs);
    const int iLength = static_cast<int>(strlen(pcOut));
    API_LOG(VKO_LOG_INF, "All rc[%05d]OK:All Gen 98Return \n\t << API->PC[%05d:%s]\n", 0, iLength, pcOut);
    return iLength;
}

void removeNewPipe(char* pcToRemovePipe) {
    if (pcToRemovePipe == nullptr || pcToRemovePipe[0] == '\0') return;
    int iPipes = 0;
    char* pFifth = nullptr;
    for (char* p = strchr(pcToRemovePipe, '|'); p != nullptr; p = strchr(p + 1, '|')) {
        if (++iPipes == 5) pFifth = p;
    }
    // The text moves without its NUL, so its last character stands twice until it is cut off below.
    if (iPipes == 9) memmove(pFifth, pFifth + 1, strlen(pFifth + 1));
    pcToRemovePipe[strlen(pcToRemovePipe) - 1] = '\0';
    API_LOG(VKO_LOG_WRN, "Win: pcToRemovePipe[%05d:%s]\n", static_cast<int>(strlen(pcToRemovePipe)),
            pcToRemovePipe);
}

#include "exports.h"

#include <cstdio>
#include <cstring>

#include "../../include/zantir.h"
#include "../vko_sat_utils/packet.h"
#include "../vko_utils/text.h"
#include "api_log.h"
#include "buffers.h"
#include "command_table.h"
#include "exchange.h"
#include "exchange_errors.h"
#include "result_file.h"
#include "startup.h"
#include "state.h"

// snprintf checks the table's formats against the arguments where a command is formatted (GCC does; Clang
// cannot see through the table and would only complain that it cannot).
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wformat-nonliteral"
#endif

static int ReplyLength() {
    return static_cast<int>(strlen(gl_strSatRsp));
}

/** What every export does first: state, empty buffer, its name as the command in progress. */
static void Enter(const char* pExport) {
    init_global_sat_struct();
    BufferClear(gl_strSatRsp, sizeof gl_strSatRsp);
    VKO_CopyText(gl_tSat.strCurSatCmdInProc, sizeof gl_tSat.strCurSatCmdInProc, pExport);
}

/** A line about the reply or command text in the name of the export. */
static void LogText(const tSatCommand& command, unsigned uiLevel, int rc, const char* pLabel) {
    if (!VKO_LogEnabled(uiLevel)) return;
    VKO_LogWrite(SAT_API_LOG, uiLevel, "[%04d] [%s] [%s] rc[%06d]%s[%05d:%s]\n", __LINE__, SAT_API_SOURCE,
                 command.pName, rc, pLabel, ReplyLength(), gl_strSatRsp);
}

static void LogReply(const tSatCommand& command, int rc) {
    const bool bFailed = IsError(rc);
    if (command.eTrafficLog == SAT_LOG_BOTH_WAYS) {
        LogText(command, bFailed ? VKO_LOG_ERR : VKO_LOG_INF, rc,
                bFailed ? "ER\n\tSAT->PC <<    SAT_Rsp" : "OK\n\tSAT->PC <<    SAT_Rsp");
    } else if (bFailed) {
        LogText(command, VKO_LOG_ERR, rc, "ER\n\t << SAT_Rsp");
    }
}

/** Sends the command that stands in the reply buffer; a command that did not fit there is not sent. */
static int Exchange(int iCmd, int iSession, int iLength) {
    const tSatCommand& command = SAT_COMMANDS[iCmd];
    // The checksum makes the frame one byte longer than the text.
    if (IsError(iLength) || iLength + 1 > MAX_FRAME_SIZE) {
        BufferTouched(gl_strSatRsp, sizeof gl_strSatRsp);
        BufferClear(gl_strSatRsp, sizeof gl_strSatRsp);
        WriteCommandTooLong(gl_strSatRsp, command.pName);
        return -1;
    }
    BufferTouched(gl_strSatRsp, static_cast<size_t>(iLength) + 1);
    if (command.eTrafficLog == SAT_LOG_BOTH_WAYS) LogText(command, VKO_LOG_INF, 0, "WR\n\t >> SAT_Cmd");
    return Communicate(gl_strSatRsp, gl_tSatCmd[iCmd].iTimeout, iSession, iCmd, command.iNumArgs);
}

/** Everything behind the formatting of a command, for a text of `iLength` bytes (negative: it could not be
 * made). */
static char* Run(int iCmd, int iSession, int iLength, const char* pcData) {
    const tSatCommand& command = SAT_COMMANDS[iCmd];
    const int rc = Exchange(iCmd, iSession, iLength);
    if (command.pResultFile != nullptr) {
        const int iDataLength = pcData != nullptr ? static_cast<int>(strlen(pcData)) : 0;
        write_operation_result(gl_strSatRsp, iSession, ReplyLength(), command.pResultFile, pcData,
                               iDataLength);
    }
    LogReply(command, rc);
    return gl_strSatRsp;
}

/** How much of the buffer an argument takes at least. */
static size_t ArgumentRoom(int) {
    return {};
}
static size_t ArgumentRoom(const char* pArgument) {
    return pArgument != nullptr ? strlen(pArgument) : size_t{};
}

/** One command: formats row iCmd of the table and runs it. `pcData` goes to the result file's routine. */
template <int iCmd, class... tArguments>
static char* RunCommandWithData(int numeroSessao, const char* pcData, tArguments... arguments) {
    Enter(SAT_COMMANDS[iCmd].pName);
    const int iSession = ReducedSession(numeroSessao);
    int iLength = -1;
    // Texts that cannot fit are not even formatted: their length may be beyond what the formatting counts in.
    if ((size_t{} + ... + ArgumentRoom(arguments)) < sizeof gl_strSatRsp) {
        iLength = snprintf(gl_strSatRsp, sizeof gl_strSatRsp, SAT_COMMANDS[iCmd].pFormat, SAT_STX, iSession,
                           arguments..., SAT_ETX);
    }
    return Run(iCmd, iSession, iLength, pcData);
}

template <int iCmd, class... tArguments>
static char* RunCommand(int numeroSessao, tArguments... arguments) {
    return RunCommandWithData<iCmd>(numeroSessao, nullptr, arguments...);
}

char* ZANTIR_CALL AtivarSAT(int numeroSessao, int subComando, const char* codigoDeAtivacao, const char* CNPJ,
                            int cUF) {
    return RunCommand<0>(numeroSessao, subComando, codigoDeAtivacao, CNPJ, cUF);
}

char* ZANTIR_CALL ComunicarCertificadoICPBRASIL(int numeroSessao, const char* codigoDeAtivacao,
                                                const char* certificado) {
    return RunCommand<1>(numeroSessao, codigoDeAtivacao, certificado);
}

char* ZANTIR_CALL EnviarDadosVenda(int numeroSessao, const char* codigoDeAtivacao, const char* dadosVenda) {
    return RunCommand<2>(numeroSessao, codigoDeAtivacao, dadosVenda);
}

char* ZANTIR_CALL CancelarUltimaVenda(int numeroSessao, const char* codigoDeAtivacao, const char* chave,
                                      const char* dadosCancelamento) {
    return RunCommandWithData<3>(numeroSessao, dadosCancelamento, codigoDeAtivacao, chave, dadosCancelamento);
}

char* ZANTIR_CALL ConsultarSAT(int numeroSessao) {
    return RunCommand<4>(numeroSessao);
}

char* ZANTIR_CALL TesteFimAFim(int numeroSessao, const char* codigoDeAtivacao, const char* dadosVenda) {
    return RunCommand<5>(numeroSessao, codigoDeAtivacao, dadosVenda);
}

char* ZANTIR_CALL ConsultarStatusOperacional(int numeroSessao, const char* codigoDeAtivacao) {
    return RunCommand<6>(numeroSessao, codigoDeAtivacao);
}

char* ZANTIR_CALL ConsultarNumeroSessao(int numeroSessao, const char* codigoDeAtivacao, int cNumeroDeSessao) {
    return RunCommand<7>(numeroSessao, codigoDeAtivacao, ReducedSession(cNumeroDeSessao));
}

char* ZANTIR_CALL ConfigurarInterfaceDeRede(int numeroSessao, const char* codigoDeAtivacao,
                                            const char* dadosConfiguracao) {
    return RunCommand<8>(numeroSessao, codigoDeAtivacao, dadosConfiguracao);
}

char* ZANTIR_CALL AssociarAssinatura(int numeroSessao, const char* codigoDeAtivacao, const char* CNPJvalue,
                                     const char* assinaturaCNPJs) {
    return RunCommand<9>(numeroSessao, codigoDeAtivacao, CNPJvalue, assinaturaCNPJs);
}

char* ZANTIR_CALL AtualizarSoftwareSAT(int numeroSessao, const char* codigoDeAtivacao) {
    return RunCommand<10>(numeroSessao, codigoDeAtivacao);
}

char* ZANTIR_CALL ExtrairLogs(int numeroSessao, const char* codigoDeAtivacao) {
    return RunCommand<11>(numeroSessao, codigoDeAtivacao);
}

char* ZANTIR_CALL BloquearSAT(int numeroSessao, const char* codigoDeAtivacao) {
    return RunCommand<12>(numeroSessao, codigoDeAtivacao);
}

char* ZANTIR_CALL DesbloquearSAT(int numeroSessao, const char* codigoDeAtivacao) {
    return RunCommand<13>(numeroSessao, codigoDeAtivacao);
}

char* ZANTIR_CALL TrocarCodigoDeAtivacao(int numeroSessao, const char* codigoDeAtivacao, int opcao,
                                         const char* novoCodigo, const char* confNovoCodigo) {
    return RunCommand<14>(numeroSessao, codigoDeAtivacao, opcao, novoCodigo, confNovoCodigo);
}

char* ZANTIR_CALL ConsultarUltimaSessaoFiscal(int numeroSessao, const char* codigoDeAtivacao) {
    return RunCommand<15>(numeroSessao, codigoDeAtivacao);
}

char* ZANTIR_CALL VersaoDllZantir(void) {
    Enter(__func__);
    VKO_CopyText(gl_strSatRsp, sizeof gl_strSatRsp, ZANTIR_VERSION_BANNER);
    BufferTouched(gl_strSatRsp, strlen(ZANTIR_VERSION_BANNER));
    return gl_strSatRsp;
}

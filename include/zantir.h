/*
 * ZANTIR: drives a SAT fiscal device (CF-e-SAT) on a serial port.
 *
 * The sixteen functions of the published SAT standard, and VersaoDllZantir.
 *
 * Texts. Every argument is a NUL-terminated string of bytes that goes to the device as it stands: nothing is
 * checked or converted. A NULL is sent as "(null)". The session number is reduced to its last six digits (the
 * remainder of division by 1000000, with the sign of the number). The whole command may be 10485758 bytes
 * long with its framing; a longer one is not sent and gives "SAT Erro[-00001]Win Comando excede o tamanho
 * maximo L[0000] F[<function>] ".
 *
 * Result. Always the same pointer, never NULL: a NUL-terminated text in a buffer that the library owns. It is
 * the device's reply byte for byte, "numeroSessao|EEEEE|mensagem|cod|mensagemSEFAZ|...", or, when the
 * exchange failed, a text that begins with "SAT Erro[" and a negative code. Copy it before the next call of
 * any function, which overwrites it. Never free it.
 *
 * Threads. The functions share the buffer and take no lock inside the process: serialise your calls.
 * Processes are serialised by the library; one waits at most 3 s for another and then gets the error -1002.
 *
 * Time. A call blocks for the length of the exchange: up to 3 s for the lock, up to 30 s while another
 * program holds the port, up to the command's time-out (given below, in seconds; section SAT_TIMEOUT of
 * "SAT.ini" changes the first seven) for the first byte of the reply, and as long as the reply keeps coming.
 *
 * Files. "SAT.ini" is read from the process's current directory, and written there with its defaults when it
 * is missing. Logs go to the folder that it names, "Log" below the current directory by default.
 */
#ifndef ZANTIR_H
#define ZANTIR_H

/** Calling convention: the platform's standard one. On 64-bit systems there is only one. */
#ifndef ZANTIR_CALL
#define ZANTIR_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Activates the device. subComando: kind of certificate; cUF: IBGE code of the state. Time-out 1800 s. */
char* ZANTIR_CALL AtivarSAT(int numeroSessao, int subComando, const char* codigoDeAtivacao, const char* CNPJ,
                            int cUF);

/** Hands the ICP-Brasil certificate over. Time-out 300 s. */
char* ZANTIR_CALL ComunicarCertificadoICPBRASIL(int numeroSessao, const char* codigoDeAtivacao,
                                                const char* certificado);

/** Sends a sale (XML of the CF-e). Time-out 30 s. */
char* ZANTIR_CALL EnviarDadosVenda(int numeroSessao, const char* codigoDeAtivacao, const char* dadosVenda);

/** Cancels the last sale. chave: its key with "CFe" in front; dadosCancelamento: XML. Time-out 30 s. */
char* ZANTIR_CALL CancelarUltimaVenda(int numeroSessao, const char* codigoDeAtivacao, const char* chave,
                                      const char* dadosCancelamento);

/** Asks whether the device is there and working. Time-out 10 s. */
char* ZANTIR_CALL ConsultarSAT(int numeroSessao);

/** Runs a test sale through device and tax office. Time-out 20 s. */
char* ZANTIR_CALL TesteFimAFim(int numeroSessao, const char* codigoDeAtivacao, const char* dadosVenda);

/** Asks for the device's operating state, 28 fields. Time-out 10 s. */
char* ZANTIR_CALL ConsultarStatusOperacional(int numeroSessao, const char* codigoDeAtivacao);

/** Asks again for the reply to an earlier session, whose number is reduced like numeroSessao. Time-out 20 s.
 */
char* ZANTIR_CALL ConsultarNumeroSessao(int numeroSessao, const char* codigoDeAtivacao, int cNumeroDeSessao);

/** Configures the device's network (XML). Time-out 20 s. */
char* ZANTIR_CALL ConfigurarInterfaceDeRede(int numeroSessao, const char* codigoDeAtivacao,
                                            const char* dadosConfiguracao);

/** Registers the signature of the commercial application. Time-out 1800 s. */
char* ZANTIR_CALL AssociarAssinatura(int numeroSessao, const char* codigoDeAtivacao, const char* CNPJvalue,
                                     const char* assinaturaCNPJs);

/** Makes the device update its software. Time-out 1800 s. */
char* ZANTIR_CALL AtualizarSoftwareSAT(int numeroSessao, const char* codigoDeAtivacao);

/** Fetches the device's logs, in Base64. Time-out 30 s. */
char* ZANTIR_CALL ExtrairLogs(int numeroSessao, const char* codigoDeAtivacao);

/** Blocks the device. Time-out 300 s. */
char* ZANTIR_CALL BloquearSAT(int numeroSessao, const char* codigoDeAtivacao);

/** Unblocks the device. Time-out 20 s. */
char* ZANTIR_CALL DesbloquearSAT(int numeroSessao, const char* codigoDeAtivacao);

/** Changes the activation code. opcao: 1 by the code itself, 2 by the emergency code. Time-out 30 s. */
char* ZANTIR_CALL TrocarCodigoDeAtivacao(int numeroSessao, const char* codigoDeAtivacao, int opcao,
                                         const char* novoCodigo, const char* confNovoCodigo);

/** Asks again for the reply to the last fiscal session. Time-out 20 s. */
char* ZANTIR_CALL ConsultarUltimaSessaoFiscal(int numeroSessao, const char* codigoDeAtivacao);

/** The library's version, "ZANTIR DLL Ver. 02.00". Touches neither the device nor the lock. */
char* ZANTIR_CALL VersaoDllZantir(void);

#ifdef __cplusplus
}
#endif

#endif

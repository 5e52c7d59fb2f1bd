/**
 * @file zantir.h
 * ZANTIR: drives a SAT fiscal device (CF-e-SAT) on a serial port.
 *
 * The sixteen functions of the published SAT standard, and VersaoDllZantir. `ZANTIR64.dll` on 64-bit Windows,
 * `libzantir64.so` on Linux.
 *
 * @section texts Texts
 *
 * Every string argument is a NUL-terminated string of bytes that goes to the device as it stands: nothing is
 * checked, converted or escaped. Most devices expect and send UTF-8; some send Latin-1. NULL is allowed and
 * is sent as "(null)". A "|" in an argument reaches the device as a separator, and the bytes 2 and 3 as frame
 * limits: do not pass them. The whole command, framing included, may be 10485758 bytes long; a longer one is
 * not sent (see @ref errors). The published standard asks for far less: a sale of at most 1,500 KB.
 *
 * `numeroSessao` is a number of up to six digits that the caller chooses, another one for each call, and that
 * the reply repeats. It is reduced to the remainder of its division by 1000000, which keeps the sign.
 *
 * @section result Result, ownership
 *
 * Every function returns the same pointer, never NULL: a NUL-terminated text in a buffer of 10485760 bytes
 * that the library owns. **Copy the text before the next call of any function, which overwrites it. Never
 * free it.** It is the device's reply, byte for byte, or an error text.
 *
 * @section replies Shapes of replies
 *
 * Fields are separated by "|". BASE stands for `numeroSessao|EEEEE|mensagem|cod|mensagemSEFAZ`, where EEEEE
 * is the five-digit return code of the published standard: two or so digits of the command and three of the
 * result, 000 being success, 001 a wrong activation code, 097 an invalid session number, 098 "busy, try
 * again", 099 an unknown error. `cod` and `mensagemSEFAZ` carry a message of the tax office for the shop;
 * they are often empty.
 *
 * - AtivarSAT: `BASE|CSR`
 * - EnviarDadosVenda, CancelarUltimaVenda: `numeroSessao|EEEEE|CCCC|mensagem|cod|mensagemSEFAZ|` and, on
 *   success, `arquivoCFeBase64|timeStamp|chaveConsulta|valorTotalCFe|CPFCNPJValue|assinaturaQRCODE`. CCCC is
 * an alert of four digits.
 * - TesteFimAFim: `BASE|arquivoCFeBase64|timeStamp|numDocFiscal|chaveConsulta`
 * - ConsultarStatusOperacional: `BASE|NSERIE|TIPO_LAN|LAN_IP|LAN_MAC|LAN_MASK|LAN_GW|LAN_DNS_1|LAN_DNS_2|`
 *   `STATUS_LAN|NIVEL_BATERIA|MT_TOTAL|MT_USADA|DH_ATUAL|VER_SB|VER_LAYOUT|ULTIMO_CF_E_SAT|LISTA_INICIAL|`
 *   `LISTA_FINAL|DH_CFE|DH_ULTIMA|CERT_EMISSAO|CERT_VENCIMENTO|ESTADO_OPERACAO`
 * - ExtrairLogs: `BASE|` and the log in Base64
 * - ConsultarNumeroSessao, ConsultarUltimaSessaoFiscal: the reply of the session asked for, with that
 * session's own number
 * - all others: `BASE`
 *
 * Times are AAAAMMDDHHMMSS, dates AAAAMMDD. arquivoCFeBase64 is the receipt's XML in Base64. chaveConsulta is
 * "CFe" and the receipt's key of 44 digits.
 *
 * @section errors Error texts
 *
 * When the exchange with the device failed, the text is `SAT Erro[NNNNNN]Win MESSAGE L[LLLL] F[ROUTINE] `,
 * with a negative code of six characters. Test for the beginning "SAT Erro[": no reply of a device begins so.
 *
 * - `-00001`, L[0000], "Comando excede o tamanho maximo": the command does not fit; nothing was sent.
 * - `-01001`, L[1975], "Falha ao Durante Lock do SAT": the machine-wide lock could not be created.
 * - `-01002`, L[1986], the same words: another process kept the device for more than 3 s.
 * - `-01000`, L[2013], "SAT Nao encontrado!!!": no device on any port, and the emulator is not enabled.
 * - `-02002`, L[2052], "Erro de Comunicacao com SAT": the port's name is no COM name.
 * - `-02003`, L[2063], the same words: the port's name has no number.
 * - `-01000`, L[2075], the same words: the port could not be opened. The diagnostic log tells why, in
 *   "GetLastError()"; 30 s were spent when another program holds it or permission is missing.
 * - `-01002`, `-01003`, `-01004`, `-01005`, L[2087], "Falha ao Configurar Porta de Comunicacao com SAT": the
 *   port refused its settings.
 * - L[2110], "SAT Nao Encontrado": the command did not get through on COM1; the codes are those of L[2114].
 * - L[2114], "Falha ao enviar Comando ao SAT[PORT]": `-00001` no acknowledgement came, `-01005` the device
 *   refused the command, `-01007` the port took no bytes.
 * - `-00001`, L[2127], "Falha ao receber resposta do  SAT": no reply in time, or three spoiled ones.
 *
 * After 2114 and 2127 the device may have carried the command out: ask for the session with
 * ConsultarNumeroSessao before you send a sale again. In one case the text is the command itself, which
 * begins with the byte 2: the emulator is enabled in `SAT.ini` and its port is not named there.
 *
 * @section threads Threads and processes
 *
 * The functions share the buffer and take no lock inside the process: **serialise your calls**. They may come
 * from different threads, one after the other. Processes are serialised by the library.
 *
 * @section time How long a call may take
 *
 * Ordinarily the time that the device needs: some 50 ms for ConsultarSAT, one to a few seconds for a sale.
 * Each function below has a time-out, in seconds, for the first byte of its reply; section SAT_TIMEOUT of
 * "SAT.ini" changes those of the first seven commands. Without a device a call returns at once, and against a
 * dead line after that time-out and at most 8 s; the lock costs up to 3 s more while another process has the
 * device, and a port that another program holds, or for which permission is missing, 30 s.
 *
 * Whatever a device does on purpose, such as trickling its bytes, no call takes longer than its time-out and
 * 3800 s: 3 s for the lock, 33 s for the port, half an hour and a minute each for the bytes of the command
 * with their acknowledgements and for those of the reply, and some seconds for the rest. Only what the system
 * itself does not return from, such as a write to a log on a network drive that is gone, can add to this.
 *
 * @section files Files
 *
 * "SAT.ini" is read from the process's current directory, and written there with its defaults when it is
 * missing or empty. Logs go to the folder that it names, "Log" below the current directory by default; they
 * contain the activation code.
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

/**
 * Activates the device, or asks for a new certificate.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param subComando        1 certificate of the tax office, 2 ICP-Brasil certificate, 3 renewal of the latter
 * @param codigoDeAtivacao  the activation code that the shop chooses, 8 to 32 characters
 * @param CNPJ              the taxpayer's, 14 digits without punctuation
 * @param cUF               IBGE code of the state, such as 35 for Sao Paulo
 * @return BASE|CSR, for instance `000042|04000|SAT Ativado Corretamente|||-----BEGIN CERTIFICATE REQUEST...`,
 * or an error text. Time-out 1800 s.
 *
 *     char* r = AtivarSAT(42, 1, "12345678", "08723218000186", 35);
 */
char* ZANTIR_CALL AtivarSAT(int numeroSessao, int subComando, const char* codigoDeAtivacao, const char* CNPJ,
                            int cUF);

/**
 * Hands the certificate that ICP-Brasil issued over to the device.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @param certificado       the certificate, in PEM
 * @return BASE, 05000 for success, or an error text. Time-out 300 s.
 *
 *     char* r = ComunicarCertificadoICPBRASIL(43, "12345678", pem);
 */
char* ZANTIR_CALL ComunicarCertificadoICPBRASIL(int numeroSessao, const char* codigoDeAtivacao,
                                                const char* certificado);

/**
 * Sends a sale; the device signs it and answers with the receipt.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @param dadosVenda        the sale as XML of the CF-e, `<CFe>...</CFe>`, in UTF-8
 * @return twelve fields with 06000, the alert CCCC in front of the message and the receipt behind it; on
 * refusal six fields, 06010 saying what is wrong with the XML; or an error text. Time-out 30 s. With
 * CUPOM_DESK enabled the text is also saved as a file.
 *
 *     char* r = EnviarDadosVenda(44, "12345678", xml);
 */
char* ZANTIR_CALL EnviarDadosVenda(int numeroSessao, const char* codigoDeAtivacao, const char* dadosVenda);

/**
 * Cancels the last sale, which the device allows once and for 30 minutes.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @param chave             chaveConsulta of the sale: "CFe" and 44 digits
 * @param dadosCancelamento the cancellation as XML, `<CFeCanc>...</CFeCanc>`, with the same key
 * @return twelve fields with 07000, or six on refusal, like EnviarDadosVenda; or an error text. Time-out 30
 * s.
 *
 *     char* r = CancelarUltimaVenda(45, "12345678", "CFe3515...4257", xml);
 */
char* ZANTIR_CALL CancelarUltimaVenda(int numeroSessao, const char* codigoDeAtivacao, const char* chave,
                                      const char* dadosCancelamento);

/**
 * Asks whether the device is there and working. Needs no activation code.
 *
 * @param numeroSessao      session number, see @ref texts
 * @return BASE, 08000 "SAT em operacao", or an error text. Time-out 10 s.
 *
 *     char* r = ConsultarSAT(46);  // "000046|08000|SAT em operacao||"
 */
char* ZANTIR_CALL ConsultarSAT(int numeroSessao);

/**
 * Runs a test sale through the device and the tax office; no receipt comes of it.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @param dadosVenda        a sale as for EnviarDadosVenda
 * @return BASE|arquivoCFeBase64|timeStamp|numDocFiscal|chaveConsulta with 09000, or an error text. Time-out
 * 20 s.
 *
 *     char* r = TesteFimAFim(47, "12345678", xml);
 */
char* ZANTIR_CALL TesteFimAFim(int numeroSessao, const char* codigoDeAtivacao, const char* dadosVenda);

/**
 * Asks for the device's operating state.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @return 28 fields with 10000: serial number, network, battery, memory, clock, versions, receipts waiting,
 * certificate, state; or an error text. Time-out 10 s.
 *
 *     char* r = ConsultarStatusOperacional(48, "12345678");
 */
char* ZANTIR_CALL ConsultarStatusOperacional(int numeroSessao, const char* codigoDeAtivacao);

/**
 * Asks again for the reply of an earlier session: the way to learn what became of a sale whose reply was
 * lost.
 *
 * @param numeroSessao      number of this session, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @param cNumeroDeSessao   number of the session asked for, reduced like numeroSessao
 * @return that session's reply, with its own number in front; 11003 when the device does not know it; or an
 * error text. Time-out 20 s.
 *
 *     char* r = ConsultarNumeroSessao(49, "12345678", 44);
 */
char* ZANTIR_CALL ConsultarNumeroSessao(int numeroSessao, const char* codigoDeAtivacao, int cNumeroDeSessao);

/**
 * Configures the device's network.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @param dadosConfiguracao the configuration as XML, `<config>...</config>`
 * @return BASE, 12000 for success, 12002 for data that the device does not accept, or an error text. Time-out
 * 20 s.
 *
 *     char* r = ConfigurarInterfaceDeRede(50, "12345678", xml);
 */
char* ZANTIR_CALL ConfigurarInterfaceDeRede(int numeroSessao, const char* codigoDeAtivacao,
                                            const char* dadosConfiguracao);

/**
 * Links the device to the commercial application.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @param CNPJvalue         CNPJ of the application's maker and of the taxpayer, 28 digits
 * @param assinaturaCNPJs   the maker's signature of those digits, in Base64, 344 characters
 * @return BASE, 13000 for success, or an error text. Time-out 1800 s.
 *
 *     char* r = AssociarAssinatura(51, "12345678", "1111111111111108723218000186", signature);
 */
char* ZANTIR_CALL AssociarAssinatura(int numeroSessao, const char* codigoDeAtivacao, const char* CNPJvalue,
                                     const char* assinaturaCNPJs);

/**
 * Makes the device look for new software and install it.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @return BASE, 14000 for success, or an error text. Time-out 1800 s.
 *
 *     char* r = AtualizarSoftwareSAT(52, "12345678");
 */
char* ZANTIR_CALL AtualizarSoftwareSAT(int numeroSessao, const char* codigoDeAtivacao);

/**
 * Fetches the device's own logs.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @return BASE|log in Base64 with 15000, up to megabytes, or an error text. Time-out 30 s.
 *
 *     char* r = ExtrairLogs(53, "12345678");
 */
char* ZANTIR_CALL ExtrairLogs(int numeroSessao, const char* codigoDeAtivacao);

/**
 * Blocks the device: it sells no more until DesbloquearSAT.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @return BASE, 16000 for success, or an error text. Time-out 300 s.
 *
 *     char* r = BloquearSAT(54, "12345678");
 */
char* ZANTIR_CALL BloquearSAT(int numeroSessao, const char* codigoDeAtivacao);

/**
 * Ends what BloquearSAT began.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @return BASE, 17000 for success, or an error text. Time-out 20 s.
 *
 *     char* r = DesbloquearSAT(55, "12345678");
 */
char* ZANTIR_CALL DesbloquearSAT(int numeroSessao, const char* codigoDeAtivacao);

/**
 * Changes the activation code.
 *
 * @param numeroSessao      session number, see @ref texts
 * @param codigoDeAtivacao  the code that counts now, or the emergency code
 * @param opcao             1 when codigoDeAtivacao is the code, 2 when it is the emergency code
 * @param novoCodigo        the new code
 * @param confNovoCodigo    the new code once more
 * @return BASE, 18000 for success, or an error text. Time-out 30 s.
 *
 *     char* r = TrocarCodigoDeAtivacao(56, "12345678", 1, "87654321", "87654321");
 */
char* ZANTIR_CALL TrocarCodigoDeAtivacao(int numeroSessao, const char* codigoDeAtivacao, int opcao,
                                         const char* novoCodigo, const char* confNovoCodigo);

/**
 * Asks again for the reply of the last sale, cancellation or test, whatever its session number.
 *
 * @param numeroSessao      number of this session, see @ref texts
 * @param codigoDeAtivacao  activation code
 * @return that reply, with its own session number in front; or an error text. Time-out 20 s.
 *
 *     char* r = ConsultarUltimaSessaoFiscal(57, "12345678");
 */
char* ZANTIR_CALL ConsultarUltimaSessaoFiscal(int numeroSessao, const char* codigoDeAtivacao);

/**
 * The library's version. Touches neither the device nor the lock; a first call reads "SAT.ini".
 *
 * @return "ZANTIR DLL Ver. 02.00"
 */
char* ZANTIR_CALL VersaoDllZantir(void);

#ifdef __cplusplus
}
#endif

#endif

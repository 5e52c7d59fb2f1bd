/*
 * The sixteen commands of the SAT standard: one table that everything about a command is read from.
 */
#pragma once

#include <cstdint>

constexpr int SAT_COMMAND_COUNT = 16;

/** What the library writes to the diagnostic log about a command's texts. */
enum eSatTrafficLog { SAT_LOG_FAILURES, SAT_LOG_BOTH_WAYS };

/** One command, fixed part. The row number is the command index. */
struct tSatCommand {
    const char* pName;    ///< the export, and its key in section SAT_TIMEOUT
    const char* pFormat;  ///< command text: STX, reduced session, arguments, ETX
    const char* pRetCodePrefix;
    int32_t iTimeout;  ///< built-in reply time-out, seconds
    int32_t iNumArgs;  ///< fields of the reply shape; sales and cancellations have the extra alert field
    const char* pResultFile;  ///< front of the result file's name; NULL for commands that have none
    eSatTrafficLog eTrafficLog;
};

/** AtualizarSoftwareSAT is 10 and ExtrairLogs 11, unlike the order of the exports: on purpose. */
inline constexpr tSatCommand SAT_COMMANDS[SAT_COMMAND_COUNT] = {
    // clang-format off
    {"AtivarSAT", "%cAtivarSAT|%06d|%d|%s|%s|%d%c", "040", 1800, 5, nullptr, SAT_LOG_FAILURES},
    {"ComunicarCertificadoICPBRASIL", "%cComunicarCertificadoICPBRASIL|%06d|%s|%s%c", "050", 300, 5, nullptr, SAT_LOG_FAILURES},
    {"EnviarDadosVenda", "%cEnviarDadosVenda|%06d|%s|%s%c", "060", 30, 6, "venda-cprx-", SAT_LOG_FAILURES},
    {"CancelarUltimaVenda", "%cCancelarUltimaVenda|%06d|%s|%s|%s%c", "070", 30, 6, "canc-cprx-", SAT_LOG_FAILURES},
    {"ConsultarSAT", "%cConsultarSAT|%06d%c", "080", 10, 5, nullptr, SAT_LOG_FAILURES},
    {"TesteFimAFim", "%cTesteFimAFim|%06d|%s|%s%c", "090", 20, 5, nullptr, SAT_LOG_FAILURES},
    {"ConsultarStatusOperacional", "%cConsultarStatusOperacional|%06d|%s%c", "100", 10, 5, nullptr, SAT_LOG_FAILURES},
    {"ConsultarNumeroSessao", "%cConsultarNumeroSessao|%06d|%s|%06d%c", "110", 20, 5, nullptr, SAT_LOG_FAILURES},
    {"ConfigurarInterfaceDeRede", "%cConfigurarInterfaceDeRede|%06d|%s|%s%c", "120", 20, 5, nullptr, SAT_LOG_FAILURES},
    {"AssociarAssinatura", "%cAssociarAssinatura|%06d|%s|%s|%s%c", "130", 1800, 5, nullptr, SAT_LOG_FAILURES},
    {"AtualizarSoftwareSAT", "%cAtualizarSoftwareSAT|%06d|%s%c", "140", 1800, 5, nullptr, SAT_LOG_FAILURES},
    {"ExtrairLogs", "%cExtrairLogs|%06d|%s%c", "150", 30, 5, nullptr, SAT_LOG_FAILURES},
    {"BloquearSAT", "%cBloquearSAT|%06d|%s%c", "160", 300, 5, nullptr, SAT_LOG_FAILURES},
    {"DesbloquearSAT", "%cDesbloquearSAT|%06d|%s%c", "170", 20, 5, nullptr, SAT_LOG_FAILURES},
    {"TrocarCodigoDeAtivacao", "%cTrocarCodigoDeAtivacao|%06d|%s|%d|%s|%s%c", "180", 30, 5, nullptr, SAT_LOG_FAILURES},
    // The one command whose texts are logged both ways, on success too: on purpose.
    {"ConsultarUltimaSessaoFiscal", "%cConsultarUltimaSessaoFiscal|%06d|%s%c", "190", 20, 5, nullptr, SAT_LOG_BOTH_WAYS},
    // clang-format on
};

/** One row of the table that the configuration may change. */
struct tSatCmd {
    int32_t iCmd;                ///< command index, equal to the row number
    const char* pRetCodePrefix;  ///< the first three digits of the command's five-digit return codes
    int32_t iTimeout;            ///< reply time-out in force, seconds
};

extern tSatCmd gl_tSatCmd[SAT_COMMAND_COUNT];

/** Puts the built-in time-outs back. */
void ResetCommandTimeouts();

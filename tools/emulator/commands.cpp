#include "commands.h"

#include <algorithm>
#include <iterator>

#include "catalogue.h"

namespace emulator {

namespace {

// TrocarCodigoDeAtivacao carries either of two codes, so its own routine checks which.
constexpr CommandRow COMMANDS[] = {
    // name, prefix, arguments, code, open-ended, alert, stored, fiscal, routine
    {"AtivarSAT", 4, 4, 1, false, false, true, false, Activate},
    {"ComunicarCertificadoICPBRASIL", 5, 2, 0, true, false, true, false, TakeCertificate},
    {"EnviarDadosVenda", 6, 2, 0, true, true, true, true, Sell},
    {"CancelarUltimaVenda", 7, 3, 0, true, true, true, true, CancelSale},
    {"ConsultarSAT", 8, 0, -1, false, false, true, false, Greet},
    {"TesteFimAFim", 9, 2, 0, true, false, true, true, TestEndToEnd},
    {"ConsultarStatusOperacional", 10, 1, 0, false, false, true, false, TellStatus},
    {"ConsultarNumeroSessao", 11, 2, 0, false, false, false, false, TellSession},
    {"ConfigurarInterfaceDeRede", 12, 2, 0, true, false, true, false, ConfigureNetwork},
    {"AssociarAssinatura", 13, 3, 0, false, false, true, false, LinkApplication},
    {"AtualizarSoftwareSAT", 14, 1, 0, false, false, true, false, UpdateSoftware},
    {"ExtrairLogs", 15, 1, 0, false, false, true, false, TellJournal},
    {"BloquearSAT", 16, 1, 0, false, false, true, false, Block},
    {"DesbloquearSAT", 17, 1, 0, false, false, true, false, Unblock},
    {"TrocarCodigoDeAtivacao", 18, 4, -1, false, false, true, false, ChangeCode},
    {"ConsultarUltimaSessaoFiscal", 19, 1, 0, false, false, false, false, TellLastFiscal},
};

}  // namespace

const CommandRow* FindCommand(std::string_view name) {
    const auto* row = std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                                   [&](const CommandRow& candidate) { return candidate.name == name; });
    return row == std::end(COMMANDS) ? nullptr : row;
}

std::string RandomProof(Device& device, size_t bytes) {
    std::string proof(bytes, '\0');
    for (char& byte : proof) {
        byte = static_cast<char>(device.random() & 0xFF);
    }
    return ToBase64(proof);
}

}  // namespace emulator

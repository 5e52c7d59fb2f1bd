#include "commands.h"

#include <algorithm>
#include <iterator>

#include "catalogue.h"

namespace emulator {

namespace {

// Where the catalogue has no code for a condition, the unknown error stands for it.
constexpr int ERR = UNKNOWN_ERROR;
constexpr Gate ALWAYS = {OPEN, OPEN, OPEN, OPEN, OPEN};
constexpr Gate IN_USE = {ERR, OPEN, ERR, OPEN, OPEN};

// AtivarSAT brings the code, and TrocarCodigoDeAtivacao carries either of two: their own routines check it.
// Status, network, update and journal must work on a device that is still to be activated, whose code nobody
// has set.
constexpr CommandRow COMMANDS[] = {
    // name, prefix, arguments, code, open-ended, alert, stored, fiscal, gate, routine
    {"AtivarSAT", 4, 4, CodeCheck::None, false, false, true, false, ALWAYS, Activate},
    {"ComunicarCertificadoICPBRASIL",
     5,
     2,
     CodeCheck::First,
     true,
     false,
     true,
     false,
     {OPEN, OPEN, ERR, OPEN, OPEN},
     TakeCertificate},
    {"EnviarDadosVenda", 6, 2, CodeCheck::First, true, true, true, true, {2, 9, 7, 3, 6}, Sell},
    {"CancelarUltimaVenda", 7, 3, CodeCheck::First, true, true, true, true, {ERR, 9, 7, 4, 6}, CancelSale},
    {"ConsultarSAT", 8, 0, CodeCheck::None, false, false, true, false, ALWAYS, Greet},
    {"TesteFimAFim",
     9,
     2,
     CodeCheck::First,
     true,
     false,
     true,
     true,
     {2, OPEN, ERR, OPEN, OPEN},
     TestEndToEnd},
    {"ConsultarStatusOperacional", 10, 1, CodeCheck::OnceActivated, false, false, true, false, ALWAYS,
     TellStatus},
    {"ConsultarNumeroSessao",
     11,
     2,
     CodeCheck::First,
     false,
     false,
     false,
     false,
     {2, OPEN, OPEN, OPEN, OPEN},
     TellSession},
    {"ConfigurarInterfaceDeRede", 12, 2, CodeCheck::OnceActivated, true, false, true, false, ALWAYS,
     ConfigureNetwork},
    {"AssociarAssinatura", 13, 3, CodeCheck::First, false, false, true, false, IN_USE, LinkApplication},
    {"AtualizarSoftwareSAT",
     14,
     1,
     CodeCheck::OnceActivated,
     false,
     false,
     true,
     false,
     {OPEN, OPEN, 3, OPEN, OPEN},
     UpdateSoftware},
    {"ExtrairLogs", 15, 1, CodeCheck::OnceActivated, false, false, true, false, ALWAYS, TellJournal},
    {"BloquearSAT", 16, 1, CodeCheck::First, false, false, true, false, {ERR, OPEN, 2, OPEN, OPEN}, Block},
    {"DesbloquearSAT",
     17,
     1,
     CodeCheck::First,
     false,
     false,
     true,
     false,
     {ERR, OPEN, 7, OPEN, OPEN},
     Unblock},
    {"TrocarCodigoDeAtivacao",
     18,
     4,
     CodeCheck::None,
     false,
     false,
     true,
     false,
     {ERR, OPEN, OPEN, OPEN, OPEN},
     ChangeCode},
    {"ConsultarUltimaSessaoFiscal",
     19,
     1,
     CodeCheck::First,
     false,
     false,
     false,
     false,
     {2, OPEN, OPEN, OPEN, OPEN},
     TellLastFiscal},
};

}  // namespace

const CommandRow* FindCommand(std::string_view name) {
    const auto* row = std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                                   [&](const CommandRow& candidate) { return candidate.name == name; });
    return row == std::end(COMMANDS) ? nullptr : row;
}

bool CheckCode(Device& device, const std::string& given, const std::string& right) {
    if (given != right) {
        if (!IsLocked(device)) ++device.wrong_codes;
        return false;
    }
    if (!IsLocked(device)) device.wrong_codes = 0;
    return true;
}

bool IsLocked(const Device& device) {
    return device.wrong_codes >= MOST_WRONG_CODES;
}

std::string RandomProof(Device& device, size_t bytes) {
    std::string proof(bytes, '\0');
    for (char& byte : proof) {
        byte = static_cast<char>(device.random() & 0xFF);
    }
    return ToBase64(proof);
}

}  // namespace emulator

#include "codes.h"

#include <cstdio>

#include "shapes.h"
#include "vko_sat_utils/return_codes.h"

namespace tool {

namespace {

struct Remedy {
    int code;
    Text text;
};

// clang-format off
constexpr Text WRONG_ACTIVATION_CODE = {
    "Confira o código de ativação. Erros seguidos bloqueiam o SAT por algum tempo; quem o esqueceu troca-o com o código de emergência (TrocarCodigoDeAtivacao, opção 2).",
    "Check the activation code. Wrong codes in a row block the device for a while; who forgot it changes it with the emergency code (TrocarCodigoDeAtivacao, option 2)."};
constexpr Text NOT_ACTIVATED = {
    "Ative o SAT (AtivarSAT) antes de usá-lo.", "Activate the device (AtivarSAT) before use."};
constexpr Text TAX_OFFICE_UNREACHABLE = {
    "O SAT não alcança a SEFAZ: confira cabo, rede e internet do equipamento (zantir status) e tente de novo.",
    "The device does not reach the tax office: check its cable, network and internet (zantir status) and try again."};
constexpr Text BAD_CONTENT = {
    "O XML foi rejeitado: o campo CCCC e a mensagem dizem qual regra falhou. Corrija o cadastro ou o programa de vendas e envie outra vez.",
    "The XML was rejected: the field CCCC and the message say which rule failed. Correct the data or the sales program and send again."};
constexpr Text NOT_LINKED = {
    "A assinatura do aplicativo (signAC) não está vinculada a este SAT: confira os CNPJ do contribuinte e da software house e refaça AssociarAssinatura.",
    "The application's signature (signAC) is not bound to this device: check the CNPJ of taxpayer and software house and repeat AssociarAssinatura."};
constexpr Text BLOCKED_BY_OWNER = {
    "O contribuinte bloqueou o SAT: desbloqueie-o no portal da SEFAZ e com DesbloquearSAT.",
    "The taxpayer blocked the device: unblock it at the tax office's portal and with DesbloquearSAT."};
constexpr Text BLOCKED_BY_TAX_OFFICE = {
    "A SEFAZ bloqueou o SAT: o contribuinte deve procurá-la.", "The tax office blocked the device: the taxpayer has to ask there."};
constexpr Text BLOCKED_WITHOUT_CONTACT = {
    "O SAT ficou tempo demais sem falar com a SEFAZ: ligue-o à internet e aguarde a transmissão dos cupons.",
    "The device was out of touch with the tax office for too long: connect it to the internet and let it transmit."};
constexpr Text BLOCKED_BY_CODES = {
    "Códigos de ativação errados em seguida: espere o desbloqueio e use o código certo.",
    "Wrong activation codes in a row: wait until it unblocks and use the right one."};
constexpr Text CERTIFICATE_EXPIRED = {
    "O certificado do SAT venceu: renove-o junto à SEFAZ (zantir status mostra CERT_VENCIMENTO).",
    "The device's certificate has expired: renew it with the tax office (zantir status shows CERT_VENCIMENTO)."};
constexpr Text UNKNOWN_SESSION = {
    "O SAT não guarda essa sessão: confira o número, ou pergunte pela última com zantir chamar ConsultarUltimaSessaoFiscal.",
    "The device does not keep that session: check the number, or ask for the last one with zantir chamar ConsultarUltimaSessaoFiscal."};
constexpr Text WAIT_AND_ASK = {
    "Aguarde e consulte de novo; não desligue o SAT.", "Wait and ask again; do not switch the device off."};
constexpr Text NOTHING_TO_DO = {
    "Já está assim: nada a fazer.", "It is so already: nothing to do."};

// Codes with an advice of their own.
const Remedy REMEDIES[] = {
    {4003, NOTHING_TO_DO}, {4005, TAX_OFFICE_UNREACHABLE}, {5002, TAX_OFFICE_UNREACHABLE},
    {6002, NOT_ACTIVATED}, {6003, NOT_LINKED}, {6004, NOT_LINKED},
    {6005, {"A venda passa de 1.500 KB: divida-a em mais de um cupom.", "The sale exceeds 1,500 KB: split it into several receipts."}},
    {6006, BLOCKED_BY_OWNER}, {6007, BLOCKED_BY_TAX_OFFICE}, {6008, BLOCKED_WITHOUT_CONTACT},
    {6009, BLOCKED_BY_CODES}, {6010, BAD_CONTENT}, {6011, CERTIFICATE_EXPIRED},
    {7002, {"Só o último cupom pode ser cancelado, até 30 minutos após a emissão: confira a chave (CFe e 44 dígitos).",
            "Only the last receipt can be cancelled, within 30 minutes of its issue: check the key (CFe and 44 digits)."}},
    {7004, NOT_LINKED}, {7006, BLOCKED_BY_OWNER}, {7007, BLOCKED_BY_TAX_OFFICE},
    {7008, BLOCKED_WITHOUT_CONTACT}, {7009, BLOCKED_BY_CODES}, {7010, BAD_CONTENT}, {7011, CERTIFICATE_EXPIRED},
    {9002, NOT_ACTIVATED}, {11002, NOT_ACTIVATED}, {11003, UNKNOWN_SESSION},
    {12002, {"Confira o XML de configuração da rede.", "Check the XML with the network settings."}},
    {13002, TAX_OFFICE_UNREACHABLE}, {13003, NOT_LINKED}, {13004, NOT_LINKED}, {13005, NOT_LINKED}, {13007, NOT_LINKED},
    {14002, WAIT_AND_ASK}, {15002, WAIT_AND_ASK},
    {16002, NOTHING_TO_DO}, {16003, TAX_OFFICE_UNREACHABLE},
    {17002, BLOCKED_BY_OWNER}, {17003, BLOCKED_BY_TAX_OFFICE}, {17004, TAX_OFFICE_UNREACHABLE}, {17005, NOTHING_TO_DO},
    {18002, {"Confira o código de emergência, impresso com o SAT.", "Check the emergency code, printed with the device."}},
    {19002, NOT_ACTIVATED}, {19003, UNKNOWN_SESSION},
};

// What the last two digits mean in every command that has no advice of its own.
const Remedy BY_ENDING[] = {
    {1, WRONG_ACTIVATION_CODE},
    {97, {"Repita o comando com outro número de sessão, de 1 a 999999, diferente do anterior.",
          "Repeat the command with another session number, 1 to 999999, unlike the last one."}},
    {98, {"O SAT está ocupado: aguarde alguns segundos e repita.", "The device is busy: wait a few seconds and repeat."}},
    {99, {"Desligue e ligue o SAT; se persistir, extraia os registros (zantir chamar ExtrairLogs) e chame a assistência.",
          "Switch the device off and on; if it persists, extract its logs (zantir chamar ExtrairLogs) and call its service."}},
};
// clang-format on

const Text* RemedyFor(int code) {
    for (const Remedy& remedy : REMEDIES) {
        if (remedy.code == code) return &remedy.text;
    }
    // 04001 is no wrong activation code, unlike the 01 of all other commands.
    if (code / 1000 == 4 && code % 1000 == 1) return nullptr;
    if (code % 1000 >= 100) return nullptr;
    for (const Remedy& remedy : BY_ENDING) {
        if (remedy.code == code % 100) return &remedy.text;
    }
    return nullptr;
}

}  // namespace

bool IsSuccess(int code) {
    // 04006 is the second way in which an activation succeeds.
    return (code >= 4000 && code < 20000 && code % 1000 == 0) || code == 4006;
}

CodeMeaning ExplainCode(int code) {
    CodeMeaning meaning;
    meaning.code = code;
    char digits[16];
    std::snprintf(digits, sizeof digits, "%05d", code);
    meaning.command = CommandOfCode(digits);
    for (size_t row = 0; row < SAT_RET_CODE_COUNT; ++row) {
        if (tSatRetCodeTbl[row].iCode != code) continue;
        meaning.known = true;
        meaning.message = tSatRetCodeTbl[row].pMessage;
    }
    meaning.success = IsSuccess(code);
    const Text* const remedy = meaning.command.empty() || meaning.success ? nullptr : RemedyFor(code);
    if (remedy != nullptr) meaning.remedy = Say(*remedy);
    return meaning;
}

std::vector<int> CatalogueCodes() {
    std::vector<int> codes;
    for (size_t row = 0; row < SAT_RET_CODE_COUNT; ++row) {
        codes.push_back(tSatRetCodeTbl[row].iCode);
    }
    return codes;
}

}  // namespace tool

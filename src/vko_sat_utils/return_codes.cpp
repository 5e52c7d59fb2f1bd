#include "return_codes.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr char TO_AC[] = "SAT->AC";

/** Reserved for a reply without message. */
constexpr int32_t CODE_WITHOUT_MESSAGE = 55555;

constexpr size_t LIBRARY_MESSAGE_LENGTH = 100;

}  // namespace

// One row a line. Misspellings, doubled blanks and uneven accents are kept as they are, on purpose.
// clang-format off
tSatRetCodeRow tSatRetCodeTbl[] = {
    {"AtivarSAT", 4000, TO_AC, "SAT Ativado Corretamente"},
    {"AtivarSAT", 4001, TO_AC, "Erro na criacao do certificado"},
    {"AtivarSAT", 4002, TO_AC, "SEFAZ não reconhece este SAT (CNPJ inválido)"},
    {"AtivarSAT", 4003, TO_AC, "SAT ja ativado ou pendente de Vinculacaoo do AC"},
    {"AtivarSAT", 4004, TO_AC, "SAT com uso cessado"},
    {"AtivarSAT", 4005, TO_AC, "Erro de comunicação com a SEFAZ"},
    {"AtivarSAT", 4006, TO_AC, "CSR  ICP-BRASIL criado com sucesso"},
    {"AtivarSAT", 4007, TO_AC, "Erro na criacao do CSR ICP-BRASIL"},
    {"AtivarSAT", 4097, TO_AC, "Número de sessão inválido"},
    {"AtivarSAT", 4098, TO_AC, "SAT em processamento. Tente novamente"},
    {"AtivarSAT", 4099, TO_AC, "Erro desconhecido na ativacao"},
    {"AtivarSAT", 4129, TO_AC, "Rejeição: Solicitações de emissão de certificados excedidas"},
    {"AtivarSAT", 4200, TO_AC, "Rejeição: Status do Equipamento SAT difere do esperado"},
    {"AtivarSAT", 4219, TO_AC, "Rejeicao: CNPJ nao corresponde ao informado no processo de declaracao de posse"},
    {"AtivarSAT", 4239, TO_AC, "Rejeicao: Versao do arquivo XML nao suportada"},
    {"AtivarSAT", 4241, TO_AC, "Rejeicao: Diferenca de transmissao e recebimento da mensagem superior a 5"},
    {"AtivarSAT", 4250, TO_AC, "Rejeicao: UF informada pelo SAT nao eh atendida pelo Web Service"},
    {"AtivarSAT", 4251, TO_AC, "Rejeicao: Certificado enviado não confere com o escolhido na declaracao de posse"},
    {"AtivarSAT", 4255, TO_AC, "Rejeicao: CSR enviado invalido"},
    {"ComunicarCertificadoICPBRASIL", 5000, TO_AC, "Certificado transmitido com Sucesso"},
    {"ComunicarCertificadoICPBRASIL", 5001, TO_AC, "Código de ativação inválido"},
    {"ComunicarCertificadoICPBRASIL", 5002, TO_AC, "Erro de comunicação com a SEFAZ"},
    {"ComunicarCertificadoICPBRASIL", 5003, TO_AC, "Certificado Inválido"},
    {"ComunicarCertificadoICPBRASIL", 5097, TO_AC, "Número de sessao inválido"},
    {"ComunicarCertificadoICPBRASIL", 5098, TO_AC, "SAT em processamento. Tente novamente"},
    {"ComunicarCertificadoICPBRASIL", 5099, TO_AC, "Erro desconhecido"},
    {"EnviarDadosVenda", 6000, TO_AC, "Emitido com sucesso + conteudo notas"},
    {"EnviarDadosVenda", 6001, TO_AC, "Codigo de ativacao invalido"},
    {"EnviarDadosVenda", 6002, TO_AC, "SAT ainda nao ativado"},
    {"EnviarDadosVenda", 6003, TO_AC, "SAT nao vinculado ao AC"},
    {"EnviarDadosVenda", 6004, TO_AC, "Vinculacao do AC nao confere"},
    {"EnviarDadosVenda", 6005, TO_AC, "Tamanho do CF-e-SAT superior a 1.500KB"},
    {"EnviarDadosVenda", 6006, TO_AC, "SAT bloqueado pelo contribuinte"},
    {"EnviarDadosVenda", 6007, TO_AC, "SAT bloqueado pela SEFAZ"},
    {"EnviarDadosVenda", 6008, TO_AC, "SAT bloqueado por falta de comunicacao"},
    {"EnviarDadosVenda", 6009, TO_AC, "SAT bloqueado, código de ativacao incorreto"},
    {"EnviarDadosVenda", 6010, TO_AC, "Erro de validacao do conteudo"},
    {"EnviarDadosVenda", 6011, TO_AC, "SAT bloqueado por vencimento do certificado digital."},
    {"EnviarDadosVenda", 6097, TO_AC, "Número de sessao invalido"},
    {"EnviarDadosVenda", 6098, TO_AC, "SAT em processamento. Tente novamente"},
    {"EnviarDadosVenda", 6099, TO_AC, "Erro desconhecido"},
    {"CancelaUltimaVenda", 7000, TO_AC, "Cupom cancelado com sucesso + conteúdo CFe-SAT cancelado"},
    {"CancelaUltimaVenda", 7001, TO_AC, "Codigo ativacao invalido"},
    {"CancelaUltimaVenda", 7002, TO_AC, "Cupom invalido"},
    {"CancelaUltimaVenda", 7004, TO_AC, "Vinculacao do AC nao confere"},
    {"CancelaUltimaVenda", 7006, TO_AC, "SAT bloqueado pelo contribuinte"},
    {"CancelaUltimaVenda", 7007, TO_AC, "SAT bloqueado pela SEFAZ"},
    {"CancelaUltimaVenda", 7008, TO_AC, "SAT bloqueado por falta de comunicacao"},
    {"CancelaUltimaVenda", 7009, TO_AC, "SAT bloqueado, codigo de ativacao incorreto"},
    {"CancelaUltimaVenda", 7010, TO_AC, "Erro de validação do conteúdo"},
    {"CancelaUltimaVenda", 7011, TO_AC, "SAT bloqueado por vencimento do certificado digital"},
    {"CancelaUltimaVenda", 7097, TO_AC, "numero de sessao invalido"},
    {"CancelaUltimaVenda", 7098, TO_AC, "SAT em processamento. Tente novamente"},
    {"CancelaUltimaVenda", 7099, TO_AC, "Erro desconhecido"},
    {"ConsultarSAT", 8000, TO_AC, "SAT em operacao"},
    {"ConsultarSAT", 8097, TO_AC, "numero de sessao invalido"},
    {"ConsultarSAT", 8098, TO_AC, "SAT em processamento. Tente novamente"},
    {"ConsultarSAT", 8099, TO_AC, "Erro desconhecido"},
    {"TesteFimAFim", 9000, TO_AC, "Emitido com sucesso"},
    {"TesteFimAFim", 9001, TO_AC, "código ativação inválido"},
    {"TesteFimAFim", 9002, TO_AC, "SAT ainda não ativado"},
    {"TesteFimAFim", 9097, TO_AC, "numero de sessao invalido"},
    {"TesteFimAFim", 9098, TO_AC, "SAT em processamento. Tente novamente"},
    {"TesteFimAFim", 9099, TO_AC, "Erro desconhecido"},
    {"ConsultarStatusOperacional", 10000, TO_AC, "Resposta com Sucesso"},
    {"ConsultarStatusOperacional", 10001, TO_AC, "Codigo de Ativacao Invalido"},
    {"ConsultarStatusOperacional", 10097, TO_AC, "numero de sessao invalido"},
    {"ConsultarStatusOperacional", 10098, TO_AC, "SAT em processamento. Tente novamente"},
    {"ConsultarStatusOperacional", 10099, TO_AC, "Erro desconhecido"},
    {"ConsultarNumeroSessao", 11000, TO_AC, "etorno da sessao processada ***cod especifico"},
    {"ConsultarNumeroSessao", 11001, TO_AC, "Codigo ativacao invalido"},
    {"ConsultarNumeroSessao", 11002, TO_AC, "SAT ainda nao ativado"},
    {"ConsultarNumeroSessao", 11003, TO_AC, "Sessao não existe"},
    {"ConsultarNumeroSessao", 11097, TO_AC, "numero de sessao invalido"},
    {"ConsultarNumeroSessao", 11098, TO_AC, "SAT em processamento. Tente novamente"},
    {"ConsultarNumeroSessao", 11099, TO_AC, "Erro desconhecido"},
    {"ConfigurarInterfaceDeRede", 12000, TO_AC, "Rede Configurada com Sucesso"},
    {"ConfigurarInterfaceDeRede", 12001, TO_AC, "Codigo ativacao invalido"},
    {"ConfigurarInterfaceDeRede", 12002, TO_AC, "Dados fora do padrao a ser informado"},
    {"ConfigurarInterfaceDeRede", 12097, TO_AC, "numero de sessao invalido"},
    {"ConfigurarInterfaceDeRede", 12098, TO_AC, "SAT em processamento. Tente novamente"},
    {"ConfigurarInterfaceDeRede", 12099, TO_AC, "Erro desconhecido"},
    {"AssociarAssinatura", 13000, TO_AC, "Assinatura do AC Registrada"},
    {"AssociarAssinatura", 13001, TO_AC, "Codigo ativacao invalido"},
    {"AssociarAssinatura", 13002, TO_AC, "Erro de comunicacao  com a SEFAZ"},
    {"AssociarAssinatura", 13003, TO_AC, "Assinatura fora do padrao especificado"},
    {"AssociarAssinatura", 13004, TO_AC, "Erro de validacao do conteudo"},
    {"AssociarAssinatura", 13005, TO_AC, "Assinatura nao reconhecida pela SEFAZ"},
    {"AssociarAssinatura", 13007, TO_AC, "CNPJ do contribuinte difere daquele constante da parametrizacao de uso"},
    {"AssociarAssinatura", 13097, TO_AC, "numero de sessao invalido"},
    {"AssociarAssinatura", 13098, TO_AC, "SAT em processamento. Tente novamente"},
    {"AssociarAssinatura", 13099, TO_AC, "Erro desconhecido"},
    {"AtualizarSoftwareSAT", 14000, TO_AC, "Software Atualizado com Sucesso"},
    {"AtualizarSoftwareSAT", 14001, TO_AC, "Codigo ativacao invalido"},
    {"AtualizarSoftwareSAT", 14002, TO_AC, "Atualizacao em Andamento"},
    {"AtualizarSoftwareSAT", 14003, TO_AC, "Erro na atualizacao"},
    {"AtualizarSoftwareSAT", 14004, TO_AC, "Arquivo de atualizacao inválido"},
    {"AtualizarSoftwareSAT", 14098, TO_AC, "SAT em processamento. Tente novamente"},
    {"AtualizarSoftwareSAT", 14099, TO_AC, "Erro desconhecido"},
    {"ExtrairLogs", 15000, TO_AC, "Transferencia completa"},
    {"ExtrairLogs", 15001, TO_AC, "Codigo ativacao invalido"},
    {"ExtrairLogs", 15002, TO_AC, "Transferencia em andamento"},
    {"ExtrairLogs", 15097, TO_AC, "numero de sessao invalido"},
    {"ExtrairLogs", 15098, TO_AC, "SAT em processamento. Tente novamente"},
    {"ExtrairLogs", 15099, TO_AC, "Erro desconhecido"},
    {"BloquearSAT", 16000, TO_AC, "Equipamento SAT bloqueado com sucesso"},
    {"BloquearSAT", 16001, TO_AC, "Codigo ativacao invalido"},
    {"BloquearSAT", 16002, TO_AC, "Equipamento SAT ja esta bloqueado"},
    {"BloquearSAT", 16003, TO_AC, "Erro de comunicacao  com a SEFAZ"},
    {"BloquearSAT", 16004, TO_AC, "Nao existe parametrizacao de bloqueio disponível. Verifique configuracoes na SEFAZ"},
    {"BloquearSAT", 16097, TO_AC, "numero de sessao invalido"},
    {"BloquearSAT", 16098, TO_AC, "SAT em processamento. Tente novamente"},
    {"BloquearSAT", 16099, TO_AC, "Erro desconhecido"},
    {"DesbloquearSAT", 17000, TO_AC, "Equipamento SAT desbloqueado com sucesso"},
    {"DesbloquearSAT", 17001, TO_AC, "Codigo ativacao invalido"},
    {"DesbloquearSAT", 17002, TO_AC, "SAT bloqueado pelo contribuinte. Verifique configuracies na SEFAZ "},
    {"DesbloquearSAT", 17003, TO_AC, "SAT bloqueado pela SEFAZ"},
    {"DesbloquearSAT", 17004, TO_AC, "Erro de comunicacao com a SEFAZ"},
    {"DesbloquearSAT", 17005, TO_AC, "SAT ja desbloqueado"},
    {"DesbloquearSAT", 17006, TO_AC, "SAT com bloqueio autonomo"},
    {"DesbloquearSAT", 17007, TO_AC, "SAT bloqueado para desativacao"},
    {"DesbloquearSAT", 17097, TO_AC, "numero de sessao invalido"},
    {"DesbloquearSAT", 17098, TO_AC, "SAT em processamento. Tente novamente"},
    {"DesbloquearSAT", 17099, TO_AC, "Erro desconhecido"},
    {"TrocarCodigoDeAtivacao", 18000, TO_AC, "Ccdigo de ativacao alterado com sucesso"},
    {"TrocarCodigoDeAtivacao", 18001, TO_AC, "Codigo ativacao invalido"},
    {"TrocarCodigoDeAtivacao", 18002, TO_AC, "Código de ativacao de emergencia Incorreto"},
    {"TrocarCodigoDeAtivacao", 18097, TO_AC, "numero de sessao invalido"},
    {"TrocarCodigoDeAtivacao", 18098, TO_AC, "SAT em processamento. Tente novamente"},
    {"TrocarCodigoDeAtivacao", 18099, TO_AC, "Erro desconhecido"},
    {"ConsultarUltimaSessaoFiscal", 19000, TO_AC, "Retorno da sessão processada ***codigo especifico"},
    {"ConsultarUltimaSessaoFiscal", 19001, TO_AC, "Codigo ativacao invalido"},
    {"ConsultarUltimaSessaoFiscal", 19002, TO_AC, "SAT ainda nao ativado"},
    {"ConsultarUltimaSessaoFiscal", 19003, TO_AC, "Nao existe sessao fiscal"},
    {"ConsultarUltimaSessaoFiscal", 19097, TO_AC, "numero de sessao invalido"},
    {"ConsultarUltimaSessaoFiscal", 19098, TO_AC, "SAT em processamento. Tente novamente"},
    {"ConsultarUltimaSessaoFiscal", 19099, TO_AC, "Erro desconhecido"},
    {"ConsultarUltimaSessaoFiscal", 19100, TO_AC, "Nao Existe esse erro"},
    {nullptr, SAT_RET_CODE_END, nullptr, nullptr},
};

// 4 and 5 share their text on purpose.
const tEmuSefazMsgRow tEmuSefazMsgTbl[] = {
    {1, "Emu:Existem atualizacoes pendentes para o SAT"},
    {2, "Emu:O SAT precisa ser atualizado em 5 dias"},
    {3, "Emu:O SAT precisa ser atualizado em 24 horas"},
    {4, "Emu:Acionar suporte tecnico para verificação dos logs operacionais"},
    {5, "Emu:Acionar suporte tecnico para verificação dos logs operacionais"},
    {999, "Emu:A SEFAZ informa que a rede SAT sofrera manutencao no dia 19/03/2020 das 22:00 às 23:00."},
    {9999, nullptr},
};
// clang-format on

const char* SAT_Get_RetCodeMessage(int32_t iRetCode, char* pMsg) {
    if (iRetCode == CODE_WITHOUT_MESSAGE) {
        return "";
    }
    if (iRetCode < 0) {
        if (pMsg && strlen(pMsg) > LIBRARY_MESSAGE_LENGTH) {
            memcpy(pMsg + LIBRARY_MESSAGE_LENGTH - 3, "..>", 4);
        }
        return pMsg;
    }
    // The code is compared before the end test, so the terminator takes part: kept so on purpose.
    for (const tSatRetCodeRow* row = tSatRetCodeTbl;; row++) {
        if (row->iCode == iRetCode) {
            return row->pMessage;
        }
        if (!row->pCmdName) {
            break;
        }
    }
    static char message[64];
    snprintf(message, sizeof message, "SAT Codigo Retorno[%05d] %s", iRetCode,
             iRetCode == 0 ? "Ignorar....." : "Desconhecido");
    return message;
}

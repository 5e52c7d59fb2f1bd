#include "shapes.h"

#include <algorithm>

#include "api/command_table.h"

namespace tool {

namespace {

using Fields = std::vector<Field>;

// clang-format off
const Field SESSION = {"numeroSessao", {"número da sessão", "session number"}, FieldKind::Session};
const Field CODE = {"EEEEE", {"código de retorno do SAT", "return code of the device"}, FieldKind::ReturnCode};
const Field MESSAGE = {"mensagem", {"mensagem do SAT", "message of the device"}, FieldKind::Plain};
const Field SEFAZ_CODE = {"cod", {"código da mensagem da SEFAZ", "code of the tax office's message"}, FieldKind::SefazCode};
const Field SEFAZ_MESSAGE = {"mensagemSEFAZ", {"mensagem da SEFAZ", "message of the tax office"}, FieldKind::Plain};
const Field KEY = {"chaveConsulta", {"chave de consulta", "access key"}, FieldKind::Key};
const Field RECEIPT = {"arquivoCFeBase64", {"XML do CF-e", "XML of the receipt"}, FieldKind::Base64};
const Field TIME_STAMP = {"timeStamp", {"data e hora da emissão", "time of issue"}, FieldKind::Moment};

const Fields BASE = {SESSION, CODE, MESSAGE, SEFAZ_CODE, SEFAZ_MESSAGE};

const Fields CSR_TAIL = {
    {"CSR", {"pedido de certificado (CSR)", "certificate request (CSR)"}, FieldKind::Plain},
};
const Fields LOGS_TAIL = {
    {"arquivoLogBase64", {"registros do equipamento", "the device's logs"}, FieldKind::Base64},
};
const Fields TEST_TAIL = {
    RECEIPT,
    TIME_STAMP,
    {"numDocFiscal", {"número do documento fiscal", "number of the fiscal document"}, FieldKind::Plain},
    KEY,
};
const Fields SALE = {
    SESSION,
    CODE,
    {"CCCC", {"código de alerta ou de rejeição", "alert or rejection code"}, FieldKind::AlertCode},
    MESSAGE,
    SEFAZ_CODE,
    SEFAZ_MESSAGE,
    RECEIPT,
    TIME_STAMP,
    KEY,
    {"valorTotalCFe", {"valor total do CF-e", "total of the receipt"}, FieldKind::Amount},
    {"CPFCNPJValue", {"CPF ou CNPJ do comprador", "CPF or CNPJ of the buyer"}, FieldKind::Taxpayer},
    {"assinaturaQRCODE", {"assinatura para o QR Code", "signature for the QR code"}, FieldKind::Plain},
};
const Fields STATUS_TAIL = {
    {"NSERIE", {"número de série do SAT", "serial number of the device"}, FieldKind::Plain},
    {"TIPO_LAN", {"tipo de rede (DHCP, IPFIX, PPPoE)", "kind of network (DHCP, IPFIX, PPPoE)"}, FieldKind::Plain},
    {"LAN_IP", {"endereço IP", "IP address"}, FieldKind::Plain},
    {"LAN_MAC", {"endereço MAC", "MAC address"}, FieldKind::Plain},
    {"LAN_MASK", {"máscara de rede", "network mask"}, FieldKind::Plain},
    {"LAN_GW", {"roteador (gateway)", "gateway"}, FieldKind::Plain},
    {"LAN_DNS_1", {"primeiro servidor DNS", "first DNS server"}, FieldKind::Plain},
    {"LAN_DNS_2", {"segundo servidor DNS", "second DNS server"}, FieldKind::Plain},
    {"STATUS_LAN", {"rede conectada ou não", "network connected or not"}, FieldKind::Plain},
    {"NIVEL_BATERIA", {"nível da bateria", "level of the battery"}, FieldKind::Plain},
    {"MT_TOTAL", {"memória total", "memory, total"}, FieldKind::Plain},
    {"MT_USADA", {"memória usada", "memory in use"}, FieldKind::Plain},
    {"DH_ATUAL", {"data e hora do relógio do SAT", "the device's clock"}, FieldKind::Moment},
    {"VER_SB", {"versão do software básico", "version of the device's software"}, FieldKind::Plain},
    {"VER_LAYOUT", {"versão do leiaute", "version of the layout"}, FieldKind::Plain},
    {"ULTIMO_CF_E_SAT", {"chave do último CF-e emitido", "key of the last receipt issued"}, FieldKind::Key},
    {"LISTA_INICIAL", {"primeiro CF-e à espera de transmissão", "first receipt waiting to be transmitted"}, FieldKind::Key},
    {"LISTA_FINAL", {"último CF-e à espera de transmissão", "last receipt waiting to be transmitted"}, FieldKind::Key},
    {"DH_CFE", {"última transmissão de CF-e à SEFAZ", "last transmission of a receipt to the tax office"}, FieldKind::Moment},
    {"DH_ULTIMA", {"última comunicação com a SEFAZ", "last talk with the tax office"}, FieldKind::Moment},
    {"CERT_EMISSAO", {"emissão do certificado", "certificate issued"}, FieldKind::Date},
    {"CERT_VENCIMENTO", {"vencimento do certificado", "certificate expires"}, FieldKind::Date},
    {"ESTADO_OPERACAO", {"estado de operação", "operating state"}, FieldKind::OperatingState},
};
// clang-format on

Fields Joined(Fields front, const Fields& tail) {
    front.insert(front.end(), tail.begin(), tail.end());
    return front;
}

// Sales and cancellations carry six fields when refused, all others the five of BASE.
const std::vector<Shape>& SpecialShapes() {
    static const std::vector<Shape> shapes = {
        {"AtivarSAT", Joined(BASE, CSR_TAIL), BASE.size()},
        {"ExtrairLogs", Joined(BASE, LOGS_TAIL), BASE.size()},
        {"TesteFimAFim", Joined(BASE, TEST_TAIL), BASE.size()},
        {"EnviarDadosVenda", SALE, 6},
        {"CancelarUltimaVenda", SALE, 6},
        {"ConsultarStatusOperacional", Joined(BASE, STATUS_TAIL), BASE.size()},
    };
    return shapes;
}

}  // namespace

const Shape& ShapeOf(std::string_view command) {
    static const Shape base = {"", BASE, BASE.size()};
    const std::vector<Shape>& shapes = SpecialShapes();
    const auto found = std::find_if(shapes.begin(), shapes.end(),
                                    [&](const Shape& shape) { return command == shape.command; });
    return found == shapes.end() ? base : *found;
}

std::string CommandOfCode(std::string_view five_digits) {
    if (five_digits.size() != 5 || !AllDigits(five_digits)) return "";
    for (const tSatCommand& command : SAT_COMMANDS) {
        if (five_digits.substr(0, 3) == command.pRetCodePrefix) return command.pName;
    }
    return "";
}

}  // namespace tool

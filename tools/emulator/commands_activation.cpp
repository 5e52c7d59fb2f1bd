#include "commands.h"
#include "fiscal_key.h"
#include "reason.h"

namespace emulator {

namespace {

constexpr int ICP_BRASIL_DONE = 6;
constexpr int TAXPAYER_UNKNOWN = 2;
constexpr int ALREADY_ACTIVE = 3;
constexpr int OUT_OF_USE = 4;
constexpr int STATUS_UNEXPECTED = 200;
constexpr int TAXPAYER_NOT_OWNER = 219;
constexpr int STATE_NOT_SERVED = 250;
constexpr int CERTIFICATE_INVALID = 3;
constexpr int SIGNATURE_INVALID = 3;
constexpr int LINK_DATA_INVALID = 4;
constexpr int TAXPAYER_DIFFERS = 7;
constexpr int EMERGENCY_CODE_WRONG = 2;

// What AtivarSAT is asked for.
constexpr const char* OF_THE_AUTHORITY = "1";
constexpr const char* OF_ICP_BRASIL = "2";
constexpr const char* RENEWAL = "3";

// A request in the armour of a real one, around random bytes: nobody signs it.
std::string CertificateRequest(Device& device) {
    return "-----BEGIN CERTIFICATE REQUEST-----\n" + RandomProof(device, 600) +
           "\n-----END CERTIFICATE REQUEST-----\n";
}

// A new certificate for a device that is in use.
Result Renew(Device& device, const Request& request) {
    if (device.stage == Stage::New) return {.ending = STATUS_UNEXPECTED};
    if (!CheckCode(device, request.arguments[1], device.settings.activation_code)) {
        // The catalogue's 04001 is no wrong code but a certificate that failed.
        return {.ending = UNKNOWN_ERROR, .reason = "codigo de ativacao invalido"};
    }
    device.certificate_awaited = true;
    return {.ending = ICP_BRASIL_DONE, .tail = {CertificateRequest(device)}};
}

// What is wrong with the data of an activation; DONE when nothing is.
Result CheckActivation(const Device& device, const Request& request) {
    const std::string& taxpayer = request.arguments[2];
    if (!IsUsableCode(request.arguments[1]))
        return {.ending = UNKNOWN_ERROR, .reason = "codigo de ativacao invalido"};
    if (!IsTaxpayer(taxpayer)) return {.ending = TAXPAYER_UNKNOWN};
    if (!device.settings.taxpayer.empty() && taxpayer != device.settings.taxpayer) {
        return {.ending = TAXPAYER_NOT_OWNER};
    }
    return {.ending = IsState(request.arguments[3]) ? DONE : STATE_NOT_SERVED};
}

void TakeOver(Device& device, const Request& request, bool icp_brasil) {
    const std::string& state = request.arguments[3];
    device.settings.activation_code = request.arguments[1];
    device.settings.taxpayer = request.arguments[2];
    device.settings.state = (state[0] - '0') * 10 + (state[1] - '0');
    device.wrong_codes = 0;
    device.certified = request.now;
    device.certificate_awaited = icp_brasil;
    // A device that came ready for use stays it; a new one with a certificate of its own to come is not
    // active yet.
    if (device.stage == Stage::New && !icp_brasil) device.stage = Stage::Activated;
    device.ready_made = false;
}

}  // namespace

Result Activate(Device& device, const Request& request) {
    const std::string& kind = request.arguments[0];
    if (device.stage == Stage::Deactivated) return {.ending = OUT_OF_USE};
    if (kind == RENEWAL) return Renew(device, request);
    const bool icp_brasil = kind == OF_ICP_BRASIL;
    if (!icp_brasil && kind != OF_THE_AUTHORITY) {
        return {.ending = UNKNOWN_ERROR, .reason = Wrong("subComando", "1, 2 ou 3", kind)};
    }
    if (device.stage != Stage::New && !device.ready_made) return {.ending = ALREADY_ACTIVE};
    Result problem = CheckActivation(device, request);
    if (problem.ending != DONE) return problem;
    TakeOver(device, request, icp_brasil);
    return {.ending = icp_brasil ? ICP_BRASIL_DONE : DONE, .tail = {CertificateRequest(device)}};
}

Result TakeCertificate(Device& device, const Request& request) {
    if (device.stage == Stage::New && !device.certificate_awaited) {
        return {.ending = UNKNOWN_ERROR, .reason = "SAT ainda nao ativado"};
    }
    if (request.arguments[1].empty()) return {.ending = CERTIFICATE_INVALID};
    if (device.stage == Stage::New) device.stage = Stage::Activated;
    device.certificate_awaited = false;
    device.certified = request.now;
    return {};
}

Result LinkApplication(Device& device, const Request& request) {
    // The numbers of the application's maker and of the taxpayer stand side by side, without a separator.
    const std::string& owners = request.arguments[1];
    const std::string& signature = request.arguments[2];
    if (!IsDigits(owners, 28)) {
        return {.ending = LINK_DATA_INVALID, .reason = Wrong("CNPJvalue", "28 digitos", owners)};
    }
    const Link link{owners.substr(0, 14), owners.substr(14), signature};
    for (const std::string& number : {link.application, link.taxpayer}) {
        if (!IsTaxpayer(number)) {
            return {.ending = LINK_DATA_INVALID, .reason = Wrong("CNPJvalue", "dois CNPJ validos", number)};
        }
    }
    const std::string& taxpayer = device.settings.taxpayer;
    if (!taxpayer.empty() && link.taxpayer != taxpayer) return {.ending = TAXPAYER_DIFFERS};
    if (!IsUsableSignature(signature)) return {.ending = SIGNATURE_INVALID};
    device.link = link;
    device.stage = Stage::Linked;
    return {};
}

Result ChangeCode(Device& device, const Request& request) {
    const std::string& code = request.arguments[0];
    const std::string& option = request.arguments[1];
    const std::string& fresh = request.arguments[2];
    if (option == "1") {
        if (!CheckCode(device, code, device.settings.activation_code)) return {.ending = WRONG_CODE};
    } else if (option == "2") {
        if (!CheckCode(device, code, device.settings.emergency_code)) return {.ending = EMERGENCY_CODE_WRONG};
    } else {
        return {.ending = UNKNOWN_ERROR, .reason = Wrong("opcao", "1 ou 2", option)};
    }
    if (!IsUsableCode(fresh)) {
        return {.ending = UNKNOWN_ERROR,
                .reason = Wrong("novoCodigo", "1 a 32 caracteres sem espacos", fresh)};
    }
    if (fresh != request.arguments[3]) return {.ending = UNKNOWN_ERROR, .reason = "novos codigos diferentes"};
    device.settings.activation_code = fresh;
    device.wrong_codes = 0;
    return {};
}

}  // namespace emulator

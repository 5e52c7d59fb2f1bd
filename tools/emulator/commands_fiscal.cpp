#include "catalogue.h"
#include "commands.h"
#include "fiscal_key.h"
#include "reason.h"

namespace emulator {

namespace {

constexpr int RECEIPT_INVALID = 2;
constexpr int LINK_DIFFERS = 4;
constexpr int SALE_TOO_LONG = 5;
constexpr int CONTENT_INVALID = 10;

constexpr size_t LONGEST_SALE = size_t{1500} * 1024;
constexpr auto CANCELLATION_LIMIT = std::chrono::minutes(30);
constexpr int LAST_DOCUMENT = 999999;

// The alert of a content that is refused for a reason without a number of its own.
constexpr const char* OTHER_REJECTION = "1999";

// The text of assinaturaQRCODE is a signature of 2048 bits.
constexpr size_t PROOF_BYTES = 256;
constexpr size_t CERTIFICATE_BYTES = 1200;

Issue NextIssue(Device& device, LocalTime now) {
    Issue issue;
    issue.now = now;
    issue.state = device.settings.state;
    issue.serial = device.settings.serial;
    issue.software = device.settings.software;
    issue.taxpayer = device.settings.taxpayer;
    issue.proof = RandomProof(device, PROOF_BYTES);
    issue.signature = RandomProof(device, PROOF_BYTES);
    issue.certificate = RandomProof(device, CERTIFICATE_BYTES);
    issue.document = device.documents % LAST_DOCUMENT + 1;
    issue.random = static_cast<int>(device.random() % 1000000);
    return issue;
}

void Remember(Device& device, const Issue& issue, const Receipt& receipt) {
    device.documents = issue.document;
    device.last_key = receipt.key;
    device.last_issued = issue.now;
}

// True when the device is linked to the application that made the receipt's text, or to any.
bool IsLinkedTo(const Device& device, const Receipt& receipt) {
    const Link& link = device.link;
    return link.signature.empty() ||
           (receipt.application == link.application && receipt.taxpayer == link.taxpayer &&
            receipt.application_signature == link.signature);
}

// arquivoCFeBase64|timeStamp|chaveConsulta|valorTotalCFe|CPFCNPJValue|assinaturaQRCODE
Result Issued(const Issue& issue, const Receipt& receipt) {
    return {.tail = {ToBase64(receipt.xml), TimeStamp(issue.now), "CFe" + receipt.key, receipt.total,
                     receipt.buyer, issue.proof}};
}

Result Rejected(const std::string& reason) {
    return {.ending = CONTENT_INVALID, .reason = reason, .tail = {}, .alert = OTHER_REJECTION};
}

}  // namespace

Result Sell(Device& device, const Request& request) {
    const std::string& sale = request.arguments[1];
    if (sale.size() > LONGEST_SALE) return {.ending = SALE_TOO_LONG};
    const Issue issue = NextIssue(device, request.now);
    Receipt receipt;
    const std::string problem = IssueSale(sale, issue, &receipt);
    if (!problem.empty()) return Rejected(problem);
    if (!IsLinkedTo(device, receipt)) return {.ending = LINK_DIFFERS};
    Remember(device, issue, receipt);
    Result result = Issued(issue, receipt);
    // What a cancellation has no use for is not kept.
    receipt.xml.clear();
    receipt.application.clear();
    receipt.application_signature.clear();
    device.last_sale = receipt;
    return result;
}

Result CancelSale(Device& device, const Request& request) {
    const std::string& key = request.arguments[1];
    const std::string& cancellation = request.arguments[2];
    if (!device.last_sale.has_value())
        return {.ending = RECEIPT_INVALID, .reason = "nenhuma venda a cancelar"};
    const Receipt& sale = *device.last_sale;
    if (key != "CFe" + sale.key)
        return {.ending = RECEIPT_INVALID, .reason = Wrong("chave", "CFe" + sale.key, key)};
    if (request.now - sale.issued > CANCELLATION_LIMIT) {
        return {.ending = RECEIPT_INVALID, .reason = "prazo de 30 minutos vencido"};
    }
    // A clock that was set back must not prolong the time.
    if (request.now < sale.issued) {
        return {.ending = RECEIPT_INVALID, .reason = "venda posterior ao relogio do equipamento"};
    }
    if (cancellation.size() > LONGEST_SALE) return Rejected("tamanho excedido");
    const Issue issue = NextIssue(device, request.now);
    Receipt receipt;
    bool other_receipt = false;
    const std::string problem = IssueCancellation(cancellation, sale, issue, &receipt, &other_receipt);
    if (other_receipt) return {.ending = RECEIPT_INVALID, .reason = problem};
    if (!problem.empty()) return Rejected(problem);
    if (!IsLinkedTo(device, receipt)) return {.ending = LINK_DIFFERS};
    Remember(device, issue, receipt);
    device.last_sale.reset();
    return Issued(issue, receipt);
}

// A test takes the way of a sale to its end, but is never a sale: it cannot be cancelled and takes no number.
Result TestEndToEnd(Device& device, const Request& request) {
    const std::string& sale = request.arguments[1];
    if (sale.size() > LONGEST_SALE) return {.ending = UNKNOWN_ERROR, .reason = "tamanho excedido"};
    Issue issue = NextIssue(device, request.now);
    Receipt receipt;
    const std::string problem = IssueSale(sale, issue, &receipt);
    if (!problem.empty()) return {.ending = UNKNOWN_ERROR, .reason = problem};
    return {.tail = {ToBase64(receipt.xml), TimeStamp(request.now), Padded(issue.document, 6),
                     "CFe" + receipt.key}};
}

}  // namespace emulator

/*
 * The emulated device's receipts from any sale, and their cancellation by any text and by the right one.
 */
#include "demo_texts.h"
#include "fuzz.h"
#include "receipt.h"
#include "xml.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

constexpr emulator::LocalTime kMorning =
    std::chrono::local_days(std::chrono::year(2026) / 3 / 4) + std::chrono::hours(5);

emulator::Issue MakeIssue(int document) {
    emulator::Issue issue;
    issue.now = kMorning;
    issue.state = 35;
    issue.serial = "000123456";
    issue.software = "010203";
    issue.proof = "cHJvb2Y=";
    issue.document = document;
    issue.random = 42;
    return issue;
}

bool IsDigits(const std::string& text, size_t count) {
    return text.size() == count && text.find_first_not_of("0123456789") == std::string::npos;
}

/** Modulo 11 with the weights 2 to 9 from the right. */
char CheckDigitByTheRules(const std::string& digits) {
    int sum = 0;
    for (size_t i = 0; i < digits.size(); ++i)
        sum += (digits[digits.size() - 1 - i] - '0') * static_cast<int>(2 + i % 8);
    return sum % 11 < 2 ? '0' : static_cast<char>('0' + 11 - sum % 11);
}

/** A whole number of cents: "12.50". */
bool IsMoney(const std::string& text) {
    return text.size() >= 4 && text[text.size() - 3] == '.' && IsDigits(text.substr(text.size() - 2), 2) &&
           IsDigits(text.substr(0, text.size() - 3), text.size() - 3);
}

void CheckReceipt(const emulator::Receipt& receipt, const emulator::Issue& issue, const char* root) {
    Expect(IsDigits(receipt.key, 44), "a key of 44 digits");
    ExpectEqual("the front of the key", receipt.key.substr(0, 6), std::string("352603"));
    ExpectEqual("the seller in the key", receipt.key.substr(6, 14), receipt.taxpayer);
    ExpectEqual("the device in the key", receipt.key.substr(20, 11), "59" + issue.serial);
    ExpectEqual("the check digit", receipt.key[43], CheckDigitByTheRules(receipt.key.substr(0, 43)));
    Expect(IsMoney(receipt.total), "a total in cents");
    Expect(receipt.buyer.empty() || IsDigits(receipt.buyer, 11) || IsDigits(receipt.buyer, 14), "a buyer");
    std::string problem;
    const auto xml = emulator::ParseXml(receipt.xml, &problem);
    Expect(xml != nullptr, "the receipt can be parsed");
    const emulator::Element* information = emulator::Child(emulator::Root(*xml), "infCFe");
    ExpectEqual("the outermost element", emulator::NameOf(emulator::Root(*xml)), std::string(root));
    ExpectEqual("the receipt comes out as it went in", emulator::PrintXml(*xml), receipt.xml);
    ExpectEqual("the key in the receipt", emulator::AttributeText(information, "Id"), "CFe" + receipt.key);
    ExpectEqual("the total in the receipt",
                emulator::ChildText(emulator::Child(information, "total"), "vCFe"), receipt.total);
}

/** The demo's cancellation, of this sale and without its buyer. */
std::string RightCancellation(const emulator::Receipt& sale) {
    std::string text = DEMO_CANCELLATION;
    constexpr std::string_view key_place = "@CHAVE@";
    text.replace(text.find(key_place), key_place.size(), "CFe" + sale.key);
    const size_t buyer = text.find("<dest>");
    return text.replace(buyer, text.find("</dest>") + 7 - buyer, "<dest/>");
}

void CheckCancellation(const std::string& text, const emulator::Receipt& sale, bool right) {
    const emulator::Issue issue = MakeIssue(2);
    emulator::Receipt receipt;
    bool other_receipt = true;
    const std::string problem = emulator::IssueCancellation(text, sale, issue, &receipt, &other_receipt);
    if (right) ExpectEqual("the right cancellation is taken", problem, std::string());
    if (!problem.empty()) return;
    Expect(!other_receipt, "it names this receipt");
    ExpectEqual("the cancelled total", receipt.total, sale.total);
    ExpectEqual("the cancelled seller", receipt.taxpayer, sale.taxpayer);
    Expect(receipt.key != sale.key, "a cancellation has a key of its own");
    CheckReceipt(receipt, issue, "CFeCanc");
}

/** A sale to cancel when the input itself is none. */
emulator::Receipt AnySale() {
    emulator::Receipt sale;
    sale.key = "35260311222333000181590001234560000010000429";
    sale.taxpayer = "11222333000181";
    sale.total = "1.00";
    sale.issued = kMorning;
    return sale;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const emulator::Issue issue = MakeIssue(1);
    emulator::Receipt sale;
    const std::string problem = emulator::IssueSale(text, issue, &sale);
    emulator::Receipt again;
    ExpectEqual("the same sale comes to the same", emulator::IssueSale(text, issue, &again), problem);
    ExpectEqual("the same receipt", again.xml, sale.xml);
    if (problem.empty()) {
        CheckReceipt(sale, issue, "CFe");
        CheckCancellation(RightCancellation(sale), sale, true);
        CheckCancellation(text, sale, false);
    } else {
        CheckCancellation(text, AnySale(), false);
    }
    return 0;
}

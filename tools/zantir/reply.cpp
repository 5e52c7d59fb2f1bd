#include "reply.h"

#include <regex>

namespace tool {

namespace {

// clang-format off
constexpr Text EXTRA_FIELD = {"campo %1", "field %1"};
constexpr Text EXTRA_MEANING = {"campo que os documentos não conhecem", "a field that the documents do not know"};
constexpr Text TOO_FEW = {"faltam campos: %1 em vez de %2", "fields are missing: %1 instead of %2"};
constexpr Text TOO_MANY = {"campos a mais: %1 em vez de %2", "too many fields: %1 instead of %2"};
constexpr Text BAD_VALUE = {"%1: %2", "%1: %2"};
constexpr Text UNKNOWN_CODE = {"o código %1 não está no catálogo", "the code %1 is not in the catalogue"};
constexpr Text FOREIGN_CODE = {"o código %1 é de %2, não de %3", "the code %1 belongs to %2, not to %3"};
// clang-format on

// Commands whose reply is that of an earlier command.
bool TellsEarlierReply(std::string_view command) {
    return command == "ConsultarNumeroSessao" || command == "ConsultarUltimaSessaoFiscal";
}

bool LooksLikeReply(const std::vector<std::string>& pieces) {
    return pieces.size() >= 2 && AllDigits(pieces[1]) && pieces[1].size() <= 9;
}

void CheckCount(Reply* reply, const Shape& shape) {
    const size_t got = reply->fields.size();
    const size_t whole = reply->verdict == Verdict::Accepted ? shape.fields.size() : shape.refused;
    // A certificate request comes with some kinds of activation only.
    if (reply->command == "AtivarSAT" && got == shape.refused) return;
    if (got == whole) return;
    reply->faults.push_back(
        Say(got < whole ? TOO_FEW : TOO_MANY, {std::to_string(got), std::to_string(whole)}));
}

void CheckCode(Reply* reply, std::string_view called) {
    const std::string digits = reply->fields[1].value;
    if (!reply->code.known) reply->faults.push_back(Say(UNKNOWN_CODE, {digits}));
    const std::string owner = reply->code.command;
    if (called.empty() || owner.empty() || owner == called || TellsEarlierReply(called)) return;
    reply->faults.push_back(Say(FOREIGN_CODE, {digits, owner, called}));
}

void NameFields(Reply* reply, const std::vector<std::string>& pieces, const Shape& shape) {
    for (size_t at = 0; at < pieces.size(); ++at) {
        ReplyField field;
        field.value = pieces[at];
        if (at < shape.fields.size()) {
            const Field& known = shape.fields[at];
            field.name = known.name;
            field.meaning = Say(known.meaning);
            field.kind = known.kind;
            field.explained = ExplainValue(known.kind, field.value);
        } else {
            field.name = Say(EXTRA_FIELD, {std::to_string(at + 1)});
            field.meaning = Say(EXTRA_MEANING);
        }
        if (!field.explained.fault.empty()) {
            reply->faults.push_back(Say(BAD_VALUE, {field.name, field.explained.fault}));
        }
        reply->fields.push_back(field);
    }
}

}  // namespace

std::string WithoutFraming(std::string_view text) {
    std::string inner = Trimmed(text);
    // A line of the protocol log: the packet stands between its first and its last bracket.
    static const std::regex protocol_line(R"(^\d{14} (?:SAT->PC <<|PC->SAT >>) \[)");
    const std::string front = inner.substr(0, 40);
    std::smatch match;
    const size_t end = inner.rfind(']');
    if (std::regex_search(front, match, protocol_line) && end != std::string::npos) {
        const auto from = static_cast<size_t>(match.length());
        inner = inner.substr(from, end > from ? end - from : 0);
    }
    static const std::regex shown_end(R"(<[0-9A-F]{2}><03>$)");
    const std::string tail = inner.size() > 8 ? inner.substr(inner.size() - 8) : inner;
    if (inner.compare(0, 4, "<02>") == 0) inner.erase(0, 4);
    if (std::regex_search(tail, shown_end)) inner.resize(inner.size() - std::min<size_t>(8, inner.size()));
    if (inner.size() >= 3 && inner.front() == '\x02' && inner.back() == '\x03') {
        return inner.substr(1, inner.size() - 3);
    }
    return inner;
}

Reply ParseReply(std::string_view text, std::string_view command) {
    Reply reply;
    reply.raw = text;
    reply.error = ExplainLibraryError(text);
    if (reply.error) {
        reply.verdict = Verdict::LibraryFailed;
        reply.command = command;
        return reply;
    }
    const std::vector<std::string> pieces = Split(text, '|');
    if (!LooksLikeReply(pieces)) return reply;
    reply.code = ExplainCode(NumberOf(pieces[1]));
    reply.verdict = reply.code.success ? Verdict::Accepted : Verdict::Refused;
    reply.command = command.empty() || TellsEarlierReply(command) ? reply.code.command : command;
    const Shape& shape = ShapeOf(reply.command);
    NameFields(&reply, pieces, shape);
    CheckCount(&reply, shape);
    CheckCode(&reply, command);
    return reply;
}

std::string ValueOf(const Reply& reply, std::string_view field) {
    for (const ReplyField& candidate : reply.fields) {
        if (candidate.name == field) return candidate.value;
    }
    return "";
}

const char* VerdictName(Verdict verdict) {
    switch (verdict) {
        case Verdict::Accepted:
            return "aceito";
        case Verdict::Refused:
            return "recusado";
        case Verdict::LibraryFailed:
            return "falha";
        case Verdict::NoReply:
            break;
    }
    return "sem_resposta";
}

}  // namespace tool

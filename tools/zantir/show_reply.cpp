#include "show_reply.h"

#include <algorithm>

#include "log_mask.h"

namespace tool {

namespace {

// clang-format off
constexpr Text ACCEPTED = {"ACEITO", "ACCEPTED"};
constexpr Text REFUSED = {"RECUSADO", "REFUSED"};
constexpr Text FAILED = {"FALHA", "FAILED"};
constexpr Text NO_REPLY = {"NÃO É UMA RESPOSTA", "NO REPLY"};
constexpr Text NO_REPLY_WHY = {"o texto não tem os campos numeroSessao|EEEEE|mensagem|...", "the text lacks the fields numeroSessao|EEEEE|mensagem|..."};
constexpr Text CAUSE = {"Causa", "Cause"};
constexpr Text REMEDY = {"O que fazer", "What to do"};
constexpr Text SHAPE_OK = {"Formato conforme os documentos: %1 campos", "Shape as documented: %1 fields"};
constexpr Text SHAPE_WRONG = {"Formato", "Shape"};
// clang-format on

constexpr size_t NAME_COLUMNS = 18;
constexpr size_t LONGEST_VALUE = 70;

void ShowPair(const std::string& name, const std::string& value) {
    if (!value.empty()) ShowLine(Painted(Colour::Name, name) + ": " + value);
}

void ShowField(const ReplyField& field) {
    std::string line = "  " + Painted(Colour::Name, Padded(field.name, NAME_COLUMNS)) + " ";
    line +=
        field.value.empty() ? Painted(Colour::Faint, "-") : Shortened(Printable(field.value), LONGEST_VALUE);
    std::string notes = field.meaning;
    if (!field.explained.shown.empty()) notes += ": " + field.explained.shown;
    ShowLine(line + Painted(Colour::Faint, "  (" + notes + ")"));
    if (!field.explained.fault.empty()) {
        ShowLine("  " + Padded("", NAME_COLUMNS) + " " +
                 Painted(Colour::Warning, "! " + field.explained.fault));
    }
}

std::string Headline(const Reply& reply) {
    const std::string message = Printable(ValueOf(reply, "mensagem"));
    const std::string words = message.empty() ? reply.code.message : message;
    const std::string code = ValueOf(reply, "EEEEE");
    const bool good = reply.verdict == Verdict::Accepted;
    return Painted(good ? Colour::Good : Colour::Bad, Say(good ? ACCEPTED : REFUSED)) + " " + code + " " +
           words;
}

void ShowShape(const Reply& reply) {
    if (reply.faults.empty()) {
        ShowLine(Painted(Colour::Faint, Say(SHAPE_OK, {std::to_string(reply.fields.size())})));
    }
    for (const std::string& fault : reply.faults) {
        ShowLine(Painted(Colour::Warning, Say(SHAPE_WRONG) + ": " + Printable(fault)));
    }
}

void ShowError(const LibraryError& error) {
    const std::string code = error.code == 0 ? "" : " " + std::to_string(error.code);
    ShowLine(Painted(Colour::Bad, Say(FAILED)) + code + " " + Printable(error.message));
    ShowPair(Say(CAUSE), error.cause);
    ShowPair(Say(REMEDY), error.remedy);
}

Json FieldJson(const ReplyField& field) {
    Json json = {{"nome", field.name}, {"valor", ToUtf8(field.value)}, {"significado", field.meaning}};
    if (!field.explained.shown.empty()) json["legivel"] = field.explained.shown;
    if (!field.explained.fault.empty()) json["defeito"] = field.explained.fault;
    return json;
}

// Characters that are safe in a file name on every system, whatever the device sent.
std::string SafeName(const std::string& text) {
    std::string name;
    for (const char c : text) {
        const bool safe = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        if (safe && name.size() < 60) name += c;
    }
    return name.empty() ? "resposta" : name;
}

}  // namespace

void ShowReply(const Reply& reply) {
    switch (reply.verdict) {
        case Verdict::LibraryFailed:
            ShowError(*reply.error);
            return;
        case Verdict::NoReply:
            ShowLine(Painted(Colour::Bad, Say(NO_REPLY)) + ": " + Say(NO_REPLY_WHY));
            ShowLine("  " + Shortened(Printable(WithoutSecrets(reply.raw, {})), LONGEST_VALUE));
            return;
        case Verdict::Accepted:
        case Verdict::Refused:
            break;
    }
    ShowLine(Headline(reply));
    const std::string sefaz = Printable(ValueOf(reply, "mensagemSEFAZ"));
    if (!sefaz.empty()) ShowPair("SEFAZ", Printable(ValueOf(reply, "cod")) + " " + sefaz);
    ShowPair(Say(REMEDY), reply.code.remedy);
    for (const ReplyField& field : reply.fields) {
        ShowField(field);
    }
    ShowShape(reply);
}

Json ReplyJson(const Reply& reply) {
    Json json = {{"resultado", VerdictName(reply.verdict)}, {"comando", reply.command}};
    if (reply.error) {
        json["erro"] = {{"codigo", reply.error->code},
                        {"mensagem", ToUtf8(reply.error->message)},
                        {"porta", ToUtf8(reply.error->port)},
                        {"causa", reply.error->cause},
                        {"providencia", reply.error->remedy}};
    }
    if (!reply.fields.empty()) {
        json["codigo"] = reply.code.code;
        json["mensagem_catalogo"] = reply.code.message;
        json["providencia"] = reply.code.remedy;
        json["campos"] = Json::array();
        for (const ReplyField& field : reply.fields) {
            json["campos"].push_back(FieldJson(field));
        }
        json["formato_ok"] = reply.faults.empty();
        json["formato_defeitos"] = Json::array();
        for (const std::string& fault : reply.faults) {
            json["formato_defeitos"].push_back(ToUtf8(fault));
        }
    }
    // A library without a port gives the command back, with the activation code in it.
    json["texto"] = ToUtf8(WithoutSecrets(reply.raw, {}));
    return json;
}

int ExitCodeOf(const Reply& reply) {
    switch (reply.verdict) {
        case Verdict::Accepted:
            return EXIT_OK;
        case Verdict::Refused:
            return EXIT_REFUSED;
        case Verdict::LibraryFailed:
        case Verdict::NoReply:
            break;
    }
    return EXIT_NO_DEVICE;
}

std::vector<ReplyFile> FilesOf(const Reply& reply) {
    std::vector<ReplyFile> files;
    const std::string session = SafeName(ValueOf(reply, "numeroSessao"));
    const std::string receipt = FromBase64(ValueOf(reply, "arquivoCFeBase64"));
    if (!receipt.empty()) files.push_back({SafeName(ValueOf(reply, "chaveConsulta")) + ".xml", receipt});
    const std::string logs = FromBase64(ValueOf(reply, "arquivoLogBase64"));
    if (!logs.empty()) files.push_back({"sat-log-" + session + ".txt", logs});
    const std::string request = ValueOf(reply, "CSR");
    if (!request.empty()) files.push_back({"csr-" + session + ".pem", request});
    return files;
}

}  // namespace tool

#include "html_page.h"

#include "page_assets.h"
#include "text.h"

namespace tool {

namespace {

// clang-format off
constexpr Text TITLE = {"SAT: registros de %1", "SAT: logs of %1"};
constexpr Text LANGUAGE = {"pt-BR", "en"};
struct PageText {
    const char* name;
    Text text;
};
const PageText PAGE_TEXTS[] = {
    {"titulo", {"Registros do SAT", "Logs of the device"}},
    {"todos", {"todos os comandos", "all commands"}},
    {"procurar", {"procurar em tudo", "search everywhere"}},
    {"linhas", {"linhas dos registros", "lines of the logs"}},
    {"sessao", {"sessão", "session"}},
    {"fazer", {"O que fazer", "What to do"}},
    {"trocas", {"trocas mostradas", "exchanges shown"}},
    {"aceito", {"aceito", "accepted"}},
    {"recusado", {"recusado", "refused"}},
    {"falha", {"falha", "failed"}},
    {"sem_resposta", {"sem resposta", "no reply"}},
};
// clang-format on

// Inside a script element "</" would end it, and two separators end lines in older browsers.
std::string ScriptText(const Json& json) {
    const std::string text = json.dump(-1, ' ', true, Json::error_handler_t::replace);
    std::string safe;
    for (const char c : text) {
        if (c == '<') {
            safe += "\\u003c";
        } else {
            safe += c;
        }
    }
    return safe;
}

}  // namespace

std::string HtmlPage(const Json& timeline) {
    Json words;
    for (const PageText& row : PAGE_TEXTS) {
        words[row.name] = Say(row.text);
    }
    const std::string day = timeline["dia"];
    std::string page = "<!DOCTYPE html>\n<html lang=\"" + Say(LANGUAGE) + "\"><head><meta charset=\"utf-8\">";
    page += "<meta name=\"viewport\" content=\"width=device-width\"><title>" + Say(TITLE, {day}) +
            "</title>\n<style>";
    page += PAGE_STYLE;
    page += "</style></head><body>\n";
    page += PAGE_BODY;
    page += "<script>\nconst timeline = " + ScriptText(timeline) + ";\nconst words = " + ScriptText(words) +
            ";\n";
    page += PAGE_SCRIPT;
    return page + "</script></body></html>\n";
}

}  // namespace tool

#include "log_json.h"

namespace tool {

namespace {

constexpr Text NO_RESULT = {"sem resposta nos registros", "no reply in the logs"};

Json EventsJson(const Exchange& exchange) {
    Json events = Json::array();
    for (const LogEvent& event : exchange.events) {
        events.push_back({{"hora", ClockText(event.time)},
                          {"ms", event.time - exchange.begin},
                          {"texto", event.words},
                          {"ruim", event.bad}});
    }
    return events;
}

Json LinesJson(const Exchange& exchange) {
    Json lines = Json::array();
    for (const std::string& line : exchange.raw) {
        lines.push_back(Printable(line));
    }
    return lines;
}

}  // namespace

std::string ReasonOf(const Exchange& exchange) {
    const Reply& reply = exchange.reply;
    if (reply.error) return Printable(reply.error->message) + ": " + reply.error->cause;
    if (!reply.fields.empty()) return Printable(ValueOf(reply, "EEEEE") + " " + ValueOf(reply, "mensagem"));
    for (const LogEvent& event : exchange.events) {
        if (event.bad) return event.words;
    }
    return Say(NO_RESULT);
}

std::string RemedyOf(const Exchange& exchange) {
    return exchange.reply.error ? exchange.reply.error->remedy : exchange.reply.code.remedy;
}

Json TimelineJson(const std::string& day, const std::vector<Exchange>& timeline) {
    Json list = Json::array();
    for (const Exchange& exchange : timeline) {
        list.push_back({{"inicio", ClockText(exchange.begin)},
                        {"inicio_ms", exchange.begin - DayStart(day)},
                        {"duracao_ms", exchange.end - exchange.begin},
                        {"exato", exchange.exact},
                        {"comando", ToUtf8(exchange.command)},
                        {"sessao", ToUtf8(exchange.session)},
                        {"porta", exchange.port},
                        {"resultado", OutcomeName(exchange)},
                        {"motivo", ReasonOf(exchange)},
                        {"providencia", RemedyOf(exchange)},
                        {"eventos", EventsJson(exchange)},
                        {"linhas", LinesJson(exchange)}});
    }
    return {{"dia", day}, {"trocas", list}};
}

}  // namespace tool

#include "report.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "device.h"

namespace emulator {

namespace {

using Object = nlohmann::ordered_json;

constexpr size_t LONGEST_FIELD = 40;

// A field of a text from the line, cut short.
std::string Field(const std::string& text, size_t field) {
    const std::vector<std::string> fields = SplitFields(text, field + 2);
    return field < fields.size() ? fields[field].substr(0, LONGEST_FIELD) : "";
}

// The same, fit to be printed.
std::string Printable(const std::string& text, size_t field) {
    std::string shown = Field(text, field);
    for (char& c : shown) {
        if (c < ' ' || c > '~') c = '?';
    }
    return shown.empty() ? "-" : shown;
}

// The faults that acted in an exchange, or those that found no occasion.
std::vector<std::string> FaultTexts(const Exchange& exchange, bool acted) {
    std::vector<std::string> texts;
    for (size_t i = 0; i < exchange.faults.size(); ++i) {
        if ((exchange.faults[i].used > 0) == acted) texts.push_back(FaultText(exchange.armed[i]));
    }
    return texts;
}

std::string Joined(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : "+") + text;
    }
    return joined;
}

std::string Dump(const Object& object) {
    return object.dump(-1, ' ', false, Object::error_handler_t::replace);
}

// Two threads report: a line is written in one call.
void Print(std::FILE* stream, const std::string& line) {
    const std::string whole = line + "\n";
    std::fwrite(whole.data(), 1, whole.size(), stream);
    std::fflush(stream);
}

void Show(const Reporter& reporter, const std::string& text, const Object& object) {
    Print(stdout, reporter.json ? Dump(object) : text);
}

}  // namespace

std::string ExchangeText(const Exchange& exchange, LocalTime now) {
    const std::string time = TimeText(now);
    const bool answered = !exchange.reply.empty();
    std::string text = time.substr(0, 2) + ":" + time.substr(2, 2) + ":" + time.substr(4, 2) + " " +
                       Printable(exchange.command, 0) + " " + Printable(exchange.command, 1) +
                       " comando=" + std::to_string(exchange.command.size()) +
                       " resposta=" + std::to_string(exchange.reply.size()) +
                       " codigo=" + (answered ? Printable(exchange.reply, 1) : "-") +
                       " envios=" + std::to_string(exchange.transmissions) + " " +
                       OutcomeText(exchange.outcome) + " " + std::to_string(exchange.duration_ms) + " ms";
    const std::string acted = Joined(FaultTexts(exchange, true));
    const std::string unused = Joined(FaultTexts(exchange, false));
    if (!acted.empty()) text += " falha=" + acted;
    if (!unused.empty()) text += " sem-efeito=" + unused;
    return text;
}

std::string ExchangeJson(const Exchange& exchange, LocalTime now) {
    const std::string date = DateText(now);
    const std::string time = TimeText(now);
    return Dump({{"event", "exchange"},
                 {"time", date.substr(0, 4) + "-" + date.substr(4, 2) + "-" + date.substr(6, 2) + "T" +
                              time.substr(0, 2) + ":" + time.substr(2, 2) + ":" + time.substr(4, 2)},
                 {"command", Field(exchange.command, 0)},
                 {"session", Field(exchange.command, 1)},
                 {"command_bytes", exchange.command.size()},
                 {"reply_bytes", exchange.reply.size()},
                 {"code", Field(exchange.reply, 1)},
                 {"transmissions", exchange.transmissions},
                 {"outcome", OutcomeWord(exchange.outcome)},
                 {"duration_ms", exchange.duration_ms},
                 {"faults", FaultTexts(exchange, true)},
                 {"unused_faults", FaultTexts(exchange, false)}});
}

void ReportExchange(const Reporter& reporter, const Exchange& exchange, LocalTime now) {
    if (reporter.quiet) return;
    Print(stdout, reporter.json ? ExchangeJson(exchange, now) : ExchangeText(exchange, now));
}

void ReportReady(const Reporter& reporter, const std::string& address, const std::string& link) {
    Object object = {{"event", "ready"}, {"address", address}};
    if (!link.empty()) object["link"] = link;
    Show(reporter, "pronto " + address + (link.empty() ? "" : " " + link), object);
}

void ReportSeed(const Reporter& reporter, uint64_t seed) {
    Show(reporter, "semente " + std::to_string(seed), {{"event", "seed"}, {"seed", seed}});
}

void ReportAnswer(const Reporter& reporter, const std::string& text) {
    Show(reporter, text, {{"event", "answer"}, {"text", text}});
}

void ReportError(const Reporter& reporter, const std::string& text) {
    if (reporter.json) Print(stdout, Dump({{"event", "error"}, {"text", text}}));
    Print(stderr, "sat-emulator: " + text);
}

}  // namespace emulator

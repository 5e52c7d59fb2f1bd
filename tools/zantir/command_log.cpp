#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "commands.h"
#include "files.h"
#include "html_page.h"
#include "log_files.h"
#include "log_json.h"
#include "log_mask.h"
#include "platform/platform.h"
#include "values.h"

namespace tool {

namespace {

// clang-format off
constexpr Text BAD_DAY = {"não é um dia AAAAMMDD ou DD/MM/AAAA: %1", "no day AAAAMMDD or DD/MM/AAAA: %1"};
constexpr Text NO_LOG = {"não há registros do dia %1 em %2%3", "there are no logs of the day %1 in %2%3"};
constexpr Text NEWEST_DAY = {"; o mais recente é de %1", "; the newest is of %1"};
constexpr Text NOT_WRITTEN = {"não foi possível gravar %1", "could not write %1"};
constexpr Text WRITTEN = {"Gravado: %1", "Saved: %1"};
constexpr Text SESSION = {"sessão %1", "session %1"};
constexpr Text REMEDY = {"O que fazer: %1", "What to do: %1"};
constexpr Text TOTALS = {"%1 trocas: %2 aceitas, %3 recusadas, %4 falhas, %5 sem resposta", "%1 exchanges: %2 accepted, %3 refused, %4 failed, %5 without reply"};
// clang-format on

constexpr LogTime A_DAY = 24LL * 3600 * 1000;

// AAAAMMDD of what the technician wrote; "" when it is no day.
std::string NormalDay(const std::string& day) {
    if (day.empty()) {
        plat_calendar now = {};
        plat_local_now(&now);
        char today[64];
        std::snprintf(today, sizeof today, "%04d%02d%02d", now.year, now.month, now.day);
        return today;
    }
    std::string normal = day;
    if (day.size() == 10 && day[2] == '/' && day[5] == '/') {
        normal = day.substr(6, 4) + day.substr(3, 2) + day.substr(0, 2);
    }
    return IsDate(normal) ? normal : "";
}

// The files of a local day: the diagnostic log's days are those of UTC, so its neighbours count too.
struct DayTexts {
    std::vector<std::pair<std::string, std::string>> diagnostic;  // UTC day and text
    std::string protocol;
    bool found = false;
};

DayTexts ReadDay(const std::string& folder, const std::string& day) {
    DayTexts texts;
    for (const LogTime shift : {-A_DAY, LogTime{0}, A_DAY}) {
        const std::string utc_day = DayText(DayStart(day) + shift);
        for (const std::string& file : DiagnosticFiles(folder, utc_day)) {
            std::string text;
            if (!ReadFile(file, &text)) continue;
            texts.diagnostic.emplace_back(utc_day, text);
            texts.found = texts.found || shift == 0;
        }
    }
    const std::string file = ProtocolFile(folder, day);
    texts.found = (!file.empty() && ReadFile(file, &texts.protocol)) || texts.found;
    return texts;
}

void Mask(DayTexts* texts) {
    Secrets secrets;
    CollectSecrets(texts->protocol, &secrets);
    for (const auto& [day, text] : texts->diagnostic) {
        CollectSecrets(text, &secrets);
    }
    texts->protocol = WithoutSecrets(texts->protocol, secrets);
    for (auto& [day, text] : texts->diagnostic) {
        text = WithoutSecrets(text, secrets);
    }
}

std::vector<Exchange> TimelineOf(const DayTexts& texts, const std::string& day) {
    std::vector<DiagnosticEntry> entries;
    for (const auto& [utc_day, text] : texts.diagnostic) {
        for (const DiagnosticEntry& entry : ParseDiagnosticLog(text, utc_day, MachineLocalTime)) {
            if (DayText(entry.time) == day) entries.push_back(entry);
        }
    }
    return BuildTimeline(entries, ParseProtocolLog(texts.protocol));
}

std::string NewestDay(const std::string& folder) {
    std::string newest;
    std::error_code failure;
    std::filesystem::directory_iterator entry(PathOf(folder), failure);
    for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
        const std::string name = NameOf(entry->path().filename());
        const bool log = name.find("_SAT_") == 8 && IsDate(name.substr(0, 8));
        if (log) newest = std::max(newest, name.substr(0, 8));
    }
    return newest;
}

Colour ColourOf(const Exchange& exchange) {
    switch (exchange.reply.verdict) {
        case Verdict::Accepted:
            return Colour::Good;
        case Verdict::Refused:
            return Colour::Warning;
        default:
            return Colour::Bad;
    }
}

void ShowExchange(const Exchange& exchange) {
    std::string line = ClockText(exchange.begin) + " " +
                       Painted(Colour::Name, exchange.command.empty() ? "?" : Printable(exchange.command));
    if (!exchange.session.empty()) line += " " + Say(SESSION, {Printable(exchange.session)});
    if (!exchange.port.empty()) line += " " + exchange.port;
    line += " " + Painted(ColourOf(exchange), ReasonOf(exchange));
    ShowLine(line + " (" + std::to_string(exchange.end - exchange.begin) + " ms)");
    for (const LogEvent& event : exchange.events) {
        const std::string step = "+" + std::to_string(event.time - exchange.begin) + " ms";
        ShowLine("    " + Padded(step, 12) + (event.bad ? Painted(Colour::Bad, event.words) : event.words));
    }
    const std::string remedy = RemedyOf(exchange);
    if (!remedy.empty()) ShowLine("    " + Painted(Colour::Name, Say(REMEDY, {remedy})));
}

std::string Count(const std::vector<Exchange>& timeline, const std::string& outcome) {
    return std::to_string(std::count_if(timeline.begin(), timeline.end(), [&](const Exchange& exchange) {
        return OutcomeName(exchange) == outcome;
    }));
}

int Write(const Options& options, const Json& json) {
    if (!WriteFile(options.html_file, HtmlPage(json))) {
        Complain(Say(NOT_WRITTEN, {options.html_file}));
        return EXIT_FILE;
    }
    if (!options.json) ShowLine(Say(WRITTEN, {options.html_file}));
    return EXIT_OK;
}

}  // namespace

int CommandLog(const Options& options) {
    const std::string day = NormalDay(options.day);
    if (day.empty()) {
        Complain(Say(BAD_DAY, {options.day}));
        return EXIT_USAGE;
    }
    const std::string folder = options.log_folder.empty() ? LogFolderOf("SAT.ini") : options.log_folder;
    DayTexts texts = ReadDay(folder, day);
    if (!texts.found) {
        const std::string newest = NewestDay(folder);
        std::error_code failure;
        Complain(Say(NO_LOG, {day, NameOf(std::filesystem::absolute(PathOf(folder), failure)),
                              newest.empty() ? "" : Say(NEWEST_DAY, {newest})}));
        return EXIT_FILE;
    }
    if (!options.unmasked) Mask(&texts);
    const std::vector<Exchange> timeline = TimelineOf(texts, day);
    const Json json = TimelineJson(day, timeline);
    if (options.json) ShowJson(json);
    if (!options.html_file.empty()) return Write(options, json);
    if (options.json) return EXIT_OK;
    for (const Exchange& exchange : timeline) {
        ShowExchange(exchange);
    }
    ShowLine(
        Say(TOTALS, {std::to_string(timeline.size()), Count(timeline, "aceito"), Count(timeline, "recusado"),
                     Count(timeline, "falha"), Count(timeline, "sem_resposta")}));
    return EXIT_OK;
}

}  // namespace tool

#include "log_timeline.h"

#include <algorithm>

#include "functions.h"
#include "text.h"

namespace tool {

namespace {

// clang-format off
constexpr Text COMMAND_SENT = {"comando enviado, %1 bytes", "command sent, %1 bytes"};
constexpr Text REPLY_CAME = {"resposta recebida, %1 bytes", "reply received, %1 bytes"};
constexpr Text DAMAGED = {"resposta danificada", "damaged reply"};
// clang-format on

// The two logs tell the same moment at most this far apart.
constexpr int64_t CLOCK_SLACK_MS = 2000;

// An exchange under construction.
struct Group {
    Exchange exchange;
    bool replied = false;
    bool closed = false;
    bool matched = false;
};

// Fills in command and session from a packet's text "Command|123456|...".
void NameFromPacket(const std::string& text, Exchange* exchange) {
    const std::vector<std::string> fields = Split(text.substr(0, 200), '|');
    if (fields.size() < 2 || FindFunction(fields[0]) == nullptr) return;
    exchange->command = fields[0];
    // The last field carries what follows the text: checksum and ETX.
    exchange->session = fields[1].substr(0, fields[1].find_first_not_of("-0123456789"));
    exchange->session.resize(std::min<size_t>(exchange->session.size(), 6));
}

std::string PacketIn(const std::string& raw, const std::string& front) {
    const size_t stx = raw.find('\x02', raw.find(front));
    return stx == std::string::npos ? "" : raw.substr(stx + 1);
}

// Whether an event cannot belong to an exchange that has come so far.
bool StartsAnother(const LogEvent& event, const Group& group) {
    switch (event.kind) {
        case EventKind::Begin:
            return true;
        case EventKind::Sent:
            return group.replied || group.closed;
        case EventKind::Failed:
            return group.replied || !group.exchange.result.empty() ||
                   (!group.exchange.command.empty() && group.exchange.command != event.function);
        case EventKind::SentAck:
        case EventKind::End:
            return false;
        default:
            return group.closed || group.replied;
    }
}

bool BeginsAny(const LogEvent& event) {
    return event.kind != EventKind::Other && event.kind != EventKind::End && event.kind != EventKind::SentAck;
}

void Add(const LogEvent& event, Group* group) {
    Exchange& exchange = group->exchange;
    if (exchange.raw.empty()) exchange.begin = event.time;
    // A line that is no step may be the next call's, which reads SAT.ini before it begins: between two sales
    // pass minutes.
    if (event.kind != EventKind::Other || !event.words.empty())
        exchange.end = std::max(exchange.end, event.time);
    exchange.exact = true;
    exchange.raw.push_back(event.raw);
    if (!event.words.empty()) exchange.events.push_back(event);
    switch (event.kind) {
        case EventKind::Port:
            exchange.port = event.detail;
            break;
        case EventKind::Sent:
            if (exchange.command.empty()) NameFromPacket(PacketIn(event.raw, "pusTxPkt["), &exchange);
            break;
        case EventKind::Received:
            group->replied = true;
            break;
        case EventKind::Failed:
            exchange.command = event.function;
            exchange.result = event.detail;
            group->closed = true;
            break;
        case EventKind::End:
            group->closed = true;
            break;
        default:
            break;
    }
}

std::vector<Group> GroupEvents(const std::vector<DiagnosticEntry>& diagnostic) {
    std::vector<Group> groups;
    for (const DiagnosticEntry& entry : diagnostic) {
        const LogEvent event = MakeEvent(entry);
        const bool another = groups.empty() || (BeginsAny(event) && StartsAnother(event, groups.back()));
        if (another && !BeginsAny(event)) continue;
        if (another) groups.emplace_back();
        // Lines without meaning belong to the exchange that goes on, not to one that has ended.
        if (event.kind == EventKind::Other && groups.back().closed) continue;
        Add(event, &groups.back());
    }
    return groups;
}

LogEvent PacketEvent(const ProtocolEntry& entry) {
    LogEvent event;
    event.time = entry.time;
    event.kind = entry.to_device ? EventKind::Sent : entry.valid ? EventKind::Received : EventKind::Rejected;
    event.bad = !entry.valid;
    const Text& words = entry.to_device ? COMMAND_SENT : entry.valid ? REPLY_CAME : DAMAGED;
    event.words = Say(words, {std::to_string(entry.text.size())});
    return event;
}

std::vector<Exchange> PairPackets(const std::vector<ProtocolEntry>& protocol) {
    std::vector<Exchange> exchanges;
    for (const ProtocolEntry& entry : protocol) {
        if (entry.to_device || exchanges.empty()) {
            exchanges.emplace_back();
            exchanges.back().begin = entry.time;
        }
        Exchange& exchange = exchanges.back();
        exchange.end = entry.time;
        exchange.raw.push_back(entry.raw);
        exchange.events.push_back(PacketEvent(entry));
        if (entry.to_device) {
            NameFromPacket(entry.text, &exchange);
        } else if (entry.valid) {
            exchange.result = entry.text;
        }
    }
    return exchanges;
}

bool FailedBehindSending(const Exchange& exchange) {
    const auto behind = [](const LogEvent& event) {
        return event.kind == EventKind::Stall || event.kind == EventKind::ReplyTimeout ||
               event.kind == EventKind::TooManyErrors || event.kind == EventKind::Rejected;
    };
    return std::any_of(exchange.events.begin(), exchange.events.end(), behind);
}

// Whether a group tells of the same exchange as the packets that began it; `until` is when the next one did.
bool SameExchange(const Group& group, const Exchange& packets, LogTime until) {
    if (group.matched) return false;
    const Exchange& other = group.exchange;
    const bool same_command = other.command.empty() || other.command == packets.command;
    const bool in_time = other.end + CLOCK_SLACK_MS >= packets.begin && other.begin - CLOCK_SLACK_MS < until;
    if (!other.session.empty()) return same_command && in_time && other.session == packets.session;
    // Errors alone. A command stands in the protocol log once it was sent and acknowledged, so only what went
    // wrong behind that belongs to it.
    return same_command && in_time && packets.result.empty() && FailedBehindSending(other) &&
           other.begin >= packets.begin;
}

void Merge(Exchange packets, Group* group) {
    Exchange& exchange = group->exchange;
    group->matched = true;
    exchange.command = packets.command;
    exchange.session = packets.session;
    if (!packets.result.empty()) exchange.result = packets.result;
    // The diagnostic log names the steps better where it names them at all.
    const bool steps = std::any_of(exchange.events.begin(), exchange.events.end(),
                                   [](const LogEvent& event) { return event.kind == EventKind::Sent; });
    if (!steps) {
        exchange.events.insert(exchange.events.begin(), packets.events.begin(), packets.events.end());
        exchange.begin = std::min(exchange.begin, packets.begin);
    }
    exchange.raw.insert(exchange.raw.end(), packets.raw.begin(), packets.raw.end());
}

bool TellsAnything(const Exchange& exchange) {
    const bool bad = std::any_of(exchange.events.begin(), exchange.events.end(),
                                 [](const LogEvent& event) { return event.bad; });
    return !exchange.command.empty() || !exchange.result.empty() || bad;
}

}  // namespace

std::vector<Exchange> BuildTimeline(const std::vector<DiagnosticEntry>& diagnostic,
                                    const std::vector<ProtocolEntry>& protocol) {
    std::vector<Group> groups = GroupEvents(diagnostic);
    std::vector<Exchange> timeline;
    const std::vector<Exchange> pairs = PairPackets(protocol);
    size_t first = 0;  // groups in front of this one are matched or too old
    for (size_t at = 0; at < pairs.size(); ++at) {
        const LogTime until = at + 1 < pairs.size() ? pairs[at + 1].begin + CLOCK_SLACK_MS : INT64_MAX / 2;
        while (first < groups.size() &&
               (groups[first].matched || groups[first].exchange.end + CLOCK_SLACK_MS < pairs[at].begin))
            ++first;
        auto group = groups.begin() + static_cast<std::ptrdiff_t>(first);
        while (group != groups.end() && group->exchange.begin - CLOCK_SLACK_MS < until &&
               !SameExchange(*group, pairs[at], until))
            ++group;
        if (group != groups.end() && SameExchange(*group, pairs[at], until)) {
            Merge(pairs[at], &*group);
        } else {
            timeline.push_back(pairs[at]);
        }
    }
    for (const Group& group : groups) {
        if (TellsAnything(group.exchange)) timeline.push_back(group.exchange);
    }
    std::stable_sort(timeline.begin(), timeline.end(),
                     [](const Exchange& a, const Exchange& b) { return a.begin < b.begin; });
    for (Exchange& exchange : timeline) {
        if (!exchange.result.empty()) exchange.reply = ParseReply(exchange.result, exchange.command);
    }
    return timeline;
}

const char* OutcomeName(const Exchange& exchange) {
    return VerdictName(exchange.reply.verdict);
}

}  // namespace tool

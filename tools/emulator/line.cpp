#include "line.h"

#include <algorithm>

#include "line_steps.h"
#include "reply_fault.h"

namespace emulator {

namespace {

struct OutcomeRow {
    Outcome outcome;
    const char* word;
    const char* text;
};

constexpr OutcomeRow OUTCOMES[] = {
    {Outcome::Idle, "idle", "ociosa"},
    {Outcome::Answered, "answered", "ok"},
    {Outcome::BadChecksum, "bad-checksum", "checksum do comando errado, NAK"},
    {Outcome::CommandStalled, "command-stalled", "comando interrompido"},
    {Outcome::CommandTooLong, "command-too-long", "comando longo demais, NAK"},
    {Outcome::CommandRefused, "command-refused", "comando recusado com NAK"},
    {Outcome::CommandIgnored, "command-ignored", "comando sem ACK"},
    {Outcome::NoReply, "no-reply", "sem resposta"},
    {Outcome::ReplyNotTaken, "reply-not-taken", "resposta nao lida"},
    {Outcome::ReplyUnanswered, "reply-unanswered", "resposta sem ACK"},
    {Outcome::ReplyRefused, "reply-refused", "resposta recusada com NAK"},
    {Outcome::Interrupted, "interrupted", "resposta abandonada, novo comando"},
    {Outcome::Unplugged, "unplugged", "porta desligada"},
    {Outcome::PortGone, "port-gone", "porta perdida"},
};

const OutcomeRow& RowOf(Outcome outcome) {
    return *std::ranges::find(OUTCOMES, outcome, &OutcomeRow::outcome);
}

// Waits for an STX; anything else on an idle line is noise and is dropped.
Outcome AwaitStart(Line& line, int64_t idle_ms) {
    if (line.stx_pending) {
        line.stx_pending = false;
        return Outcome::Answered;
    }
    const int64_t deadline = line.port.NowMs() + idle_ms;
    for (;;) {
        const int byte = NextByte(line, std::max<int64_t>(0, deadline - line.port.NowMs()));
        if (byte == STX) return Outcome::Answered;
        if (byte == GONE) return Outcome::PortGone;
        if (byte == NO_BYTE && line.port.NowMs() >= deadline) return Outcome::Idle;
    }
}

Outcome Serve(Line& line, Exchange& exchange, const AnswerFunction& answer) {
    const Outcome received = ReceiveCommand(line, exchange);
    if (received != Outcome::Answered) return received;
    if (TakeFault(exchange.faults, FaultKind::Busy) != nullptr) {
        exchange.reply = BusyReply(exchange.command);
    } else {
        exchange.reply = answer(exchange.command);
    }
    // The command was carried out all the same, as after a reply that got lost.
    if (TakeFault(exchange.faults, FaultKind::Silence) != nullptr) return Outcome::NoReply;
    ApplyTextFaults(exchange.faults, exchange.reply);
    return SendReply(line, exchange);
}

}  // namespace

const char* OutcomeText(Outcome outcome) {
    return RowOf(outcome).text;
}

const char* OutcomeWord(Outcome outcome) {
    return RowOf(outcome).word;
}

int NextByte(Line& line, int64_t wait_ms) {
    if (line.next == line.input.size()) {
        line.input.resize(BLOCK_SIZE);
        line.next = 0;
        const int count = line.port.Read(line.input.data(), line.input.size(), wait_ms);
        line.input.resize(count > 0 ? static_cast<size_t>(count) : 0);
        if (count <= 0) return count == 0 ? NO_BYTE : GONE;
    }
    return static_cast<unsigned char>(line.input[line.next++]);
}

Exchange ServeExchange(Line& line, const AnswerFunction& answer, int64_t idle_ms) {
    Exchange exchange;
    exchange.outcome = AwaitStart(line, idle_ms);
    if (exchange.outcome != Outcome::Answered) return exchange;
    const int64_t start = line.port.NowMs();
    // What an earlier caller left unread would stand in front of this one's acknowledgements.
    line.port.DropUnread();
    PlannedFaults planned;
    if (line.plan != nullptr) planned = NextFaults(*line.plan);
    exchange.armed = exchange.faults = planned.faults;
    exchange.outcome = Serve(line, exchange, answer);
    exchange.duration_ms = line.port.NowMs() - start;
    if (line.plan != nullptr) ReturnFaults(*line.plan, {exchange.faults, planned.cleared});
    return exchange;
}

}  // namespace emulator

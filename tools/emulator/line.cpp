#include "line.h"

#include <algorithm>

namespace emulator {

namespace {

constexpr int NO_BYTE = -1;
constexpr int GONE = -2;

// The next byte of the line as 0 to 255, NO_BYTE after `wait_ms` of silence, or GONE.
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

void SendByte(Line& line, char byte) {
    // A caller that does not take even one byte shows itself at the next wait.
    line.port.Write(&byte, 1, line.settings.stall_ms);
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

// Collects the frame behind its STX into `text`, checksum included. Every full block without an ETX gets its
// ACK.
Outcome ReceiveBody(Line& line, std::string& text) {
    size_t received = 1;
    for (;;) {
        const int byte = NextByte(line, line.settings.stall_ms);
        if (byte == GONE) return Outcome::PortGone;
        if (byte == NO_BYTE) return Outcome::CommandStalled;
        if (byte == ETX) return Outcome::Answered;
        text += static_cast<char>(byte);
        if (++received >= line.settings.longest_command) {
            SendByte(line, NAK);
            return Outcome::CommandTooLong;
        }
        if (received % BLOCK_SIZE == 0) SendByte(line, ACK);
    }
}

Outcome ReceiveCommand(Line& line, std::string& text) {
    const Outcome body = ReceiveBody(line, text);
    if (body != Outcome::Answered) return body;
    bool good = false;
    if (!text.empty()) {
        const auto sum = static_cast<uint8_t>(text.back());
        text.pop_back();
        good = sum == FrameSum(text);
    }
    SendByte(line, good ? ACK : NAK);
    return good ? Outcome::Answered : Outcome::BadChecksum;
}

// Waits for the answer to a block: Answered for ACK, ReplyRefused for NAK. Other bytes are skipped and do not
// lengthen the wait. An STX can only come from a new caller: the old one is gone, and its reply with it.
Outcome AwaitAcknowledgement(Line& line) {
    const int64_t deadline = line.port.NowMs() + line.settings.acknowledge_ms;
    for (;;) {
        const int byte = NextByte(line, std::max<int64_t>(0, deadline - line.port.NowMs()));
        if (byte == ACK) return Outcome::Answered;
        if (byte == NAK) return Outcome::ReplyRefused;
        if (byte == GONE) return Outcome::PortGone;
        if (byte == STX) {
            line.stx_pending = true;
            return Outcome::Interrupted;
        }
        if (line.port.NowMs() >= deadline) return Outcome::ReplyUnanswered;
    }
}

Outcome SendOnce(Line& line, const std::string& frame) {
    for (size_t sent = 0; sent < frame.size(); sent += BLOCK_SIZE) {
        const size_t size = std::min(BLOCK_SIZE, frame.size() - sent);
        if (!line.port.Write(frame.data() + sent, size, line.settings.acknowledge_ms)) {
            return Outcome::ReplyNotTaken;
        }
        const Outcome outcome = AwaitAcknowledgement(line);
        if (outcome != Outcome::Answered) return outcome;
    }
    return Outcome::Answered;
}

// A NAK to any block asks for the whole frame again.
Outcome SendReply(Line& line, Exchange& exchange) {
    const std::string frame = BuildFrame(exchange.reply);
    Outcome outcome = Outcome::ReplyRefused;
    while (outcome == Outcome::ReplyRefused && exchange.transmissions < line.settings.transmissions) {
        ++exchange.transmissions;
        outcome = SendOnce(line, frame);
    }
    return outcome;
}

}  // namespace

const char* OutcomeText(Outcome outcome) {
    switch (outcome) {
        case Outcome::Idle:
            return "ociosa";
        case Outcome::Answered:
            return "ok";
        case Outcome::BadChecksum:
            return "checksum do comando errado, NAK";
        case Outcome::CommandStalled:
            return "comando interrompido";
        case Outcome::CommandTooLong:
            return "comando longo demais, NAK";
        case Outcome::ReplyNotTaken:
            return "resposta nao lida";
        case Outcome::ReplyUnanswered:
            return "resposta sem ACK";
        case Outcome::ReplyRefused:
            return "resposta recusada com NAK";
        case Outcome::Interrupted:
            return "resposta abandonada, novo comando";
        case Outcome::PortGone:
            return "porta perdida";
    }
    return "?";
}

Exchange ServeExchange(Line& line, const AnswerFunction& answer, int64_t idle_ms) {
    Exchange exchange;
    exchange.outcome = AwaitStart(line, idle_ms);
    if (exchange.outcome != Outcome::Answered) return exchange;
    const int64_t start = line.port.NowMs();
    // What an earlier caller left unread would stand in front of this one's acknowledgements.
    line.port.DropUnread();
    exchange.outcome = ReceiveCommand(line, exchange.command);
    if (exchange.outcome == Outcome::Answered) {
        exchange.reply = answer(exchange.command);
        exchange.outcome = SendReply(line, exchange);
    }
    exchange.duration_ms = line.port.NowMs() - start;
    return exchange;
}

}  // namespace emulator

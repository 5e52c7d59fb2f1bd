#include <algorithm>

#include "line_steps.h"
#include "reply_fault.h"

namespace emulator {

namespace {

// Listens until a moment: Idle when it is reached, Answered for an ACK, ReplyRefused for a NAK. Other bytes
// are skipped and do not lengthen the wait. An STX can only come from a new caller: the old one is gone, and
// its reply with it.
Outcome Listen(Line& line, int64_t deadline_ms) {
    for (;;) {
        const int byte = NextByte(line, std::max<int64_t>(0, deadline_ms - line.port.NowMs()));
        if (byte == ACK) return Outcome::Answered;
        if (byte == NAK) return Outcome::ReplyRefused;
        if (byte == GONE) return Outcome::PortGone;
        if (byte == STX) {
            line.stx_pending = true;
            return Outcome::Interrupted;
        }
        if (line.port.NowMs() >= deadline_ms) return Outcome::Idle;
    }
}

// The answer to a block.
Outcome AwaitAcknowledgement(Line& line) {
    const Outcome outcome = Listen(line, line.port.NowMs() + line.settings.acknowledge_ms);
    return outcome == Outcome::Idle ? Outcome::ReplyUnanswered : outcome;
}

// A pause inside a block. Answered when it is over; an ACK has no meaning here.
Outcome Pause(Line& line, int64_t pause_ms) {
    const int64_t deadline = line.port.NowMs() + pause_ms;
    Outcome outcome = Outcome::Answered;
    while (outcome == Outcome::Answered) {
        outcome = Listen(line, deadline);
    }
    return outcome == Outcome::Idle ? Outcome::Answered : outcome;
}

// Sends bytes between which nothing happens, but for the gaps of a drip. Behind the last byte there is none:
// the caller's answer may come at once.
Outcome SendSpan(Line& line, const Transmission& transmission, size_t from, size_t to) {
    const size_t step = transmission.drip_ms ? 1 : to - from;
    for (size_t sent = from; sent < to; sent += step) {
        if (!line.port.Write(transmission.bytes.data() + sent, step, line.settings.acknowledge_ms)) {
            return Outcome::ReplyNotTaken;
        }
        if (!transmission.drip_ms || sent + 1 == to) continue;
        const Outcome outcome = Pause(line, *transmission.drip_ms);
        if (outcome != Outcome::Answered) return outcome;
    }
    return Outcome::Answered;
}

// Sends a block, with what is to happen inside it.
Outcome SendBlock(Line& line, const Transmission& transmission, size_t from, size_t to) {
    for (size_t at = from; at < to;) {
        if (transmission.unplug == at) {
            // A cable that is pulled takes nothing back of what it has carried.
            line.port.AwaitTaken(line.settings.stall_ms);
            return Outcome::Unplugged;
        }
        if (transmission.stall == at) {
            const Outcome outcome = Pause(line, transmission.stall_ms);
            if (outcome != Outcome::Answered) return outcome;
        }
        size_t next = to;
        for (const auto& event : {transmission.unplug, transmission.stall}) {
            if (event && *event > at) next = std::min(next, *event);
        }
        const Outcome outcome = SendSpan(line, transmission, at, next);
        if (outcome != Outcome::Answered) return outcome;
        at = next;
    }
    return Outcome::Answered;
}

Outcome SendOnce(Line& line, const Transmission& transmission) {
    for (size_t sent = 0; sent < transmission.end; sent += BLOCK_SIZE) {
        const size_t end = std::min(sent + BLOCK_SIZE, transmission.end);
        Outcome outcome = SendBlock(line, transmission, sent, end);
        if (outcome == Outcome::Answered) outcome = AwaitAcknowledgement(line);
        if (outcome != Outcome::Answered) return outcome;
    }
    return Outcome::Answered;
}

}  // namespace

// A NAK to any block asks for the whole frame again.
Outcome SendReply(Line& line, Exchange& exchange) {
    const std::string frame = BuildFrame(exchange.reply);
    Outcome outcome = Outcome::ReplyRefused;
    while (outcome == Outcome::ReplyRefused && exchange.transmissions < line.settings.transmissions) {
        ++exchange.transmissions;
        outcome = SendOnce(line, ShapeTransmission(exchange.faults, frame));
    }
    return outcome;
}

}  // namespace emulator

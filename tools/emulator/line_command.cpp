#include "line_steps.h"

namespace emulator {

namespace {

// Neither an acknowledgement nor what could be taken for one; control bytes and bytes above 0x7F among them.
std::string JunkBytes(int64_t size) {
    std::string junk;
    for (unsigned value = 1; static_cast<int64_t>(junk.size()) < size; value += 37) {
        const char byte = static_cast<char>(value & 0xFF);
        if (byte != ACK && byte != NAK) junk += byte;
    }
    return junk;
}

void Send(Line& line, const std::string& bytes) {
    // A caller that does not take even one byte shows itself at the next wait.
    line.port.Write(bytes.data(), bytes.size(), line.settings.stall_ms);
}

void SendByte(Line& line, char byte) {
    Send(line, std::string(1, byte));
}

// The answer to a good block of the command, spoilt as the faults ask. Answered when the caller has its ACK.
Outcome AcknowledgeBlock(Line& line, Faults& faults, size_t number) {
    const auto block = static_cast<int64_t>(number);
    if (TakeFault(faults, FaultKind::NoAck, block) != nullptr) return Outcome::CommandIgnored;
    const Fault* delay = TakeFault(faults, FaultKind::AckDelay, block);
    if (delay != nullptr && !line.port.SleepUntil(line.port.NowUs() + delay->ms * 1000)) {
        return Outcome::PortGone;
    }
    const Fault* junk = TakeFault(faults, FaultKind::Junk, block);
    if (junk != nullptr) Send(line, JunkBytes(junk->bytes));
    if (TakeFault(faults, FaultKind::Nak, block) != nullptr) {
        SendByte(line, NAK);
        return Outcome::CommandRefused;
    }
    SendByte(line, ACK);
    if (TakeFault(faults, FaultKind::DoubleAck, block) != nullptr) SendByte(line, ACK);
    return Outcome::Answered;
}

// Collects the frame behind its STX into the command, checksum included. Every full block without an ETX gets
// its ACK. `size` is the frame's size in the end.
Outcome ReceiveBody(Line& line, Exchange& exchange, size_t* size) {
    size_t received = 1;
    for (;;) {
        const int byte = NextByte(line, line.settings.stall_ms);
        if (byte == GONE) return Outcome::PortGone;
        if (byte == NO_BYTE) return Outcome::CommandStalled;
        ++received;
        if (byte == ETX) break;
        exchange.command += static_cast<char>(byte);
        if (received >= line.settings.longest_command) {
            SendByte(line, NAK);
            return Outcome::CommandTooLong;
        }
        if (received % BLOCK_SIZE != 0) continue;
        const Outcome outcome = AcknowledgeBlock(line, exchange.faults, received / BLOCK_SIZE);
        if (outcome != Outcome::Answered) return outcome;
    }
    *size = received;
    return Outcome::Answered;
}

}  // namespace

Outcome ReceiveCommand(Line& line, Exchange& exchange) {
    size_t size = 0;
    const Outcome body = ReceiveBody(line, exchange, &size);
    if (body != Outcome::Answered) return body;
    std::string& text = exchange.command;
    bool good = false;
    if (!text.empty()) {
        const auto sum = static_cast<uint8_t>(text.back());
        text.pop_back();
        good = sum == FrameSum(text);
    }
    if (good) return AcknowledgeBlock(line, exchange.faults, (size - 1) / BLOCK_SIZE + 1);
    SendByte(line, NAK);
    return Outcome::BadChecksum;
}

}  // namespace emulator

#include "reply_fault.h"

#include <algorithm>

#include "catalogue.h"
#include "commands.h"
#include "frame.h"

namespace emulator {

namespace {

constexpr int BUSY = 98;

std::string Digits(int64_t value, size_t width) {
    std::string digits = std::to_string(value);
    if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
    return digits;
}

void ChangeSession(int64_t number, std::string& reply) {
    const size_t end = std::min(reply.find('|'), reply.size());
    int64_t own = 0;
    ParseNumber(std::string_view(reply).substr(0, end), 0, 999999, &own);
    reply.replace(0, end, Digits(number == NEXT_SESSION ? (own + 1) % 1000000 : number, 6));
}

// One field more, of a pattern whose length is prime, so that a block that is lost or out of place shows.
void Pad(size_t size, std::string& reply) {
    constexpr std::string_view pattern = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxy";
    static_assert(pattern.size() == 61);
    if (reply.size() < size) reply += '|';
    reply.reserve(size);
    for (size_t at = 0; reply.size() < size; ++at) {
        reply += pattern[at % pattern.size()];
    }
}

// Neither what it was, nor an ETX, which would end the frame.
char Corrupted(char byte) {
    const char changed = static_cast<char>(byte ^ 0x40);
    return changed == ETX ? static_cast<char>(byte ^ 0x20) : changed;
}

void CorruptFrame(int64_t byte, std::string& frame) {
    // In front of the checksum and the ETX stands the last byte of the text.
    const size_t last = frame.size() - 3;
    const auto index = static_cast<size_t>(byte - 1);
    char& place = frame[index < frame.size() ? index : last];
    place = Corrupted(place);
}

void SpoilChecksum(std::string& frame) {
    char& sum = frame[frame.size() - 2];
    sum = static_cast<char>(sum + 1);
    if (sum == ETX) sum = static_cast<char>(sum + 2);
}

// Somewhere inside the frame, even where it has fewer bytes than were asked for.
size_t Inside(int64_t byte, const Transmission& transmission) {
    return std::min(static_cast<size_t>(byte), transmission.bytes.size() - 1);
}

}  // namespace

std::string BusyReply(const std::string& command) {
    const std::vector<std::string> fields = SplitFields(command, 3);
    const CommandRow* row = FindCommand(fields[0]);
    const int code = (row == nullptr ? 0 : row->prefix * 1000) + BUSY;
    std::string reply = (fields.size() > 1 ? fields[1] : "") + "|" + Digits(code, 5);
    if (row != nullptr && row->alert) reply += "|0000";
    return reply + "|SAT em processamento, tente novamente.||";
}

void ApplyTextFaults(Faults& faults, std::string& reply) {
    const Fault* session = TakeFault(faults, FaultKind::OtherSession);
    if (session != nullptr) ChangeSession(session->number, reply);
    const Fault* size = TakeFault(faults, FaultKind::Size);
    if (size != nullptr) Pad(static_cast<size_t>(size->bytes), reply);
}

Transmission ShapeTransmission(Faults& faults, const std::string& frame) {
    Transmission shaped;
    shaped.bytes = frame;
    const Fault* corrupt = TakeFault(faults, FaultKind::Corrupt);
    if (corrupt != nullptr) CorruptFrame(corrupt->byte, shaped.bytes);
    if (TakeFault(faults, FaultKind::Checksum) != nullptr) SpoilChecksum(shaped.bytes);
    if (TakeFault(faults, FaultKind::LostFirst) != nullptr) shaped.bytes.erase(0, 1);
    const Fault* truncate = TakeFault(faults, FaultKind::Truncate);
    shaped.end = truncate == nullptr ? shaped.bytes.size() : Inside(truncate->byte, shaped);
    const Fault* stall = TakeFault(faults, FaultKind::Stall);
    if (stall != nullptr) {
        shaped.stall = Inside(stall->byte, shaped);
        shaped.stall_ms = stall->ms;
    }
    const Fault* drip = TakeFault(faults, FaultKind::Drip);
    if (drip != nullptr) shaped.drip_ms = drip->ms;
    const Fault* unplug = TakeFault(faults, FaultKind::Unplug);
    if (unplug != nullptr) shaped.unplug = Inside(unplug->byte, shaped);
    return shaped;
}

}  // namespace emulator

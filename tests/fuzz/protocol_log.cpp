/*
 * The protocol log's line for any packet, as a terminated text and as a frame of a given size.
 */
#include <cstring>
#include <vector>

#include "machine.h"

using fuzz::ExpectEqual;

namespace {

/** The day's file: local time is three hours behind. */
constexpr char kFile[] = "Log\\20261120_SAT_ProtocolLog.txt";
constexpr char kTime[] = "20261120120405";

std::string Hex(char byte) {
    char text[8];
    snprintf(text, sizeof text, "<%02X>", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    return text;
}

/** The line of a packet whose bytes are all that may be looked at. */
std::string LineByTheRules(const std::string& packet, bool from_device) {
    const std::string text = packet.substr(0, packet.find('\0'));
    const std::string front = std::string(kTime) + (from_device ? " SAT->PC << [" : " PC->SAT >> [");
    if (!text.starts_with('\x02')) return front + text + "]InvalidSatPkg\n";
    if (text.ends_with('\x03')) {
        // STX and ETX alone are a frame without text and without checksum.
        const bool has_checksum = text.size() >= 3;
        const std::string inside = has_checksum ? text.substr(1, text.size() - 3) : "";
        const std::string checksum = has_checksum ? Hex(text[text.size() - 2]) : "";
        return front + "<02>" + inside + checksum + "<03>]" + (from_device ? "OK:b\n" : "OK:a\n");
    }
    const size_t behind_nul = text.size() + 1;
    if (behind_nul < packet.size() && packet[behind_nul] == '\x03') {
        // The zero checksum counts, and so the last byte of the text falls away.
        const std::string inside = text.size() >= 3 ? text.substr(1, text.size() - 2) : "";
        const std::string shown = from_device ? "<02>" + inside : inside;
        // To the device the label is the other direction's.
        return std::string(kTime) + " SAT->PC << [" + shown + "<00><03>]" +
               (from_device ? "WR:CKS=0x00\n" : "WR:CKSUM=0x00--\n");
    }
    return front + text + "]InvalidSatPkg\n";
}

std::string TakeLog() {
    const std::string text = sim::world().files.Text(kFile);
    sim::world().files.SetText(kFile, "");
    return text;
}

void CheckMessage(const std::string& packet, uint8_t direction, bool enabled) {
    // One byte behind the text's NUL may be looked at, and none behind it.
    const std::string text = packet.substr(0, packet.find('\0'));
    const char behind = text.size() + 1 < packet.size() ? packet[text.size() + 1] : '\0';
    const std::string visible = text + '\0' + behind;
    const std::vector<char> bytes(visible.begin(), visible.end());
    LogSATProtocolMsg(bytes.data(), direction);
    ExpectEqual("the line of a text", TakeLog(), enabled ? LineByTheRules(visible, direction == 1) : "");
}

void CheckFrame(const std::string& packet, uint8_t direction, bool enabled) {
    const std::vector<char> bytes(packet.begin(), packet.end());
    LogSATProtocolFrame(packet.empty() ? "" : bytes.data(), packet.size(), direction);
    ExpectEqual("the line of a frame", TakeLog(), enabled ? LineByTheRules(packet, direction == 1) : "");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const std::string packet = fuzz::LongText(input, 4000);
    const uint8_t direction = input.ConsumeIntegral<uint8_t>();
    // '1' writes no line of its own to the diagnostic log here, so it is the fast one.
    const char mode = "1150"[input.ConsumeIntegral<uint8_t>() % 4];
    fuzz::FreshMachine(mode);
    CheckMessage(packet, direction, mode != '0');
    CheckFrame(packet, direction, mode != '0');
    ExpectEqual("the file is open", gl_iFd != 0, mode != '0');
    ExpectEqual("allocations", sim::world().LiveAllocations(), int64_t{0});
    return 0;
}

#include "log_events.h"

#include "functions.h"
#include "text.h"

namespace tool {

namespace {

struct EventRule {
    const char* function;  // NULL for every routine
    const char* needle;    // what the text has to contain
    EventKind kind;
    bool bad;
    Text words;          // "%1" is the detail
    const char* detail;  // in front of the detail, which ends at the next "]" or ":"
};

// clang-format off
// The first rule that fits counts.
const EventRule RULES[] = {
    {"Communicate", "STEP-01.1[PASS]", EventKind::Begin, false, {"", ""}, nullptr},
    {"Communicate", "WAIT_TIMEOUT", EventKind::LockTimeout, true, {"a trava não veio em 3 s", "the lock did not come within 3 s"}, nullptr},
    {"Communicate", "NO_SAT_DEVICE_FOUND", EventKind::NoDevice, true, {"nenhum SAT encontrado", "no device found"}, nullptr},
    {"Communicate", "USING_SAT_EMULATOR", EventKind::Port, false, {"porta do emulador %1", "emulator's port %1"}, ":\\\\?\\"},
    {"Communicate", "STEP-02.2[PASS]", EventKind::Port, false, {"porta %1 aberta", "port %1 opened"}, "Port[\\\\?\\"},
    {"cSerialOpenW", "SAT_API_ERR_WIN_DEV_NOT_FOUND", EventKind::NotOpened, true, {"porta %1 não abriu", "port %1 did not open"}, "Dev[\\\\?\\"},
    {"cSerialWriteBufW", "pusTxPkt[", EventKind::Sent, false, {"enviados %1 bytes", "%1 bytes sent"}, "pusTxPkt["},
    {"cSerialWriteBufW", "WR_TIMEOUT", EventKind::Error, true, {"a porta não aceitou os dados", "the port did not take the data"}, nullptr},
    {"cSerialReadAck", "NAK", EventKind::Nak, true, {"SAT recusou o bloco (NAK)", "device refused the block (NAK)"}, nullptr},
    {"cSerialReadAck", "??? Expected", EventKind::Other, true, {"byte inesperado em vez de ACK", "unexpected byte instead of ACK"}, nullptr},
    {"cSerialReadAck", "timeout", EventKind::AckTimeout, true, {"SAT não confirmou em 2 s", "device did not acknowledge within 2 s"}, nullptr},
    {"cSerialReadAck", "ACK", EventKind::Ack, false, {"SAT confirmou (ACK)", "device acknowledged (ACK)"}, nullptr},
    {"cSerialReadBufW", "SAT->DLL", EventKind::Received, false, {"recebidos %1 bytes", "%1 bytes received"}, "TmpSatPkt["},
    {"cSerialReadBufW", "DLL->SAT Sent ACK", EventKind::BlockAck, false, {"bloco de 16 KB confirmado", "block of 16 KB acknowledged"}, nullptr},
    {"cSerialReadBufW", "TIMEOUT!! >> Send NAK", EventKind::Stall, true, {"a resposta parou no meio; pedida de novo (NAK)", "the reply stopped halfway; asked for again (NAK)"}, nullptr},
    {"cSerialReadBufW", "TIMEOUT!!!!", EventKind::ReplyTimeout, true, {"nenhuma resposta dentro do tempo", "no reply within the time-out"}, nullptr},
    {"cSerialReadBufW", "MissMatch", EventKind::Rejected, true, {"resposta danificada; pedida de novo (NAK)", "damaged reply; asked for again (NAK)"}, nullptr},
    {"cSerialReadBufW", "TOO MANY ERRORS", EventKind::TooManyErrors, true, {"três respostas danificadas: desistência", "three damaged replies: given up"}, nullptr},
    {"cSerialReadBufW", "REPLY WITHOUT END", EventKind::Error, true, {"resposta sem fim: desistência", "reply without end: given up"}, nullptr},
    {"lSerialWriteAck", "NAK", EventKind::SentNak, false, {"NAK enviado", "NAK sent"}, nullptr},
    {"lSerialWriteAck", "ACK", EventKind::SentAck, false, {"ACK enviado", "ACK sent"}, nullptr},
    {"Communicate", "STEP-07.0", EventKind::End, false, {"", ""}, nullptr},
    // A key that SAT.ini lacks is reported each time the file is read: no step of an exchange.
    {"VKO_GetIniFileValue", "", EventKind::Other, false, {"", ""}, nullptr},
    {"VKO_SetIniFileLogMode", "", EventKind::Other, false, {"", ""}, nullptr},
    {"UpdateZantirConfiguration", "", EventKind::Other, false, {"", ""}, nullptr},
    // The lines above say it already.
    {"Communicate", "[FAIL]", EventKind::Error, true, {"", ""}, nullptr},
    {"cSerialWriteBufW", "<< ACK", EventKind::Error, true, {"", ""}, nullptr},
    {"cSerialWriteBufW", "<< NAK", EventKind::Error, true, {"", ""}, nullptr},
};
// clang-format on

std::string DetailOf(const EventRule& rule, const std::string& text) {
    if (rule.detail == nullptr) return "";
    const size_t at = text.find(rule.detail);
    if (at == std::string::npos) return "";
    const size_t from = at + std::string_view(rule.detail).size();
    const std::string detail = text.substr(from, text.find_first_of("]:\n", from) - from);
    // Lengths are printed with leading zeros.
    return AllDigits(detail) ? std::to_string(NumberOf(detail)) : detail;
}

bool Fits(const EventRule& rule, const DiagnosticEntry& entry) {
    return (rule.function == nullptr || entry.function == rule.function) &&
           entry.text.find(rule.needle) != std::string::npos;
}

// "rc[-01000]ER << SAT_Rsp[00063:SAT Erro[...] ]": the text that the caller got.
std::string ResultText(const std::string& text) {
    const std::string front = "SAT_Rsp[";
    const size_t colon = text.find(':', text.find(front));
    const size_t end = text.rfind(']');
    return colon == std::string::npos || end == std::string::npos || end <= colon
               ? ""
               : text.substr(colon + 1, end - colon - 1);
}

std::string FirstLine(const std::string& text) {
    return Shortened(Printable(Trimmed(text.substr(0, text.find('\n')))), 100);
}

}  // namespace

LogEvent MakeEvent(const DiagnosticEntry& entry) {
    LogEvent event;
    event.time = entry.time;
    event.function = entry.function;
    event.raw = entry.raw;
    const bool failed_call = FindFunction(entry.function) != nullptr && entry.level == "ERR" &&
                             entry.text.find("SAT_Rsp[") != std::string::npos;
    if (failed_call) {
        event.kind = EventKind::Failed;
        event.bad = true;
        event.detail = ResultText(entry.text);
        return event;
    }
    for (const EventRule& rule : RULES) {
        if (!Fits(rule, entry)) continue;
        event.kind = rule.kind;
        event.bad = rule.bad;
        event.detail = Printable(DetailOf(rule, entry.text));
        event.words = Say(rule.words, {event.detail});
        return event;
    }
    if (entry.level != "ERR") return event;
    event.kind = EventKind::Error;
    event.bad = true;
    event.words = entry.function + ": " + FirstLine(entry.text);
    return event;
}

}  // namespace tool

#include "fault_table.h"

#include <algorithm>

namespace emulator {

namespace {

// Longer than any time-out of a caller, and short enough to be counted in microseconds without a thought.
constexpr int64_t LONGEST_MS = 3600000;
// Above the largest frame that a caller can hold, so that its limit can be tested from both sides.
constexpr int64_t LARGEST_TEXT = int64_t{12} * 1024 * 1024;

FaultParameter Times() {
    return {"times", &Fault::times, 1, 1, 1000000, "quantas vezes"};
}

FaultParameter Block() {
    return {"block", &Fault::block, 1, 1, 100000, "bloco do comando, de 16384 bytes"};
}

FaultParameter Byte(int64_t usual, std::string_view help) {
    return {"byte", &Fault::byte, usual, 1, LARGEST_TEXT, help};
}

FaultParameter Bytes(int64_t usual, int64_t most, std::string_view help) {
    return {"bytes", &Fault::bytes, usual, 1, most, help};
}

FaultParameter Ms(int64_t usual, std::string_view help) {
    return {"ms", &Fault::ms, usual, 0, LONGEST_MS, help};
}

std::vector<FaultRow> MakeTable() {
    using Kind = FaultKind;
    constexpr std::string_view sent = "bytes enviados antes";
    return {
        {Kind::NoAck,
         "no-ack",
         "um bloco do comando fica sem ACK e o comando e esquecido",
         {Block(), Times()}},
        {Kind::Nak, "nak", "um bloco do comando e recusado com NAK", {Block(), Times()}},
        {Kind::Junk,
         "junk",
         "lixo antes do ACK de um bloco do comando",
         {Block(), Bytes(40, 1000000, "quantos"), Times()}},
        {Kind::DoubleAck, "double-ack", "o ACK de um bloco do comando sai duas vezes", {Block(), Times()}},
        {Kind::AckDelay,
         "ack-delay",
         "o ACK de um bloco do comando atrasa",
         {Block(), Ms(200, "atraso"), Times()}},
        {Kind::Silence, "silence", "o comando e executado e nao tem resposta", {Times()}},
        {Kind::Busy,
         "busy",
         "o comando nao e executado; a resposta e xx098, SAT em processamento",
         {Times()}},
        {Kind::OtherSession,
         "other-session",
         "a resposta traz o numero de outra sessao; sem number, o seguinte",
         {{"number", &Fault::number, NEXT_SESSION, 0, 999999, "numero da sessao"}, Times()}},
        {Kind::Size,
         "size",
         "a resposta e completada ate ter um tamanho; o quadro continua valido",
         {Bytes(20000, LARGEST_TEXT, "tamanho do texto"), Times()}},
        {Kind::LostFirst, "lost-first", "o primeiro byte da resposta, o STX, se perde", {Times()}},
        {Kind::Corrupt,
         "corrupt",
         "um byte da resposta chega trocado",
         {Byte(10, "qual; numa resposta menor, o ultimo do texto"), Times()}},
        {Kind::Checksum, "checksum", "a resposta leva o checksum errado", {Times()}},
        {Kind::Stall,
         "stall",
         "a resposta para no meio e depois continua",
         {Byte(10, sent), Ms(3000, "pausa; um NAK a encerra"), Times()}},
        {Kind::Truncate, "truncate", "a resposta para no meio e nao continua", {Byte(10, sent), Times()}},
        {Kind::Drip, "drip", "a resposta sai um byte por vez", {Ms(2, "entre dois bytes"), Times()}},
        {Kind::Unplug,
         "unplug",
         "a porta some no meio da resposta e volta, com o nome as=NOME se houver um",
         {Byte(10, sent), Ms(500, "tempo sem porta"), Times()},
         true},
    };
}

}  // namespace

const std::vector<FaultRow>& FaultTable() {
    static const std::vector<FaultRow> table = MakeTable();
    return table;
}

const FaultRow& RowOf(FaultKind kind) {
    return *std::ranges::find(FaultTable(), kind, &FaultRow::kind);
}

const FaultRow* FindFault(std::string_view name) {
    const auto row = std::ranges::find(FaultTable(), name, &FaultRow::name);
    return row == FaultTable().end() ? nullptr : &*row;
}

}  // namespace emulator

#include "commands.h"

#include <cstdlib>

#include "sim_devices.h"

namespace simulate {

const Command kCommands[kCommandCount] = {
    {"AtivarSAT", "dssd", 1800, true, nullptr},
    {"ComunicarCertificadoICPBRASIL", "ss", 300, true, nullptr},
    {"EnviarDadosVenda", "ss", 30, true, "venda-cprx-"},
    {"CancelarUltimaVenda", "sss", 30, true, "canc-cprx-"},
    {"ConsultarSAT", "", 10, true, nullptr},
    {"TesteFimAFim", "ss", 20, true, nullptr},
    {"ConsultarStatusOperacional", "s", 10, true, nullptr},
    {"ConsultarNumeroSessao", "sr", 20, false, nullptr},
    {"ConfigurarInterfaceDeRede", "ss", 20, false, nullptr},
    {"AssociarAssinatura", "sss", 1800, false, nullptr},
    {"AtualizarSoftwareSAT", "s", 1800, false, nullptr},
    {"ExtrairLogs", "s", 30, false, nullptr},
    {"BloquearSAT", "s", 300, false, nullptr},
    {"DesbloquearSAT", "s", 20, false, nullptr},
    {"TrocarCodigoDeAtivacao", "sdss", 30, false, nullptr},
    {"ConsultarUltimaSessaoFiscal", "s", 20, false, nullptr},
};

int Reduced(int number) {
    return number % 1000000;
}

namespace {

/** Six digits, the sign taking the place of one. */
std::string SixDigits(int number) {
    const int reduced = Reduced(number);
    std::string digits = std::to_string(std::abs(reduced));
    const size_t width = reduced < 0 ? 5 : 6;
    if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
    return reduced < 0 ? "-" + digits : digits;
}

size_t TextsOf(int command) {
    size_t texts = 0;
    for (const char* letter = kCommands[command].shape; *letter != '\0'; ++letter)
        texts += *letter == 's' ? 1 : 0;
    return texts;
}

/** How long the argument with the command's data is. */
size_t DrawDataSize(Draw& draw) {
    // One call in a great many does not fit the library's buffer, or only just.
    if (draw.OneIn(100'000)) return kLongestFrame - static_cast<size_t>(draw.Between(20, 90));
    return static_cast<size_t>(draw.Between(0, draw.OneIn(4) ? 2000 : 200));
}

}  // namespace

std::string CommandText(const Request& request) {
    const Command& command = kCommands[request.command];
    std::string text = command.name;
    text += '|';
    text += SixDigits(request.session);
    size_t texts = 0;
    size_t numbers = 0;
    for (const char* letter = command.shape; *letter != '\0'; ++letter) {
        text += '|';
        if (*letter == 's') {
            text += request.is_null[texts] ? "(null)" : request.texts[texts];
            ++texts;
        } else {
            const int number = request.numbers[numbers++];
            text += *letter == 'r' ? SixDigits(number) : std::to_string(number);
        }
    }
    return text;
}

void AppendWords(Draw& draw, size_t size, std::string* text) {
    static constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ<>/=\" 0123456789abcdefghijklmnopqrst";
    const size_t from = text->size();
    text->resize(from + size);
    for (size_t i = 0; i < size; i += 10) {
        uint64_t bits = draw.Next();
        for (size_t k = i; k < size && k < i + 10; ++k, bits >>= 6)
            (*text)[from + k] = kLetters[(bits & 63) % (sizeof kLetters - 1)];
    }
}

size_t DrawFrameSize(Draw& draw) {
    if (draw.OneIn(4)) return static_cast<size_t>(draw.Between(1000, 50'000));
    return static_cast<size_t>(draw.Between(1, 3)) * sim::kBlockSize + 2 - draw.Below(draw.OneIn(2) ? 4 : 40);
}

void DrawRequest(Draw& draw, Request* request) {
    static constexpr int kUsual[] = {kSale,         kSale,         kSale,   kSale,
                                     kCancellation, kCancellation, kStatus, kStatus};
    request->command = draw.OneIn(3) ? static_cast<int>(draw.Below(kVersion + 1)) : draw.Of(kUsual);
    if (request->command == kVersion) return;
    request->session =
        static_cast<int>(draw.OneIn(8) ? static_cast<int32_t>(draw.Next()) : draw.Between(0, 999'999));
    for (int& number : request->numbers)
        number = draw.OneIn(8) ? static_cast<int32_t>(draw.Next()) : static_cast<int>(draw.Between(-1, 99));
    const size_t texts = TextsOf(request->command);
    for (size_t i = 0; i < texts; ++i) {
        request->texts[i].clear();
        request->is_null[i] = draw.OneIn(200);
        const bool is_data = i + 1 == texts && texts > 1;
        AppendWords(draw, is_data ? DrawDataSize(draw) : draw.Below(40), &request->texts[i]);
    }
    if (texts == 0 || !draw.OneIn(40)) return;
    // STX, checksum and ETX are part of the frame.
    request->is_null[texts - 1] = false;
    const size_t size = CommandText(*request).size() + 3;
    const size_t wanted = DrawFrameSize(draw);
    if (size < wanted) AppendWords(draw, wanted - size, &request->texts[texts - 1]);
}

}  // namespace simulate

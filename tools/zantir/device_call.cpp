#include "device_call.h"

#include <cstdio>
#include <cstdlib>
#include <random>

#include "files.h"
#include "library.h"
#include "run.h"
#include "screen.h"
#include "show_reply.h"

namespace tool {

namespace {

// clang-format off
constexpr Text NOT_LOADED = {"a biblioteca %1 não pôde ser carregada: %2", "the library %1 could not be loaded: %2"};
constexpr Text WRONG_BITS = {"o arquivo é de %1 bits e este programa é de %2", "the file has %1 bits and this program has %2"};
constexpr Text NO_EXPORT = {"a biblioteca %1 não tem a função %2", "the library %1 lacks the function %2"};
constexpr Text INTERRUPTED = {"interrompido. O SAT ainda pode ter processado o comando da sessão %1.", "interrupted. The device may still have processed the command of session %1."};
constexpr Text GIVEN_UP = {"a biblioteca não voltou a tempo. O SAT ainda pode ter processado o comando da sessão %1.", "the library did not come back in time. The device may still have processed the command of session %1."};
constexpr Text HOW_TO_RECOVER = {"Antes de repetir, recupere a resposta: zantir sessao %1 --codigo CODIGO", "Before repeating it, recover the reply: zantir sessao %1 --codigo CODIGO"};
constexpr Text SENT = {"%1, sessão %2, %3 ms", "%1, session %2, %3 ms"};
constexpr Text SAVED = {"Gravado", "Saved"};
constexpr Text NOT_SAVED = {"não foi possível gravar %1", "could not write %1"};
constexpr Text HOLDS_NUL = {"contém um byte NUL, onde a biblioteca pararia de ler", "contains a NUL byte, where the library would stop reading"};
constexpr Text HOLDS_FRAMING = {"contém STX ou ETX, que marcam começo e fim do pacote", "contains STX or ETX, which mark a packet's start and end"};
// clang-format on

std::string SixDigits(int session) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%06d", session % 1000000);
    return digits;
}

// Writes the files of a reply; false when one could not be written.
bool SaveFiles(const Reply& reply, const std::string& folder, std::vector<std::string>* saved) {
    for (const ReplyFile& file : FilesOf(reply)) {
        const std::string name = NameOf(PathOf(folder) / PathOf(file.name));
        if (!WriteFile(name, file.bytes)) {
            Complain(Say(NOT_SAVED, {name}));
            return false;
        }
        saved->push_back(name);
    }
    return true;
}

void Show(const Options& options, const Call& call, long milliseconds, const Reply& reply,
          const std::vector<std::string>& saved) {
    if (options.json) {
        Json json = ReplyJson(reply);
        json["funcao"] = call.function->name;
        json["sessao"] = call.session;
        json["milissegundos"] = milliseconds;
        json["arquivos"] = saved;
        ShowJson(json);
        return;
    }
    ShowReply(reply);
    for (const std::string& name : saved) {
        ShowLine(Say(SAVED) + ": " + name);
    }
    ShowLine(Painted(Colour::Faint, Say(SENT, {call.function->name, SixDigits(call.session),
                                               std::to_string(milliseconds)})));
    const bool lost = reply.error && reply.error->line == 2127;
    if (lost) ShowLine(Say(HOW_TO_RECOVER, {SixDigits(call.session)}));
}

// The address of the function in the library; NULL, with the reason told, when there is none.
void* LoadFunction(const Options& options, const Function& function) {
    const Library library = LoadLibraryFile(options.library);
    if (library.handle == nullptr) {
        const bool bits = library.file_bits != 0 && library.file_bits != OWN_BITS;
        const std::string why =
            bits ? Say(WRONG_BITS, {std::to_string(library.file_bits), std::to_string(OWN_BITS)})
                 : Printable(library.error);
        Complain(Say(NOT_LOADED, {library.path, why}));
        return nullptr;
    }
    void* const address = FindExport(library, function.name);
    if (address == nullptr) Complain(Say(NO_EXPORT, {library.path, function.name}));
    return address;
}

}  // namespace

int RandomSession() {
    std::random_device seed;
    return std::uniform_int_distribution<int>(1, 999999)(seed);
}

std::string PayloadFault(const std::string& bytes) {
    if (bytes.find('\0') != std::string::npos) return Say(HOLDS_NUL);
    if (bytes.find_first_of("\x02\x03") != std::string::npos) return Say(HOLDS_FRAMING);
    return "";
}

void LeaveUnfinished(int session, bool interrupted) {
    Complain(Say(interrupted ? INTERRUPTED : GIVEN_UP, {SixDigits(session)}));
    Complain(Say(HOW_TO_RECOVER, {SixDigits(session)}));
    std::fflush(stdout);
    // No destructor may run: the library's thread still uses what they would take away.
    std::_Exit(interrupted ? EXIT_INTERRUPTED : EXIT_NO_DEVICE);
}

int CallDevice(const Options& options, const Function& function, const std::vector<std::string>& values) {
    Call call;
    call.function = &function;
    call.session = options.session != 0 ? options.session : RandomSession();
    call.values = values;
    call.timeout_s = TimeoutInForce(function, "SAT.ini");
    call.limit_s = options.limit_s > 0 ? options.limit_s : LongestCall(call.timeout_s);
    call.address = LoadFunction(options, function);
    if (call.address == nullptr) return EXIT_NO_LIBRARY;

    const CallResult result = RunCall(call);
    if (result.end != CallEnd::Returned) {
        LeaveUnfinished(call.session, result.end == CallEnd::Interrupted);
    }
    const Reply reply = ParseReply(result.text, function.name);
    std::vector<std::string> saved;
    const bool written = options.save_folder.empty() || SaveFiles(reply, options.save_folder, &saved);
    Show(options, call, result.milliseconds, reply, saved);
    return written ? ExitCodeOf(reply) : EXIT_FILE;
}

}  // namespace tool

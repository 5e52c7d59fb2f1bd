#include "diagnosis.h"
#include "files.h"
#include "functions.h"
#include "ini_check.h"
#include "log_files.h"
#include "run.h"
#include "terminal.h"

namespace tool {

namespace {

// clang-format off
constexpr Text LOADED = {"%1: %2, %3 bits", "%1: %2, %3 bits"};
constexpr Text NOT_LOADED = {"%1 não carrega: %2", "%1 does not load: %2"};
constexpr Text PUT_BESIDE = {"Ponha a biblioteca ao lado deste programa, ou indique-a com --dll", "Put the library beside this program, or name it with --dll"};
constexpr Text WRONG_BITS = {"O arquivo é de %1 bits; é preciso o de %2", "The file has %1 bits; the one with %2 is needed"};
constexpr Text LACKS = {"%1 não tem: %2", "%1 lacks: %2"};
constexpr Text REINSTALL = {"O arquivo não é a biblioteca certa: instale-a de novo", "The file is not the right library: install it again"};
constexpr Text INI_FOUND = {"%1, %2 linhas com valores", "%1, %2 lines with values"};
constexpr Text INI_MISSING = {"não há %1: a biblioteca grava um com os valores padrão nesta pasta", "there is no %1: the library writes one with the defaults into this folder"};
constexpr Text GO_TO_TILL = {"Rode zantir na pasta de onde o programa de vendas é iniciado", "Run zantir in the folder where the sales program is started"};
constexpr Text INI_EMPTY = {"%1 está vazio: a biblioteca o substitui pelo padrão", "%1 is empty: the library replaces it by the defaults"};
constexpr Text ALL_KNOWN = {"todas conhecidas", "all known"};
constexpr Text SOME_UNKNOWN = {"%1 que a biblioteca ignora", "%1 that the library ignores"};
constexpr Text CORRECT_THEM = {"Corrija ou retire estas linhas", "Correct or remove these lines"};
constexpr Text NO_EFFECTS = {"nenhum valor alterado em vão (%1 chaves sem efeito, como no padrão)", "no value changed in vain (%1 keys without effect, as by default)"};
constexpr Text IN_VAIN = {"%1 alterados em vão", "%1 changed in vain"};
constexpr Text EXPECT_NOTHING = {"Não espere nada destes valores: eles não têm efeito", "Expect nothing of these values: they have no effect"};
constexpr Text ALL_IN_RANGE = {"todos bons", "all good"};
constexpr Text SOME_BAD = {"%1 a corrigir", "%1 to correct"};
constexpr Text NO_INI = {"sem SAT.ini: valem os padrões", "no SAT.ini: the defaults hold"};
constexpr Text LOG_OK = {"%1: %2 arquivos, %3 KB", "%1: %2 files, %3 KB"};
constexpr Text LOG_READ_ONLY = {"não é possível gravar em %1", "cannot write to %1"};
constexpr Text GIVE_PERMISSION = {"Dê permissão de escrita ao usuário do programa de vendas, ou mude LogFilePath", "Give the sales program's user permission to write, or change LogFilePath"};
constexpr Text LOG_MISSING = {"%1 ainda não existe: a biblioteca a cria na primeira chamada", "%1 does not exist yet: the library creates it at the first call"};
constexpr Text LOG_HUGE = {"O registro de protocolo não é aparado: guarde e apague os dias antigos", "The protocol log is never trimmed: keep and delete the old days"};
// clang-format on

constexpr uint64_t HUGE_LOG = 500ULL * 1024 * 1024;

std::vector<std::string> Lines(const std::vector<IniRemark>& remarks) {
    std::vector<std::string> lines;
    lines.reserve(remarks.size());
    for (const IniRemark& remark : remarks) {
        lines.push_back(Printable(remark.where + ": " + remark.what));
    }
    return lines;
}

Finding Remarked(const std::vector<IniRemark>& remarks, const std::string& when_none, const Text& some,
                 const Text& remedy) {
    if (remarks.empty()) return {CheckStatus::Good, when_none, "", {}};
    return {CheckStatus::Warning, Say(some, {std::to_string(remarks.size())}), Say(remedy), Lines(remarks)};
}

std::string MissingExports(const Library& library) {
    std::string missing;
    for (const Function& function : Functions()) {
        if (FindExport(library, function.name) == nullptr) missing += std::string(" ") + function.name;
    }
    if (FindExport(library, "VersaoDllZantir") == nullptr) missing += " VersaoDllZantir";
    return missing;
}

std::string VersionText(const Library& library) {
    const OutputSilencer silencer;
    using Version = char* (*)();
    const auto version = reinterpret_cast<Version>(FindExport(library, "VersaoDllZantir"));
    return Printable(version());
}

}  // namespace

Finding CheckLibrary(Diagnosis& diagnosis) {
    diagnosis.library = LoadLibraryFile(diagnosis.options.library);
    const Library& library = diagnosis.library;
    if (library.handle == nullptr) {
        const bool bits = library.file_bits != 0 && library.file_bits != OWN_BITS;
        return {CheckStatus::Bad,
                Say(NOT_LOADED, {library.path, Printable(library.error)}),
                bits ? Say(WRONG_BITS, {std::to_string(library.file_bits), std::to_string(OWN_BITS)})
                     : Say(PUT_BESIDE),
                {}};
    }
    const std::string missing = MissingExports(library);
    if (!missing.empty()) return {CheckStatus::Bad, Say(LACKS, {library.path, missing}), Say(REINSTALL), {}};
    return {CheckStatus::Good,
            Say(LOADED, {library.path, VersionText(library), std::to_string(library.file_bits)}),
            "",
            {}};
}

Finding CheckIniFile(Diagnosis& diagnosis) {
    if (!diagnosis.ini_found) {
        return {CheckStatus::Warning, Say(INI_MISSING, {diagnosis.ini_file}), Say(GO_TO_TILL), {}};
    }
    if (diagnosis.ini_text.empty()) {
        return {CheckStatus::Warning, Say(INI_EMPTY, {diagnosis.ini_file}), Say(GO_TO_TILL), {}};
    }
    const size_t lines = ReadIniLines(diagnosis.ini_text).size();
    return {CheckStatus::Good, Say(INI_FOUND, {diagnosis.ini_file, std::to_string(lines)}), "", {}};
}

Finding CheckIniKeys(Diagnosis& diagnosis) {
    if (diagnosis.ini_text.empty()) return {CheckStatus::Skipped, Say(NO_INI), "", {}};
    return Remarked(UnknownKeys(diagnosis.ini_text), Say(ALL_KNOWN), SOME_UNKNOWN, CORRECT_THEM);
}

Finding CheckIniEffects(Diagnosis& diagnosis) {
    if (diagnosis.ini_text.empty()) return {CheckStatus::Skipped, Say(NO_INI), "", {}};
    size_t unchanged = 0;
    const std::vector<IniRemark> remarks = KeysWithoutEffect(diagnosis.ini_text, &unchanged);
    return Remarked(remarks, Say(NO_EFFECTS, {std::to_string(unchanged)}), IN_VAIN, EXPECT_NOTHING);
}

Finding CheckIniValues(Diagnosis& diagnosis) {
    if (diagnosis.ini_text.empty()) return {CheckStatus::Skipped, Say(NO_INI), "", {}};
    return Remarked(BadValues(diagnosis.ini_text, "SAT.ini"), Say(ALL_IN_RANGE), SOME_BAD, CORRECT_THEM);
}

Finding CheckLogFolder(Diagnosis&) {
    const std::string folder = LogFolderOf("SAT.ini");
    std::error_code failure;
    const std::string shown = NameOf(std::filesystem::absolute(PathOf(folder), failure));
    if (!IsFolder(folder)) {
        if (CanWriteTo(".")) return {CheckStatus::Good, Say(LOG_MISSING, {shown}), "", {}};
        return {CheckStatus::Bad, Say(LOG_READ_ONLY, {CurrentFolder()}), Say(GIVE_PERMISSION), {}};
    }
    if (!CanWriteTo(folder)) return {CheckStatus::Bad, Say(LOG_READ_ONLY, {shown}), Say(GIVE_PERMISSION), {}};
    const FolderSize size = MeasureFolder(folder);
    const bool large = size.bytes > HUGE_LOG;
    return {large ? CheckStatus::Warning : CheckStatus::Good,
            Say(LOG_OK, {shown, std::to_string(size.files), std::to_string((size.bytes + 1023) / 1024)}),
            large ? Say(LOG_HUGE) : "",
            {}};
}

}  // namespace tool

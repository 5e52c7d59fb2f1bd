#include "commands.h"
#include "screen.h"
#include "show_reply.h"
#include "terminal.h"
#include "vko_sat_utils/ibge.h"
#include "vko_utils/taxpayer_id.h"

namespace tool {

namespace {

// clang-format off
constexpr Text NOTHING_TO_DECODE = {"nada na entrada padrão: cole uma resposta do SAT", "nothing on standard input: paste a reply of the device"};
constexpr Text NO_SUCH_CODE = {"o código %1 não está no catálogo", "the code %1 is not in the catalogue"};
constexpr Text NOT_A_CODE = {"não é um código: %1", "no code: %1"};
constexpr Text ANSWERS = {"resposta de %1", "answer to %1"};
constexpr Text VALID = {"%1 %2 válido", "%1 %2 is valid"};
constexpr Text INVALID = {"%1 %2 inválido: %3", "%1 %2 is not valid: %3"};
constexpr Text CHECK_DIGITS = {"os dígitos verificadores não conferem", "the check digits are wrong"};
constexpr Text WRONG_LENGTH = {"o número de caracteres não é o certo", "the number of characters is wrong"};
constexpr Text WRONG_CHARACTERS = {"há caracteres que não são dígitos nem pontuação", "there are characters that are neither digits nor punctuation"};
constexpr Text NO_STATE = {"não há estado %1: use o código do IBGE, a sigla ou o nome", "there is no state %1: use the IBGE code, the abbreviation or the name"};
constexpr Text REMEDY = {"O que fazer", "What to do"};
// clang-format on

// A paste may hold several replies, one a line, but a reply may hold line ends too: a line that begins like
// no result belongs to the one before it.
std::vector<std::string> SplitReplies(const std::string& pasted) {
    std::vector<std::string> replies;
    for (const std::string& line : Split(pasted, '\n')) {
        const std::string text = WithoutFraming(line);
        if (text.empty()) continue;
        const bool begins = ParseReply(text).verdict != Verdict::NoReply || replies.empty();
        if (begins) {
            replies.push_back(text);
        } else {
            replies.back() += "\n" + text;
        }
    }
    return replies;
}

Json CodeJson(const CodeMeaning& meaning) {
    return {{"codigo", meaning.code},      {"conhecido", meaning.known}, {"comando", meaning.command},
            {"mensagem", meaning.message}, {"sucesso", meaning.success}, {"providencia", meaning.remedy}};
}

std::string TaxpayerFault(int32_t rc) {
    switch (rc) {
        case VKO_ERR_CHECK_DIGITS:
            return Say(CHECK_DIGITS);
        case VKO_ERR_CNPJ_FORMATTED:
        case VKO_ERR_CNPJ_NUMERIC:
        case VKO_ERR_CPF_FORMATTED:
        case VKO_ERR_CPF_NUMERIC:
            return Say(WRONG_CHARACTERS);
        default:
            return Say(WRONG_LENGTH);
    }
}

int ShowTaxpayer(const Options& options, const char* kind, int32_t rc) {
    const std::string fault = rc == 0 ? "" : TaxpayerFault(rc);
    if (options.json) {
        ShowJson({{"tipo", kind},
                  {"numero", options.number},
                  {"valido", rc == 0},
                  {"codigo", rc},
                  {"motivo", fault}});
    } else {
        ShowLine(rc == 0 ? Say(VALID, {kind, options.number}) : Say(INVALID, {kind, options.number, fault}));
    }
    return rc == 0 ? EXIT_OK : EXIT_CHECK_FAILED;
}

std::string Capitals(const std::string& text) {
    std::string capitals = text;
    for (char& c : capitals) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return capitals;
}

const tIbgeUfRow* FindState(const std::string& asked) {
    const std::string wanted = Capitals(Trimmed(asked));
    for (size_t row = 0; row < IBGE_UF_COUNT; ++row) {
        const tIbgeUfRow& state = tIbgeUfTbl[row];
        if (wanted == std::to_string(state.iCode) || wanted == state.pUf || wanted == state.pStateName) {
            return &state;
        }
    }
    return nullptr;
}

}  // namespace

int CommandDecode(const Options& options) {
    const std::vector<std::string> texts = SplitReplies(ReadStandardInput());
    if (texts.empty()) {
        Complain(Say(NOTHING_TO_DECODE));
        return EXIT_USAGE;
    }
    Json list = Json::array();
    int worst = EXIT_OK;
    for (const std::string& text : texts) {
        const Reply reply = ParseReply(text);
        if (reply.verdict == Verdict::NoReply || !reply.faults.empty()) worst = EXIT_CHECK_FAILED;
        if (options.json) {
            list.push_back(ReplyJson(reply));
        } else {
            ShowReply(reply);
        }
    }
    if (options.json) ShowJson(list);
    return worst;
}

int CommandCode(const Options& options) {
    if (!AllDigits(options.code) || options.code.size() > 5) {
        Complain(Say(NOT_A_CODE, {options.code}));
        return EXIT_USAGE;
    }
    const CodeMeaning meaning = ExplainCode(NumberOf(options.code));
    if (options.json) {
        ShowJson(CodeJson(meaning));
    } else if (!meaning.known) {
        ShowLine(Say(NO_SUCH_CODE, {options.code}));
    } else {
        ShowLine(Painted(meaning.success ? Colour::Good : Colour::Bad, options.code) + " " + meaning.message +
                 " (" + Say(ANSWERS, {meaning.command}) + ")");
    }
    if (!options.json && !meaning.remedy.empty()) ShowLine(Say(REMEDY) + ": " + meaning.remedy);
    return meaning.known ? EXIT_OK : EXIT_CHECK_FAILED;
}

int CommandCnpj(const Options& options) {
    return ShowTaxpayer(options, "CNPJ", VKO_Check_CNPJ(options.number.c_str()));
}

int CommandCpf(const Options& options) {
    return ShowTaxpayer(options, "CPF", VKO_Check_CPF(options.number.c_str()));
}

int CommandState(const Options& options) {
    const tIbgeUfRow* const state = FindState(options.number);
    if (state == nullptr) {
        Complain(Say(NO_STATE, {options.number}));
        return EXIT_CHECK_FAILED;
    }
    if (options.json) {
        ShowJson({{"codigo", state->iCode},
                  {"uf", state->pUf},
                  {"nome", state->pStateName},
                  {"regiao", state->pRegion}});
    } else {
        ShowLine(std::to_string(state->iCode) + " " + state->pUf + " " + state->pStateName + " (" +
                 state->pRegion + ")");
    }
    return EXIT_OK;
}

}  // namespace tool

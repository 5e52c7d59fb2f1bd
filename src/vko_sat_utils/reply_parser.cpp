#include <algorithm>
#include <cstdio>
#include <cstring>

#include "field_log.h"
#include "packet_parsers.h"

namespace {

/** Room of the working copy behind the text. */
constexpr size_t COPY_SPARE = 5000;

/** How the text begins that the library itself answers to the question for its version. */
constexpr char VERSION_FRONT[] = "ZANTIR ";

/** The command that may be answered with the session of an earlier sale or cancellation. */
constexpr char LAST_SESSION_COMMAND[] = "ConsultarUltimaSessaoFiscal";

SatFieldLabels ReplyLabels(const SatField& field) {
    static constexpr SatFieldLabels labels[] = {
        {"  numeroSessao", ""}, {"  EEEEE", ""},         {"  mensagem", ""},
        {"  cod", ""},          {"  mensagemSEFAZ", ""}, {"  CSR", " TipoCertificado(1 ou 2)ICP-BRASIL"},
    };
    constexpr int32_t named = static_cast<int32_t>(sizeof labels / sizeof labels[0]);
    return field.number <= named ? labels[field.number - 1] : SatFieldLabels{"  UNKNOWN", ""};
}

constexpr SatParser REPLY = {"SAT_APP_RspParcer", 'R', true, SAT_EMPTY_EVERYWHERE, ReplyLabels};

/** One call's arguments. */
struct ReplyContext {
    const char* command;
    int32_t session;
    int32_t* last_session;
    int32_t* reply_session;
    int32_t* return_code;
    char* copy;
};

void Store(int32_t* where, int32_t value) {
    if (where) {
        *where = value;
    }
}

/** The decimal number of the leading digits, 0 without any; the largest one when it does not fit. */
int32_t LeadingNumber(const SatField& field) {
    int64_t value = 0;
    for (size_t i = 0; i < field.length && field.text[i] >= '0' && field.text[i] <= '9'; i++) {
        value = std::min<int64_t>(value * 10 + (field.text[i] - '0'), INT32_MAX);
    }
    return static_cast<int32_t>(value);
}

/** Whether the command makes a session that "the last session" stands for. */
bool MakesFiscalSession(const char* command) {
    static constexpr const char* commands[] = {"EnviarDadosVenda", "CancelarUltimaVenda", "TesteFimAFim"};
    for (const char* name : commands) {
        if (strcmp(command, name) == 0) {
            return true;
        }
    }
    return false;
}

/** Compares the reply's session with the command's. False when the reply belongs to another command. */
bool TakeSession(const ReplyContext& context, const SatField& field) {
    const int32_t echoed = LeadingNumber(field);
    Store(context.reply_session, echoed);
    const bool matches = echoed == context.session;
    const bool accepted = matches || strcmp(context.command, LAST_SESSION_COMMAND) == 0;
    const char* verdict = matches    ? "OK:Match"
                          : accepted ? "WR:UltimaVenda/Cancelamento!!!"
                                     : "WR:MissMatch!!!";
    char after[80];
    snprintf(after, sizeof after, " Cmd:Rsp[%06d:%06d]%s", context.session, echoed, verdict);
    const unsigned level = accepted && !matches ? VKO_LOG_WRN : VKO_LOG_INF;
    SatLogField(REPLY, level, {"  numeroSessao", after}, field, context.copy);
    if (accepted && MakesFiscalSession(context.command)) {
        // The command's own number: it is the one that the caller will ask for later.
        Store(context.last_session, context.session);
    }
    return accepted;
}

int32_t WalkReply(const ReplyContext& context, SatFieldCursor* cursor) {
    int32_t result = 0;
    SatField field;
    while (SatNextField(cursor, &field)) {
        const bool has_text = field.empty_number == 0;
        if (has_text && field.number == 1) {
            if (!TakeSession(context, field)) {
                return result;
            }
            continue;
        }
        SatLogField(REPLY, VKO_LOG_INF, ReplyLabels(field), field, context.copy);
        if (has_text && field.number == 2) {
            result = LeadingNumber(field);
            Store(context.return_code, result);
        }
    }
    return result;
}

/** Whether the text is no device's reply; `result` then says what it is. */
bool IsNoReply(const char* reply, int32_t* result) {
    *result = 0;
    if (!reply) {
        SAT_PARSER_LOG(REPLY, VKO_LOG_INF, "rc[%05d]WR:pSatResult=NULL\n", 0);
        return true;
    }
    if (!*reply) {
        SAT_PARSER_LOG(REPLY, VKO_LOG_INF, "rc[%05d]WR:pSatResult Len=0\n", 0);
        return true;
    }
    if (strncmp(reply, VERSION_FRONT, sizeof VERSION_FRONT - 1) == 0) {
        SAT_PARSER_LOG(REPLY, VKO_LOG_INF, "R01  VerDllZantir[%08d:%s] rc[%05d]OK\n",
                       static_cast<int>(strlen(reply)), reply, 0);
        return true;
    }
    if (!strchr(reply, SAT_SEPARATOR)) {
        *result = SAT_APP_ERR_NO_REPLY;
        SAT_PARSER_LOG(REPLY, VKO_LOG_ERR, "rc[%06d]APP:ER API_ERR_MSG[%08d:%s]\n", *result,
                       static_cast<int>(strlen(reply)), reply);
        return true;
    }
    return false;
}

}  // namespace

int32_t SAT_APP_RspParcer(const char* pCmdName, int32_t iSession, int32_t* piLastSession,
                          int32_t* piRspSession, int32_t* piRetCode, const char* pSatResult) {
    int32_t result = 0;
    if (IsNoReply(pSatResult, &result)) {
        return result;
    }
    const size_t length = strlen(pSatResult);
    auto* copy = static_cast<char*>(plat_alloc(length + COPY_SPARE));
    if (!copy) {
        SAT_PARSER_LOG(REPLY, VKO_LOG_ERR, "rc[%05d]ER SatArgs=[%08d:%s]CALLOC FAIL!!!\n",
                       SAT_APP_ERR_NO_MEMORY, static_cast<int>(length), pSatResult);
        return SAT_APP_ERR_NO_MEMORY;
    }
    SatFieldCursor cursor;
    if (SatBeginFields(&cursor, pSatResult, length, REPLY.empty_rule)) {
        const ReplyContext context = {
            pCmdName ? pCmdName : "", iSession, piLastSession, piRspSession, piRetCode, copy};
        result = WalkReply(context, &cursor);
    } else {
        SatLogNoField(REPLY);
    }
    plat_free(copy);
    return result;
}

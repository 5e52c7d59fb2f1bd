#include <gtest/gtest.h>

#include <random>
#include <string>

#include "captured_log.h"
#include "vko_sat_utils/packet_parsers.h"

namespace {

constexpr int32_t UNTOUCHED = -77;

struct Parsed {
    int32_t result;
    int32_t last_session = UNTOUCHED;
    int32_t reply_session = UNTOUCHED;
    int32_t return_code = UNTOUCHED;
};

Parsed Parse(const char* command, int32_t session, const char* reply) {
    Parsed parsed = {};
    parsed.last_session = parsed.reply_session = parsed.return_code = UNTOUCHED;
    parsed.result = SAT_APP_RspParcer(command, session, &parsed.last_session, &parsed.reply_session,
                                      &parsed.return_code, reply);
    return parsed;
}

void ExpectUntouched(const Parsed& parsed) {
    EXPECT_EQ(parsed.last_session, UNTOUCHED);
    EXPECT_EQ(parsed.reply_session, UNTOUCHED);
    EXPECT_EQ(parsed.return_code, UNTOUCHED);
}

constexpr char SALE[] = "123456|06000|Emitido com sucesso|0000|msg|X";

TEST(Reply, ASale) {
    const CapturedLog log;
    const Parsed parsed = Parse("EnviarDadosVenda", 123456, SALE);
    EXPECT_EQ(parsed.result, 6000);
    EXPECT_EQ(parsed.reply_session, 123456);
    EXPECT_EQ(parsed.return_code, 6000);
    EXPECT_EQ(parsed.last_session, 123456);
    EXPECT_EQ(log.Messages(),
              "R01  numeroSessao[00000006:123456] Cmd:Rsp[123456:123456]OK:Match\n"
              "R02  EEEEE[00000005:06000]\n"
              "R03  mensagem[00000019:Emitido com sucesso]\n"
              "R04  cod[00000004:0000]\n"
              "R05  mensagemSEFAZ[00000003:msg]\n"
              "R06  CSR[00000001:X] TipoCertificado(1 ou 2)ICP-BRASIL\n");
    for (const LogLine& line : log.Lines()) {
        EXPECT_EQ(line.level, VKO_LOG_INF);
        EXPECT_EQ(line.function, "SAT_APP_RspParcer");
        EXPECT_EQ(line.source, "../src/vko_sat_utils/vko_sat_utils");
    }
    EXPECT_EQ(log.LiveAllocations(), 0);
}

TEST(Reply, AnotherSession) {
    const CapturedLog log;
    const Parsed parsed = Parse("EnviarDadosVenda", 1, SALE);
    EXPECT_EQ(parsed.result, 0);
    EXPECT_EQ(parsed.reply_session, 123456);
    EXPECT_EQ(parsed.return_code, UNTOUCHED);
    EXPECT_EQ(parsed.last_session, UNTOUCHED);
    EXPECT_EQ(log.Messages(), "R01  numeroSessao[00000006:123456] Cmd:Rsp[000001:123456]WR:MissMatch!!!\n");
    EXPECT_EQ(log.Lines()[0].level, VKO_LOG_INF);
    EXPECT_EQ(log.LiveAllocations(), 0);
}

TEST(Reply, AnotherSessionIsWhatTheLastSessionCommandAsksFor) {
    const CapturedLog log;
    const Parsed parsed = Parse("ConsultarUltimaSessaoFiscal", 1, SALE);
    EXPECT_EQ(parsed.result, 6000);
    EXPECT_EQ(parsed.reply_session, 123456);
    EXPECT_EQ(parsed.return_code, 6000);
    EXPECT_EQ(parsed.last_session, UNTOUCHED);
    EXPECT_TRUE(
        log.Has(VKO_LOG_WRN,
                "R01  numeroSessao[00000006:123456] Cmd:Rsp[000001:123456]WR:UltimaVenda/Cancelamento!!!"));
}

TEST(Reply, WhichCommandsSetTheLastSession) {
    const CapturedLog log;
    EXPECT_EQ(Parse("EnviarDadosVenda", 123456, SALE).last_session, 123456);
    EXPECT_EQ(Parse("CancelarUltimaVenda", 123456, SALE).last_session, 123456);
    EXPECT_EQ(Parse("TesteFimAFim", 123456, SALE).last_session, 123456);
    EXPECT_EQ(Parse("ConsultarSAT", 123456, SALE).last_session, UNTOUCHED);
    EXPECT_EQ(Parse("ConsultarUltimaSessaoFiscal", 123456, SALE).last_session, UNTOUCHED);
    EXPECT_EQ(Parse("EnviarDadosVendas", 123456, SALE).last_session, UNTOUCHED);
    EXPECT_EQ(Parse(nullptr, 123456, SALE).last_session, UNTOUCHED);
    EXPECT_EQ(Parse(nullptr, 123456, SALE).result, 6000);
}

TEST(Reply, EmptyReturnCode) {
    const CapturedLog log;
    const Parsed parsed = Parse("ConsultarSAT", 123456, "123456||msg");
    EXPECT_EQ(parsed.result, 0);
    EXPECT_EQ(parsed.return_code, UNTOUCHED);
    EXPECT_EQ(log.Messages(),
              "R01  numeroSessao[00000006:123456] Cmd:Rsp[123456:123456]OK:Match\nR02=[NULL] [01]\n"
              "R03  mensagem[00000003:msg]\n");
}

TEST(Reply, EmptySession) {
    const CapturedLog log;
    const Parsed parsed = Parse("EnviarDadosVenda", 123456, "|06000|msg");
    EXPECT_EQ(parsed.result, 6000);
    EXPECT_EQ(parsed.reply_session, UNTOUCHED);
    EXPECT_EQ(parsed.last_session, UNTOUCHED);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "R01=[NULL] [01]"));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "R02  EEEEE[00000005:06000]"));
}

TEST(Reply, NoReply) {
    const CapturedLog log;
    const Parsed null_text = Parse("ConsultarSAT", 1, nullptr);
    EXPECT_EQ(null_text.result, 0);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "rc[00000]WR:pSatResult=NULL"));
    const Parsed empty = Parse("ConsultarSAT", 1, "");
    EXPECT_EQ(empty.result, 0);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "rc[00000]WR:pSatResult Len=0"));
    const Parsed version = Parse("ConsultarSAT", 1, "ZANTIR DLL Ver. 02.00");
    EXPECT_EQ(version.result, 0);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "R01  VerDllZantir[00000021:ZANTIR DLL Ver. 02.00] rc[00000]OK"));
    const Parsed error = Parse("ConsultarSAT", 1, "SAT Erro[-00001]Win ");
    EXPECT_EQ(error.result, -1101);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-01101]APP:ER API_ERR_MSG[00000020:SAT Erro[-00001]Win ]"));
    for (const Parsed& parsed : {null_text, empty, version, error}) {
        ExpectUntouched(parsed);
    }
    EXPECT_EQ(log.Lines().size(), 4U);
}

TEST(Reply, TheVersionTextMayHoldSeparators) {
    const CapturedLog log;
    EXPECT_EQ(Parse("ConsultarSAT", 1, "ZANTIR 1|2").result, 0);
    EXPECT_EQ(Parse("ConsultarSAT", 1, "ZANTIR").result, -1101) << "the blank belongs to it";
}

TEST(Reply, SeparatorsOnly) {
    const CapturedLog log;
    const Parsed parsed = Parse("ConsultarSAT", 1, "|||");
    EXPECT_EQ(parsed.result, 0);
    ExpectUntouched(parsed);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "WARNING INVALID SAT ARGS HAS NO PIPE SEPARATOR!!!"));
    EXPECT_EQ(log.LiveAllocations(), 0);
}

TEST(Reply, NoMemory) {
    CapturedLog log;
    log.FailAllocations();
    const Parsed parsed = Parse("EnviarDadosVenda", 123456, "123456|06000");
    EXPECT_EQ(parsed.result, -1102);
    ExpectUntouched(parsed);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-1102]ER SatArgs=[00000012:123456|06000]CALLOC FAIL!!!"));
    EXPECT_EQ(Parse("ConsultarSAT", 1, "no separator").result, -1101) << "nothing is allocated for it";
}

TEST(Reply, FieldsBehindTheSixthAreUnknown) {
    const CapturedLog log;
    EXPECT_EQ(Parse("X", 1, "1|2|3|4|5|6|7||9").result, 2);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "R07  UNKNOWN[00000001:7]"));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "R08=[NULL] [01]"));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "R09  UNKNOWN[00000001:9]"));
}

TEST(Reply, ALongFieldIsShortened) {
    const CapturedLog log;
    EXPECT_EQ(Parse("X", 1, ("1|06000|" + std::string(150, 'm')).c_str()).result, 6000);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "BIG R03  mensagem[00000150:" + std::string(97, 'm') + "..>]"))
        << log.Messages();
}

TEST(Reply, NumbersAreTheLeadingDigits) {
    const CapturedLog log;
    EXPECT_EQ(Parse("X", 0, "x1|06000").result, 6000);
    EXPECT_EQ(Parse("X", 12, "12ab|6x").result, 6);
    EXPECT_EQ(Parse("X", 1, "1|-5").result, 0);
    EXPECT_EQ(Parse("X", 1, "1|abc").return_code, 0);
    EXPECT_EQ(Parse("X", INT32_MAX, "99999999999999999999999|7").result, 7);
    EXPECT_EQ(Parse("X", 1, "1|2147483648").result, INT32_MAX);
}

TEST(Reply, ADigitForAChecksumIsNoDigitOfTheNumber) {
    const CapturedLog log;
    EXPECT_EQ(Parse("ConsultarSAT", 1,
                    "1|8000"
                    "7\x03")
                  .return_code,
              8000);
}

TEST(Reply, ResultPointersMayBeNull) {
    const CapturedLog log;
    EXPECT_EQ(SAT_APP_RspParcer("EnviarDadosVenda", 123456, nullptr, nullptr, nullptr, SALE), 6000);
}

TEST(Reply, TenMegabytesUnheard) {
    const CapturedLog log('1');
    std::string reply = "000042|06000|";
    reply.append(10 << 20, '|');
    EXPECT_EQ(Parse("EnviarDadosVenda", 42, reply.c_str()).result, 6000);
    EXPECT_TRUE(log.Lines().empty());
}

int32_t Number(const std::string& text) {
    const long long number = strtoll(text.c_str(), nullptr, 10);
    return number > INT32_MAX ? INT32_MAX : static_cast<int32_t>(number);
}

/** The result by plain string cutting: the first two pieces of the text, each taken at its place. */
int32_t ExpectedResult(int32_t session, const std::string& reply, bool any_session) {
    if (reply.empty() || reply.rfind("ZANTIR ", 0) == 0) {
        return 0;
    }
    const size_t first_end = reply.find('|');
    if (first_end == std::string::npos) {
        return -1101;
    }
    const std::string first = reply.substr(0, first_end);
    const std::string second = reply.substr(first_end + 1, reply.find('|', first_end + 1) - first_end - 1);
    if (!first.empty() && Number(first) != session && !any_session) {
        return 0;
    }
    const bool separators_only = reply.find_first_not_of('|') == std::string::npos;
    return separators_only ? 0 : Number(second);
}

TEST(Reply, AgreesWithPlainCutting) {
    std::mt19937 random(33);
    const CapturedLog log('0');
    for (int round = 0; round < 20000; round++) {
        std::string reply;
        const size_t length = random() % 14;
        for (size_t i = 0; i < length; i++) {
            reply += "|||0123a"[random() % 8];
        }
        const auto session = static_cast<int32_t>(random() % 4);
        ASSERT_EQ(Parse("ConsultarSAT", session, reply.c_str()).result, ExpectedResult(session, reply, false))
            << reply;
        ASSERT_EQ(Parse("ConsultarUltimaSessaoFiscal", session, reply.c_str()).result,
                  ExpectedResult(session, reply, true))
            << reply;
    }
}

}  // namespace

#include "log_timeline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files.h"
#include "log_json.h"
#include "log_mask.h"

namespace tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

int64_t Utc(int64_t utc_ms) {
    return utc_ms;
}

// What the library wrote on one afternoon: five commands to the emulator, one to a port that was gone, one to
// a device that was silent, one to a device that took the command and never replied.
struct Sample {
    std::string diagnostic;
    std::string protocol;
};

Sample ReadSample(int mode) {
    const std::string front = std::string(TOOL_SAMPLES) + "/mode" + std::to_string(mode) + "/20261120_SAT_";
    Sample sample;
    EXPECT_TRUE(ReadFile(front + "api.log", &sample.diagnostic));
    EXPECT_TRUE(ReadFile(front + "ProtocolLog.txt", &sample.protocol));
    return sample;
}

std::vector<Exchange> TimelineOf(const Sample& sample) {
    return BuildTimeline(ParseDiagnosticLog(sample.diagnostic, "20261120", Utc),
                         ParseProtocolLog(sample.protocol));
}

std::vector<std::string> Summary(const std::vector<Exchange>& timeline) {
    std::vector<std::string> lines;
    for (const Exchange& exchange : timeline) {
        lines.push_back(exchange.command + " " + OutcomeName(exchange));
    }
    return lines;
}

std::vector<std::string> Steps(const Exchange& exchange) {
    std::vector<std::string> steps;
    for (const LogEvent& event : exchange.events) {
        steps.push_back(event.words);
    }
    return steps;
}

class LogTimelineTest : public testing::TestWithParam<int> {};

TEST_P(LogTimelineTest, EveryExchangeIsThereOnceWithItsOutcome) {
    EXPECT_THAT(
        Summary(TimelineOf(ReadSample(GetParam()))),
        testing::UnorderedElementsAre("ConsultarSAT aceito", "ConsultarStatusOperacional aceito",
                                      "ConsultarStatusOperacional recusado", "EnviarDadosVenda aceito",
                                      "TrocarCodigoDeAtivacao aceito", "ConsultarSAT falha",
                                      "ConsultarSAT falha", "ConsultarSAT falha"));
}

TEST_P(LogTimelineTest, CommandThatWasTakenKeepsTheErrorOfItsLostReply) {
    for (const Exchange& exchange : TimelineOf(ReadSample(GetParam()))) {
        if (exchange.session == "000017") {
            ASSERT_TRUE(exchange.reply.error);
            EXPECT_EQ(exchange.reply.error->line, 2127);
            EXPECT_THAT(Steps(exchange), testing::Contains("nenhuma resposta dentro do tempo"));
            return;
        }
    }
    FAIL() << "session 000017 is not there";
}

TEST_P(LogTimelineTest, NoSecretIsLeftInWhatIsShown) {
    Sample sample = ReadSample(GetParam());
    Secrets secrets;
    CollectSecrets(sample.protocol, &secrets);
    CollectSecrets(sample.diagnostic, &secrets);
    EXPECT_THAT(sample.protocol, HasSubstr("12345678"));
    sample.protocol = WithoutSecrets(sample.protocol, secrets);
    sample.diagnostic = WithoutSecrets(sample.diagnostic, secrets);
    const std::string shown = TimelineJson("20261120", TimelineOf(sample)).dump();
    EXPECT_THAT(shown, Not(HasSubstr("|12345678|")));
    EXPECT_THAT(shown, Not(HasSubstr(":12345678]")));
    EXPECT_THAT(shown, Not(HasSubstr("abcdefgh")));
    EXPECT_THAT(shown, HasSubstr(MASKED));
}

INSTANTIATE_TEST_SUITE_P(LogMode, LogTimelineTest, testing::Values(1, 2, 3));

TEST(LogTimelineStepsTest, WarningsTellTheStepsOfAnExchange) {
    const std::vector<Exchange> timeline = TimelineOf(ReadSample(2));
    ASSERT_FALSE(timeline.empty());
    EXPECT_EQ(timeline[0].session, "000011");
    EXPECT_EQ(timeline[0].port.substr(0, 4), "COM1");
    EXPECT_TRUE(timeline[0].exact);
    EXPECT_THAT(Steps(timeline[0]), ElementsAre(HasSubstr("porta do emulador COM"), "enviados 22 bytes",
                                                "SAT confirmou (ACK)", "recebidos 33 bytes", "ACK enviado"));
}

TEST(LogTimelineStepsTest, PacketsAloneTellCommandAndReply) {
    Sample sample = ReadSample(1);
    sample.diagnostic.clear();
    const std::vector<Exchange> timeline = TimelineOf(sample);
    ASSERT_EQ(timeline.size(), 6U);
    EXPECT_FALSE(timeline[0].exact);
    EXPECT_EQ(ValueOf(timeline[3].reply, "valorTotalCFe"), "140.06");
    EXPECT_STREQ(OutcomeName(timeline[5]), "sem_resposta");
}

TEST(LogTimelineStepsTest, DiagnosticLogAloneTellsWhatFailed) {
    Sample sample = ReadSample(1);
    sample.protocol.clear();
    EXPECT_THAT(Summary(TimelineOf(sample)),
                ElementsAre("ConsultarSAT falha", "ConsultarSAT falha", "ConsultarSAT falha"));
}

TEST(LogTimelineStepsTest, KeysThatTheSettingsLackAreNoExchange) {
    const Sample sample = {
        "[12:04:05.006]ERR [0024] VKO_GetIniFileValue rc[-00304]ER:INI_FILE_ERR_SESSION_NOT_FOUND Fail\n\t "
        "pIniFileName[SAT.ini] \n\t     pSession[LOG] \n\t        pItem[LogMode] \n\t    pRetValue[]\n"
        "[12:04:05.006]ERR [0076]  ../src/vko_utils/vko_utils  VKO_SetIniFileLogMode  rc[-304]ER FileName[SAT.ini] "
        "Session[LOG] item[LogMode=1]<DEFAULT>\n"
        "[12:04:05.007]ERR [0130]  ../src/api/ZANTIR  UpdateZantirConfiguration  rc[-304]ER:FAIL  STEP03c  "
        "ZantirIniFileName[SAT.ini]  strSessionName[LOG]  item[LogMode=]\n",
        "20261120120405 PC->SAT >> [<02>ConsultarSAT|000003<42><03>]OK:a\n"
        "20261120120405 SAT->PC << [<02>000003|08000|SAT em operacao||<4F><03>]OK:b\n"};
    EXPECT_THAT(Summary(TimelineOf(sample)), ElementsAre("ConsultarSAT aceito"));
}

TEST(LogTimelineStepsTest, SettingsThatTheNextCallReadsDoNotProlongAnExchange) {
    const Sample sample = {
        "[12:04:05.001]WRN [0094] [../src/api/ZANTIR] [Communicate]Lnx:WR Port[00011:\\\\?\\COM1005]PLMQ:"
        "USING_SAT_EMULATOR!!\n"
        "[12:04:05.003]WRN [0083] [../src/api/ZANTIR] [cSerialWriteBufW]Win: OK:hC[00000104h]Sent \n"
        "\t PC->SAT >>   pusTxPkt[022:\x02"
        "ConsultarSAT|000003B\x03]\n"
        "[12:04:05.014]WRN [0044] [../src/api/ZANTIR] [lSerialWriteAck]Win OK\n\t PC->SAT >>       Sent[06h]ACK\n"
        "[12:09:00.000]WRN [0135] ../src/vko_utils/vko_utils VKO_SetIniFileLogMode rc[0003]WR FileName[SAT.ini] "
        "Session[LOG] item[LogMode=2]WARNING_LOGS_ENABLED\n"
        "[12:09:00.000]WRN [0030] [../src/api/ZANTIR] [init_global_sat_struct]--- Sat Struct Initialized!!\n",
        "20261120120405 PC->SAT >> [<02>ConsultarSAT|000003<42><03>]OK:a\n"
        "20261120120405 SAT->PC << [<02>000003|08000|SAT em operacao||<4F><03>]OK:b\n"};
    const std::vector<Exchange> timeline = TimelineOf(sample);
    ASSERT_EQ(timeline.size(), 1U);
    EXPECT_TRUE(timeline[0].exact);
    EXPECT_EQ(timeline[0].end - timeline[0].begin, 13);
}

TEST(LogTimelineStepsTest, NothingGivesNothing) {
    EXPECT_TRUE(BuildTimeline({}, {}).empty());
}

TEST(LogTimelineStepsTest, DamagedReplyAndItsRepetitionAreOneExchange) {
    const auto timeline = BuildTimeline(
        {}, ParseProtocolLog("20261120153942 PC->SAT >> [<02>ConsultarSAT|000001<40><03>]OK:a\n"
                             "20261120153942 SAT->PC << [xx]InvalidSatPkg\n"
                             "20261120153943 SAT->PC << [<02>000001|08000|SAT em operacao||<4D><03>]OK:b\n"));
    ASSERT_EQ(timeline.size(), 1U);
    EXPECT_STREQ(OutcomeName(timeline[0]), "aceito");
    EXPECT_THAT(Steps(timeline[0]), testing::Contains("resposta danificada"));
}

}  // namespace
}  // namespace tool

#include "report.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

namespace emulator {

namespace {

using nlohmann::json;
using testing::HasSubstr;

const LocalTime NOON = std::chrono::local_days(std::chrono::year(2024) / 2 / 29) + std::chrono::hours(12) +
                       std::chrono::seconds(7);

Exchange Example() {
    Exchange exchange;
    exchange.outcome = Outcome::Answered;
    exchange.command = "ConsultarSAT|000001";
    exchange.reply = "000001|08000|SAT em operacao||";
    exchange.transmissions = 2;
    exchange.duration_ms = 34;
    std::string error;
    ParseFaults("checksum:times=3+nak:block=2", &exchange.armed, &error);
    exchange.faults = exchange.armed;
    TakeFault(exchange.faults, FaultKind::Checksum);
    return exchange;
}

}  // namespace

TEST(ExchangeText, SaysWhatHappened) {
    EXPECT_EQ(ExchangeText(Example(), NOON),
              "12:00:07 ConsultarSAT 000001 comando=19 resposta=30 codigo=08000 envios=2 ok 34 ms "
              "falha=checksum:times=3 sem-efeito=nak:block=2");
}

TEST(ExchangeText, SaysNothingAboutFaultsWhereThereAreNone) {
    Exchange exchange = Example();
    exchange.faults.clear();
    exchange.armed.clear();
    EXPECT_THAT(ExchangeText(exchange, NOON), testing::EndsWith(" ok 34 ms"));
}

TEST(ExchangeText, BytesThatCannotBePrintedAreNot) {
    Exchange exchange;
    exchange.outcome = Outcome::BadChecksum;
    exchange.command = "a\x1b\xff|\n|" + std::string(100, 'x');
    EXPECT_EQ(ExchangeText(exchange, NOON),
              "12:00:07 a?? ? comando=106 resposta=0 codigo=- envios=0 checksum do comando errado, NAK 0 ms");
}

TEST(ExchangeJson, IsOneObjectOnALine) {
    const std::string line = ExchangeJson(Example(), NOON);
    EXPECT_EQ(line.find('\n'), line.npos);
    EXPECT_EQ(json::parse(line), json({{"event", "exchange"},
                                       {"time", "2024-02-29T12:00:07"},
                                       {"command", "ConsultarSAT"},
                                       {"session", "000001"},
                                       {"command_bytes", 19},
                                       {"reply_bytes", 30},
                                       {"code", "08000"},
                                       {"transmissions", 2},
                                       {"outcome", "answered"},
                                       {"duration_ms", 34},
                                       {"faults", {"checksum:times=3"}},
                                       {"unused_faults", {"nak:block=2"}}}));
}

TEST(ExchangeJson, AnyBytesGiveAnObject) {
    Exchange exchange = Example();
    for (const char* text : {"\xff\xfe|\xc3", "\"\\\n\t|\x01", "\xc3|\xc3\xa9", "\xf0\x9f|\xed\xa0\x80"}) {
        exchange.command = text;
        exchange.reply = text;
        json object;
        ASSERT_NO_THROW(object = json::parse(ExchangeJson(exchange, NOON))) << text;
        EXPECT_EQ(object["command_bytes"], exchange.command.size());
    }
    exchange.command = "caf\xc3\xa9|\xe9";
    const json object = json::parse(ExchangeJson(exchange, NOON));
    EXPECT_EQ(object["command"], "caf\xc3\xa9");
    EXPECT_EQ(object["session"], "\xef\xbf\xbd");
}

TEST(ExchangeJson, ALongFieldIsCut) {
    Exchange exchange = Example();
    exchange.command = std::string(1000, 'x');
    EXPECT_EQ(json::parse(ExchangeJson(exchange, NOON))["command"], std::string(40, 'x'));
}

TEST(Outcomes, EachHasAWordAndATextOfItsOwn) {
    std::vector<std::string> seen;
    for (int value = 0; value <= static_cast<int>(Outcome::PortGone); ++value) {
        seen.emplace_back(OutcomeWord(static_cast<Outcome>(value)));
        seen.emplace_back(OutcomeText(static_cast<Outcome>(value)));
    }
    std::ranges::sort(seen);
    EXPECT_EQ(std::ranges::adjacent_find(seen), seen.end());
}

TEST(Reports, TextAndObjects) {
    testing::internal::CaptureStdout();
    ReportReady({}, "COM7", "");
    ReportReady({}, "/dev/pts/3", "/tmp/sat");
    ReportSeed({}, 7);
    ReportReady({.json = true}, "COM7", "");
    ReportReady({.json = true}, "/dev/pts/3", "/tmp/s\xff");
    ReportSeed({.json = true}, 7);
    ReportAnswer({.json = true}, "a\nb");
    ReportExchange({.quiet = true}, Example(), NOON);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "pronto COM7\n"
              "pronto /dev/pts/3 /tmp/sat\n"
              "semente 7\n"
              "{\"event\":\"ready\",\"address\":\"COM7\"}\n"
              "{\"event\":\"ready\",\"address\":\"/dev/pts/3\",\"link\":\"/tmp/s\xef\xbf\xbd\"}\n"
              "{\"event\":\"seed\",\"seed\":7}\n"
              "{\"event\":\"answer\",\"text\":\"a\\nb\"}\n");
}

TEST(Reports, AnErrorGoesToBothOutputs) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ReportError({}, "x");
    ReportError({.json = true}, "y");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "{\"event\":\"error\",\"text\":\"y\"}\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "sat-emulator: x\nsat-emulator: y\n");
}

}  // namespace emulator

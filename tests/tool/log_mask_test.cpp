#include "log_mask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tool {
namespace {

std::string Masked(const std::string& text) {
    Secrets secrets;
    CollectSecrets(text, &secrets);
    return WithoutSecrets(text, secrets);
}

TEST(LogMaskTest, CodeOfACommandInTheProtocolLog) {
    EXPECT_EQ(Masked("20261120153942 PC->SAT >> [<02>EnviarDadosVenda|000003|123456789|<?xml?><2C><03>]OK:a"),
              "20261120153942 PC->SAT >> [<02>EnviarDadosVenda|000003|********|<?xml?><2C><03>]OK:a");
    EXPECT_EQ(Masked("[<02>ConsultarStatusOperacional|000002|secret<12><46><03>]OK:a"),
              "[<02>ConsultarStatusOperacional|000002|********<46><03>]OK:a");
}

TEST(LogMaskTest, CodeInFrontOfARawChecksum) {
    EXPECT_EQ(Masked("pusTxPkt[045:\x02"
                     "ExtrairLogs|000002|12345678F\x03]\nP03=[00000008:12345678]LastParam"),
              "pusTxPkt[045:\x02"
              "ExtrairLogs|000002|********\x03]\nP03=[00000008:********]LastParam");
}

TEST(LogMaskTest, CodeInFrontOfAChecksumOfZero) {
    const std::string masked = Masked(
        "pusTxPkt[045:\x02"
        "ExtrairLogs|000002|12345678]\nP03=[00000008:12345678]LastParam");
    EXPECT_THAT(masked, testing::Not(testing::HasSubstr("12345678")));
    EXPECT_THAT(masked, testing::HasSubstr("P03=[00000008:********]LastParam"));
}

TEST(LogMaskTest, CodeOfAnActivationStandsInAnotherPlace) {
    EXPECT_EQ(Masked("AtivarSAT|000001|1|mycode77|11222333000181|35<00><03>]"),
              "AtivarSAT|000001|1|********|11222333000181|35<00><03>]");
}

TEST(LogMaskTest, NewCodesAreSecretsToo) {
    EXPECT_EQ(Masked("TrocarCodigoDeAtivacao|000001|oldcode1|1|newcode1|newcode1<00><03>]"),
              "TrocarCodigoDeAtivacao|000001|********|1|********|********<00><03>]");
}

TEST(LogMaskTest, ConsultationHasNoSecret) {
    EXPECT_EQ(Masked("ConsultarSAT|000001<40><03>]"), "ConsultarSAT|000001<40><03>]");
}

TEST(LogMaskTest, ShortCodeIsMaskedInListsButNotEverywhere) {
    EXPECT_EQ(Masked("ExtrairLogs|000002|12<46><03>]\nP03=[00000002:12]LastParam\n12 bytes"),
              "ExtrairLogs|000002|********<46><03>]\nP03=[00000002:********]LastParam\n12 bytes");
}

TEST(LogMaskTest, LongCodeIsMaskedWhereverItStandsAsAWord) {
    EXPECT_EQ(Masked("ExtrairLogs|000002|12345678<46><03>]\nerror 12345678! x123456789"),
              "ExtrairLogs|000002|********<46><03>]\nerror ********! x123456789");
}

TEST(LogMaskTest, OneCodeInFrontOfAnother) {
    const std::string masked = Masked(
        "ExtrairLogs|000002|123456<46><03>]\nBloquearSAT|000003|12345678<46><03>]\nx 12345678 y 123456");
    EXPECT_THAT(masked, testing::Not(testing::HasSubstr("123456")));
}

TEST(LogMaskTest, CutCommandsDoNotReachBeyondTheText) {
    for (const char* const text :
         {"ExtrairLogs|", "ExtrairLogs|0", "ExtrairLogs|000001|", "AtivarSAT|1|2", "ExtrairLogs|1|x"}) {
        EXPECT_FALSE(Masked(text).empty()) << text;
    }
    EXPECT_EQ(Masked("ExtrairLogs|000001|secret1"), "ExtrairLogs|000001|********");
}

}  // namespace
}  // namespace tool

#include "log_lines.h"

#include <gtest/gtest.h>

#include "log_files.h"

namespace tool {
namespace {

int64_t Utc(int64_t utc_ms) {
    return utc_ms;
}

int64_t Brasilia(int64_t utc_ms) {
    return utc_ms - 3LL * 3600 * 1000;
}

std::string TimeOf(const std::string& stamp, LocalTimeRule rule) {
    const auto entries = ParseDiagnosticLog(stamp + " [0001] [../src/api/ZANTIR] [x]y", "20261120", rule);
    return entries.empty() ? "" : DayText(entries[0].time) + " " + ClockText(entries[0].time);
}

TEST(LogLinesTest, ShiftedHoursAreUnderstood) {
    EXPECT_EQ(TimeOf("[12:39:41.531]WRN", Utc), "20261120 15:39:41.531");
    EXPECT_EQ(TimeOf("[12:39:41.531]WRN", Brasilia), "20261120 12:39:41.531");
    EXPECT_EQ(TimeOf("[01:00:00.000]WRN", Utc), "20261120 04:00:00.000");
}

TEST(LogLinesTest, FirstHoursOfTheUtcDayAreTheEveningBefore) {
    EXPECT_EQ(TimeOf("[21:05:00.000]WRN", Utc), "20261120 00:05:00.000");
    EXPECT_EQ(TimeOf("[21:05:00.000]WRN", Brasilia), "20261119 21:05:00.000");
    EXPECT_EQ(TimeOf("[24:30:00.000]WRN", Utc), "20261120 03:30:00.000");
    EXPECT_EQ(TimeOf("[24:30:00.000]WRN", Brasilia), "20261120 00:30:00.000");
}

TEST(LogLinesTest, EveryFrontGivesTheRoutine) {
    const auto entries = ParseDiagnosticLog(
        "[12:39:41.531]WRN [0140] [../src/api/ZANTIR] [UpdateZantirConfiguration]\n\t   Version[x]\n"
        "[12:39:41.532]WRN [0135] ../src/vko_utils/vko_utils VKO_SetIniFileLogMode rc[0003]WR\n"
        "[12:39:41.533]INF [0075] VKO_Exist  rc[000001]OK\n"
        "[12:39:41.534]ERR [0083]  ../src/api/ZANTIR  GetFixedSerialPort  rc[-305]OK\n",
        "20261120", Utc);
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0].function, "UpdateZantirConfiguration");
    EXPECT_EQ(entries[0].text, "Version[x]");
    EXPECT_EQ(entries[0].level, "WRN");
    EXPECT_EQ(entries[1].function, "VKO_SetIniFileLogMode");
    EXPECT_EQ(entries[1].text, "rc[0003]WR");
    EXPECT_EQ(entries[2].function, "VKO_Exist");
    EXPECT_EQ(entries[3].function, "GetFixedSerialPort");
}

TEST(LogLinesTest, DamagedDiagnosticLinesDoNoHarm) {
    for (const char* const text :
         {"", "\n", "[12:39:41.531]WRN", "[12:39:41.531]WRN [", "[12:39:41.531]WRN [0001] [../",
          "[12:39:41.531]WRN [0001] [../x] [", "[12:39:41.531]WRN [0001] [../x] []", "[99:99:99.999]WRN x",
          "loose text"}) {
        EXPECT_LE(ParseDiagnosticLog(text, "20261120", Utc).size(), 1U) << text;
    }
}

TEST(LogLinesTest, PacketsAreReadWithTheirLineEnds) {
    const auto entries = ParseProtocolLog(
        "20261120153942 PC->SAT >> [<02>EnviarDadosVenda|000003|x|<CFe>\n[12]\n</CFe><2C><03>]OK:a\r\n"
        "20261120153943 SAT->PC << [<02>000003|06000|ok]|<56><03>]OK:b\n");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_TRUE(entries[0].to_device);
    EXPECT_EQ(entries[0].text, "EnviarDadosVenda|000003|x|<CFe>\n[12]\n</CFe>");
    EXPECT_EQ(entries[1].text, "000003|06000|ok]|");
    EXPECT_TRUE(entries[1].valid);
    EXPECT_EQ(ClockText(entries[1].time), "15:39:43.000");
}

TEST(LogLinesTest, CommandWithAZeroChecksumGoesToTheDevice) {
    const auto entries = ParseProtocolLog(
        "20261120153942 SAT->PC << [ConsultarSAT|00000<00><03>]WR:CKSUM=0x00--\n"
        "20261120153942 SAT->PC << [<02>000001|08000|x|<00><03>]WR:CKS=0x00\n");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_TRUE(entries[0].to_device);
    EXPECT_EQ(entries[0].text, "ConsultarSAT|00000");
    EXPECT_FALSE(entries[1].to_device);
    EXPECT_EQ(entries[1].text, "000001|08000|x|");
}

TEST(LogLinesTest, DamagedPacketsAreInvalidAndInformationIsLeftOut) {
    const auto entries = ParseProtocolLog(
        "20261120153942 INFO [hello]\n20261120153942 SAT->PC << [garbage]InvalidSatPkg\n"
        "20261320153942 SAT->PC << [x]OK:b\n");
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_FALSE(entries[0].valid);
}

TEST(LogLinesTest, DaysGoRoundMonthsAndYears) {
    constexpr LogTime A_DAY = 24LL * 3600 * 1000;
    EXPECT_EQ(DayText(DayStart("20270101") - A_DAY), "20261231");
    EXPECT_EQ(DayText(DayStart("20280228") + A_DAY), "20280229");
    EXPECT_EQ(ClockText(DayStart("20261120") + 1), "00:00:00.001");
}

}  // namespace
}  // namespace tool

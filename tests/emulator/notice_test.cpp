#include "notice.h"

#include "commands.h"
#include "device_fixture.h"

namespace emulator {

namespace {

struct NoticeTest : DeviceTest {
    // The fields cod and mensagemSEFAZ.
    std::vector<std::string> Notice() {
        const auto reply = Ask("ConsultarSAT|000900");
        return {reply[3], reply[4]};
    }
};

using testing::ElementsAre;

}  // namespace

TEST_F(NoticeTest, NoneOnAnOrdinaryDay) {
    EXPECT_THAT(Notice(), ElementsAre("", ""));
}

TEST_F(NoticeTest, SoftwareThatIsToBeRenewed) {
    Ask("ConsultarSAT|000001");
    now += std::chrono::days(335);
    EXPECT_THAT(Notice(), ElementsAre("", ""));
    now += std::chrono::seconds(1);
    EXPECT_THAT(Notice(), ElementsAre("1", "Emu:Existem atualizacoes pendentes para o SAT"));
    now += std::chrono::days(25);
    EXPECT_THAT(Notice(), ElementsAre("2", "Emu:O SAT precisa ser atualizado em 5 dias"));
    now += std::chrono::days(4);
    EXPECT_THAT(Notice(), ElementsAre("3", "Emu:O SAT precisa ser atualizado em 24 horas"));
    EXPECT_EQ(CodeOf("AtualizarSoftwareSAT|000001|12345678"), "14000");
    EXPECT_THAT(Notice(), ElementsAre("", ""));
}

TEST_F(NoticeTest, ALogWorthReading) {
    const char* text = "Emu:Acionar suporte tecnico para verificação dos logs operacionais";
    device.wrong_codes = MOST_WRONG_CODES;
    EXPECT_THAT(Notice(), ElementsAre("4", text));
    device.wrong_codes = 0;
    Sell();
    now -= std::chrono::seconds(1);
    EXPECT_THAT(Notice(), ElementsAre("5", text));
}

TEST_F(NoticeTest, TheMaintenanceThatIsAnnounced) {
    const char* text =
        "Emu:A SEFAZ informa que a rede SAT sofrera manutencao no dia 19/03/2020 das 22:00 às 23:00.";
    now = std::chrono::local_days(std::chrono::year(2020) / 3 / 19) + std::chrono::hours(23);
    EXPECT_THAT(Notice(), ElementsAre("999", text));
    now += std::chrono::seconds(1);
    EXPECT_THAT(Notice(), ElementsAre("", ""));
    now -= std::chrono::days(7) + std::chrono::seconds(1);
    EXPECT_THAT(Notice(), ElementsAre("", ""));
}

TEST_F(NoticeTest, WhatTheSettingsSayIsInEveryReply) {
    device.settings.notice = 2;
    const char* text = "Emu:O SAT precisa ser atualizado em 5 dias";
    EXPECT_THAT(Notice(), ElementsAre("2", text));
    const auto sale = Sell();
    EXPECT_EQ(sale[4], "2");
    EXPECT_EQ(sale[5], text);
    EXPECT_FALSE(IsNotice(6));
    EXPECT_FALSE(IsNotice(0));
    EXPECT_FALSE(IsNotice(9999));
    EXPECT_TRUE(IsNotice(999));
}

}  // namespace emulator

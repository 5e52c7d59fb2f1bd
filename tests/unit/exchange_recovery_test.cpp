#include "api_fixture.h"

/** Whole calls to a device that makes mistakes. */
class ExchangeRecovery : public Api {
  protected:
    /** A reply of several blocks. */
    static std::string LongReply() {
        std::string text = "000042|06000|";
        while (text.size() < 50000)
            text += std::to_string(text.size()) + ";";
        return text;
    }
    void SetUp() override {
        Load();
        AttachDevice(&device);
    }
    static constexpr const char* kNotReceived =
        "SAT Erro[-00001]Win Falha ao receber resposta do  SAT L[2127] F[Communicate] ";
    sim::HonestDevice device = DeviceThatSays(LongReply());
};

TEST_F(ExchangeRecovery, TwoBadChecksumsAreOvercome) {
    device.faults.bad_checksum_times = 2;
    EXPECT_EQ(ConsultarSAT(1), LongReply());
    EXPECT_EQ(device.naks_received, 2U);
    EXPECT_EQ(device.replies_acknowledged, 1U);
}

TEST_F(ExchangeRecovery, ThreeBadChecksumsAreTheEnd) {
    device.faults.bad_checksum_times = 3;
    EXPECT_STREQ(ConsultarSAT(1), kNotReceived);
    EXPECT_EQ(device.naks_received, 3U);
    EXPECT_EQ(device.replies_acknowledged, 0U);
}

TEST_F(ExchangeRecovery, AByteThatChangedOnTheLineIsNoticed) {
    device.faults.corrupt_times = 1;
    device.faults.corrupt_at = 30000;
    EXPECT_EQ(ConsultarSAT(1), LongReply());
    EXPECT_EQ(device.frames_sent, 2U);
}

TEST_F(ExchangeRecovery, AStallInTheSecondBlockStartsTheReplyAnew) {
    device.faults.stall_times = 2;
    device.faults.stall_at = 20000;
    EXPECT_EQ(ConsultarSAT(1), LongReply());
    EXPECT_EQ(device.naks_received, 2U);
    EXPECT_EQ(device.frames_sent, 3U);
}

TEST_F(ExchangeRecovery, AThirdStallIsTheEnd) {
    device.faults.stall_times = 3;
    device.faults.stall_at = 20000;
    EXPECT_STREQ(ConsultarSAT(1), kNotReceived);
    EXPECT_EQ(device.naks_received, 3U);
}

TEST_F(ExchangeRecovery, ALostStxIsNoticedByTheChecksum) {
    // The second byte takes the place of STX and is missing in the sum.
    sim::HonestDevice small = DeviceThatSays("000042|08000|ok");
    World().ports.Find("\\\\?\\COM7")->Attach(&small);
    small.faults.lose_first_byte_times = 1;
    EXPECT_STREQ(ConsultarSAT(1), "000042|08000|ok");
    EXPECT_EQ(small.naks_received, 1U);
}

TEST_F(ExchangeRecovery, JunkInFrontOfEveryAcknowledgementIsSkipped) {
    device.faults.junk_before_ack = "\x02junk\xFF";
    EXPECT_EQ(EnviarDadosVenda(1, "a", std::string(40000, 'x').c_str()), LongReply());
    EXPECT_EQ(device.acks_sent, 3U);
}

TEST_F(ExchangeRecovery, ASecondAcknowledgementTakesThePlaceOfStx) {
    // The reply begins with the stray byte, so STX is summed and the first attempt is lost.
    device.faults.duplicate_ack = true;
    EXPECT_EQ(ConsultarSAT(1), LongReply());
    EXPECT_GE(device.naks_received, 1U);
}

TEST_F(ExchangeRecovery, ARefusedBlockEndsTheCommand) {
    device.faults.nak_block = 1;
    EXPECT_STREQ(EnviarDadosVenda(1, "a", std::string(40000, 'x').c_str()),
                 "SAT Erro[-01005]Win Falha ao enviar Comando ao SAT[\\\\?\\COM7] L[2114] F[Communicate] ");
    EXPECT_EQ(World().ports.Find("\\\\?\\COM7")->Record().bytes_written, 32768U);
    EXPECT_EQ(device.commands_taken, 0U);
}

TEST_F(ExchangeRecovery, AnUnpluggedDeviceIsAnErrorAndTheNextCallFindsItAgain) {
    sim::Line& line = *World().ports.Find("\\\\?\\COM7");
    device.reply_delay_us = 1'000'000;
    World().clock.After(500'000, [] { World().ports.Unplug("\\\\?\\COM7"); });
    EXPECT_STREQ(ConsultarSAT(1), kNotReceived);
    EXPECT_EQ(World().ports.OpenCount(), 0U);
    World().ports.Replug(line, "\\\\?\\COM7");
    EXPECT_EQ(ConsultarSAT(2), LongReply());
}

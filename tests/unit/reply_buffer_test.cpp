#include "api_fixture.h"

/** The one buffer that every export returns. */
class ReplyBuffer : public Api {
  protected:
    /** Where the buffer first differs from zero behind its text; its size when it does not. */
    static size_t FirstByteBehindText() {
        return FirstNonZero(gl_strSatRsp, strlen(gl_strSatRsp), GL_DEF_MAX_SAT_PKT_SIZE);
    }
};

TEST_F(ReplyBuffer, EveryCallReturnsTheSamePointerAndTheLastReplyOnly) {
    int calls = 0;
    sim::HonestDevice device(
        [&](const std::string&) { return ++calls == 1 ? std::string(5000, 'x') : std::string("short"); });
    AttachDevice(&device);
    const char* first = ConsultarSAT(1);
    EXPECT_EQ(std::string(first), std::string(5000, 'x'));
    const char* second = ConsultarStatusOperacional(2, "a");
    EXPECT_EQ(first, second);
    EXPECT_EQ(first, gl_strSatRsp);
    EXPECT_STREQ(first, "short");
    EXPECT_EQ(VersaoDllZantir(), first);
    EXPECT_STREQ(first, "ZANTIR DLL Ver. 02.00");
}

TEST_F(ReplyBuffer, IsZeroBehindTheTextAfterEachCall) {
    std::string reply(40000, 'x');
    sim::HonestDevice device([&](const std::string&) { return reply; });
    AttachDevice(&device);
    ASSERT_EQ(strlen(EnviarDadosVenda(1, "a", std::string(100000, 'y').c_str())), reply.size());
    EXPECT_EQ(FirstByteBehindText(), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
    reply = "ok";
    ASSERT_STREQ(ConsultarSAT(1), "ok");
    EXPECT_EQ(FirstByteBehindText(), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
    ASSERT_STREQ(VersaoDllZantir(), "ZANTIR DLL Ver. 02.00");
    EXPECT_EQ(FirstByteBehindText(), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
}

TEST_F(ReplyBuffer, NothingOfAFailedCallLeaksIntoTheNext) {
    // The command stays behind the error text when it could not be sent, and is gone after the next call.
    const std::string sale(100000, 'y');
    ASSERT_STREQ(EnviarDadosVenda(1, "a", sale.c_str()),
                 "SAT Erro[-01000]Win SAT Nao encontrado!!! L[2013] F[Communicate] ");
    EXPECT_EQ(std::string(gl_strSatRsp + 1000, 10), "yyyyyyyyyy");
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    ASSERT_STREQ(ConsultarSAT(1), "ok");
    EXPECT_EQ(FirstByteBehindText(), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
}

TEST_F(ReplyBuffer, ACallThatNeverGetsToTheDeviceBeginsWithAnEmptyBufferToo) {
    const std::string sale(100000, 'y');
    EnviarDadosVenda(1, "a", sale.c_str());
    VersaoDllZantir();
    EXPECT_EQ(FirstByteBehindText(), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
    EnviarDadosVenda(1, "a", sale.c_str());
    ConsultarSAT(1);
    // The error text is longer than this command.
    EXPECT_EQ(FirstByteBehindText(), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
}

TEST_F(ReplyBuffer, AFailedReplyLeavesItsErrorTextAlone) {
    // The reader has cleared the command before.
    sim::HonestDevice device = DeviceThatSays("");
    device.faults.silent_reply = true;
    AttachDevice(&device);
    const std::string sale(100000, 'y');
    ASSERT_STREQ(EnviarDadosVenda(1, "a", sale.c_str()),
                 "SAT Erro[-00001]Win Falha ao receber resposta do  SAT L[2127] F[Communicate] ");
    EXPECT_EQ(FirstByteBehindText(), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
}

TEST_F(ReplyBuffer, ACommandThatWasPutThereByHandGoesToo) {
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    const std::string command = "\x02" + std::string(5000, 'c') + "\x03";
    memcpy(gl_strSatRsp, command.c_str(), command.size() + 1);
    EXPECT_GE(Communicate(gl_strSatRsp, 10, 0, 0, 0), 0);
    EXPECT_STREQ(gl_strSatRsp, "ok");
    EXPECT_EQ(FirstByteBehindText(), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
}

TEST_F(ReplyBuffer, WhatIsClearedInTwoStepsIsClear) {
    memset(gl_strSatRsp, 'x', 100);
    BufferTouched(gl_strSatRsp, 100);
    BufferClear(gl_strSatRsp, 60);
    EXPECT_EQ(FirstNonZero(gl_strSatRsp, 0, sizeof gl_strSatRsp), 60U);
    BufferClear(gl_strSatRsp, sizeof gl_strSatRsp);
    EXPECT_EQ(FirstNonZero(gl_strSatRsp, 0, sizeof gl_strSatRsp), sizeof gl_strSatRsp);
}

TEST_F(ReplyBuffer, TheNameOfTheCallIsKnownWhileItRunsAndStaysBehindIt) {
    std::string during;
    sim::HonestDevice device([&](const std::string&) {
        during = gl_tSat.strCurSatCmdInProc;
        return "ok";
    });
    AttachDevice(&device);
    ComunicarCertificadoICPBRASIL(1, "a", "b");
    EXPECT_EQ(during, "ComunicarCertificadoICPBRASIL");
    EXPECT_STREQ(gl_tSat.strCurSatCmdInProc, "ComunicarCertificadoICPBRASIL");
    VersaoDllZantir();
    EXPECT_STREQ(gl_tSat.strCurSatCmdInProc, "VersaoDllZantir");
}

TEST_F(ReplyBuffer, TheVersionNeedsNeitherDeviceNorLock) {
    sim::HonestDevice device = DeviceThatSays("no");
    sim::Line& line = AttachDevice(&device);
    World().mutexes.Hold("Global My shared memory mutex", 99);
    for (int call = 0; call < 2; ++call)
        EXPECT_STREQ(VersaoDllZantir(), "ZANTIR DLL Ver. 02.00");
    for (const sim::Call call :
         {sim::Call::MutexCreate, sim::Call::MutexWait, sim::Call::MutexRelease, sim::Call::DevicesOpen,
          sim::Call::PortOpen, sim::Call::PortWrite, sim::Call::PortRead, sim::Call::SleepMs}) {
        EXPECT_EQ(World().faults.Count(call), 0U) << sim::CallName(call);
    }
    EXPECT_EQ(line.Record().opens, 0U);
    EXPECT_EQ(NowMs(), 0);
}

/** A command at the longest that fits, and one byte beyond. */
class CommandLength : public ReplyBuffer {
  protected:
    static constexpr size_t kLongestText = 10485758;

    /** Sale data that make the command's text, from STX to ETX, this long. */
    static std::string DataFor(size_t text_length) {
        const size_t around = std::string(
                                  "\x02"
                                  "EnviarDadosVenda|000001|a|\x03")
                                  .size();
        return std::string(text_length - around, 'd');
    }
};

TEST_F(CommandLength, TheLongestCommandThatFitsIsSent) {
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    EXPECT_STREQ(EnviarDadosVenda(1, "a", DataFor(kLongestText).c_str()), "ok");
    EXPECT_EQ(device.last_command.size(), kLongestText - 2);
    EXPECT_EQ(device.acks_sent, 640U);
    EXPECT_EQ(FirstByteBehindText(), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
}

TEST_F(CommandLength, OneByteMoreIsNotSent) {
    WriteIniWithLog('1');
    sim::HonestDevice device = DeviceThatSays("ok");
    sim::Line& line = AttachDevice(&device);
    const std::string text =
        "SAT Erro[-00001]Win Comando excede o tamanho maximo L[0000] F[EnviarDadosVenda] ";
    for (const size_t length :
         {kLongestText + 1, kLongestText + 2, kLongestText + 3, kLongestText + 100000}) {
        ClearLog();
        EXPECT_EQ(EnviarDadosVenda(1, "a", DataFor(length).c_str()), text) << length;
        EXPECT_THAT(Log(), testing::ElementsAre(
                               "ERR [EnviarDadosVenda] rc[-00001]ER\n\t << SAT_Rsp[00080:" + text + "]\n"));
        EXPECT_EQ(FirstByteBehindText(), size_t{GL_DEF_MAX_SAT_PKT_SIZE});
    }
    EXPECT_EQ(line.Record().opens, 0U);
    EXPECT_EQ(World().faults.Count(sim::Call::MutexCreate), 0U);
}

TEST_F(CommandLength, TheTextNamesTheExportThatWasTooLong) {
    const std::string data(10485760, 'd');
    EXPECT_STREQ(
        ConsultarUltimaSessaoFiscal(1, data.c_str()),
        "SAT Erro[-00001]Win Comando excede o tamanho maximo L[0000] F[ConsultarUltimaSessaoFiscal] ");
}

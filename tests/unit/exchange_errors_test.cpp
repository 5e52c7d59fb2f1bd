#include "api_fixture.h"

using testing::HasSubstr;

/** The texts in which failures reach the caller, and that nothing stays open behind one. */
class ExchangeErrors : public Api {
  protected:
    static std::string Call() {
        WriteIniIfMissing();
        const std::string text = ConsultarSAT(1);
        EXPECT_EQ(World().ports.OpenCount(), 0U);
        EXPECT_EQ(World().mutexes.Owner("Global My shared memory mutex"), 0U);
        EXPECT_EQ(gl_hComm, PLAT_INVALID_HANDLE);
        return text;
    }
    static void WriteIniIfMissing() {
        if (!World().files.Exists("SAT.ini")) WriteIniWithLog('1');
    }
    static void FixPort(const std::string& port) {
        WriteIni("[LOG]\nLogMode=1\n[SERIAL_PORT_CONFIG]\nFixarPorta=" + port + "\n");
    }
    /** The code and step of the line that the failure left. */
    static void ExpectFailedStep(const std::string& step, const std::string& code) {
        EXPECT_THAT(LogOf("Communicate"),
                    testing::Contains(testing::AllOf(testing::StartsWith("ERR "), HasSubstr(step),
                                                     HasSubstr("rc[" + code + "]"))));
    }
    sim::HonestDevice device = DeviceThatSays("ok");
};

TEST_F(ExchangeErrors, NoDevice) {
    EXPECT_EQ(Call(), "SAT Erro[-01000]Win SAT Nao encontrado!!! L[2013] F[Communicate] ");
    EXPECT_THAT(LogOf("Communicate"),
                testing::Contains("ERR [Communicate]Win: ER:NO_SAT_DEVICE_FOUND and NO_EMULATOR_DEV_SET\n"));
}

// What the platform knows of the present devices was wrong, or soon is.
TEST_F(ExchangeErrors, ADeviceThatIsMissedOrDoesNotOpenHasTheDevicesListedAnew) {
    const auto forgotten = [] { return World().faults.Count(sim::Call::DevicesForget); };
    Call();
    EXPECT_EQ(forgotten(), 1U);
    AttachDevice(&device);
    Call();
    EXPECT_EQ(forgotten(), 1U);
    World().faults.FailNth(sim::Call::PortOpen, 1, 3);
    Call();
    EXPECT_EQ(forgotten(), 2U);
}

TEST_F(ExchangeErrors, APortNameWithoutCom) {
    AttachDevice(&device);
    FixPort("LPT1");
    EXPECT_EQ(Call(), "SAT Erro[-02002]Win Erro de Comunicacao com SAT L[2052] F[Communicate] ");
    ExpectFailedStep("STEP-02.2", "-02002");
    EXPECT_EQ(World().faults.Count(sim::Call::PortOpen), 0U);
}

TEST_F(ExchangeErrors, APortNumberBelowOne) {
    for (const std::string port : {"COM0", "COM-5", "COMX1"}) {
        SCOPED_TRACE(port);
        Load();
        AttachDevice(&device);
        FixPort(port);
        EXPECT_EQ(Call(), "SAT Erro[-02003]Win Erro de Comunicacao com SAT L[2063] F[Communicate] ");
        ExpectFailedStep("STEP-02.2", "-02003");
        EXPECT_EQ(World().faults.Count(sim::Call::PortOpen), 0U);
    }
}

TEST_F(ExchangeErrors, ThePortNumberIsTheLeadingDigitsBehindCom) {
    sim::HonestDevice other = DeviceThatSays("COM12 here");
    AttachDevice(&device);
    World().ports.Add("\\\\?\\COM12", &other);
    FixPort("COM12x3");
    EXPECT_EQ(Call(), "COM12 here");
}

TEST_F(ExchangeErrors, APortThatCannotBeOpened) {
    AttachDevice(&device);
    World().ports.Unplug("\\\\?\\COM7");
    EXPECT_EQ(Call(), "SAT Erro[-01000]Win Erro de Comunicacao com SAT L[2075] F[Communicate] ");
    ExpectFailedStep("STEP-02.2", "-01000");
}

TEST_F(ExchangeErrors, APortThatAnotherProgramHolds) {
    AttachDevice(&device);
    World().ports.Hold("\\\\?\\COM7");
    EXPECT_EQ(Call(), "SAT Erro[-01000]Win Erro de Comunicacao com SAT L[2075] F[Communicate] ");
    EXPECT_EQ(NowMs(), 30000);
}

TEST_F(ExchangeErrors, AnOpenThatSucceedsWithoutAHandleHasACodeOfItsOwn) {
    // No input of the exchange leads there; the text belongs to it all the same.
    WriteExchangeError(gl_strSatRsp, EXCHANGE_NOT_OPENED, -2004, "\\\\?\\COM7");
    EXPECT_STREQ(gl_strSatRsp, "SAT Erro[-02004]Win Erro de Comunicacao com SAT L[2075] F[Communicate] ");
}

TEST_F(ExchangeErrors, EachRefusedSetting) {
    const std::pair<sim::Call, std::string> steps[] = {{sim::Call::PortParseMode, "-01002"},
                                                       {sim::Call::PortApply, "-01003"},
                                                       {sim::Call::PortSetQueues, "-01004"},
                                                       {sim::Call::PortSetTimeouts, "-01005"}};
    for (const auto& [call, code] : steps) {
        SCOPED_TRACE(sim::CallName(call));
        Load();
        sim::Line& line = AttachDevice(&device);
        World().faults.FailAlways(call);
        EXPECT_EQ(Call(),
                  "SAT Erro[" + code +
                      "]Win Falha ao Configurar Porta de Comunicacao com SAT L[2087] F[Communicate] ");
        ExpectFailedStep("STEP-02.3[FAIL]", code);
        EXPECT_EQ(line.Record().bytes_written, 0U);
        EXPECT_EQ(line.Record().closes, 1U);
    }
}

TEST_F(ExchangeErrors, ACommandThatCannotBeSent) {
    AttachDevice(&device);
    device.faults.silent = true;
    EXPECT_EQ(Call(),
              "SAT Erro[-00001]Win Falha ao enviar Comando ao SAT[\\\\?\\COM7] L[2114] F[Communicate] ");
    ExpectFailedStep("STEP-03.1[FAIL]", "-00001");
}

TEST_F(ExchangeErrors, ACommandThatIsRefused) {
    AttachDevice(&device, "COM112");
    device.faults.nak_block = 0;
    EXPECT_EQ(Call(),
              "SAT Erro[-01005]Win Falha ao enviar Comando ao SAT[\\\\?\\COM112] L[2114] F[Communicate] ");
}

TEST_F(ExchangeErrors, APortThatTakesNoBytes) {
    AttachDevice(&device, "COM10").AcceptAtMost(0);
    EXPECT_EQ(Call(),
              "SAT Erro[-01007]Win Falha ao enviar Comando ao SAT[\\\\?\\COM10] L[2114] F[Communicate] ");
}

TEST_F(ExchangeErrors, AFailedSendOnCom1IsAMissingDevice) {
    AttachDevice(&device, "COM1");
    device.faults.silent = true;
    EXPECT_EQ(Call(), "SAT Erro[-00001]Win SAT Nao Encontrado L[2110] F[Communicate] ");
    device.faults.silent = false;
    device.faults.nak_block = 0;
    EXPECT_EQ(Call(), "SAT Erro[-01005]Win SAT Nao Encontrado L[2110] F[Communicate] ");
}

TEST_F(ExchangeErrors, ASuccessOnCom1IsASuccess) {
    AttachDevice(&device, "COM1");
    EXPECT_EQ(Call(), "ok");
}

TEST_F(ExchangeErrors, AReplyThatDoesNotCome) {
    AttachDevice(&device);
    device.faults.silent_reply = true;
    EXPECT_EQ(Call(), "SAT Erro[-00001]Win Falha ao receber resposta do  SAT L[2127] F[Communicate] ");
    ExpectFailedStep("STEP-04.0[FAIL]", "-00001");
}

TEST_F(ExchangeErrors, AReplyThatStaysBadOnCom1IsNoMissingDevice) {
    AttachDevice(&device, "COM1");
    device.faults.bad_checksum_times = 3;
    EXPECT_EQ(Call(), "SAT Erro[-00001]Win Falha ao receber resposta do  SAT L[2127] F[Communicate] ");
}

TEST_F(ExchangeErrors, TheTextEndsTheStringAndTheRestOfTheCommandStaysBehindIt) {
    const std::string sale(200, 's');
    EnviarDadosVenda(1, "a", sale.c_str());
    const size_t length = strlen(gl_strSatRsp);
    EXPECT_EQ(length, 65U);
    EXPECT_EQ(std::string(gl_strSatRsp + length + 1, 10), "ssssssssss");
}

TEST_F(ExchangeErrors, ADeviceErrorTextIsPassedOnAsItIs) {
    sim::HonestDevice refusing = DeviceThatSays("000001|08098|SAT em processamento||");
    AttachDevice(&refusing);
    EXPECT_EQ(Call(), "000001|08098|SAT em processamento||");
    EXPECT_EQ(refusing.commands_taken, 1U);
}

#include "api_fixture.h"

using testing::Contains;

static const char kLock[] = "Global My shared memory mutex";

/** The emulator's port in place of a device that was not found. */
class ExchangeEmulator : public Api {
  protected:
    static void Enable(const std::string& port_line, const std::string& enabled = "1") {
        WriteIni("[LOG]\nLogMode=5\n[SAT_EMULATOR]\n" + port_line + "Enable=" + enabled + "\n");
    }
    sim::HonestDevice emulator = DeviceThatSays("emulated");
};

TEST_F(ExchangeEmulator, ItsConfiguredPortIsUsed) {
    World().ports.Add("\\\\?\\COM7", &emulator);
    Enable("SerialPortWindows=COM7\n");
    EXPECT_STREQ(ConsultarSAT(1), "emulated");
    EXPECT_THAT(LogOf("Communicate"),
                Contains("WRN [Communicate]Lnx:WR Port[00008:\\\\?\\COM7]PLMQ:USING_SAT_EMULATOR!!\n"));
    // That there is no device is as it should be: the list was right.
    EXPECT_EQ(World().faults.Count(sim::Call::DevicesForget), 0U);
}

TEST_F(ExchangeEmulator, ADeviceThatIsFoundComesFirst) {
    sim::HonestDevice device = DeviceThatSays("device");
    AttachDevice(&device, "COM3");
    World().ports.Add("\\\\?\\COM7", &emulator);
    Enable("SerialPortWindows=COM7\n");
    EXPECT_STREQ(ConsultarSAT(1), "device");
}

TEST_F(ExchangeEmulator, DisabledItsPortIsNotUsed) {
    World().ports.Add("\\\\?\\COM7", &emulator);
    Enable("SerialPortWindows=COM7\n", "0");
    EXPECT_STREQ(ConsultarSAT(1), "SAT Erro[-01000]Win SAT Nao encontrado!!! L[2013] F[Communicate] ");
}

TEST_F(ExchangeEmulator, APortThatIsNoComPortIsACommunicationError) {
    Enable("SerialPortWindows=CNCA0\n");
    EXPECT_STREQ(ConsultarSAT(1), "SAT Erro[-02002]Win Erro de Comunicacao com SAT L[2052] F[Communicate] ");
}

TEST_F(ExchangeEmulator, OnCom1AFailedSendIsAMissingDeviceToo) {
    emulator.faults.silent = true;
    World().ports.Add("\\\\?\\COM1", &emulator);
    Enable("SerialPortWindows=COM1\n");
    EXPECT_STREQ(ConsultarSAT(1), "SAT Erro[-00001]Win SAT Nao Encontrado L[2110] F[Communicate] ");
}

/** Enabled, but without a usable port: the call returns at once and keeps the lock. */
class ExchangeEmulatorWithoutPort : public ExchangeEmulator,
                                    public testing::WithParamInterface<const char*> {};

TEST_P(ExchangeEmulatorWithoutPort, TheDeviceIsMissed) {
    Enable(GetParam());
    ConsultarSAT(5);
    EXPECT_EQ(World().faults.Count(sim::Call::DevicesForget), 1U);
}

TEST_P(ExchangeEmulatorWithoutPort, TheCallersCommandStaysInTheBuffer) {
    Enable(GetParam());
    EXPECT_STREQ(ConsultarSAT(5),
                 "\x02"
                 "ConsultarSAT|000005\x03");
    EXPECT_STREQ(ConsultarStatusOperacional(6, "act"),
                 "\x02"
                 "ConsultarStatusOperacional|000006|act\x03");
}

TEST_P(ExchangeEmulatorWithoutPort, TheThreadKeepsTheLock) {
    Enable(GetParam());
    ConsultarSAT(5);
    EXPECT_EQ(World().mutexes.Owner(kLock), World().Thread());
    EXPECT_EQ(World().faults.Count(sim::Call::MutexRelease), 0U);
    // The same thread gets it again, each time one deeper; another one waits in vain.
    ConsultarSAT(6);
    EXPECT_EQ(World().mutexes.Depth(kLock), 2U);
    World().SetThread(1, 2);
    EXPECT_STREQ(ConsultarSAT(7), "SAT Erro[-01002]Win Falha ao Durante Lock do SAT L[1986] F[Communicate] ");
}

TEST_P(ExchangeEmulatorWithoutPort, TheNextWaiterGoesOnWhenThatThreadEnds) {
    Enable(GetParam());
    ConsultarSAT(5);
    World().EndThread(1);
    World().SetThread(1, 2);
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    EXPECT_STREQ(ConsultarSAT(6), "ok");
}

TEST_P(ExchangeEmulatorWithoutPort, IsLoggedWithoutTheClosingSteps) {
    Enable(GetParam());
    ConsultarSAT(5);
    const std::vector<std::string> lines = LogOf("Communicate");
    EXPECT_EQ(lines.back(), "ERR [Communicate]Lnx:ER NO_SAT_DEVICE_FOUND and NO_EMULATOR_DEV_SET\n");
    EXPECT_THAT(lines, testing::Not(Contains(testing::HasSubstr("STEP-06"))));
    EXPECT_THAT(lines, testing::Not(Contains(testing::HasSubstr("STEP-07"))));
}

INSTANTIATE_TEST_SUITE_P(Ports, ExchangeEmulatorWithoutPort,
                         testing::Values("", "SerialPortWindows=\n", "SerialPortLinux=COM7\n"));

TEST_F(ExchangeEmulator, ReturnsTheReadersCodeForAMissingKeyAndItsOwnForAnEmptyOne) {
    Enable("");
    VersaoDllZantir();
    strcpy(gl_strSatRsp,
           "\x02"
           "X\x03");
    EXPECT_EQ(Communicate(gl_strSatRsp, 10, 1, 4, 5), INI_FILE_ERR_ITEM_NOT_FOUND);
    Load();
    Enable("SerialPortWindows=\n");
    VersaoDllZantir();
    strcpy(gl_strSatRsp,
           "\x02"
           "X\x03");
    EXPECT_EQ(Communicate(gl_strSatRsp, 10, 1, 4, 5), -1000);
}

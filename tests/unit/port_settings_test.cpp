#include "api_fixture.h"

using testing::ElementsAre;

/** Setting the port up, closing it, and the system's errors. */
class PortSettings : public Api {
  protected:
    void SetUp() override {
        Load();
        StartLog();
        line = &World().ports.Add("\\\\?\\COM7", nullptr);
        hPort = plat_port_open("\\\\?\\COM7");
        gl_hComm = PLAT_INVALID_HANDLE;
    }
    sim::Line* line = nullptr;
};

TEST_F(PortSettings, AreAlwaysTheSame) {
    gl_tSat.uiReadIntervalTimeout = 77;
    gl_tSat.iWriteTotalTimeoutConstant = 77;
    EXPECT_EQ(cSerialSettingsW(&hPort), 0);
    const sim::LineRecord& record = line->Record();
    EXPECT_EQ(record.mode, "115200,n,8,1");
    EXPECT_EQ(record.settings.baud_rate, 115200U);
    EXPECT_EQ(record.settings.data_bits, 8);
    EXPECT_EQ(record.settings.parity, 0);
    EXPECT_EQ(record.settings.stop_bits, 0);
    EXPECT_EQ(record.input_queue, 16384U);
    EXPECT_EQ(record.output_queue, 16384U);
    EXPECT_TRUE(record.dtr);
    EXPECT_TRUE(record.rts);
    EXPECT_EQ(record.timeouts.read_interval, 10U);
    EXPECT_EQ(record.timeouts.read_total_multiplier, 1U);
    EXPECT_EQ(record.timeouts.read_total_constant, 1U);
    EXPECT_EQ(record.timeouts.write_total_multiplier, 1U);
    EXPECT_EQ(record.timeouts.write_total_constant, 1000U);
    EXPECT_EQ(record.flushes, 1U);
    EXPECT_THAT(Log(), ElementsAre());
}

TEST_F(PortSettings, AModeThatIsNotUnderstoodIsRefused) {
    World().faults.FailAlways(sim::Call::PortParseMode);
    EXPECT_EQ(cSerialSettingsW(&hPort), -1002);
    EXPECT_THAT(Log(), ElementsAre("WRN [cSerialSettingsW]Win: rc[-01002]ER:SAT_API_ERR_WIN_DEV_CONFIG\n\t "
                                   "Config[0,0,0,0]\n"));
    EXPECT_EQ(line->Record().applies, 0U);
}

TEST_F(PortSettings, SettingsThatCannotBeAppliedAreRefused) {
    World().faults.FailAlways(sim::Call::PortApply);
    EXPECT_EQ(cSerialSettingsW(&hPort), -1003);
    EXPECT_THAT(Log(), ElementsAre(testing::AllOf(testing::StartsWith("WRN [cSerialSettingsW]"),
                                                  testing::HasSubstr("rc[-01003]"),
                                                  testing::HasSubstr("SAT_API_ERR_WIN_DEV_COMM_STATE"))));
    EXPECT_EQ(World().faults.Count(sim::Call::PortSetQueues), 0U);
}

TEST_F(PortSettings, QueuesThatCannotBeSizedAreAnError) {
    World().faults.FailAlways(sim::Call::PortSetQueues);
    EXPECT_EQ(cSerialSettingsW(&hPort), -1004);
    EXPECT_THAT(Log(), ElementsAre(testing::AllOf(testing::StartsWith("ERR [cSerialSettingsW]"),
                                                  testing::HasSubstr("rc[-01004]"),
                                                  testing::HasSubstr("SAT_API_ERR_WIN_DEV_COMM_SETUP"))));
    EXPECT_FALSE(line->Record().dtr);
}

TEST_F(PortSettings, RefusedSignalsAreIgnored) {
    World().faults.FailAlways(sim::Call::PortRaise);
    EXPECT_EQ(cSerialSettingsW(&hPort), 0);
    EXPECT_EQ(World().faults.Count(sim::Call::PortRaise), 2U);
    EXPECT_EQ(line->Record().timeouts.read_interval, 10U);
}

TEST_F(PortSettings, TimeoutsThatCannotBeSetAreRefused) {
    World().faults.FailAlways(sim::Call::PortSetTimeouts);
    EXPECT_EQ(cSerialSettingsW(&hPort), -1005);
    EXPECT_THAT(Log(),
                ElementsAre("WRN [cSerialSettingsW]Win: rc[-01005]ER:SAT_API_ERR_WIN_DEV_COMM_TIMEOUTS \n\t "
                            "RdTmout[10] RdMult[1] RdConst[1] WrMult[1] WrConst[1000]\n"));
    EXPECT_TRUE(line->Record().dtr);
    EXPECT_TRUE(line->Record().rts);
    EXPECT_EQ(line->Record().flushes, 0U);
}

TEST_F(PortSettings, AFailedFlushIsIgnored) {
    World().faults.FailAlways(sim::Call::PortFlush);
    EXPECT_EQ(cSerialSettingsW(&hPort), 0);
}

TEST_F(PortSettings, ARefusedStepLeavesThePortOpen) {
    World().faults.FailAlways(sim::Call::PortSetQueues);
    cSerialSettingsW(&hPort);
    EXPECT_TRUE(line->IsOpen());
    EXPECT_TRUE(plat_handle_valid(hPort));
}

class PortClose : public PortSettings {};

TEST_F(PortClose, ClosesTheHandleAndSleepsTwoMilliseconds) {
    gl_hComm = hPort;
    const std::string handle = Hex8(hPort);
    EXPECT_EQ(cSerialCloseW(&hPort), 0);
    EXPECT_FALSE(line->IsOpen());
    EXPECT_EQ(hPort, PLAT_INVALID_HANDLE);
    EXPECT_EQ(gl_hComm, PLAT_INVALID_HANDLE);
    EXPECT_EQ(NowMs(), 2);
    EXPECT_THAT(Log(), ElementsAre("INF [cSerialCloseW]Win: ret[0000]OK: *phCommLocal[FFFFFFFFh] "
                                   "*phComm[FFFFFFFFh] hCommGlobal[FFFFFFFFh]\n"));
}

TEST_F(PortClose, WithNeitherHandleValidTouchesNothing) {
    for (const plat_handle invalid : {plat_handle{0}, PLAT_INVALID_HANDLE}) {
        ClearLog();
        plat_handle mine = invalid;
        gl_hComm = invalid;
        EXPECT_EQ(cSerialCloseW(&mine), 1001);
        EXPECT_EQ(mine, PLAT_INVALID_HANDLE);
        EXPECT_EQ(gl_hComm, PLAT_INVALID_HANDLE);
        EXPECT_THAT(Log(),
                    ElementsAre("WRN [cSerialCloseW]Win: rc[01001]WR:SAT_API_WRN_WIN_DEV_COMM_CLOSED \n\t "
                                "phComm[FFFFFFFFh]=Closed & hCommGlobal[FFFFFFFFh] Serial Comm Already "
                                "Closed!!\n"));
    }
    EXPECT_EQ(World().faults.Count(sim::Call::PortClose), 0U);
    EXPECT_EQ(NowMs(), 0);
}

TEST_F(PortClose, WithoutAHandleOfItsOwnClosesTheLibrarys) {
    const std::string global = Hex8(hPort);
    gl_hComm = hPort;
    plat_handle mine = 0;
    EXPECT_EQ(cSerialCloseW(&mine), 0);
    EXPECT_FALSE(line->IsOpen());
    EXPECT_EQ(mine, PLAT_INVALID_HANDLE);
    EXPECT_EQ(gl_hComm, PLAT_INVALID_HANDLE);
    EXPECT_EQ(Log()[0], "INF [cSerialCloseW]Win: WR phCommLocal[00000000h] = hCommGlobal[" + global + "h]\n");
}

TEST_F(PortClose, WhatTheSystemRefusesToCloseIsInvalidAllTheSame) {
    const std::string handle = Hex8(hPort);
    gl_hComm = hPort;
    World().faults.FailAlways(sim::Call::PortClose);
    EXPECT_EQ(cSerialCloseW(&hPort), -1001);
    EXPECT_EQ(hPort, PLAT_INVALID_HANDLE);
    EXPECT_EQ(gl_hComm, PLAT_INVALID_HANDLE);
    EXPECT_EQ(NowMs(), 2);
    EXPECT_THAT(
        Log(),
        ElementsAre("ERR [cSerialCloseW]Win: ret[-1001]ER:SAT_API_ERR_WIN_DEV_COMM_CLOSE *phCommLocal[" +
                        handle + "h] *phComm[" + handle + "h] hCommGlobal[" + handle + "h]\n",
                    "ERR [cSerialCloseW]Win: ret[-1001]ER: *phCommLocal[FFFFFFFFh] *phComm[FFFFFFFFh] "
                    "hCommGlobal[FFFFFFFFh]\n"));
}

TEST_F(PortClose, TheLastErrorIsLoggedWithItsText) {
    World().last_error = 5;
    const int64_t allocated = World().LiveAllocations();
    printGetLastError();
    const std::vector<std::string> lines = Log();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "INF [printGetLastError]Win: [5]\n");
    EXPECT_THAT(lines[1], testing::StartsWith("INF [printGetLastError]Win: "));
    // The text is not released.
    EXPECT_EQ(World().LiveAllocations(), allocated + 1);
    EXPECT_EQ(World().faults.Count(sim::Call::ErrorText), 1U);
}

TEST_F(PortClose, AnErrorWithoutTextIsLoggedWithoutText) {
    World().last_error = 99999;
    printGetLastError();
    EXPECT_THAT(Log(),
                ElementsAre("INF [printGetLastError]Win: [99999]\n", "INF [printGetLastError]Win: \n"));
}

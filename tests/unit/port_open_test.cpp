#include "api_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/** Opening the device's port. */
class PortOpen : public Api {
  protected:
    void SetUp() override {
        Load();
        StartLog();
        handle = PLAT_INVALID_HANDLE;
    }
    /** The emulator enabled, with this in its section. */
    static void EnableEmulator(const std::string& port_line) {
        gl_tSat.iEmulatorEnabled = 1;
        WriteIni("[SAT_EMULATOR]\n" + port_line);
    }
    /** Calls of the kinds that matter here, from now on. */
    static void Trace() {
        World().faults.TraceOn({sim::Call::PortOpen, sim::Call::PortClose, sim::Call::SleepMs});
    }
    plat_handle handle = PLAT_INVALID_HANDLE;
};

TEST_F(PortOpen, OpensTheDevicePathOfItsNumber) {
    for (const int number : {1, 9, 12, 256}) {
        SCOPED_TRACE(number);
        SetUp();
        const std::string path = "\\\\?\\COM" + std::to_string(number);
        const sim::Line& line = World().ports.Add(path, nullptr);
        EXPECT_EQ(cSerialOpenW(number, &handle), 0);
        EXPECT_TRUE(plat_handle_valid(handle));
        EXPECT_EQ(gl_hComm, handle);
        EXPECT_STREQ(gl_tSat.strDevicePath, path.c_str());
        EXPECT_EQ(line.Record().opens, 1U);
    }
}

TEST_F(PortOpen, LogsTheTryAndTheSuccess) {
    World().ports.Add("\\\\?\\COM12", nullptr);
    World().last_error = 31;
    cSerialOpenW(12, &handle);
    const std::vector<std::string> lines = LogOf("cSerialOpenW");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0],
                testing::AllOf(
                    StartsWith("INF [cSerialOpenW]Win: hC[FFFFFFFFh]Port Not Openned Trying to Open now!!!"),
                    HasSubstr("\\\\?\\COM12"), HasSubstr("[31]")));
    EXPECT_EQ(lines[1], "INF [cSerialOpenW]Win rc[000000]OK iRetryes[3] Successfull!!!\n\t  *phSerialComm[" +
                            Hex8(handle) +
                            "h]\n\t       iPortNum[12]\n\t    Dev[\\\\?\\COM12]SUCCESSFULL OPENNED\n");
}

TEST_F(PortOpen, AMissingPortIsTriedThreeTimesAtOnce) {
    Trace();
    gl_hComm = 77;
    EXPECT_EQ(cSerialOpenW(12, &handle), -1000);
    EXPECT_THAT(World().faults.trace,
                ElementsAre("PortOpen \\\\?\\COM12", "PortOpen \\\\?\\COM12", "PortOpen \\\\?\\COM12"));
    EXPECT_EQ(NowMs(), 0);
    EXPECT_EQ(handle, PLAT_INVALID_HANDLE);
    EXPECT_EQ(gl_hComm, PLAT_INVALID_HANDLE);
    EXPECT_EQ(LogOf("cSerialOpenW").back(),
              "ERR [cSerialOpenW]Win rc[-01000]ER: iRetryes[0]\n\t   "
              "phSerialComm[FFFFFFFFh]=INVALID_HANDLE_VALUE\n\t       iPortNum[12]\n\t    "
              "Dev[\\\\?\\COM12]SAT_API_ERR_WIN_DEV_NOT_FOUND\n\t GetLastError()[00000002h:2]\n");
}

TEST_F(PortOpen, ARefusedAccessCostsTenSecondsEachTime) {
    World().ports.Add("\\\\?\\COM12", nullptr);
    World().ports.Hold("\\\\?\\COM12");
    Trace();
    EXPECT_EQ(cSerialOpenW(12, &handle), -1000);
    EXPECT_THAT(World().faults.trace,
                ElementsAre("PortOpen \\\\?\\COM12", "SleepMs 10000", "PortOpen \\\\?\\COM12",
                            "SleepMs 10000", "PortOpen \\\\?\\COM12", "SleepMs 10000"));
    EXPECT_EQ(NowMs(), 30000);
    EXPECT_THAT(LogOf("cSerialOpenW").back(), HasSubstr("GetLastError()[00000005h:5]"));
}

TEST_F(PortOpen, APortThatIsLetGoMeanwhileIsOpenedAtTheNextTry) {
    World().ports.Add("\\\\?\\COM12", nullptr);
    World().ports.Hold("\\\\?\\COM12", 15 * 1000 * 1000);
    EXPECT_EQ(cSerialOpenW(12, &handle), 0);
    EXPECT_EQ(NowMs(), 20000);
    EXPECT_THAT(LogOf("cSerialOpenW").back(), HasSubstr("OK iRetryes[1] Successfull!!!"));
}

TEST_F(PortOpen, WithoutNumberAndEmulatorNothingIsTouched) {
    Trace();
    gl_hComm = 77;
    handle = 76;
    for (const int number : {0, -1, INT32_MIN})
        EXPECT_EQ(cSerialOpenW(number, &handle), -1000);
    EXPECT_THAT(World().faults.trace, ElementsAre());
    EXPECT_EQ(World().faults.Count(sim::Call::PortClose), 0U);
    EXPECT_EQ(handle, 76);
    EXPECT_EQ(gl_hComm, 77);
    EXPECT_EQ(LogOf("cSerialOpenW")[0], "ERR [cSerialOpenW]Lnx:WR Port[00000:]NO_SAT_DEVICE_FOUND!!!!!\n");
}

TEST_F(PortOpen, TheEmulatorsPortStandsInForANumber) {
    World().ports.Add("\\\\?\\CNCA0", nullptr);
    EnableEmulator("SerialPortWindows=CNCA0\n");
    EXPECT_EQ(cSerialOpenW(0, &handle), 0);
    EXPECT_TRUE(plat_handle_valid(handle));
    EXPECT_STREQ(gl_tSat.strDevicePath, "\\\\?\\CNCA0");
    EXPECT_EQ(LogOf("cSerialOpenW")[0],
              "WRN [cSerialOpenW]Lnx:WR Port[00000:\\\\?\\CNCA0]PLMQ:USING_SAT_EMULATOR!!!\n");
}

TEST_F(PortOpen, AnEmulatorsPortThatDoesNotOpenIsNoNegativeResult) {
    // The result is still the one of reading the file, so callers must look at the handle.
    EnableEmulator("SerialPortWindows=CNCA0\n");
    EXPECT_EQ(cSerialOpenW(0, &handle), 0);
    EXPECT_EQ(handle, PLAT_INVALID_HANDLE);
    EXPECT_THAT(LogOf("cSerialOpenW").back(),
                StartsWith("ERR [cSerialOpenW]Win rc[000000]ER: iRetryes[0]\n"));
}

TEST_F(PortOpen, AnEmulatorWithoutAPortFailsWithTheReadersCodeOrItsOwn) {
    const char text[] = "ERR [cSerialOpenW]Lnx:ER iPortNum[0] NO_SAT_DEVICE_FOUND and NO_EMULATOR_DEV_SET\n";
    EnableEmulator("Enable=1\n");
    EXPECT_EQ(cSerialOpenW(0, &handle), INI_FILE_ERR_ITEM_NOT_FOUND);
    EXPECT_EQ(LogOf("cSerialOpenW").back(), text);
    EnableEmulator("SerialPortWindows=\n");
    EXPECT_EQ(cSerialOpenW(0, &handle), -1000);
    EXPECT_EQ(LogOf("cSerialOpenW").back(), text);
    World().files.Remove("SAT.ini");
    EXPECT_LT(cSerialOpenW(0, &handle), 0);
    EXPECT_EQ(World().faults.Count(sim::Call::PortOpen), 0U);
}

TEST_F(PortOpen, AnEmulatorsPortNameOfAnyLengthStaysInItsBuffers) {
    EnableEmulator("SerialPortWindows=" + std::string(300, 'N') + "\n");
    EXPECT_EQ(cSerialOpenW(0, &handle), 0);
    EXPECT_EQ(std::string(gl_tSat.strDevicePath), "\\\\?\\" + std::string(31, 'N'));
}

TEST_F(PortOpen, AHandleThatIsStillValidIsClosedFirst) {
    World().ports.Add("\\\\?\\COM3", nullptr);
    World().ports.Add("\\\\?\\COM12", nullptr);
    ASSERT_EQ(cSerialOpenW(3, &handle), 0);
    const std::string old = Hex8(handle);
    ClearLog();
    Trace();
    EXPECT_EQ(cSerialOpenW(12, &handle), 0);
    EXPECT_THAT(World().faults.trace, ElementsAre("PortClose", "SleepMs 100", "PortOpen \\\\?\\COM12"));
    EXPECT_EQ(World().ports.OpenCount(), 1U);
    EXPECT_EQ(gl_hComm, handle);
    EXPECT_EQ(LogOf("cSerialOpenW")[0],
              "WRN [cSerialOpenW]Win: rc[000001]WR:Close Now!!\n\t   phSerialComm[" + old +
                  "h]=IALREADY OPENNED\n\t       iPortNum[12]\n");
}

TEST_F(PortOpen, AFailureBehindSuchACloseIsOne) {
    World().ports.Add("\\\\?\\COM3", nullptr);
    ASSERT_EQ(cSerialOpenW(3, &handle), 0);
    EXPECT_EQ(cSerialOpenW(12, &handle), 1);
    EXPECT_EQ(handle, PLAT_INVALID_HANDLE);
    EXPECT_EQ(gl_hComm, PLAT_INVALID_HANDLE);
    EXPECT_EQ(NowMs(), 100);
    EXPECT_THAT(LogOf("cSerialOpenW").back(),
                StartsWith("ERR [cSerialOpenW]Win rc[000001]ER: iRetryes[0]\n"));
}

TEST_F(PortOpen, AZeroHandleIsNotValidAndNotClosed) {
    World().ports.Add("\\\\?\\COM12", nullptr);
    handle = 0;
    Trace();
    EXPECT_EQ(cSerialOpenW(12, &handle), 0);
    EXPECT_THAT(World().faults.trace, ElementsAre("PortOpen \\\\?\\COM12"));
}

TEST_F(PortOpen, ADuplicateIsAnOpenWhenTheHandleIsNotTheLibrarys) {
    World().ports.Add("\\\\?\\COM12", nullptr);
    gl_hComm = PLAT_INVALID_HANDLE;
    handle = 0;
    EXPECT_EQ(cDuplicateSerialW(12, &handle), 0);
    EXPECT_TRUE(plat_handle_valid(handle));
    EXPECT_THAT(LogOf("cDuplicateSerialW"), ElementsAre(StartsWith("INF ")));
    EXPECT_EQ(gl_hComm, handle);
}

TEST_F(PortOpen, ADuplicateOfTheLibrarysOwnHandleIsRefused) {
    World().ports.Add("\\\\?\\COM12", nullptr);
    ASSERT_EQ(cSerialOpenW(12, &handle), 0);
    Trace();
    EXPECT_EQ(cDuplicateSerialW(12, &handle), -1);
    EXPECT_THAT(World().faults.trace, ElementsAre());
    EXPECT_THAT(LogOf("cDuplicateSerialW"), ElementsAre(StartsWith("ERR ")));
}

TEST_F(PortOpen, ADuplicateThatCannotBeOpenedHasTheOpensResult) {
    handle = 0;
    EXPECT_EQ(cDuplicateSerialW(12, &handle), -1000);
    EXPECT_THAT(LogOf("cDuplicateSerialW"), ElementsAre(StartsWith("ERR ")));
}

TEST_F(PortOpen, ADuplicateWhoseOpenFailedBehindAClosedHandleIsLoggedAsAFailure) {
    World().ports.Add("\\\\?\\COM12", nullptr);
    ASSERT_EQ(cSerialOpenW(12, &handle), 0);
    gl_hComm = PLAT_INVALID_HANDLE;
    EXPECT_EQ(cDuplicateSerialW(13, &handle), 1);
    EXPECT_FALSE(plat_handle_valid(handle));
    EXPECT_THAT(LogOf("cDuplicateSerialW"), ElementsAre(StartsWith("ERR ")));
}

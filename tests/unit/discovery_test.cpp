#include "api_fixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/** Which of the present ports is the device's. */
class Discovery : public Api {
  protected:
    void SetUp() override {
        Load();
        WriteIni("[LOG]\nLogMode=5\n");
        StartLog();
    }
    static sim::PresentDevice& Plug(const std::string& port, const std::string& friendly) {
        sim::PresentDevice device;
        device.port_name = port;
        device.friendly = friendly;
        World().devices.push_back(device);
        return World().devices.back();
    }
    static std::string Found() {
        char name[256];
        memset(name, '#', sizeof name);
        vListComPorts(name);
        return name;
    }
    /** The ports that are listed, as "COM3=3:friendly". */
    static std::vector<std::string> Listed() {
        SerialPortNode* node = nullptr;
        EXPECT_EQ(GetSerialPortInfo(&node), 0);
        std::vector<std::string> ports;
        while (node != nullptr) {
            SerialPortNode* next = node->pNext;
            ports.push_back(std::string(node->pName) + "=" + std::to_string(node->iNumber) + ":" +
                            node->pFriendly);
            plat_free(node->pName);
            plat_free(node->pFriendly);
            plat_free(node);
            node = next;
        }
        return ports;
    }
};

TEST_F(Discovery, FindsAPortByEitherMarkAnywhereInItsFriendlyName) {
    Plug("COM3", "ZANTIR");
    EXPECT_EQ(Found(), "COM3");
    World().devices.clear();
    Plug("COM4", "USB xZANTIRx (COM4)");
    EXPECT_EQ(Found(), "COM4");
    World().devices.clear();
    Plug("COM5", "Dispositivo MXQ-B70");
    EXPECT_EQ(Found(), "COM5");
}

TEST_F(Discovery, TheMarksAreCaseSensitive) {
    Plug("COM3", "Zantir");
    Plug("COM4", "mxq-b70");
    Plug("COM5", "MXQ B70");
    EXPECT_EQ(Found(), "");
}

TEST_F(Discovery, WithoutPortsTheResultIsEmpty) {
    EXPECT_EQ(Found(), "");
    World().device_classes.clear();
    EXPECT_EQ(Found(), "");
}

TEST_F(Discovery, TheLastMatchWins) {
    Plug("COM3", "MXQ-B70 one");
    Plug("COM9", "MXQ-B70 two");
    Plug("COM4", "something else");
    EXPECT_EQ(Found(), "COM9");
    Plug("COM1", "ZANTIR");
    Plug("COM2", "MXQ-B70 three");
    EXPECT_EQ(Found(), "COM2");
}

TEST_F(Discovery, LogsEachPortAndWhatItIsTakenFor) {
    Plug("COM3", "Modem");
    Plug("COM4", "ZANTIR MXQ-B70");
    Plug("COM5", "MXQ-B70");
    Plug("COM6", "Modem");
    Found();
    EXPECT_THAT(
        LogOf("vListComPorts"),
        ElementsAre("INF [vListComPorts]Win: "
                    "SHGetFolderPath:{\"Number\":3,\"Name\":\"COM3\",\"Friendly\":\"Modem\"}\n",
                    "WRN [vListComPorts]Win: SAT Port[]SEARCHING....\n",
                    "INF [vListComPorts]Win: "
                    "SHGetFolderPath:{\"Number\":4,\"Name\":\"COM4\",\"Friendly\":\"ZANTIR MXQ-B70\"}\n",
                    "INF [vListComPorts]Win: ZANTIR pucRetorno[COM4]OK:Is a ZANTIR Port\n",
                    "INF [vListComPorts]Win: "
                    "SHGetFolderPath:{\"Number\":5,\"Name\":\"COM5\",\"Friendly\":\"MXQ-B70\"}\n",
                    "INF [vListComPorts]Win: MXQ-B70 pucRetorno[COM5]OK Is a ZANTIR Port\n",
                    "INF [vListComPorts]Win: "
                    "SHGetFolderPath:{\"Number\":6,\"Name\":\"COM6\",\"Friendly\":\"Modem\"}\n",
                    "WRN [vListComPorts]Win: SAT Port[COM5]SEARCHING....\n"));
}

TEST_F(Discovery, LogsItsEnumeration) {
    Plug("COM3", "ZANTIR");
    Plug("LPT1", "Printer");
    sim::PresentDevice& locked = Plug("COM5", "ZANTIR");
    locked.has_key = false;
    Listed();
    EXPECT_THAT(
        LogOf("GetSerialPortInfo"),
        ElementsAre("INF [GetSerialPortInfo]Win: nDevice[0]\n",
                    "INF [GetSerialPortInfo]Win: SetupDiGetDeviceRegistryPropertyA:cbData\n",
                    "INF [GetSerialPortInfo]Win: nDevice[1]\n",
                    "WRN [GetSerialPortInfo] nDevice[2]Win: SetupDiOpenDevRegKey NotFound\n",
                    "INF [GetSerialPortInfo]Win: [br]Nor Fiybd\n", "INF [GetSerialPortInfo]Win:false ER\n"));
}

TEST_F(Discovery, NamesAreListedInCapitalsWithTheirNumber) {
    Plug("com4", "a");
    Plug("CoM12", "b");
    Plug("COM", "c");
    Plug("COM7x", "d");
    EXPECT_THAT(Listed(), ElementsAre("COM4=4:a", "COM12=12:b", "COM=0:c", "COM7X=7:d"));
}

TEST_F(Discovery, OtherNamesAreSkipped) {
    Plug("LPT1", "ZANTIR");
    Plug("XCOM3", "ZANTIR");
    Plug("CO", "ZANTIR");
    EXPECT_EQ(Found(), "");
    EXPECT_THAT(Listed(), IsEmpty());
}

TEST_F(Discovery, ADeviceWithoutHardwareKeyIsSkipped) {
    Plug("COM3", "ZANTIR").has_key = false;
    Plug("COM4", "ZANTIR");
    EXPECT_THAT(Listed(), ElementsAre("COM4=4:ZANTIR"));
}

TEST_F(Discovery, ADeviceWithoutPortNameHasNotTheOneOfTheDeviceBefore) {
    Plug("COM3", "first");
    Plug("", "ZANTIR").port_name.reset();
    EXPECT_THAT(Listed(), ElementsAre("COM3=3:first"));
}

TEST_F(Discovery, APortNameThatDoesNotFitIsNone) {
    Plug("COM123456789012", "fits");
    Plug("COM1234567890123", "does not");
    const std::vector<std::string> listed = Listed();
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_THAT(listed[0], testing::StartsWith("COM123456789012="));
}

TEST_F(Discovery, ADeviceWithoutFriendlyNameIsSkippedAndItsNodeAbandoned) {
    Plug("COM3", "").friendly.reset();
    Plug("COM4", "ZANTIR");
    const int64_t allocated = World().LiveAllocations();
    EXPECT_EQ(Found(), "COM4");
    // The node and its name stay behind: two allocations for each such device and enumeration.
    EXPECT_EQ(World().LiveAllocations(), allocated + 2);
    Found();
    EXPECT_EQ(World().LiveAllocations(), allocated + 4);
}

TEST_F(Discovery, EverythingElseIsFreed) {
    Plug("COM3", "Modem");
    Plug("COM4", "ZANTIR");
    Plug("COM5", "ZANTIR").friendly_read_fails = true;
    const int64_t allocated = World().LiveAllocations();
    Found();
    EXPECT_EQ(World().LiveAllocations(), allocated);
    EXPECT_EQ(World().OpenDeviceSets(), 0U);
}

TEST_F(Discovery, AFriendlyNameThatCannotBeReadListsItsPortAndEndsTheEnumeration) {
    Plug("COM3", "ZANTIR");
    Plug("COM4", "ZANTIR").friendly_read_fails = true;
    Plug("COM5", "ZANTIR");
    EXPECT_THAT(Listed(), ElementsAre("COM3=3:ZANTIR", "COM4=4:"));
    EXPECT_THAT(LogOf("GetSerialPortInfo"), testing::Not(Contains(HasSubstr("[br]Nor Fiybd"))));
    EXPECT_EQ(LogOf("GetSerialPortInfo").back(), "INF [GetSerialPortInfo]Win:false ER\n");
    EXPECT_EQ(Found(), "COM3");
}

TEST_F(Discovery, ASetThatCannotBeOpenedIsAnEmptyOneThatCannotBeClosed) {
    World().device_classes.clear();
    EXPECT_EQ(BeginEnumeratePorts(), PLAT_INVALID_HANDLE);
    EXPECT_THAT(Listed(), IsEmpty());
    EXPECT_THAT(LogOf("GetSerialPortInfo"),
                ElementsAre("INF [GetSerialPortInfo]Win: [br]Nor Fiybd\n",
                            "WRN [GetSerialPortInfo]Win: bOk[0]FALSE hDevices[FFFFFFFFh]\n",
                            "INF [GetSerialPortInfo]Win:false ER\n"));
}

TEST_F(Discovery, TheSetIsOfTheClassPortsAndIsReleased) {
    sim::PresentDevice& other = Plug("COM3", "ZANTIR");
    other.class_name = "Modem";
    World().device_classes.push_back("Modem");
    EXPECT_EQ(Found(), "");
    const plat_handle set = BeginEnumeratePorts();
    EXPECT_EQ(World().OpenDeviceSets(), 1U);
    EXPECT_EQ(EndEnumeratePorts(set), 1);
    EXPECT_EQ(EndEnumeratePorts(set), 0);
}

TEST_F(Discovery, WithoutMemoryThePortIsSkipped) {
    Plug("COM3", "ZANTIR");
    Plug("COM4", "ZANTIR");
    for (int failing = 1; failing <= 3; ++failing) {
        SCOPED_TRACE(failing);
        const int64_t allocated = World().LiveAllocations();
        World().faults.FailNth(sim::Call::Alloc, static_cast<uint64_t>(failing));
        EXPECT_THAT(Listed(), ElementsAre("COM4=4:ZANTIR"));
        EXPECT_EQ(World().LiveAllocations(), allocated);
    }
}

TEST_F(Discovery, ALongFriendlyNameIsSearchedToItsEnd) {
    Plug("COM3", std::string(5000, 'x') + "ZANTIR");
    EXPECT_EQ(Found(), "COM3");
}

TEST_F(Discovery, ANullBufferIsReported) {
    vListComPorts(nullptr);
    EXPECT_THAT(Log(), ElementsAre("ERR [vListComPorts]Win:ER pucRetorno=NULL\n"));
    EXPECT_EQ(World().faults.Count(sim::Call::DevicesOpen), 0U);
}

TEST_F(Discovery, AFoundPortIsTheOneThatTheExchangeOpens) {
    sim::HonestDevice wrong = DeviceThatSays("wrong");
    sim::HonestDevice right = DeviceThatSays("right");
    AttachDevice(&wrong, "COM3", "Modem");
    AttachDevice(&right, "COM44", "MXQ-B70 SAT (COM44)");
    EXPECT_STREQ(ConsultarSAT(1), "right");
}

/** A port that the user fixed. */
class FixedPort : public Discovery {
  protected:
    static void Fix(const std::string& value) {
        WriteIni("[SERIAL_PORT_CONFIG]\nFixarPorta=" + value + "\n");
        ClearLog();
    }
    static std::string LastLine() { return LogOf("vListComPorts").back(); }
};

TEST_F(FixedPort, AnotherThanTheOneFoundReplacesIt) {
    Plug("COM3", "ZANTIR");
    Fix("COM5");
    EXPECT_EQ(Found(), "COM5");
    EXPECT_EQ(
        LastLine(),
        "WRN [vListComPorts]Win: rc[000004]ER\n\t portNameFmt[00004:COM3] << MISSMATCH SAT FOUND HERE!!\n\t "
        "  FixedPort[00004:COM5] << CUSTOMER SET THIS VALUE TO BE USED >> SAT MAY FAIL!!!!!\n");
}

TEST_F(FixedPort, TheOneFoundStays) {
    Plug("COM3", "ZANTIR");
    Fix("COM3");
    EXPECT_EQ(Found(), "COM3");
    EXPECT_EQ(LastLine(),
              "WRN [vListComPorts]Win: rc[000004]WR\n\t portNameFmt[00004:COM3] <<     MATCH\n\t   "
              "FixedPort[00004:COM3] << SAT MAY RESPONDS!!!\n");
}

TEST_F(FixedPort, IsNotUsedWhenNoDeviceWasFound) {
    Fix("COM5");
    EXPECT_EQ(Found(), "");
    EXPECT_EQ(LastLine(),
              "WRN [vListComPorts]Win: rc[000004]ER\n\t portNameFmt[00000:] << MISSMATCH\n\t   "
              "FixedPort[00004:COM5] << UNKNW USE SAT PORT FOUND!!!\n");
}

TEST_F(FixedPort, ShorterThanThreeCharactersIsIgnored) {
    Plug("COM3", "ZANTIR");
    for (const std::string value : {"C1", "7", "", "COM"}) {
        Fix(value);
        EXPECT_EQ(Found(), "COM3") << value;
        EXPECT_THAT(LogOf("vListComPorts"), testing::Not(Contains(HasSubstr("FixedPort"))));
    }
    WriteIni("[SERIAL_PORT_CONFIG]\n");
    EXPECT_EQ(Found(), "COM3");
}

TEST_F(FixedPort, OfThreeCharactersIsUsed) {
    Plug("COM3", "ZANTIR");
    Fix("CM5");
    EXPECT_EQ(Found(), "CM5");
}

TEST_F(FixedPort, IsComparedAsItIsWritten) {
    Plug("COM3", "ZANTIR");
    Fix("com3");
    EXPECT_EQ(Found(), "com3");
    EXPECT_THAT(LastLine(), HasSubstr("MISSMATCH SAT FOUND HERE!!"));
}

TEST_F(FixedPort, IsReadAnewForEveryExchange) {
    sim::HonestDevice found = DeviceThatSays("found");
    sim::HonestDevice fixed = DeviceThatSays("fixed");
    AttachDevice(&found, "COM3");
    World().ports.Add("\\\\?\\COM5", &fixed);
    EXPECT_STREQ(ConsultarSAT(1), "found");
    Fix("COM5");
    EXPECT_STREQ(ConsultarSAT(2), "fixed");
}

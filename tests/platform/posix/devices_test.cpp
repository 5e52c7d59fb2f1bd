/*
 * Discovery on a made-up copy of the kernel's view.
 */
#include "made_up_devices.h"

namespace fs = std::filesystem;

TEST_F(Devices, ComeInTheOrderOfTheirNumbers) {
    AddUsb("ttyACM1", "1-3", 1, "MXQ-B70 device\n");
    AddUsb("ttyUSB10", "1-2", 2, "Cable ten\n");
    AddUsb("ttyUSB2", "1-1", 2, "ZANTIR SAT\n");
    AddBuiltIn(0, "4");
    AddBuiltIn(1, "0");
    Open();
    EXPECT_EQ(PortName(0), "COM1");
    EXPECT_EQ(PortName(1), "COM35");
    EXPECT_EQ(PortName(2), "COM43");
    EXPECT_EQ(PortName(3), "COM66");
    EXPECT_EQ(PortName(4), "none");
    EXPECT_EQ(Friendly(0), "");
    EXPECT_EQ(Friendly(1), "ZANTIR SAT");
    EXPECT_EQ(Friendly(2), "Cable ten");
    EXPECT_EQ(Friendly(3), "MXQ-B70 device");
}

TEST_F(Devices, AHubsTextIsNotItsPorts) {
    AddUsb("ttyACM0", "1-1", 1, nullptr);
    Open();
    EXPECT_EQ(PortName(0), "COM65");
    EXPECT_EQ(Friendly(0), "");
    EXPECT_EQ(plat_devices_friendly_size(devices), 0u);
}

TEST_F(Devices, AnEntryWithoutADeviceIsNotPresent) {
    fs::create_directories("class/ttyUSB0");
    fs::create_directories("class/ttyS0");
    AddUsb("ttyUSB32", "1-1", 2, "beyond the table\n");
    Open();
    EXPECT_EQ(PortName(0), "none");
}

TEST_F(Devices, OnlyNamesOfPortsCount) {
    for (const char* name : {"ttyS", "ttyS01", "ttyS1x", "ttySIF0", "ttyS001", "ttyUSB", "attyS1", "tty1"}) {
        AddUsb(name, name, 2, "no port\n");
    }
    AddUsb("ttyUSB31", "1-1", 2, "the last one\n");
    Open();
    EXPECT_EQ(PortName(0), "COM64");
    EXPECT_EQ(PortName(1), "none");
}

TEST_F(Devices, NothingIsAnEmptySet) {
    Open();
    EXPECT_FALSE(plat_devices_select(devices, 0));
    char name[16] = "kept";
    EXPECT_FALSE(plat_devices_port_name(devices, name, sizeof name));
    EXPECT_STREQ(name, "kept");
    EXPECT_EQ(plat_devices_friendly_size(devices), 0u);
}

TEST_F(Devices, ANameThatDoesNotFitIsLeftOut) {
    AddUsb("ttyACM0", "1-1", 1, "Product\n");
    Open();
    ASSERT_TRUE(plat_devices_select(devices, 0));
    char name[6] = "kept";
    EXPECT_TRUE(plat_devices_port_name(devices, name, 5));
    EXPECT_STREQ(name, "kept");
    EXPECT_TRUE(plat_devices_port_name(devices, name, 6));
    EXPECT_STREQ(name, "COM65");
    char friendly[8] = "";
    EXPECT_EQ(plat_devices_friendly_size(devices), 8u);
    EXPECT_FALSE(plat_devices_friendly(devices, friendly, 7));
    EXPECT_TRUE(plat_devices_friendly(devices, friendly, 8));
    EXPECT_STREQ(friendly, "Product");
}

TEST_F(Devices, AnOverlongProductStaysInItsBuffers) {
    AddUsb("ttyACM0", "1-1", 1, std::string(100000, 'p').c_str());
    Open();
    EXPECT_EQ(Friendly(0), std::string(4096, 'p'));
}

TEST_F(Devices, AClosedSetIsDead) {
    Open();
    EXPECT_TRUE(plat_devices_close(devices));
    EXPECT_FALSE(plat_devices_close(devices));
    EXPECT_FALSE(plat_devices_select(devices, 0));
}

TEST(DevicesOfTheMachine, OnlyTheClassOfPortsIsKnown) {
    EXPECT_EQ(plat_devices_open("Printers"), PLAT_INVALID_HANDLE);
    const plat_handle devices = plat_devices_open("Ports");
    ASSERT_TRUE(plat_handle_valid(devices));
    uint32_t count = 0;
    while (plat_devices_select(devices, count)) {
        ++count;
    }
    EXPECT_LE(count, 96u);
    EXPECT_TRUE(plat_devices_close(devices));
}

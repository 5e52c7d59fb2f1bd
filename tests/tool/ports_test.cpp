#include "ports.h"

#include <gtest/gtest.h>

namespace tool {
namespace {

PortSettings Settings(const char* fixed, bool emulator = false, const char* emulator_port = "") {
    PortSettings settings;
    settings.fixed_port = fixed;
    settings.emulator_enabled = emulator;
    settings.emulator_port = emulator_port;
    return settings;
}

Port Named(const char* name, const char* friendly) {
    Port port;
    port.name = name;
    port.friendly = friendly;
    return port;
}

const Port MODEM = Named("COM3", "Modem");
const Port DEVICE = Named("COM7", "SAT MXQ-B70 (COM7)");
const Port SECOND = Named("COM12", "ZANTIR SAT");

TEST(PortsTest, MarkInTheNameDecides) {
    EXPECT_EQ(ChoosePort({MODEM, DEVICE, MODEM}, Settings("")).port, "COM7");
    EXPECT_EQ(ChoosePort({MODEM}, Settings("")).port, "");
    EXPECT_FALSE(HasDeviceMark("zantir mxq-b70"));
    EXPECT_EQ(ChoosePort({DEVICE}, Settings("")).warning, "");
}

TEST(PortsTest, LastOfSeveralCountsAndIsWarnedAbout) {
    const PortChoice choice = ChoosePort({DEVICE, SECOND}, Settings(""));
    EXPECT_EQ(choice.port, "COM12");
    EXPECT_NE(choice.warning, "");
}

TEST(PortsTest, FixedPortReroutesAFoundDevice) {
    const PortChoice choice = ChoosePort({DEVICE}, Settings("COM5"));
    EXPECT_EQ(choice.port, "COM5");
    EXPECT_NE(choice.rule.find("COM7"), std::string::npos) << choice.rule;
    EXPECT_NE(choice.warning, "");
    EXPECT_EQ(ChoosePort({DEVICE}, Settings("COM7")).warning, "");
}

TEST(PortsTest, FixedPortOfTwoCharactersIsIgnored) {
    EXPECT_EQ(ChoosePort({DEVICE}, Settings("C1")).port, "COM7");
}

TEST(PortsTest, FixedPortDoesNotStandInForAMissingDevice) {
    const PortChoice choice = ChoosePort({MODEM}, Settings("COM5"));
    EXPECT_EQ(choice.port, "");
    EXPECT_NE(choice.warning, "");
}

TEST(PortsTest, EmulatorCountsOnlyWithoutADevice) {
    EXPECT_EQ(ChoosePort({MODEM}, Settings("", true, "COM1005")).port, "COM1005");
    EXPECT_EQ(ChoosePort({DEVICE}, Settings("", true, "COM1005")).port, "COM7");
    EXPECT_EQ(ChoosePort({MODEM}, Settings("", false, "COM1005")).port, "");
    EXPECT_NE(ChoosePort({}, Settings("", true, "")).rule.find("SerialPortWindows"), std::string::npos);
}

TEST(PortsTest, NameWithoutANumberIsNoPort) {
    EXPECT_EQ(TryPort("CNCA0"), PortState::Missing);
    EXPECT_EQ(TryPort("COM0"), PortState::Missing);
    EXPECT_EQ(TryPort(""), PortState::Missing);
}

}  // namespace
}  // namespace tool

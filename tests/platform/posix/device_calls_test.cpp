/*
 * Discovery: how far it looks, what a file that cannot be read means, and how failures are told.
 */
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

#include "made_up_devices.h"
#include "platform/posix/last_error.h"
#include "processes.h"

TEST_F(Devices, FindTheProductThreeFloorsBelowAndNoFurther) {
    AddUsb("ttyUSB0", "1-1", 0, "none\n");
    AddUsb("ttyUSB1", "1-2", 1, "one\n");
    AddUsb("ttyUSB2", "1-3", 3, "three\n");
    AddUsb("ttyUSB3", "1-4", 4, "four\n");
    Open();
    EXPECT_EQ(Friendly(0), "none");
    EXPECT_EQ(Friendly(1), "one");
    EXPECT_EQ(Friendly(2), "three");
    EXPECT_EQ(PortName(3), "COM36");
    EXPECT_EQ(Friendly(3), "");
}

TEST_F(Devices, AProductMayBeOneLetterOrNoneOrNoFile) {
    AddUsb("ttyUSB0", "1-1", 1, "x");
    AddUsb("ttyUSB1", "1-2", 1, "\n");
    AddUsb("ttyUSB2", "1-3", 1, "");
    AddUsb("ttyUSB3", "1-4", 1, nullptr);
    std::filesystem::create_directory("devices/usb1/1-4/product");
    Open();
    EXPECT_EQ(Friendly(0), "x");
    for (uint32_t index = 1; index < 4; ++index) {
        EXPECT_EQ(PortName(index), "COM" + std::to_string(33 + index));
        EXPECT_EQ(Friendly(index), "") << index;
    }
}

TEST_F(Devices, ABuiltInPortWithoutAReadableTypeIsAnEmptyPlace) {
    AddBuiltIn(0, "4");
    FailNext(&system_calls.openat, 1, EACCES, 1);
    Open();
    EXPECT_EQ(PortName(0), "none");
}

TEST_F(Devices, ABuiltInPortIsKnownByItsTypeOrElseByItsDriver) {
    AddBuiltIn(0, "4");
    std::filesystem::remove("devices/platform/serial0/driver");
    AddBuiltIn(1, "4");
    std::filesystem::remove("class/ttyS1/type");
    AddBuiltIn(2, "4");
    std::filesystem::remove("class/ttyS2/type");
    std::filesystem::remove("devices/platform/serial2/driver");
    Open();
    EXPECT_EQ(PortName(0), "COM1");
    EXPECT_EQ(PortName(1), "COM2");
    EXPECT_EQ(PortName(2), "none");
}

TEST_F(Devices, AnOldErrorDoesNotMakeAnEmptyPlaceADevice) {
    AddBuiltIn(0, "0");
    AddBuiltIn(1, "4");
    errno = ENOENT;
    Open();
    EXPECT_EQ(PortName(0), "COM2");
    EXPECT_EQ(PortName(1), "none");
}

namespace {

/** A folder whose changes are counted. */
struct CountedDevices : Devices {
    void SetUp() override {
        Devices::SetUp();
        Count();
    }

    /** Something happened that the kernel counts. What was known before a test does not hold in it either. */
    static void Count() {
        static int events = 0;
        WriteText("events", std::to_string(++events) + "\n");
    }

    /** The ports of a new set. */
    std::string Ports() {
        plat_devices_close(devices);
        Open();
        std::string ports;
        for (uint32_t i = 0; plat_devices_select(devices, i); ++i) {
            ports += PortName(i) + " ";
        }
        return ports;
    }

    /** The same, and that nothing but the count was asked for it. */
    void ExpectKnown(const std::string& ports) {
        const int opened = system_calls.openat.calls;
        EXPECT_EQ(Ports(), ports);
        EXPECT_EQ(system_calls.openat.calls, opened + 1);
    }
};

}  // namespace

TEST_F(CountedDevices, AreListedAgainWhenTheKernelCountedAnEvent) {
    AddBuiltIn(0, "4");
    EXPECT_EQ(Ports(), "COM1 ");
    AddBuiltIn(1, "4");
    ExpectKnown("COM1 ");
    Count();
    EXPECT_EQ(Ports(), "COM1 COM2 ");
    std::filesystem::remove_all("class/ttyS0");
    ExpectKnown("COM1 COM2 ");
    Count();
    EXPECT_EQ(Ports(), "COM2 ");
}

TEST_F(CountedDevices, OfAnOpenSetStay) {
    AddUsb("ttyUSB0", "1-1", 1, "one\n");
    Open();
    const plat_handle first = devices;
    AddUsb("ttyUSB1", "1-2", 1, "two\n");
    Count();
    Open();
    EXPECT_EQ(Friendly(1), "two");
    EXPECT_TRUE(plat_devices_close(devices));
    devices = first;
    plat_devices_forget();
    EXPECT_EQ(Friendly(0), "one");
    EXPECT_EQ(PortName(1), "none");
}

TEST_F(CountedDevices, AreListedEachTimeWithoutACount) {
    std::filesystem::remove("events");
    AddBuiltIn(0, "4");
    EXPECT_EQ(Ports(), "COM1 ");
    AddBuiltIn(1, "4");
    EXPECT_EQ(Ports(), "COM1 COM2 ");
    WriteText("events", "\n");
    EXPECT_EQ(Ports(), "COM1 COM2 ");
    AddBuiltIn(2, "4");
    EXPECT_EQ(Ports(), "COM1 COM2 COM3 ");
}

TEST_F(CountedDevices, AreNotKnownAfterAWhile) {
    AddBuiltIn(0, "4");
    EXPECT_EQ(Ports(), "COM1 ");
    AddBuiltIn(1, "4");
    plat_sleep_ms(PLAT_DEVICES_KNOWN_MS + 100);
    EXPECT_EQ(Ports(), "COM1 COM2 ");
}

TEST_F(CountedDevices, AreNotKnownWhenTheyWereFoundWrong) {
    AddBuiltIn(0, "4");
    EXPECT_EQ(Ports(), "COM1 ");
    AddBuiltIn(1, "4");
    plat_devices_forget();
    EXPECT_EQ(Ports(), "COM1 COM2 ");
    ExpectKnown("COM1 COM2 ");
}

TEST_F(CountedDevices, AreListedAgainWhereAPortIsMissing) {
    AddBuiltIn(0, "4");
    std::filesystem::rename("class", "away");
    EXPECT_EQ(Ports(), "");
    std::filesystem::rename("away", "class");
    // Behind the count: the type's file, then what it says.
    FailNext(&system_calls.openat, 1, EMFILE, 1);
    EXPECT_EQ(Ports(), "");
    FailNext(&system_calls.read, 1, EIO, 1);
    EXPECT_EQ(Ports(), "");
    EXPECT_EQ(Ports(), "COM1 ");
    ExpectKnown("COM1 ");
}

TEST_F(CountedDevices, AreListedAgainWhereAProductIsMissing) {
    AddUsb("ttyUSB0", "1-1", 1, "product\n");
    FailNext(&system_calls.open, 1, EMFILE);
    EXPECT_EQ(Ports(), "");
    // Behind the count and the type, which a USB port has not.
    FailNext(&system_calls.openat, 1, EMFILE, 2);
    EXPECT_EQ(Ports(), "COM33 ");
    EXPECT_EQ(Friendly(0), "");
    FailNext(&system_calls.read, 1, EIO, 1);
    EXPECT_EQ(Ports(), "COM33 ");
    EXPECT_EQ(Friendly(0), "");
    EXPECT_EQ(Ports(), "COM33 ");
    EXPECT_EQ(Friendly(0), "product");
    ExpectKnown("COM33 ");
}

TEST_F(CountedDevices, AreKnownWhereTheCountCouldBeReadOnlyAfterASignal) {
    AddUsb("ttyUSB0", "1-1", 1, "product\n");
    FailNext(&system_calls.read, 2, EINTR);
    EXPECT_EQ(Ports(), "COM33 ");
    EXPECT_EQ(Friendly(0), "product");
    ExpectKnown("COM33 ");
}

TEST(DevicesOfTheMachine, AreKnownWhereTheKernelCounts) {
    const std::string count = "/sys/kernel/uevent_seqnum";
    const auto counted = [&count] {
        std::string events;
        std::getline(std::ifstream(count), events);
        return events;
    };
    const std::string before = counted();
    if (before.empty()) GTEST_SKIP() << "this machine's kernel does not tell its count";
    plat_devices_close(plat_devices_open("Ports"));
    const int opened = system_calls.openat.calls;
    plat_devices_close(plat_devices_open("Ports"));
    const int opened_again = system_calls.openat.calls - opened;
    if (counted() != before) GTEST_SKIP() << "a device came or went";
    EXPECT_EQ(opened_again, 1);
}

TEST_F(Devices, LeaveNothingOpenAndNeedNoStandardInput) {
    AddUsb("ttyUSB0", "1-1", 2, "product\n");
    AddBuiltIn(0, "4");
    const long count_before = OpenDescriptors();
    Open();
    EXPECT_EQ(OpenDescriptors(), count_before);
    EXPECT_TRUE(plat_devices_close(devices));

    const int kept = fcntl(0, F_DUPFD_CLOEXEC, 3);
    close(0);
    devices = OpenDevicesBelow("class", "events");
    const bool zero_is_free = fcntl(0, F_GETFD) == -1;
    if (kept >= 0) {
        dup2(kept, 0);
        close(kept);
    }
    EXPECT_TRUE(zero_is_free);
    EXPECT_EQ(PortName(0), "COM1");
    EXPECT_EQ(Friendly(1), "product");
}

TEST_F(Devices, SayWhyTheyFail) {
    const auto expect = [](bool success, uint32_t code, const char* call) {
        EXPECT_FALSE(success) << call;
        EXPECT_EQ(plat_last_error(), code) << call;
        SetLastErrno(0);
    };
    char text[16] = "";
    AddUsb("ttyUSB0", "1-1", 1, "product\n");
    AddUsb("ttyUSB1", "1-2", 1, nullptr);
    SetLastErrno(0);
    expect(plat_handle_valid(plat_devices_open("Printers")), PLAT_ERROR_FILE_NOT_FOUND, "open");
    Open();
    SetLastErrno(0);
    expect(plat_devices_port_name(devices, text, sizeof text), PLAT_ERROR_FILE_NOT_FOUND, "none selected");
    expect(plat_devices_select(devices, 2), PLAT_ERROR_FILE_NOT_FOUND, "select");
    ASSERT_TRUE(plat_devices_select(devices, 0));
    expect(plat_devices_friendly(devices, text, 7), ERANGE, "friendly");
    ASSERT_TRUE(plat_devices_select(devices, 1));
    expect(plat_devices_friendly(devices, text, sizeof text), PLAT_ERROR_FILE_NOT_FOUND, "friendly");
    ASSERT_TRUE(plat_devices_close(devices));
    SetLastErrno(0);
    expect(plat_devices_select(devices, 0), EBADF, "select");
    expect(plat_devices_port_name(devices, text, sizeof text), EBADF, "port name");
    expect(plat_devices_friendly_size(devices) != 0, EBADF, "size");
    expect(plat_devices_close(devices), EBADF, "close");
}

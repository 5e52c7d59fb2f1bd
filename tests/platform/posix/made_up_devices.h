/*
 * A made-up copy of the kernel's view of serial devices.
 */
#pragma once

#include "platform/posix/devices.h"
#include "scratch_folder.h"
#include "system_calls.h"

struct Devices : ScratchFolder {
    void TearDown() override {
        ResetSystemCalls();
        plat_devices_close(devices);
        ScratchFolder::TearDown();
    }

    /** A port of the mainboard; type "0" is one that the kernel only makes room for. */
    static void AddBuiltIn(int index, const char* type) {
        const std::filesystem::path hardware = "devices/platform/serial" + std::to_string(index);
        std::filesystem::create_directories(hardware / "driver");
        const std::filesystem::path entry = "class/ttyS" + std::to_string(index);
        std::filesystem::create_directories(entry);
        WriteText((entry / "type").string(), std::string(type) + "\n");
        std::filesystem::create_directory_symlink("../../" + hardware.string(), entry / "device");
    }

    /** A USB port `floors` folders below its USB device, which hangs on a hub with a product text of its own.
     */
    static void AddUsb(const std::string& name, const std::string& bus, int floors, const char* product) {
        const std::filesystem::path hub = "devices/usb1";
        const std::filesystem::path usb = hub / bus;
        std::filesystem::create_directories(usb);
        WriteText((hub / "idVendor").string(), "1d6b\n");
        WriteText((hub / "product").string(), "Some Hub\n");
        WriteText((usb / "idVendor").string(), "0000\n");
        if (product != nullptr) WriteText((usb / "product").string(), product);
        std::filesystem::path hardware = usb;
        for (int floor = 0; floor < floors; ++floor) {
            hardware /= floor == 0 ? bus + ":1.0" : name;
        }
        std::filesystem::create_directories(hardware / "driver");
        std::filesystem::create_directories("class/" + name);
        std::filesystem::create_directory_symlink("../../" + hardware.string(), "class/" + name + "/device");
    }

    void Open() {
        devices = OpenDevicesBelow("class", "events");
        ASSERT_TRUE(plat_handle_valid(devices));
    }

    std::string PortName(uint32_t index) const {
        char name[16] = "";
        if (!plat_devices_select(devices, index)) return "none";
        EXPECT_TRUE(plat_devices_port_name(devices, name, sizeof name));
        return name;
    }

    std::string Friendly(uint32_t index) const {
        if (!plat_devices_select(devices, index)) return "none";
        const uint32_t size = plat_devices_friendly_size(devices);
        std::string text(size, 'x');
        const bool read = plat_devices_friendly(devices, text.data(), size);
        EXPECT_EQ(read, size > 0);
        return size > 0 ? std::string(text.c_str()) : "";
    }

    plat_handle devices = PLAT_INVALID_HANDLE;
};

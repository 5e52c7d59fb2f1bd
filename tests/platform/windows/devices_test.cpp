#include <gtest/gtest.h>

#include "platform/platform.h"

// Which devices there are is the machine's affair: the walk must come to its end and stay inside the buffers.
TEST(Devices, ThePresentPortsCanBeWalked) {
    const plat_handle devices = plat_devices_open("Ports");
    ASSERT_TRUE(plat_handle_valid(devices));
    uint32_t count = 0;
    for (; plat_devices_select(devices, count); ++count) {
        ASSERT_LT(count, 10000u);
        char guarded[17] = {};
        guarded[16] = 'G';
        plat_devices_port_name(devices, guarded, 16);
        EXPECT_EQ(guarded[15], '\0');
        EXPECT_EQ(guarded[16], 'G');
        const uint32_t size = plat_devices_friendly_size(devices);
        if (size == 0) continue;
        char* friendly = static_cast<char*>(plat_alloc(size + 1));
        EXPECT_TRUE(plat_devices_friendly(devices, friendly, size));
        plat_free(friendly);
    }
    EXPECT_FALSE(plat_devices_select(devices, count));
    EXPECT_TRUE(plat_devices_close(devices));
}

TEST(Devices, NoClassNoSet) {
    EXPECT_EQ(plat_devices_open("No such class"), PLAT_INVALID_HANDLE);
}

TEST(Devices, AClassIsNotTakenForAnother) {
    for (int round = 0; round < 2; ++round) {
        const plat_handle devices = plat_devices_open("Ports");
        EXPECT_TRUE(plat_handle_valid(devices));
        EXPECT_TRUE(plat_devices_close(devices));
        EXPECT_EQ(plat_devices_open(""), PLAT_INVALID_HANDLE);
        EXPECT_EQ(plat_devices_open("No such class"), PLAT_INVALID_HANDLE);
    }
}

#include <gtest/gtest.h>

#include "platform/platform.h"

// Discovery goes on with whatever opening the set gave it.
TEST(DeviceSet, ThatCouldNotBeOpenedHasNoDevicesAndCannotBeClosed) {
    for (const plat_handle set : {PLAT_INVALID_HANDLE, plat_handle{0}}) {
        char name[16] = "kept";
        EXPECT_FALSE(plat_devices_select(set, 0));
        EXPECT_FALSE(plat_devices_port_name(set, name, sizeof name));
        EXPECT_STREQ(name, "kept");
        EXPECT_EQ(plat_devices_friendly_size(set), 0U);
        EXPECT_FALSE(plat_devices_friendly(set, name, sizeof name));
        EXPECT_FALSE(plat_devices_close(set));
    }
}

TEST(DeviceSet, TheNextOneIsAsGoodWhenOneIsForgottenBeforeItOrAtIt) {
    for (int round = 0; round < 3; ++round) {
        const plat_handle set = plat_devices_open("Ports");
        ASSERT_TRUE(plat_handle_valid(set));
        if (round == 1) plat_devices_forget();
        uint32_t count = 0;
        while (plat_devices_select(set, count))
            ++count;
        EXPECT_FALSE(plat_devices_select(set, count));
        EXPECT_TRUE(plat_devices_close(set));
        plat_devices_forget();
    }
}

#include <string>

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "platform/read_timing.h"

constexpr uint32_t MAX = PLAT_TIMEOUT_MAX;

/** The wait of a read of `requested` bytes, of which `done` have come; times in milliseconds. */
static uint64_t ReadWait(plat_port_timeouts timeouts, uint32_t requested, uint32_t done, uint64_t since_start,
                         uint64_t since_last) {
    return ReadWaitUs(timeouts, {requested, done, since_start * 1000, since_last * 1000});
}

TEST(ReadRules, AllBytesEndEveryRead) {
    EXPECT_EQ(ReadWait({0, 0, 0, 0, 0}, 3, 3, 0, 0), 0u);
    EXPECT_EQ(ReadWait({0, 0, 0, 0, 0}, 0, 0, 0, 0), 0u);
}

TEST(ReadRules, AllZeroIsNoTimeout) {
    EXPECT_EQ(ReadWait({0, 0, 0, 0, 0}, 3, 0, 1000000, 0), PLAT_WAIT_WITHOUT_END);
    EXPECT_EQ(ReadWait({0, 0, 0, 0, 0}, 3, 1, 1000000, 1000000), PLAT_WAIT_WITHOUT_END);
}

TEST(ReadRules, TotalIsMultiplierTimesBytesAskedForPlusConstant) {
    const plat_port_timeouts line = {10, 1, 1, 1, 1000};
    EXPECT_EQ(ReadWait(line, 1, 0, 0, 0), 2000u);
    EXPECT_EQ(ReadWait(line, 16384, 0, 0, 0), 16385000u);
    EXPECT_EQ(ReadWait(line, 16384, 0, 16384, 0), 1000u);
    EXPECT_EQ(ReadWait(line, 16384, 0, 16385, 0), 0u);
    EXPECT_EQ(ReadWait(line, 16384, 0, 99999, 0), 0u);
    EXPECT_EQ(ReadWait({0, 7, 0, 0, 0}, 3, 0, 0, 0), 21000u);
    EXPECT_EQ(ReadWait({0, 0, 7, 0, 0}, 3, 0, 0, 0), 7000u);
}

TEST(ReadRules, IntervalCountsFromTheLastByteAndBehindAFirst) {
    const plat_port_timeouts line = {10, 0, 0, 0, 0};
    EXPECT_EQ(ReadWait(line, 5, 0, 1000, 1000), PLAT_WAIT_WITHOUT_END);
    EXPECT_EQ(ReadWait(line, 5, 1, 1000, 0), 10000u);
    EXPECT_EQ(ReadWait(line, 5, 4, 1000, 9), 1000u);
    EXPECT_EQ(ReadWait(line, 5, 4, 1000, 10), 0u);
}

TEST(ReadRules, TheEarlierOfIntervalAndTotalCounts) {
    const plat_port_timeouts line = {10, 1, 1, 0, 0};
    EXPECT_EQ(ReadWait(line, 100, 5, 50, 0), 10000u);
    EXPECT_EQ(ReadWait(line, 100, 5, 98, 0), 3000u);
    EXPECT_EQ(ReadWait(line, 100, 5, 101, 0), 0u);
}

TEST(ReadRules, EndlessIntervalAloneNeverWaits) {
    EXPECT_EQ(ReadWait({MAX, 0, 0, 0, 0}, 5, 0, 0, 0), 0u);
    EXPECT_EQ(ReadWait({MAX, 0, 0, 0, 0}, 5, 2, 0, 0), 0u);
}

TEST(ReadRules, EndlessIntervalAndMultiplierWaitForOneByte) {
    EXPECT_EQ(ReadWait({MAX, MAX, 40, 0, 0}, 5, 0, 0, 0), 40000u);
    EXPECT_EQ(ReadWait({MAX, MAX, 40, 0, 0}, 5, 0, 40, 0), 0u);
    EXPECT_EQ(ReadWait({MAX, MAX, 40, 0, 0}, 5, 1, 10, 0), 0u);
}

TEST(ReadRules, TheLargestValuesDoNotOverflow) {
    EXPECT_GT(ReadWait({0, MAX, MAX, 0, 0}, MAX, 0, 0, 0), UINT64_MAX - 1000);
    EXPECT_EQ(ReadWait({0, MAX, MAX, 0, 0}, 1, 0, 0, 0), 2ull * MAX * 1000);
}

TEST(WriteRules, TotalAlone) {
    const plat_port_timeouts line = {10, 1, 1, 1, 1000};
    EXPECT_EQ(WriteWaitUs(line, {16384, 0, 0, 0}), 17384000u);
    EXPECT_EQ(WriteWaitUs(line, {16384, 5, 17384000, 0}), 0u);
    EXPECT_EQ(WriteWaitUs(line, {5, 5, 0, 0}), 0u);
    EXPECT_EQ(WriteWaitUs({10, 1, 1, 0, 0}, {5, 0, 99999999, 0}), PLAT_WAIT_WITHOUT_END);
}

TEST(PortMode, TheEnginesOwnText) {
    plat_line_settings settings = {};
    ASSERT_TRUE(plat_port_parse_mode("115200,n,8,1", &settings));
    EXPECT_EQ(settings.baud_rate, 115200u);
    EXPECT_EQ(settings.data_bits, 8);
    EXPECT_EQ(settings.parity, 0);
    EXPECT_EQ(settings.stop_bits, 0);
}

TEST(PortMode, OtherSettings) {
    plat_line_settings settings = {};
    ASSERT_TRUE(plat_port_parse_mode("9600,E,7,2", &settings));
    EXPECT_EQ(settings.baud_rate, 9600u);
    EXPECT_EQ(settings.data_bits, 7);
    EXPECT_EQ(settings.parity, 2);
    EXPECT_EQ(settings.stop_bits, 2);
    ASSERT_TRUE(plat_port_parse_mode("19200,o,8,1", &settings));
    EXPECT_EQ(settings.parity, 1);
}

TEST(PortMode, WhatIsNoModeIsRefused) {
    plat_line_settings settings = {};
    for (const char* mode : {"nonsense", "115200,n,8,x", "115200,n,8,1 garbage", "115200,q,8,1"}) {
        EXPECT_FALSE(plat_port_parse_mode(mode, &settings)) << mode;
    }
}

TEST(Port, AMissingPortIsErrorTwo) {
    EXPECT_EQ(plat_port_open("\\\\?\\COM250"), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(plat_port_open("\\\\?\\CNCA0"), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_FILE_NOT_FOUND);
}

TEST(Port, NothingWorksOnAnInvalidHandle) {
    char byte = 'x';
    const plat_port_timeouts timeouts = {10, 1, 1, 1, 1000};
    plat_line_settings settings = {};
    ASSERT_TRUE(plat_port_parse_mode("115200,n,8,1", &settings));
    for (const plat_handle port : {plat_handle{0}, PLAT_INVALID_HANDLE}) {
        EXPECT_FALSE(plat_port_apply(port, &settings));
        EXPECT_FALSE(plat_port_set_queues(port, 16384, 16384));
        EXPECT_FALSE(plat_port_set_timeouts(port, &timeouts));
        EXPECT_FALSE(plat_port_raise(port, PLAT_SIGNAL_DTR));
        EXPECT_EQ(plat_port_read(port, &byte, 1), 0u);
        EXPECT_EQ(plat_port_write(port, &byte, 1), 0u);
        EXPECT_FALSE(plat_port_flush(port));
    }
    EXPECT_FALSE(plat_port_close(0));
    EXPECT_EQ(byte, 'x');
}

/*
 * The port on a pseudo terminal: the test holds the device's side.
 */
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "platform/posix/port.h"
#include "platform/read_timing.h"
#include "pty_port.h"
#include "stopwatch.h"

constexpr uint32_t MAX = PLAT_TIMEOUT_MAX;

static std::string EveryByte() {
    std::string bytes;
    for (int value = 0; value < 256; ++value) {
        bytes.push_back(static_cast<char>(value));
    }
    return bytes;
}

TEST_F(PtyPort, EveryByteComesThroughUnchangedAndWithoutEcho) {
    plat_line_settings settings = {};
    ASSERT_TRUE(plat_port_parse_mode("115200,n,8,1", &settings));
    ASSERT_TRUE(plat_port_apply(port, &settings));
    SetTimeouts({0, 0, 2000, 0, 2000});
    Send(EveryByte());
    EXPECT_EQ(Read(256), EveryByte());

    EXPECT_EQ(plat_port_write(port, EveryByte().data(), 256), 256u);
    // What the test sent first would stand in front if the line echoed.
    EXPECT_EQ(Received(256), EveryByte());
}

TEST_F(PtyPort, ALineIsRawFromTheOpenOn) {
    SetTimeouts({0, 0, 2000, 0, 0});
    Send("\x03\r\n\x04");
    EXPECT_EQ(Read(4), "\x03\r\n\x04");
}

TEST_F(PtyPort, ANewPortNeverHangs) {
    const Stopwatch watch;
    EXPECT_EQ(Read(100), "");
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
    const std::string much(1000000, 'x');
    EXPECT_LT(plat_port_write(port, much.data(), 1000000), 1000000u);
    EXPECT_GE(watch.Milliseconds(), 1000);
    EXPECT_LT(watch.Milliseconds(), 1000 + kGenerousMs);
}

TEST_F(PtyPort, SilenceEndsAfterTheTotal) {
    SetTimeouts({10, 20, 40, 0, 0});
    const Stopwatch watch;
    EXPECT_EQ(Read(3), "");
    EXPECT_GE(watch.Milliseconds(), 100);
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
}

TEST_F(PtyPort, ShortTotalsAreFine) {
    SetTimeouts({10, 1, 1, 1, 1000});
    const Stopwatch all;
    int64_t shortest = kGenerousMs;
    for (int count = 0; count < 50; ++count) {
        const Stopwatch watch;
        EXPECT_EQ(Read(1), "");
        shortest = std::min(shortest, watch.Milliseconds());
    }
    EXPECT_GE(all.Milliseconds(), 100);
    // 2 ms each, if nobody else has the processor; a wait that only knew 10 ms steps would never be so short.
    EXPECT_LT(shortest, 10);
}

TEST_F(PtyPort, TheIntervalEndsAReadBehindItsFirstByte) {
    SetTimeouts({60, 0, 60000, 0, 0});
    Send("ab");
    const Stopwatch watch;
    EXPECT_EQ(Read(10), "ab");
    EXPECT_GE(watch.Milliseconds(), 60);
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
}

TEST_F(PtyPort, TheTotalEndsAReadWithSomeBytesToo) {
    SetTimeouts({0, 0, 80, 0, 0});
    Send("ab");
    const Stopwatch watch;
    EXPECT_EQ(Read(10), "ab");
    EXPECT_GE(watch.Milliseconds(), 80);
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
}

TEST_F(PtyPort, TheLastByteAskedForEndsAReadAtOnce) {
    SetTimeouts({10000, 0, 60000, 0, 0});
    Send("abcd");
    const Stopwatch watch;
    EXPECT_EQ(Read(3), "abc");
    EXPECT_EQ(Read(1), "d");
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
}

TEST_F(PtyPort, AllZeroWaitsForEveryByte) {
    SetTimeouts({0, 0, 0, 0, 0});
    std::atomic<bool> done{false};
    std::string bytes;
    std::thread reader([&] {
        bytes = Read(2);
        done = true;
    });
    Send("a");
    const Stopwatch watch;
    while (watch.Milliseconds() < 100 && !done) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(done);
    Send("b");
    reader.join();
    EXPECT_EQ(bytes, "ab");
}

TEST_F(PtyPort, AnEndlessIntervalReturnsWhatIsThere) {
    SetTimeouts({MAX, 0, 0, 0, 0});
    const Stopwatch watch;
    EXPECT_EQ(Read(10), "");
    SendAndArrive("ab");
    EXPECT_EQ(Read(10), "ab");
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
}

TEST_F(PtyPort, AnEndlessIntervalAndMultiplierWaitForAByte) {
    SetTimeouts({MAX, MAX, 80, 0, 0});
    const Stopwatch watch;
    EXPECT_EQ(Read(10), "");
    EXPECT_GE(watch.Milliseconds(), 80);

    SetTimeouts({MAX, MAX, 60000, 0, 0});
    std::string bytes;
    std::thread reader([&] { bytes = Read(10); });
    Send("x");
    reader.join();
    EXPECT_EQ(bytes, "x");
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
}

TEST_F(PtyPort, ThreeEndlessValuesAreRefused) {
    const plat_port_timeouts timeouts = {MAX, MAX, MAX, 0, 0};
    EXPECT_FALSE(plat_port_set_timeouts(port, &timeouts));
}

TEST_F(PtyPort, AWriteGivesUpAfterItsTotal) {
    SetTimeouts({0, 0, 0, 0, 80});
    const std::string much(1000000, 'x');
    const Stopwatch watch;
    const uint32_t written = plat_port_write(port, much.data(), 1000000);
    EXPECT_GT(written, 0u);
    EXPECT_LT(written, 1000000u);
    EXPECT_GE(watch.Milliseconds(), 80);
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
    EXPECT_EQ(plat_port_write(port, much.data(), 5), 0u);
}

TEST_F(PtyPort, AWriteWithoutATimeoutWaitsForTheReader) {
    SetTimeouts({0, 0, 0, 0, 0});
    const std::string much(200000, 'x');
    uint32_t written = 0;
    std::thread writer([&] { written = plat_port_write(port, much.data(), 200000); });
    size_t received = 0;
    while (received < much.size()) {
        char bytes[4096];
        const ssize_t count = read(device, bytes, sizeof bytes);
        ASSERT_GT(count, 0);
        received += static_cast<size_t>(count);
    }
    writer.join();
    EXPECT_EQ(written, 200000u);
}

TEST_F(PtyPort, AHungUpLineIsSilentAtTheUsualPace) {
    SetTimeouts({10, 0, 80, 0, 1000});
    HangUp();
    const Stopwatch watch;
    EXPECT_EQ(Read(5), "");
    EXPECT_GE(watch.Milliseconds(), 80);
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
    EXPECT_NE(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
    EXPECT_EQ(plat_port_write(port, "abc", 3), 0u);
}

TEST_F(PtyPort, AHangUpEndsAReadThatWaits) {
    SetTimeouts({0, 0, 0, 0, 0});
    std::string bytes = "none";
    std::thread reader([&] { bytes = Read(5); });
    HangUp();
    reader.join();
    EXPECT_EQ(bytes, "");
}

TEST_F(PtyPort, BelongsToOneUserAtATime) {
    EXPECT_EQ(plat_port_open(path.c_str()), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
    int exclusive = 0;
    ASSERT_EQ(ioctl(other, TIOCGEXCL, &exclusive), 0);
    EXPECT_NE(exclusive, 0);
    EXPECT_NE(flock(other, LOCK_EX | LOCK_NB), 0);

    EXPECT_TRUE(plat_port_close(port));
    ASSERT_EQ(ioctl(other, TIOCGEXCL, &exclusive), 0);
    EXPECT_EQ(exclusive, 0);
    port = plat_port_open(path.c_str());
    EXPECT_TRUE(plat_handle_valid(port));
}

TEST_F(PtyPort, AnotherProgramsLockIsAccessRefused) {
    ASSERT_TRUE(plat_port_close(port));
    ASSERT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(plat_port_open(path.c_str()), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
}

TEST_F(PtyPort, SettingsReachTheLine) {
    plat_line_settings settings = {};
    ASSERT_TRUE(plat_port_parse_mode("9600,n,8,2", &settings));
    ASSERT_TRUE(plat_port_apply(port, &settings));
    termios line = {};
    ASSERT_EQ(tcgetattr(other, &line), 0);
    EXPECT_EQ(cfgetospeed(&line), static_cast<speed_t>(B9600));
    EXPECT_EQ(cfgetispeed(&line), static_cast<speed_t>(B9600));
    EXPECT_EQ(line.c_cflag & (CSIZE | CSTOPB | PARENB | CRTSCTS), static_cast<tcflag_t>(CS8 | CSTOPB));
    ASSERT_TRUE(plat_port_parse_mode("115200,n,8,1", &settings));
    ASSERT_TRUE(plat_port_apply(port, &settings));
    ASSERT_EQ(tcgetattr(other, &line), 0);
    EXPECT_EQ(cfgetospeed(&line), static_cast<speed_t>(B115200));
    EXPECT_EQ(line.c_cflag & CSTOPB, 0u);
}

TEST_F(PtyPort, SettingsThatTheLineDoesNotTakeAreAFailure) {
    // A pseudo terminal has eight bits and no parity, and drops other wishes without a word.
    plat_line_settings settings = {};
    ASSERT_TRUE(plat_port_parse_mode("9600,e,7,1", &settings));
    EXPECT_FALSE(plat_port_apply(port, &settings));
}

TEST_F(PtyPort, QueuesFlushAndControlLines) {
    EXPECT_TRUE(plat_port_set_queues(port, 16384, 16384));
    EXPECT_TRUE(plat_port_flush(port));
    EXPECT_FALSE(plat_port_raise(port, PLAT_SIGNAL_DTR));
    EXPECT_FALSE(plat_port_raise(port, PLAT_SIGNAL_RTS));
}

TEST_F(PtyPort, AClosedHandleIsDeadForGood) {
    const plat_handle closed = port;
    EXPECT_TRUE(plat_port_close(closed));
    port = plat_port_open(path.c_str());
    ASSERT_TRUE(plat_handle_valid(port));
    EXPECT_NE(port, closed);
    EXPECT_FALSE(plat_port_close(closed));
    char byte = 0;
    EXPECT_EQ(plat_port_read(closed, &byte, 1), 0u);
    EXPECT_EQ(plat_port_write(closed, &byte, 1), 0u);
}

TEST_F(PtyPort, AReadOfAnotherThreadSurvivesTheClose) {
    SetTimeouts({0, 0, 150, 0, 0});
    std::thread reader([&] { EXPECT_EQ(Read(5), ""); });
    EXPECT_TRUE(plat_port_close(port));
    reader.join();
}

TEST(PortPath, TheFixedTable) {
    const std::pair<const char*, const char*> kRows[] = {
        {"COM1", "/dev/ttyS0"},     {"COM32", "/dev/ttyS31"},   {"COM33", "/dev/ttyUSB0"},
        {"COM64", "/dev/ttyUSB31"}, {"COM65", "/dev/ttyACM0"},  {"COM96", "/dev/ttyACM31"},
        {"COM1000", "/dev/pts/0"},  {"COM1012", "/dev/pts/12"}, {"com33", "/dev/ttyUSB0"}};
    for (const auto& [name, device] : kRows) {
        const PosixPath path = PortDeviceFile((std::string("\\\\?\\") + name).c_str());
        EXPECT_TRUE(path.valid) << name;
        EXPECT_STREQ(path.text, device);
    }
    for (const char* name : {"", "COM", "COM0", "COM01", "COM97", "COM999", "COM5x", "COM9999999999", "LPT1",
                             "CNCA0", "COM-1", "COM 1"}) {
        EXPECT_FALSE(PortDeviceFile((std::string("\\\\?\\") + name).c_str()).valid) << name;
        EXPECT_EQ(plat_last_error(), PLAT_ERROR_FILE_NOT_FOUND);
    }
    EXPECT_STREQ(PortDeviceFile("\\dev\\ttyUSB5").text, "/dev/ttyUSB5");
}

TEST(PortPath, WhatIsNoTerminalIsRefused) {
    EXPECT_EQ(plat_port_open("/dev/null"), PLAT_INVALID_HANDLE);
    EXPECT_NE(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
}

TEST(PortMode, BlanksAndLettersAndLimits) {
    plat_line_settings settings = {};
    EXPECT_TRUE(plat_port_parse_mode(" 4000000 , O , 5 , 2 ", &settings));
    EXPECT_EQ(settings.baud_rate, 4000000u);
    EXPECT_EQ(settings.parity, 1);
    EXPECT_EQ(settings.data_bits, 5);
    EXPECT_EQ(settings.stop_bits, 2);
    for (const char* mode :
         {"", "115200", "115201,n,8,1", "0,n,8,1", "115200,n,9,1", "115200,n,4,1", "115200,n,8,3",
          "115200,n,8,0", "115200,n,8,1.5", "115200,n,8", "115200,n,8,1,", "115200,n,8,1,x", "115200,,8,1",
          "-9600,n,8,1", "99999999999999999999,n,8,1", "115200,m,8,1", "baud=9600"}) {
        settings.baud_rate = 7;
        EXPECT_FALSE(plat_port_parse_mode(mode, &settings)) << mode;
        EXPECT_EQ(settings.baud_rate, 0u);
    }
}

TEST(PortMode, NothingStandsForAComma) {
    plat_line_settings settings = {};
    for (const char* mode : {"115200 n,8,1", "115200n,8,1", "115200,n 8,1", "115200,n8,1", "115200,n,8 1"}) {
        EXPECT_FALSE(plat_port_parse_mode(mode, &settings)) << mode;
    }
}

TEST(PortOpen, APortThatIsNotThereIsNotFound) {
    const PosixPath last = PortDeviceFile("\\\\?\\COM64");
    if (access(last.text, F_OK) == 0) GTEST_SKIP() << last.text << " is a port of this machine";
    EXPECT_EQ(plat_port_open("\\\\?\\COM64"), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_FILE_NOT_FOUND);
}

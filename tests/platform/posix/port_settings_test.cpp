/*
 * Line settings: every baud rate, frames, and what a line is freed from.
 */
#include <termios.h>

#include <cerrno>
#include <string>

#include "platform/posix/last_error.h"
#include "platform/posix/port.h"
#include "pty_port.h"

TEST_F(PtyPort, TakesEveryBaudRateThatUnixHasANameFor) {
    const std::pair<uint32_t, speed_t> kRates[] = {
        {50, B50},           {75, B75},           {110, B110},         {134, B134},
        {150, B150},         {200, B200},         {300, B300},         {600, B600},
        {1200, B1200},       {1800, B1800},       {2400, B2400},       {4800, B4800},
        {9600, B9600},       {19200, B19200},     {38400, B38400},     {57600, B57600},
        {115200, B115200},   {230400, B230400},   {460800, B460800},   {500000, B500000},
        {576000, B576000},   {921600, B921600},   {1000000, B1000000}, {1152000, B1152000},
        {1500000, B1500000}, {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000},
        {3500000, B3500000}, {4000000, B4000000}};
    for (const auto& [rate, code] : kRates) {
        plat_line_settings settings = {};
        EXPECT_TRUE(plat_port_parse_mode((std::to_string(rate) + ",n,8,1").c_str(), &settings)) << rate;
        EXPECT_EQ(settings.baud_rate, rate);
        EXPECT_TRUE(plat_port_apply(port, &settings)) << rate;
        termios line = {};
        ASSERT_EQ(tcgetattr(other, &line), 0);
        EXPECT_EQ(cfgetospeed(&line), code) << rate;
        EXPECT_EQ(cfgetispeed(&line), code) << rate;
    }
}

TEST(PortFrame, EverySizeParityAndStopBit) {
    plat_line_settings settings = {};
    const std::pair<uint8_t, tcflag_t> kSizes[] = {{5, CS5}, {6, CS6}, {7, CS7}, {8, CS8}};
    for (const auto& [bits, flag] : kSizes) {
        settings.data_bits = bits;
        EXPECT_EQ(FrameFlags(settings), flag) << int{bits};
    }
    settings.parity = 1;
    EXPECT_EQ(FrameFlags(settings), static_cast<tcflag_t>(CS8 | PARENB | PARODD));
    settings.parity = 2;
    EXPECT_EQ(FrameFlags(settings), static_cast<tcflag_t>(CS8 | PARENB));
    settings.stop_bits = 2;
    EXPECT_EQ(FrameFlags(settings), static_cast<tcflag_t>(CS8 | PARENB | CSTOPB));
}

/** Gives the line all that a raw line must not have. */
static void Spoil(int terminal) {
    termios line = {};
    ASSERT_EQ(tcgetattr(terminal, &line), 0);
    line.c_iflag |= IXOFF | IXANY | IXON | INPCK | ICRNL;
    line.c_lflag |= ICANON | ECHO;
    line.c_cflag |= CRTSCTS | PARODD;
    line.c_cflag &= ~static_cast<tcflag_t>(CLOCAL);
    ASSERT_EQ(tcsetattr(terminal, TCSANOW, &line), 0);
}

static void ExpectRaw(int terminal) {
    termios line = {};
    ASSERT_EQ(tcgetattr(terminal, &line), 0);
    EXPECT_EQ(line.c_iflag & (IXOFF | IXANY | IXON | INPCK | ICRNL), 0u);
    EXPECT_EQ(line.c_lflag & (ICANON | ECHO), 0u);
    EXPECT_EQ(line.c_cflag & (CRTSCTS | CLOCAL | CREAD), static_cast<tcflag_t>(CLOCAL | CREAD));
    EXPECT_EQ(line.c_cc[VMIN], 1);
    EXPECT_EQ(line.c_cc[VTIME], 0);
}

TEST_F(PtyPort, IsRawBehindItsOpenWhateverItWasBefore) {
    ASSERT_TRUE(plat_port_close(port));
    Spoil(other);
    port = plat_port_open(path.c_str());
    ASSERT_TRUE(plat_handle_valid(port));
    ExpectRaw(other);
}

TEST_F(PtyPort, IsRawBehindItsOpenWhateverOfItWasNot) {
    const auto spoil_one = [](int what, termios* line) {
        switch (what) {
            case 0:
                line->c_iflag |= ICRNL;
                break;
            case 1:
                line->c_oflag |= OPOST | ONLCR;
                break;
            case 2:
                line->c_lflag |= ECHO;
                break;
            case 3:
                line->c_cflag |= CRTSCTS;
                break;
            case 4:
                line->c_cc[VMIN] = 0;
                break;
            default:
                line->c_cc[VTIME] = 3;
        }
    };
    termios raw = {};
    ASSERT_EQ(tcgetattr(other, &raw), 0);
    for (int what = 0; what < 6; ++what) {
        ASSERT_TRUE(plat_port_close(port));
        termios line = raw;
        spoil_one(what, &line);
        ASSERT_EQ(tcsetattr(other, TCSANOW, &line), 0);
        port = plat_port_open(path.c_str());
        ASSERT_TRUE(plat_handle_valid(port));
        ExpectRaw(other);
        ASSERT_EQ(tcgetattr(other, &line), 0);
        EXPECT_EQ(line.c_oflag, raw.c_oflag) << what;
    }
}

TEST_F(PtyPort, ALineThatIsRawIsLeftAlone) {
    ASSERT_TRUE(plat_port_close(port));
    const int calls = system_calls.tcsetattr.calls;
    port = plat_port_open(path.c_str());
    ASSERT_TRUE(plat_handle_valid(port));
    EXPECT_EQ(system_calls.tcsetattr.calls, calls);
    ExpectRaw(other);
}

TEST_F(PtyPort, IsRawBehindNewSettingsWhateverItWasBefore) {
    Spoil(other);
    plat_line_settings settings = {};
    ASSERT_TRUE(plat_port_parse_mode("1200,n,8,1", &settings));
    ASSERT_TRUE(plat_port_apply(port, &settings));
    ExpectRaw(other);
    termios line = {};
    ASSERT_EQ(tcgetattr(other, &line), 0);
    EXPECT_EQ(line.c_cflag & (CSIZE | PARENB | PARODD | CSTOPB), static_cast<tcflag_t>(CS8));
}

TEST_F(PtyPort, SettingsThatCannotBeMadeSayWhy) {
    plat_line_settings settings = {};
    ASSERT_TRUE(plat_port_parse_mode("9600,n,7,1", &settings));
    SetLastErrno(0);
    EXPECT_FALSE(plat_port_apply(port, &settings));
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EINVAL));

    ASSERT_TRUE(plat_port_parse_mode("9600,n,8,1", &settings));
    settings.baud_rate = 9601;
    SetLastErrno(0);
    EXPECT_FALSE(plat_port_apply(port, &settings));
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EINVAL));

    HangUp();
    settings.baud_rate = 9600;
    EXPECT_FALSE(plat_port_apply(port, &settings));
    EXPECT_EQ(plat_last_error(), kErrorIoDevice);
}

TEST(PortFrame, WhatIsNoLineCannotBeRaw) {
    SetLastErrno(0);
    EXPECT_FALSE(SetRawLine(-1, termios{}));
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EBADF));
}

TEST(PortMode, NumbersHaveNineDigitsAtMost) {
    plat_line_settings settings = {};
    EXPECT_TRUE(plat_port_parse_mode("000115200,n,000000008,000000001", &settings));
    EXPECT_EQ(settings.baud_rate, 115200u);
    EXPECT_FALSE(plat_port_parse_mode("0000115200,n,8,1", &settings));
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EINVAL));
    EXPECT_FALSE(plat_port_parse_mode("115200,n,0000000008,1", &settings));
}

TEST(PortMode, AParityIsALetterAndNotTheTextsEnd) {
    plat_line_settings settings = {};
    EXPECT_FALSE(plat_port_parse_mode("115200,\0,8,1", &settings));
    const std::pair<const char*, int> kParities[] = {{"n", 0}, {"o", 1}, {"e", 2},
                                                     {"N", 0}, {"O", 1}, {"E", 2}};
    for (const auto& [letter, parity] : kParities) {
        EXPECT_TRUE(plat_port_parse_mode((std::string("9600,") + letter + ",8,1").c_str(), &settings))
            << letter;
        EXPECT_EQ(settings.parity, parity) << letter;
    }
}

TEST(PortMode, EverySizeIsUnderstood) {
    plat_line_settings settings = {};
    for (int bits = 5; bits <= 8; ++bits) {
        EXPECT_TRUE(plat_port_parse_mode(("9600,n," + std::to_string(bits) + ",1").c_str(), &settings))
            << bits;
        EXPECT_EQ(settings.data_bits, bits);
        EXPECT_EQ(settings.stop_bits, 0) << bits;
    }
}

TEST(PortPath, ANumberHasNineDigitsAtMost) {
    EXPECT_STREQ(PortDeviceFile("\\\\?\\COM999999999").text, "/dev/pts/999998999");
    EXPECT_FALSE(PortDeviceFile("\\\\?\\COM1000000000").valid);
    EXPECT_STREQ(PortDeviceFile("\\\\?\\COM10").text, "/dev/ttyS9");
}

TEST_F(PtyPort, ALineThatHasItsSettingsIsLeftAlone) {
    plat_line_settings settings = {};
    ASSERT_TRUE(plat_port_parse_mode("1200,n,8,1", &settings));
    ASSERT_TRUE(plat_port_apply(port, &settings));
    const int calls = system_calls.tcsetattr.calls;
    EXPECT_TRUE(plat_port_apply(port, &settings));
    EXPECT_EQ(system_calls.tcsetattr.calls, calls);
    Spoil(other);
    EXPECT_TRUE(plat_port_apply(port, &settings));
    ExpectRaw(other);
}

TEST_F(PtyPort, ALineThatLacksOneSettingGetsIt) {
    const auto apply = [this](const char* mode) {
        plat_line_settings settings = {};
        EXPECT_TRUE(plat_port_parse_mode(mode, &settings));
        return plat_port_apply(port, &settings);
    };
    termios line = {};
    ASSERT_TRUE(apply("1200,n,8,1"));
    ASSERT_TRUE(apply("1200,n,8,2"));
    ASSERT_EQ(tcgetattr(other, &line), 0);
    EXPECT_NE(line.c_cflag & CSTOPB, 0u);
    ASSERT_TRUE(apply("2400,n,8,2"));
    ASSERT_EQ(tcgetattr(other, &line), 0);
    EXPECT_EQ(cfgetospeed(&line), static_cast<speed_t>(B2400));
    // A pseudo terminal has eight bits always: that it took nothing has to be told.
    EXPECT_FALSE(apply("2400,n,7,2"));
}

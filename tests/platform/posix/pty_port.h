/*
 * A test with a port on a pseudo terminal: the test holds the device's side.
 */
#pragma once

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "system_calls.h"

struct PtyPort : testing::Test {
    void SetUp() override {
        device = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_GE(device, 0);
        ASSERT_EQ(grantpt(device), 0);
        ASSERT_EQ(unlockpt(device), 0);
        terminal = ptsname(device);
        const std::string number = terminal.substr(terminal.rfind('/') + 1);
        path = "\\\\?\\COM" + std::to_string(1000 + std::stoi(number));
        // Kept open, so that the pseudo terminal does not hang up between two opens.
        other = open(terminal.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_GE(other, 0);
        port = plat_port_open(path.c_str());
        ASSERT_TRUE(plat_handle_valid(port)) << plat_last_error();
    }

    void TearDown() override {
        ResetSystemCalls();
        plat_port_close(port);
        close(other);
        if (device >= 0) close(device);
    }

    void SetTimeouts(const plat_port_timeouts& timeouts) const {
        ASSERT_TRUE(plat_port_set_timeouts(port, &timeouts));
    }

    void Send(const std::string& bytes) const {
        ASSERT_EQ(write(device, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    std::string Read(uint32_t size) const {
        std::string bytes(size, '\0');
        bytes.resize(plat_port_read(port, bytes.data(), size));
        return bytes;
    }

    /** Closes every side but the port's own, which hangs the line up. */
    void HangUp() {
        close(device);
        device = -1;
    }

    int device = -1;
    int other = -1;
    std::string terminal;
    std::string path;
    plat_handle port = PLAT_INVALID_HANDLE;
};

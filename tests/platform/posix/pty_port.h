/*
 * A test with a port on a pseudo terminal: the test holds the device's side.
 */
#pragma once

#include <fcntl.h>
#include <sys/ioctl.h>
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

    /** Sends, and comes back when the bytes can be read: the system hands them over in its own time. */
    void SendAndArrive(const std::string& bytes) const {
        Send(bytes);
        for (int count = 0; static_cast<size_t>(count) < bytes.size();) {
            ASSERT_EQ(ioctl(other, FIONREAD, &count), 0);
        }
    }

    /** What the device receives, until it is so much. */
    std::string Received(size_t size) const {
        std::string bytes(size, '\0');
        size_t done = 0;
        while (done < size) {
            const ssize_t count = read(device, bytes.data() + done, size - done);
            if (count <= 0) break;
            done += static_cast<size_t>(count);
        }
        bytes.resize(done);
        return bytes;
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

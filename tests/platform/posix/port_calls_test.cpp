/*
 * The port's last errors, and system calls that fail, are interrupted or do half of what they were asked for.
 */
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

#include "platform/posix/last_error.h"
#include "platform/posix/port.h"
#include "platform/read_timing.h"
#include "processes.h"
#include "pty_port.h"
#include "stopwatch.h"

static constexpr uint32_t MAX = PLAT_TIMEOUT_MAX;

TEST_F(PtyPort, AClosedPortIsErrorNine) {
    const plat_handle closed = port;
    ASSERT_TRUE(plat_port_close(closed));
    const plat_port_timeouts timeouts = {};
    char byte = 0;
    for (int call = 0; call < 6; ++call) {
        SetLastErrno(0);
        switch (call) {
            case 0:
                EXPECT_FALSE(plat_port_close(closed));
                break;
            case 1:
                EXPECT_FALSE(plat_port_flush(closed));
                break;
            case 2:
                EXPECT_FALSE(plat_port_raise(closed, PLAT_SIGNAL_DTR));
                break;
            case 3:
                EXPECT_FALSE(plat_port_set_timeouts(closed, &timeouts));
                break;
            case 4:
                EXPECT_EQ(plat_port_read(closed, &byte, 1), 0u);
                break;
            default:
                EXPECT_EQ(plat_port_write(closed, &byte, 1), 0u);
                break;
        }
        EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EBADF)) << call;
    }
}

TEST_F(PtyPort, TimeoutsAreRefusedOnlyWhenAllThreeAreEndless) {
    const plat_port_timeouts kAllowed[] = {{MAX, 0, 0, 0, 0},   {0, MAX, 0, 0, 0},   {0, 0, MAX, 0, 0},
                                           {MAX, MAX, 0, 0, 0}, {MAX, 0, MAX, 0, 0}, {0, MAX, MAX, 0, 0},
                                           {0, 0, 0, MAX, MAX}};
    for (const plat_port_timeouts& timeouts : kAllowed) {
        EXPECT_TRUE(plat_port_set_timeouts(port, &timeouts))
            << timeouts.read_interval << ' ' << timeouts.read_total_multiplier << ' '
            << timeouts.read_total_constant;
    }
    const plat_port_timeouts refused = {MAX, MAX, MAX, 0, 0};
    SetLastErrno(0);
    EXPECT_FALSE(plat_port_set_timeouts(port, &refused));
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(EINVAL));
}

TEST_F(PtyPort, RaisesTheLineThatItIsAskedFor) {
    // The pseudo terminal has neither, and says so.
    SetLastErrno(0);
    EXPECT_FALSE(plat_port_raise(port, PLAT_SIGNAL_DTR));
    EXPECT_NE(plat_last_error(), 0u);
    EXPECT_EQ(system_calls.raised_line, TIOCM_DTR);
    EXPECT_FALSE(plat_port_raise(port, PLAT_SIGNAL_RTS));
    EXPECT_EQ(system_calls.raised_line, TIOCM_RTS);
    system_calls.has_modem_lines = true;
    EXPECT_TRUE(plat_port_raise(port, PLAT_SIGNAL_DTR));
    EXPECT_TRUE(plat_port_raise(port, PLAT_SIGNAL_RTS));
}

TEST_F(PtyPort, AnInterruptedFlushGoesOnAndAFailedOneSaysWhy) {
    FailNext(&system_calls.tcdrain, 3, EINTR);
    EXPECT_TRUE(plat_port_flush(port));
    EXPECT_EQ(system_calls.tcdrain.calls, 4);
    FailNext(&system_calls.tcdrain, 1, EIO);
    EXPECT_FALSE(plat_port_flush(port));
    EXPECT_EQ(plat_last_error(), kErrorIoDevice);
    EXPECT_EQ(system_calls.tcdrain.calls, 5);
}

TEST_F(PtyPort, AFailedOpenLeavesNothingOpen) {
    const long before = OpenDescriptors();
    EXPECT_EQ(plat_port_open(path.c_str()), PLAT_INVALID_HANDLE);
    SetLastErrno(0);
    EXPECT_EQ(plat_port_open("/dev/null"), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(ENOTTY));
    EXPECT_EQ(OpenDescriptors(), before);
    ASSERT_TRUE(plat_port_close(port));
    EXPECT_EQ(OpenDescriptors(), before - 1);
}

TEST_F(PtyPort, ALockThatFailsIsNotABusyPort) {
    ASSERT_TRUE(plat_port_close(port));
    FailNext(&system_calls.flock, 1, ENOLCK);
    EXPECT_EQ(plat_port_open(path.c_str()), PLAT_INVALID_HANDLE);
    EXPECT_EQ(plat_last_error(), static_cast<uint32_t>(ENOLCK));
}

TEST_F(PtyPort, AnOpenThatFailsInTheMiddleLeavesThePortToOthers) {
    ASSERT_TRUE(plat_port_close(port));
    const long count_before = OpenDescriptors();
    struct Row {
        SystemCall* call;
        int error;
        uint32_t code;
    };
    // The device files of ports that the machine does not have can be opened, and then fail so.
    const Row kRows[] = {{&system_calls.tcgetattr, EIO, PLAT_ERROR_FILE_NOT_FOUND},
                         {&system_calls.tcsetattr, EIO, kErrorIoDevice},
                         {&system_calls.exclusive, ENOTTY, ENOTTY}};
    for (const auto& [call, error, code] : kRows) {
        termios cooked = {};
        ASSERT_EQ(tcgetattr(other, &cooked), 0);
        cooked.c_lflag |= ICANON;
        ASSERT_EQ(tcsetattr(other, TCSANOW, &cooked), 0);
        SetLastErrno(0);
        FailNext(call, 1, error);
        EXPECT_EQ(plat_port_open(path.c_str()), PLAT_INVALID_HANDLE);
        EXPECT_EQ(plat_last_error(), code);
        int exclusive = 1;
        EXPECT_EQ(ioctl(other, TIOCGEXCL, &exclusive), 0);
        EXPECT_EQ(exclusive, 0);
        EXPECT_EQ(OpenDescriptors(), count_before);
    }
}

TEST_F(PtyPort, SettingsThatTheSystemRefusesAreAFailure) {
    // The last one asks for another rate, since the one before set the line and only then failed.
    struct Row {
        const char* mode;
        SystemCall* call;
        int passing;
    };
    plat_line_settings settings = {};
    for (const auto& [mode, call, passing] :
         {Row{"9600,n,8,1", &system_calls.tcgetattr, 0}, Row{"9600,n,8,1", &system_calls.tcgetattr, 1},
          Row{"1200,n,8,1", &system_calls.tcsetattr, 0}}) {
        ASSERT_TRUE(plat_port_parse_mode(mode, &settings));
        SetLastErrno(0);
        FailNext(call, 1, EIO, passing);
        EXPECT_FALSE(plat_port_apply(port, &settings));
        EXPECT_EQ(plat_last_error(), kErrorIoDevice);
    }
    EXPECT_TRUE(plat_port_apply(port, &settings));
}

TEST_F(PtyPort, AReadAndAWriteGoOnBehindAnInterruption) {
    SetTimeouts({0, 0, 20000, 0, 20000});
    Send("abc");
    FailNext(&system_calls.read, 2, EINTR);
    EXPECT_EQ(Read(3), "abc");
    FailNext(&system_calls.write, 2, EINTR);
    SetLastErrno(0);
    EXPECT_EQ(plat_port_write(port, "defg", 4), 4u);
    EXPECT_EQ(plat_last_error(), 0u);
    EXPECT_EQ(Received(4), "defg");
}

TEST_F(PtyPort, AWriteInPiecesSendsEveryByteOnce) {
    SetTimeouts({0, 0, 0, 0, 20000});
    system_calls.longest_write = 3;
    SetLastErrno(0);
    EXPECT_EQ(plat_port_write(port, "abcdefgh", 8), 8u);
    EXPECT_EQ(plat_last_error(), 0u);
    EXPECT_EQ(system_calls.write.calls, 3);
    EXPECT_EQ(Received(8), "abcdefgh");
    EXPECT_EQ(plat_port_write(port, "", 0), 0u);
    EXPECT_EQ(plat_last_error(), 0u);
    EXPECT_EQ(system_calls.write.calls, 3);
}

TEST_F(PtyPort, AWriteThatFailsInTheMiddleGivesWhatItSent) {
    SetTimeouts({0, 0, 0, 0, 20000});
    system_calls.longest_write = 3;
    FailNext(&system_calls.write, 1, EIO, 1);
    EXPECT_EQ(plat_port_write(port, "abcdefgh", 8), 3u);
    EXPECT_EQ(plat_last_error(), kErrorIoDevice);
}

TEST_F(PtyPort, ALineThatGoesAwayDuringAReadGivesAtOnceWhatHasCome) {
    SetTimeouts({0, 0, 3 * static_cast<uint32_t>(kGenerousMs), 0, 0});
    SendAndArrive("ab");
    FailNext(&system_calls.read, 1, EIO, 1);
    system_calls.poll_answer = POLLIN;
    const Stopwatch watch;
    EXPECT_EQ(Read(5), "ab");
    EXPECT_LT(watch.Milliseconds(), kGenerousMs);
    EXPECT_EQ(plat_last_error(), kErrorIoDevice);
}

TEST_F(PtyPort, AHungUpLineIsNotAskedAgainAndAgain) {
    SetTimeouts({0, 0, 60, 0, 1000});
    HangUp();
    system_calls.read.calls = 0;
    // The end of a hung-up line is no error of the system's, so this stays as it is.
    errno = EAGAIN;
    EXPECT_EQ(Read(5), "");
    EXPECT_LE(system_calls.read.calls, 2);
    EXPECT_EQ(plat_last_error(), kErrorIoDevice);
    SetLastErrno(0);
    EXPECT_EQ(plat_port_write(port, "abc", 3), 0u);
    EXPECT_EQ(plat_last_error(), kErrorIoDevice);
}

TEST_F(PtyPort, ALineThatIsEmptyAndHungUpIsAskedOnceMore) {
    // Without a time-out, so that nothing is left to wait for.
    SetTimeouts({0, 0, 0, 0, 0});
    system_calls.poll_answer = POLLHUP;
    system_calls.read.calls = 0;
    EXPECT_EQ(Read(5), "");
    EXPECT_EQ(system_calls.read.calls, 2);
    SendAndArrive("ab");
    FailNext(&system_calls.read, 1, EAGAIN);
    system_calls.poll_answer = POLLHUP;
    EXPECT_EQ(Read(2), "ab");
}

TEST_F(PtyPort, AFullLineThatIsHungUpEndsAWrite) {
    SetTimeouts({0, 0, 0, 0, 0});
    FailNext(&system_calls.write, 1, EAGAIN);
    system_calls.poll_answer = POLLHUP;
    SetLastErrno(0);
    EXPECT_EQ(plat_port_write(port, "ab", 2), 0u);
    EXPECT_EQ(plat_last_error(), kErrorIoDevice);
}

TEST_F(PtyPort, TheIntervalCountsFromTheByteThatCameLast) {
    SetTimeouts({200, 0, 60000, 0, 0});
    const Stopwatch watch;
    std::string bytes;
    std::thread reader([&] { bytes = Read(10); });
    Send("a");
    while (watch.Milliseconds() < 120) {
        std::this_thread::yield();
    }
    Send("b");
    reader.join();
    EXPECT_EQ(bytes, "ab");
    EXPECT_GE(watch.Milliseconds(), 320);
    EXPECT_LT(watch.Milliseconds(), 320 + kGenerousMs);
}

TEST_F(PtyPort, AReadInPiecesTakesNoByteMoreThanItIsAskedFor) {
    SetTimeouts({0, 0, 20000, 0, 0});
    std::string bytes;
    std::atomic<pid_t> thread{0};
    std::thread reader([&] {
        thread = gettid();
        bytes = Read(5);
    });
    int calls = 0;
    for (const char* piece : {"ab", "cdefgh"}) {
        while (system_calls.read.calls == calls || !IsAsleep(thread)) {
            std::this_thread::yield();
        }
        calls = system_calls.read.calls;
        Send(piece);
    }
    reader.join();
    EXPECT_EQ(bytes, "abcde");
    EXPECT_EQ(Read(3), "fgh");
}

TEST_F(PtyPort, IsFreeForTheNextOnceItIsClosedThoughAReadGoesOn) {
    SetTimeouts({0, 0, 20000, 0, 0});
    std::atomic<pid_t> thread{0};
    std::thread reader([&] {
        thread = gettid();
        Read(1);
    });
    while (thread == 0 || !IsAsleep(thread)) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(plat_port_close(port));
    port = plat_port_open(path.c_str());
    EXPECT_TRUE(plat_handle_valid(port)) << plat_last_error();
    Send("x");
    reader.join();
}

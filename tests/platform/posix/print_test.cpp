/*
 * Standard output that nobody takes anything from: a program goes on, and does not notice.
 */
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "processes.h"

/** Standard output as a pipe whose other end is `reader`. */
static int PipeForOutput(int* reader) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) return -1;
    close(ends[1]);
    *reader = ends[0];
    return STDOUT_FILENO;
}

/** Fills the pipe behind standard output to its last byte. */
static void FillOutput() {
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    fcntl(STDOUT_FILENO, F_SETFL, flags | O_NONBLOCK);
    while (write(STDOUT_FILENO, "x", 1) == 1) {
    }
    fcntl(STDOUT_FILENO, F_SETFL, flags);
}

static bool IsPipeSignalPending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

static bool IsPipeSignalBlocked() {
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, SIGPIPE) == 1;
}

TEST(Print, AReaderThatWentDoesNotEndTheProgram) {
    EXPECT_EQ(InFork([] {
                  signal(SIGPIPE, SIG_DFL);
                  int reader = -1;
                  if (PipeForOutput(&reader) < 0) return 9;
                  close(reader);
                  plat_print("for nobody\n");
                  plat_print("for nobody\n");
                  if (IsPipeSignalPending()) return 8;
                  // Nothing is left in the stream that would end the program when it ends.
                  if (fflush(stdout) != 0) return 6;
                  return IsPipeSignalBlocked() ? 7 : 5;
              }),
              5);
}

TEST(Print, APipeSignalThatWasPendingStays) {
    EXPECT_EQ(InFork([] {
                  sigset_t pipe_signal;
                  sigemptyset(&pipe_signal);
                  sigaddset(&pipe_signal, SIGPIPE);
                  pthread_sigmask(SIG_BLOCK, &pipe_signal, nullptr);
                  raise(SIGPIPE);
                  int reader = -1;
                  if (PipeForOutput(&reader) < 0) return 9;
                  plat_print("read\n");
                  return IsPipeSignalPending() && IsPipeSignalBlocked() ? 5 : 8;
              }),
              5);
}

TEST(Print, AReaderThatDoesNotReadDoesNotHoldTheProgram) {
    EXPECT_EQ(InFork([] {
                  int reader = -1;
                  if (PipeForOutput(&reader) < 0) return 9;
                  FillOutput();
                  // A print that waits for the reader would wait for this process itself.
                  alarm(60);
                  plat_print("dropped\n");
                  plat_print("dropped\n");
                  return 5;
              }),
              5);
}

TEST(Print, AReaderThatIsBackGetsWhatComesThen) {
    EXPECT_EQ(InFork([] {
                  int reader = -1;
                  if (PipeForOutput(&reader) < 0) return 9;
                  FillOutput();
                  alarm(60);
                  plat_print("dropped");
                  fcntl(reader, F_SETFL, O_NONBLOCK);
                  char bytes[4096];
                  while (read(reader, bytes, sizeof bytes) > 0) {
                  }
                  plat_print("taken");
                  const ssize_t count = read(reader, bytes, sizeof bytes);
                  return count == 5 && std::string(bytes, 5) == "taken" ? 5 : 8;
              }),
              5);
}

TEST(Print, ATextThatIsLongerThanAPipeComesWhole) {
    EXPECT_EQ(InFork([] {
                  int reader = -1;
                  if (PipeForOutput(&reader) < 0) return 9;
                  std::string text;
                  while (text.size() < 300000) {
                      text += std::to_string(text.size()) + ",";
                  }
                  const pid_t printer = fork();
                  if (printer == 0) {
                      printf("before ");
                      plat_print(text.c_str());
                      _exit(0);
                  }
                  close(STDOUT_FILENO);
                  std::string got;
                  char bytes[4096];
                  for (ssize_t count = 1; count > 0;) {
                      count = read(reader, bytes, sizeof bytes);
                      got.append(bytes, count > 0 ? static_cast<size_t>(count) : 0);
                  }
                  waitpid(printer, nullptr, 0);
                  return got == "before " + text ? 5 : 8;
              }),
              5);
}

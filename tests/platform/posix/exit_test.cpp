/*
 * The end of the process, which for the library is what its unloading is: what it leaves open is closed then.
 */
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

#include "process_mutex.h"
#include "processes.h"
#include "scratch_folder.h"

static int (*look_at_the_end)() = nullptr;

/** Runs behind everything that the library has to do at the end, and tells what it sees by the exit code. */
__attribute__((destructor(101))) static void LookAtTheEnd() {
    if (look_at_the_end != nullptr) _exit(look_at_the_end());
}

// Never destroyed: it is looked at behind the end of everything else.
static std::string& kept_path = *new std::string;
static int kept_descriptor = -1;

/** How many descriptors the kept path is open under. */
static int OpensOfKeptPath() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry, ignored) == kept_path) ++count;
    }
    return count;
}

static int IsKeptDescriptorOpen() {
    return fcntl(kept_descriptor, F_GETFD) >= 0 ? 1 : 0;
}

struct AtTheEnd : ScratchFolder {};

TEST_F(AtTheEnd, TheAppendFileIsClosed) {
    EXPECT_EQ(InFork([] {
                  kept_descriptor = plat_append_open("log");
                  if (kept_descriptor <= 0) return 2;
                  look_at_the_end = IsKeptDescriptorOpen;
                  exit(3);
              }),
              0);
}

TEST_F(AtTheEnd, WhatHasTheClosedAppendFilesNumberStaysOpen) {
    EXPECT_EQ(InFork([] {
                  const int descriptor = plat_append_open("log");
                  plat_append_close(descriptor);
                  kept_descriptor = open("/dev/null", O_RDONLY);
                  if (kept_descriptor != descriptor) return 2;
                  look_at_the_end = IsKeptDescriptorOpen;
                  exit(3);
              }),
              1);
}

TEST_F(ProcessMutex, TheFileOfAMutexThatNobodyOwnsIsClosedAtTheEnd) {
    EXPECT_EQ(InFork([this] {
                  kept_path = path;
                  if (plat_mutex_wait(mutex, 0) != PLAT_WAIT_ACQUIRED || !plat_mutex_release(mutex)) return 9;
                  if (OpensOfKeptPath() != 1) return 8;
                  look_at_the_end = OpensOfKeptPath;
                  exit(7);
              }),
              0);
}

TEST_F(ProcessMutex, TheFileOfAMutexThatAThreadStillOwnsStaysOpenToTheEnd) {
    EXPECT_EQ(InFork([this]() -> int {
                  kept_path = path;
                  std::atomic<bool> owned{false};
                  // The ending thread would give it back: it is another's, which goes on to the end.
                  std::thread([&] {
                      plat_mutex_wait(mutex, 0);
                      owned = true;
                      for (;;) {
                          pause();
                      }
                  }).detach();
                  while (!owned) {
                      std::this_thread::yield();
                  }
                  look_at_the_end = OpensOfKeptPath;
                  exit(7);
              }),
              1);
}

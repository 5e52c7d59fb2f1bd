/*
 * Memory that goes with a simulated process that is killed. The process of the test lives on, so that the
 * leak sanitizer would find it there.
 */
#pragma once

/** What is allocated while an object of this kind lives may be lost. */
class LostMemory {
  public:
    LostMemory();
    ~LostMemory();
    LostMemory(const LostMemory&) = delete;
    LostMemory& operator=(const LostMemory&) = delete;
};

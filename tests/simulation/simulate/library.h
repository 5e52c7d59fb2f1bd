/*
 * The library as a process has it: a copy of its own, with state of its own.
 */
#pragma once

#include <string>

#include "commands.h"

namespace simulate {

class Library {
  public:
    /** `copy` counts from 1; each has a file of its own, for a file is loaded only once. */
    explicit Library(int copy);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /** Unloads the library and loads it again: the process has ended and starts anew. */
    void Reload();

    /** Calls the export. What a platform call throws comes through. */
    const char* Call(const Request& request) const;

    static constexpr int kCopies = 3;

  private:
    void Load();
    void Unload();

    std::string path_;
    void* module_ = nullptr;
    void* exports_[kCommandCount + 1] = {};
};

}  // namespace simulate

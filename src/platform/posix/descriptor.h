/*
 * File descriptors.
 */
#pragma once

#include <cstddef>

/** What open and its kin return when they fail. Closing it changes nothing. */
constexpr int kNoDescriptor = -1;

/** A descriptor that closes by itself. */
class Descriptor {
  public:
    explicit Descriptor(int opened) : number_(opened) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    bool IsOpen() const { return number_ != kNoDescriptor; }
    int number() const { return number_; }

  private:
    const int number_;
};

/**
 * Writes all bytes, in as many pieces as it takes. False, and errno set, when the system takes no more: a
 * device that takes nothing and names no reason is full.
 */
bool WriteAll(int descriptor, const void* bytes, size_t size);

/*
 * Watching the simulated machine from outside: somebody who is told what the library asked of it and what it
 * got.
 */
#pragma once

#include <cstdint>

#include "platform/platform.h"

namespace sim {

enum class Call : uint8_t;

/**
 * Told after each call, before the caller goes on. The calls that are reported are those that an exchange
 * consists of: sleep, mutex, port. Who calls is in World::Process. Whatever an observer throws goes through
 * the library to whoever called it.
 */
class Observer {
  public:
    virtual ~Observer() = default;

    /** A call with its main number (milliseconds, signal, handle; else 0), and what it returned. */
    virtual void OnCall(Call /*call*/, int64_t /*argument*/, int64_t /*result*/) {}

    virtual void OnOpen(const char* /*path*/, plat_handle /*port*/) {}
    virtual void OnRead(const uint8_t* /*buffer*/, uint32_t /*size*/, uint32_t /*read*/) {}
    virtual void OnWrite(const uint8_t* /*bytes*/, uint32_t /*size*/, uint32_t /*written*/) {}

    /** Any call at all is made to fail, or the process to end at it (way -1); told before that happens. */
    virtual void OnFault(Call /*call*/, int /*way*/) {}
};

}  // namespace sim

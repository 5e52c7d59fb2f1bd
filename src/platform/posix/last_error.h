/*
 * The calling thread's last error, in the codes that the engine knows from Windows.
 */
#pragma once

#include <cstdint>

constexpr uint32_t kErrorNotOwner = 288;   ///< a mutex was released by a thread that does not own it
constexpr uint32_t kErrorIoDevice = 1117;  ///< EIO; its own number 5 would read as "access refused"

/** Sets the calling thread's last error code. */
void SetLastErrorCode(uint32_t code);

/**
 * Sets the last error from an errno value: no such file or device is 2, refused or busy is 5, EIO is 1117,
 * everything else keeps its number.
 */
void SetLastErrno(int error);

/** Hands on whether a system call succeeded, and sets the last error from errno when it did not. */
bool Done(bool success);

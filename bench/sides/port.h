/*
 * The serial port as a minimal program uses it: no more calls than its work needs.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/** Opens a device file for this program alone and makes it 115200,n,8,1 with the time-outs of PortRead. */
bool PortOpen(const char* place);

/** Returns the bytes that were written. */
size_t PortWrite(const void* bytes, size_t size);

/** Reads until `size` bytes are there, none has come for 10 ms behind a first one, or `size` + 1 ms are over.
 */
size_t PortRead(void* buffer, size_t size);

void PortClose();

void PortSleepMs(int milliseconds);

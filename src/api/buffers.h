/*
 * The library's large buffers. They must read as zero after a clear, but only what was written since has to
 * be cleared: an ordinary exchange touches a few kilobytes of 10 MiB, and the rest never becomes resident.
 */
#pragma once

#include <cstddef>

/** Size of the reply buffer and of the receive area, bytes. */
constexpr int BUFFER_SIZE = 10485760;
constexpr int GL_DEF_MAX_SAT_PKT_SIZE = BUFFER_SIZE;

/** The longest frame, in either direction: it fits its buffer with a terminating NUL. */
constexpr int MAX_FRAME_SIZE = GL_DEF_MAX_SAT_PKT_SIZE - 1;

/** Carries the outgoing command, then the reply or an error text. Its address is what the exports return. */
extern char gl_strSatRsp[GL_DEF_MAX_SAT_PKT_SIZE];

/** The reply frame under assembly; keeps the last one for the logs. */
extern char gl_strRcvArea[BUFFER_SIZE];

/** Notes that the first `size` bytes of one of the buffers above may now differ from zero. */
void BufferTouched(const char* pBuffer, size_t size);

/** Makes `size` bytes read as zero, cheaply when it is one of the buffers above. */
void BufferClear(char* pBuffer, size_t size);

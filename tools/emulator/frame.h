/*
 * The frame that carries one command or one reply: STX, the text, one checksum byte, ETX. Pure: bytes in,
 * bytes out.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace emulator {

constexpr char STX = 0x02;
constexpr char ETX = 0x03;
constexpr char ACK = 0x06;
constexpr char NAK = 0x15;

/** Frames travel in blocks of this many bytes, counted from STX; each waits for its own ACK. */
constexpr size_t BLOCK_SIZE = 16384;

/** The 8-bit wrapping sum of the text. 0x03 becomes 0x04, so that a checksum never reads as an ETX. */
uint8_t FrameSum(std::string_view text);

/** The whole frame of a text. The text must hold no ETX: the first one ends a frame. */
std::string BuildFrame(std::string_view text);

}  // namespace emulator

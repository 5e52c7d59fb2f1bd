/*
 * The frame in which a command travels to the device and a reply comes back, and its checksum.
 *
 * A frame is STX, the text (fields separated by "|"), one checksum byte, ETX: n + 3 bytes for n bytes of
 * text. There is no length field and no escaping, and the checksum may be any byte but ETX, NUL and "|"
 * included. So a frame is no C string: its checksum is found by its place in front of the final ETX, never by
 * searching.
 *
 * The operations keep no state and may run on any thread.
 */
#pragma once

#include <cstddef>
#include <cstdint>

constexpr unsigned char SAT_STX = 0x02;  ///< first byte of every frame
constexpr unsigned char SAT_ETX = 0x03;  ///< last byte of every frame
constexpr unsigned char SAT_ACK = 0x06;  ///< the receiver took the block or frame
constexpr unsigned char SAT_NAK = 0x15;  ///< the receiver refused the block or frame

/** Frames move in blocks of this many bytes, each one acknowledged; the last block may be shorter. */
constexpr int SAT_BLOCK_SIZE = 16384;

/** The byte that stands in a frame for a checksum that would read as ETX. */
constexpr unsigned char SAT_CHECKSUM_FOR_ETX = 0x04;

/** A finished sum as it goes on the wire: a checksum byte must never be taken for the end of the frame. */
constexpr unsigned char SatChecksumByte(unsigned char sum) {
    return sum == SAT_ETX ? SAT_CHECKSUM_FOR_ETX : sum;
}

/**
 * The bytes of a text added modulo 256.
 *
 * @param bytes  not read when `size` is 0
 * @param size   number of bytes
 */
constexpr unsigned char SatSum(const unsigned char* bytes, size_t size) {
    // Runs of a fixed length, because at the usual optimisation level compilers add a whole register of bytes
    // at once only where they know the count beforehand; four quarters side by side, because otherwise the
    // loop around the one addition takes most of the time.
    constexpr size_t quarter = 256;
    unsigned char sum = 0;
    size_t at = 0;
    for (; size - at >= 4 * quarter; at += 4 * quarter) {
        unsigned char run_sum = 0;
        for (size_t i = 0; i < quarter; i++) {
            run_sum = static_cast<unsigned char>(run_sum + bytes[at + i] + bytes[at + i + quarter] +
                                                 bytes[at + i + 2 * quarter] + bytes[at + i + 3 * quarter]);
        }
        sum = static_cast<unsigned char>(sum + run_sum);
    }
    for (; at < size; at++) {
        sum = static_cast<unsigned char>(sum + bytes[at]);
    }
    return sum;
}

/** The checksum of a text without STX, checksum and ETX: SatSum as it goes on the wire. */
constexpr unsigned char SatChecksum(const unsigned char* bytes, size_t size) {
    return SatChecksumByte(SatSum(bytes, size));
}

/**
 * The checksum of a text that may begin with STX, which is then not summed.
 *
 * @param pBuf     NUL-terminated text, which must also have iBufLen readable bytes. The length is compared
 * with the text's, so an unterminated buffer is read up to 4 bytes past iBufLen (and, when INF lines are
 * logged and the comparison fails, up to its first NUL). NULL gives 0.
 * @param iBufLen  bytes to sum, STX included. 0, and a length below strlen(pBuf) - 3, give 0. The comparison
 * is made on unsigned 64-bit values: a text shorter than 3 characters therefore always gives 0, and so does a
 * negative length.
 * @return the checksum. 0 may also be a real one; no result is an error.
 */
uint8_t SAT_API_CalcCkeckSum(const void* pBuf, int32_t iBufLen);

/**
 * Builds the frame of a text.
 *
 * A text that lacks the leading STX gets one, but its last two bytes are lost to checksum and ETX, of which
 * the first stands at iMsgLen - 1. Callers pass texts that begin with STX.
 *
 * @param pSatMsg      the text without checksum and ETX, NUL-terminated as SAT_API_CalcCkeckSum wants it
 * @param iMsgLen      its length in bytes
 * @param pSatPkt      receives the frame; must hold iMsgLen + 2 bytes; may be the text itself
 * @param piSatPktLen  receives the frame's length
 * @return the frame's length; -1 for a NULL pointer or a length for which there is no frame (negative, or 0
 *         without STX), nothing is written then
 */
int32_t SAT_API_CreatePacket(const void* pSatMsg, int32_t iMsgLen, void* pSatPkt, int32_t* piSatPktLen);

/** Reserved for decoding a command: decodes nothing. Always -1; a NULL command is logged. */
int32_t SAT_API_DecodeSatCmd(const void* pSatCmdParam, int32_t iLen);

/*
 * The yardstick: an exchange as a program would make it that knows its port and its device, does nothing
 * else, and keeps what the protocol demands: the reads of a block at a time with their time-outs, a
 * millisecond behind each write, two behind the close. It looks for no device, keeps out no other program's
 * exchanges, reads no settings and writes no log.
 */
#include <cstdio>
#include <cstring>

#include "port.h"
#include "side.h"

static constexpr unsigned char kStx = 0x02;
static constexpr unsigned char kEtx = 0x03;
static constexpr unsigned char kAck = 0x06;
static constexpr size_t kBlock = 16384;
static constexpr size_t kFrameSize = 10485760;

static const char* place_of_port;
static unsigned char frame[kFrameSize];

bool SidePrepare(const char* place) {
    place_of_port = place;
    return true;
}

static unsigned char Checksum(const unsigned char* text, size_t size) {
    unsigned char sum = 0;
    for (size_t i = 0; i < size; ++i) {
        sum = static_cast<unsigned char>(sum + text[i]);
    }
    return sum == kEtx ? 4 : sum;
}

/** Puts the command's frame into `frame`; returns its size. */
static size_t BuildCommand(const char* sale) {
    char* const text = reinterpret_cast<char*>(frame) + 1;
    const size_t room = kFrameSize - 3;
    const int printed = sale == nullptr ? snprintf(text, room, "ConsultarSAT|%06d", SIDE_SESSION)
                                        : snprintf(text, room, "EnviarDadosVenda|%06d|%s|%s", SIDE_SESSION,
                                                   SIDE_ACTIVATION, sale);
    const auto size = static_cast<size_t>(printed);
    frame[0] = kStx;
    frame[size + 1] = Checksum(frame + 1, size);
    frame[size + 2] = kEtx;
    return size + 3;
}

/** Waits for the first byte of something; the device answers at once, so the wait needs no end. */
static unsigned char ReadByte() {
    unsigned char byte = 0;
    while (PortRead(&byte, 1) == 0) {
    }
    return byte;
}

static bool SendBlock(const unsigned char* block, size_t size) {
    for (size_t sent = 0; sent < size;) {
        sent += PortWrite(block + sent, size - sent);
        PortSleepMs(1);
    }
    return ReadByte() == kAck;
}

static bool SendCommand(size_t size) {
    for (size_t sent = 0; sent < size; sent += kBlock) {
        if (!SendBlock(frame + sent, size - sent < kBlock ? size - sent : kBlock)) return false;
    }
    return true;
}

/** Receives a reply's frame and terminates its text; false when it is damaged. */
static bool ReceiveReply() {
    frame[0] = ReadByte();
    size_t size = 1;
    const void* end = nullptr;
    while (end == nullptr && size < kFrameSize) {
        const size_t got = PortRead(frame + size, kBlock - size % kBlock);
        end = memchr(frame + size, kEtx, got);
        size += got;
        if (end == nullptr && got > 0 && size % kBlock == 0) PortWrite(&kAck, 1);
    }
    if (end == nullptr || size < 3) return false;
    const size_t length = static_cast<size_t>(static_cast<const unsigned char*>(end) - frame) - 2;
    if (Checksum(frame + 1, length) != frame[length + 1]) return false;
    PortWrite(&kAck, 1);
    frame[length + 1] = '\0';
    return true;
}

const char* SideExchange(const char* sale) {
    if (!PortOpen(place_of_port)) return "the port does not open";
    const bool sent = SendCommand(BuildCommand(sale));
    const bool received = sent && ReceiveReply();
    PortClose();
    PortSleepMs(2);
    return received ? reinterpret_cast<const char*>(frame) + 1 : "the exchange failed";
}

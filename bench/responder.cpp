/*
 * A device that costs next to nothing, so that what is measured is the caller: a pseudo terminal that answers
 * every command with the same prepared reply, at once, or as slowly as a wire of a given speed carries it.
 *
 *   asked on its input     answered on its output
 *   (the start)            ready DEVICE-FILE
 *   reply SIZE             ok; from now on the reply's frame has SIZE bytes, 0 for that of ConsultarSAT
 *   baud RATE              ok; ten bits a byte in both directions, 0 for at once
 *   counts                 RECEIVED SENT, bytes on the wire since it was last asked
 */
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "vko_sat_utils/packet.h"

namespace {

struct Device {
    int master = -1;
    int64_t baud = 0;
    std::string reply;
    long long received = 0;
    long long sent = 0;
    int64_t free_us = 0;  // when the wire has carried what was put on it so far
};

}  // namespace

static int64_t NowUs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

static void SleepUntil(int64_t moment_us) {
    const timespec end = {static_cast<time_t>(moment_us / 1000000),
                          static_cast<long>(moment_us % 1000000) * 1000};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr);
}

/** How long the wire carries so many bytes. */
static int64_t WireUs(const Device& device, size_t bytes) {
    return device.baud == 0 ? 0 : static_cast<int64_t>(bytes) * 10 * 1000000 / device.baud;
}

/** The frame of a reply text. */
static std::string Frame(const std::string& text) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
    std::string frame(1, static_cast<char>(SAT_STX));
    frame += text;
    frame += static_cast<char>(SatChecksum(bytes, text.size()));
    frame += static_cast<char>(SAT_ETX);
    return frame;
}

/** A reply as the device composes it; a sale's carries the signed receipt, which makes up its size. */
static std::string ReplyOfSize(size_t frame_size) {
    static const std::string kFront = "123456|06000|Emitido com sucesso + conteudo notas|0000||";
    static const std::string kBack =
        "|20261120184500|CFe35261111222333000144599000123450000011234567|18.90||";
    if (frame_size == 0) return Frame("123456|08000|SAT em operacao||");
    const size_t around = kFront.size() + kBack.size() + 3;
    std::string receipt;
    while (receipt.size() + around < frame_size)
        receipt += "PENGZT48aW5mQ0ZlIElkPSJDRmUzNTI2MTExMTIyMjMzMzAwMDE0NCIgdmVyc2FvPSIwLjA4";
    receipt.resize(frame_size > around ? frame_size - around : 0);
    return Frame(kFront + receipt + kBack);
}

/** Waits a while for bytes of the caller; false when none came, and the exchange is given up. */
static bool Await(const Device& device) {
    pollfd line = {device.master, POLLIN, 0};
    return poll(&line, 1, 10000) > 0;
}

/**
 * Takes a block of a command: up to ETX, or 16384 bytes. ETX cannot stand anywhere else in a frame. Returns
 * whether the command ends with it; `alive` becomes false when nothing comes any more.
 */
static bool TakeBlock(Device* device, bool* alive) {
    char bytes[SAT_BLOCK_SIZE];
    size_t taken = 0;
    int64_t begun_us = 0;
    bool ended = false;
    while (!ended && taken < sizeof bytes) {
        *alive = Await(*device);
        if (!*alive) return false;
        const ssize_t count = read(device->master, bytes + taken, sizeof bytes - taken);
        if (count <= 0) continue;
        if (taken == 0) begun_us = std::max(device->free_us, NowUs());
        ended = memchr(bytes + taken, SAT_ETX, static_cast<size_t>(count)) != nullptr;
        taken += static_cast<size_t>(count);
    }
    device->received += static_cast<long long>(taken);
    device->free_us = begun_us + WireUs(*device, taken);
    return ended;
}

static void WriteAll(const Device& device, const char* bytes, size_t size) {
    for (size_t done = 0; done < size;) {
        const ssize_t count = write(device.master, bytes + done, size - done);
        if (count > 0) done += static_cast<size_t>(count);
    }
}

/**
 * Puts bytes on the wire. On a slow one they arrive in portions of 4 ms, each when its last bit is through;
 * gaps are so too short to end the caller's read, and late wake-ups do not add up.
 */
static void Put(Device* device, const char* bytes, size_t size) {
    device->sent += static_cast<long long>(size);
    if (device->baud == 0) return WriteAll(*device, bytes, size);
    const int64_t start_us = std::max(device->free_us, NowUs());
    const size_t portion = std::max<size_t>(1, static_cast<size_t>(device->baud * 4 / 10000));
    for (size_t done = 0; done < size;) {
        const size_t next = size - done < 2 * portion ? size : done + portion;
        SleepUntil(start_us + WireUs(*device, next));
        WriteAll(*device, bytes + done, next - done);
        done = next;
    }
    device->free_us = start_us + WireUs(*device, size);
}

/** Sends the reply behind `front`, a block at a time. */
static bool SendReply(Device* device, const std::string& front) {
    std::string out = front;
    for (size_t at = 0; at < device->reply.size(); at += SAT_BLOCK_SIZE) {
        out += device->reply.substr(at, SAT_BLOCK_SIZE);
        Put(device, out.data(), out.size());
        out.clear();
        char ack = 0;
        if (!Await(*device) || read(device->master, &ack, 1) != 1 || ack != SAT_ACK) return false;
        device->received += 1;
        device->free_us = std::max(device->free_us, NowUs()) + WireUs(*device, 1);
    }
    return true;
}

/** One exchange, whose first bytes are there. */
static void Answer(Device* device) {
    static const std::string kAck(1, static_cast<char>(SAT_ACK));
    bool alive = true;
    while (!TakeBlock(device, &alive)) {
        if (!alive) return;
        Put(device, kAck.data(), kAck.size());
    }
    if (!SendReply(device, kAck)) fprintf(stderr, "the caller did not acknowledge a block\n");
}

/** Obeys a line of the driver's; false when it is none. */
static bool Obey(Device* device, const char* line) {
    long long value = 0;
    if (sscanf(line, "reply %lld", &value) == 1) {
        device->reply = ReplyOfSize(static_cast<size_t>(value));
        puts("ok");
    } else if (sscanf(line, "baud %lld", &value) == 1) {
        device->baud = value;
        puts("ok");
    } else if (strncmp(line, "counts", 6) == 0) {
        printf("%lld %lld\n", device->received, device->sent);
        device->received = device->sent = 0;
    } else {
        return false;
    }
    fflush(stdout);
    return true;
}

int main() {
    Device device;
    int slave = -1;
    char name[256];
    termios raw = {};
    cfmakeraw(&raw);
    // The caller's end stays open here too, so that a caller who closes it does not hang the line up.
    if (openpty(&device.master, &slave, name, &raw, nullptr) != 0) {
        perror("openpty");
        return 1;
    }
    device.reply = ReplyOfSize(0);
    printf("ready %s\n", name);
    fflush(stdout);
    pollfd sources[] = {{device.master, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    for (;;) {
        if (poll(sources, 2, -1) < 0) continue;
        if ((sources[0].revents & POLLIN) != 0) Answer(&device);
        if ((sources[1].revents & (POLLIN | POLLHUP)) == 0) continue;
        // The driver waits for each answer before it writes its next line.
        char line[128] = {};
        if (read(STDIN_FILENO, line, sizeof line - 1) <= 0) return 0;
        if (!Obey(&device, line)) return 2;
    }
}

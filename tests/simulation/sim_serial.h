/*
 * Serial ports, and the line between a port and the device at its other end.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"
#include "sim_clock.h"

namespace sim {

class Line;

/** What is attached to a port. It must live as long as the world uses the port. */
class Device {
  public:
    virtual ~Device() = default;

    /** The computer wrote these bytes. */
    virtual void OnBytes(Line& line, const uint8_t* bytes, size_t size) = 0;

    virtual void OnOpen(Line& line);
    virtual void OnClose(Line& line);
};

/** What the library did with a port since it was added. */
struct LineRecord {
    unsigned opens = 0;
    unsigned refused_opens = 0;
    unsigned closes = 0;
    unsigned flushes = 0;
    unsigned applies = 0;
    std::string mode;  ///< the text that the applied settings were parsed from
    plat_line_settings settings{};
    uint32_t input_queue = 0;
    uint32_t output_queue = 0;
    plat_port_timeouts timeouts{};
    bool dtr = false;
    bool rts = false;
    uint64_t bytes_read = 0;
    uint64_t bytes_written = 0;
};

/** One port with its device. The first half of the routines is for devices, the second for tests. */
class Line {
  public:
    static constexpr size_t kAll = SIZE_MAX;

    Line(std::string path, Device* device) : path_(std::move(path)), device_(device) {}

    /** Puts bytes on the line, behind those already sent; readable at once unless the line is paced. */
    void Send(std::string_view bytes) { SendAfter(0, bytes); }

    /** The same, but the first bit leaves `delay_us` from now. */
    void SendAfter(int64_t delay_us, std::string_view bytes);

    /** Paces what is sent from now on: ten bits a byte at this rate. 0, as after a reset, is no pacing. */
    void SetBaud(uint32_t baud) { baud_ = baud; }

    /** Drops what was sent and not yet read, what is still under way included. */
    void DropPending();

    /** Drops only what is still under way: the device has thought better of it. */
    void DropUnsent();

    /** Bytes sent and not yet read. */
    size_t Pending() const { return input_.size() - input_next_; }

    const std::string& Path() const { return path_; }
    bool IsOpen() const { return open_handle_ != 0; }
    const LineRecord& Record() const { return record_; }

    /** Replaces the device; nullptr leaves the port with nobody at the other end. */
    void Attach(Device* device) { device_ = device; }

    /** Each write takes at most `size` bytes. A write that is not taken whole costs its write time-out. */
    void AcceptAtMost(size_t size) { accept_at_most_ = size; }

    /** After `size` more bytes the line takes none. kAll lifts it. */
    void StopAcceptingAfter(size_t size) { accept_left_ = size; }

  private:
    friend class Ports;

    /** Bytes that follow one another at one pace. */
    struct Chunk {
        int64_t start_us;
        uint32_t baud;
        size_t taken;  ///< bytes that are read already
        size_t size;
    };
    static int64_t ArrivalUs(const Chunk& chunk, size_t index);
    static size_t ArrivedIn(const Chunk& chunk, int64_t now_us);
    int64_t NextArrivalUs() const;
    size_t TakeArrived(uint8_t* buffer, size_t size, int64_t now_us, int64_t* last_arrival_us);
    void Consume(size_t size);

    std::string path_;
    Device* device_;
    LineRecord record_;
    plat_handle open_handle_ = 0;
    uint32_t opened_by_ = 0;  ///< process
    bool plugged_ = true;
    int64_t held_until_us_ = 0;
    size_t accept_at_most_ = kAll;
    size_t accept_left_ = kAll;
    uint32_t baud_ = 0;
    int64_t busy_until_us_ = 0;
    std::string input_;
    size_t input_next_ = 0;
    std::deque<Chunk> chunks_;
};

/** The machine's ports, found by path ("\\?\COM7"). */
class Ports {
  public:
    /** Plugs a port in. The line stays valid until the reset. A path in use is replaced. */
    Line& Add(std::string_view path, Device* device);

    /** nullptr when no such port is plugged in. */
    Line* Find(std::string_view path);

    /** Takes the port away: an open handle reads and writes nothing any more (error 22), opening finds no
     * file (2). */
    void Unplug(std::string_view path);

    /** Plugs a line that was taken away in again, under the same or another path. */
    void Replug(Line& line, std::string_view path);

    /** Another program holds the port until the steady clock reaches `until_us`; 0 lets it go. */
    void Hold(std::string_view path, int64_t until_us = kForever);

    /** Ports that the library has open. */
    size_t OpenCount() const;
    size_t OpenCountOf(uint32_t process) const;

    /** Closes what the process has open. World::EndProcess calls it. */
    void CloseAll(uint32_t process);

    // Used by the platform's routines. They set the running thread's last error.
    plat_handle Open(const char* path, uint32_t process);
    uint32_t Read(plat_handle port, uint8_t* buffer, uint32_t size);
    uint32_t Write(plat_handle port, const uint8_t* bytes, uint32_t size, size_t at_most = Line::kAll);
    bool Close(plat_handle port);

    /** Lets the time of a read pass to which nothing arrives, although it may. */
    uint32_t ReadNothing(plat_handle port, uint32_t size);

    /** The record and time-outs behind a handle; nullptr, with the last error set, when it is of no use. */
    LineRecord* RecordOf(plat_handle port);

  private:
    struct DeadHandle {
        plat_handle handle;
        uint32_t process;
    };
    Line* FromHandle(plat_handle handle);

    std::vector<std::unique_ptr<Line>> lines_;
    std::vector<DeadHandle> dead_handles_;  // open while their port was unplugged
    uint64_t handles_made_ = 0;
};

}  // namespace sim

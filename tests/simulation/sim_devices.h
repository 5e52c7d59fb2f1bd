/*
 * Two devices for the far end of a line: one that follows a script, and one that keeps the protocol.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "sim_serial.h"

namespace sim {

constexpr char kStx = 0x02;
constexpr char kEtx = 0x03;
constexpr char kAck = 0x06;
constexpr char kNak = 0x15;
constexpr size_t kBlockSize = 16384;

/** The 8-bit sum of a frame's text; a sum that would read as ETX becomes 4. */
uint8_t FrameChecksum(std::string_view text);

/** STX, text, checksum, ETX. */
std::string MakeFrame(std::string_view text);

/**
 * Follows a list of steps. A step that expects waits for its bytes; every other step runs at once. What
 * arrives otherwise than expected is noted in `errors`, and the script goes on; after its last step the
 * device is silent. Delays are microseconds.
 */
class ScriptedDevice : public Device {
  public:
    // What the computer must send.
    ScriptedDevice& ExpectFrame();  ///< to the next ETX, or to the end of a full block, whichever comes first
    ScriptedDevice& ExpectBytes(std::string bytes);
    ScriptedDevice& ExpectAck() { return ExpectBytes(std::string(1, kAck)); }
    ScriptedDevice& ExpectNak() { return ExpectBytes(std::string(1, kNak)); }

    // What the device answers. Nothing is the absence of a step.
    ScriptedDevice& Ack(int64_t delay_us = 0) { return SendRaw(std::string(1, kAck), delay_us); }
    ScriptedDevice& Nak(int64_t delay_us = 0) { return SendRaw(std::string(1, kNak), delay_us); }
    ScriptedDevice& SendRaw(std::string bytes, int64_t delay_us = 0);  ///< all at once, waiting for nothing

    /**
     * Sends a frame in blocks of 16384 bytes and waits for ACK after each, the last included. NAK ends the
     * step, so the next step is what the device sends instead; any other byte is an error and skipped.
     */
    ScriptedDevice& SendFrame(std::string_view text, int64_t delay_us = 0) {
        return SendBlocks(MakeFrame(text), delay_us);
    }
    ScriptedDevice& SendBlocks(std::string bytes, int64_t delay_us = 0);  ///< the same with bytes as they are

    ScriptedDevice& Do(std::function<void(Line& line)> action);  ///< runs code of the test
    ScriptedDevice& Loop();                                      ///< starts again from the first step

    /** True when every step is done. */
    bool Done() const { return step_ == steps_.size(); }

    std::string received;             ///< everything that the computer wrote
    std::vector<std::string> frames;  ///< what each ExpectFrame took
    std::vector<std::string> errors;

    void OnBytes(Line& line, const uint8_t* bytes, size_t size) override;
    void OnOpen(Line& line) override;

  private:
    enum class Kind { ExpectFrame, ExpectBytes, SendRaw, SendBlocks, Do, Loop };
    struct Step {
        Kind kind;
        std::string bytes;
        int64_t delay_us = 0;
        std::function<void(Line& line)> action;
    };
    ScriptedDevice& Append(Kind kind, std::string bytes = {}, int64_t delay_us = 0);
    void RunReadySteps(Line& line);
    void Finish();
    void Complain(const std::string& expected, char byte);
    void TakeByte(Line& line, char byte);
    void TakeFrameByte(char byte);
    void TakeExpectedByte(const Step& step, char byte);
    void TakeBlockAnswer(Line& line, const Step& step, char byte);
    void SendBlock(Line& line, const Step& step);

    std::vector<Step> steps_;
    size_t step_ = 0;
    size_t progress_ = 0;   ///< bytes of the current step that are through
    bool started_ = false;  ///< the current SendBlocks has sent its first block
    std::string frame_;
};

/** What HonestDevice does wrong. A count says how often; it falls with each use. */
struct DeviceFaults {
    bool silent = false;        ///< hears everything, says nothing
    bool silent_reply = false;  ///< acknowledges the command and never answers it

    int nak_block = -1;  ///< the block of a command, from 0, that is answered with NAK
    unsigned nak_block_times = 1;
    std::string junk_before_ack;  ///< sent in front of every ACK
    bool duplicate_ack = false;   ///< every ACK is sent twice
    int64_t ack_delay_us = 0;

    unsigned bad_checksum_times = 0;
    unsigned lose_first_byte_times = 0;
    unsigned stall_times = 0;  ///< the reply stops after `stall_at` bytes and goes on only after NAK
    size_t stall_at = 0;
    unsigned corrupt_times = 0;  ///< the byte at `corrupt_at` of the reply frame is changed
    size_t corrupt_at = 0;

    size_t pause_at = SIZE_MAX;  ///< before this byte of every reply frame the device pauses
    int64_t pause_us = 0;

    /** May change the whole reply frame before it is sent; `attempt` counts from 0 for each command. */
    std::function<void(std::string& frame, unsigned attempt)> on_frame;
};

/**
 * Keeps the protocol: hunts for STX, acknowledges each full block of a command and its end, checks the
 * checksum (NAK when it is wrong), then sends its answer in blocks, each after the ACK of the one before, and
 * from the start after NAK. A new STX in place of ACK or NAK, and the opening of the port, end a reply that
 * is under way.
 */
class HonestDevice : public Device {
  public:
    using Answer = std::function<std::string(const std::string& command)>;

    /** `answer` gives the reply's text for a command's text, both without STX, checksum and ETX. */
    explicit HonestDevice(Answer answer) : answer_(std::move(answer)) {}

    DeviceFaults faults;
    int64_t reply_delay_us = 0;   ///< from the command's end to the reply's first byte
    int64_t resend_delay_us = 0;  ///< from NAK to the first byte sent again
    bool resets_on_open =
        true;  ///< opening the port ends what is under way; otherwise a late reply still comes
    bool keep_commands = true;  ///< whether `commands` grows
    std::vector<std::string> commands;
    std::string last_command;

    unsigned commands_taken = 0;    ///< commands with a good checksum
    unsigned commands_refused = 0;  ///< commands with a bad one
    unsigned acks_sent = 0;
    unsigned naks_sent = 0;
    unsigned acks_received = 0;
    unsigned naks_received = 0;
    unsigned frames_sent = 0;  ///< reply frames begun, those sent again included
    unsigned replies_acknowledged = 0;
    unsigned stray_bytes = 0;  ///< bytes that belonged to nothing

    void OnBytes(Line& line, const uint8_t* bytes, size_t size) override;
    void OnOpen(Line& line) override;

  private:
    enum class State { Idle, Command, Reply };

    void TakeIdleByte(char byte);
    void TakeCommandByte(Line& line, char byte);
    void TakeReplyByte(Line& line, char byte);
    void FinishCommand(Line& line);
    bool AnswerBlock(Line& line, bool good);
    void SendControl(Line& line, char control);
    void BeginReply(Line& line, int64_t delay_us);
    void SendBlock(Line& line, int64_t delay_us);

    Answer answer_;
    State state_ = State::Idle;
    std::string frame_;   ///< the command so far
    unsigned block_ = 0;  ///< blocks of the command that are complete
    std::string reply_text_;
    std::string reply_;      ///< the reply frame as it is being sent
    size_t reply_next_ = 0;  ///< its first byte that is not sent
    size_t reply_end_ = 0;   ///< where the reply stalls, its size when it does not
    bool lose_byte_ = false;
    unsigned attempt_ = 0;
};

}  // namespace sim

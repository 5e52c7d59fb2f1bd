/*
 * The link protocol as seen from the port: from what the library has read so far it follows what it must do
 * next, to the byte and the whole second, whatever the device did and whichever call failed.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "link_clock_model.h"

namespace simulate {

/** Follows one command and its reply, call by call, and throws Broken at the first call that is not the one
 * that must come. */
class LinkJudge {
  public:
    /**
     * The port is ready; the command's first block must come.
     *
     * @param text        the command, without STX, checksum and ETX
     * @param timeout_s   for the reply's first byte
     * @param sure        whether that time-out is known; a file that could not be read may have changed it
     */
    void Begin(std::string_view text, int timeout_s, bool sure, const LinkClockModel& clock);

    /** The clock turned out to be another one, at its first use. */
    void ReadClockAgain() { begun_s_ = start_s_ = clock_->Seconds(); }

    /** No command is under way. */
    void Forget() { allowed_us_ = 0; }

    void OnRead(const uint8_t* bytes, uint32_t size, uint32_t read);
    void OnWrite(const uint8_t* bytes, uint32_t size, uint32_t written);
    void OnSleep(int64_t milliseconds);

    /** The port is closed. With a time-out that is not known the wait for the reply may end any time. */
    void OnClose();

    bool Done() const { return step_ == Step::Done; }

    enum class End { Reply, NotSent, NotReceived };
    End Ended() const { return end_; }
    int Result() const { return result_; }               ///< the code of a failure
    std::string_view Reply() const { return {reply_}; }  ///< the text that the caller must get
    const std::string& Frame() const { return frame_; }  ///< the command as it must be sent

    /** The longest that the calls so far may have taken, by their time-outs and sizes alone. */
    int64_t AllowedUs() const { return allowed_us_; }

  private:
    enum class Step {
        Block,       ///< the rest of the block is to be written
        BlockPause,  ///< a millisecond of sleep behind a write
        Ack,         ///< the block's acknowledgement is awaited
        FirstByte,   ///< the reply is awaited
        Body,        ///< the rest of a block of the reply is read
        Answer,      ///< ACK or NAK is to be written
        Done,
    };
    static const char* StepName(Step step);

    void Finish(End end, int result);
    void StartBlock();
    void StartAttempt();
    void LoseAttempt();
    void GotAck(uint8_t byte);
    void GotNothing();
    void GotBody(const uint8_t* bytes, uint32_t read);
    void GoOn();
    void JudgeFrame();
    void MustAnswer(char control, bool ends);
    void Allow(int64_t milliseconds) { allowed_us_ += milliseconds * 1000; }
    [[noreturn]] void Unexpected(const char* what, uint32_t size) const;

    const LinkClockModel* clock_ = nullptr;
    Step step_ = Step::Done;
    End end_ = End::NotSent;
    int result_ = 0;
    std::string frame_;
    size_t sent_ = 0;
    size_t moved_ = 0;  ///< bytes of the last write
    size_t block_end_ = 0;
    int64_t start_s_ = 0;
    int64_t timeout_ms_ = 0;
    int64_t begun_s_ = 0;       ///< when the command's first block was due
    int64_t first_byte_s_ = 0;  ///< when the first byte of the first attempt came
    bool first_byte_came_ = false;
    bool sure_ = true;
    int attempts_ = 0;
    std::string received_;  ///< the frame so far
    uint8_t sum_ = 0;       ///< of its bytes behind the first
    size_t reply_block_end_ = 0;
    char answer_ = 0;
    bool answer_ends_ = false;  ///< the attempt ends with the answer
    std::string reply_;
    int64_t allowed_us_ = 0;
};

}  // namespace simulate

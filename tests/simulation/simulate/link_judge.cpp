#include "link_judge.h"

#include <algorithm>
#include <cstring>

#include "broken.h"
#include "commands.h"
#include "sim_devices.h"

namespace simulate {

namespace {

constexpr int64_t kAckTimeoutMs = 2000;
constexpr int64_t kWriteTimeoutMs = 2000;
constexpr int64_t kBodyTimeoutMs = 100;
constexpr int64_t kAfterStallMs = 2000;
constexpr int64_t kTransferMs = 1'800'000;  ///< for all bytes of a command, or of a reply behind its first
constexpr int64_t kWriteMs = 1000;          // and one for each byte
constexpr int64_t kSecondMs = 1000;         // time-outs count whole seconds, so they may take one more
constexpr int64_t kByteReadMs = 2;
constexpr int kAttempts = 3;
constexpr int kNoAnswer = -1;
constexpr int kNakReceived = -1005;
constexpr int kWriteTimedOut = -1007;
constexpr int64_t kMostMs = INT32_MAX;

}  // namespace

const char* LinkJudge::StepName(Step step) {
    static constexpr const char* kNames[] = {"writing a block",
                                             "the pause behind a write",
                                             "waiting for ACK",
                                             "waiting for the reply",
                                             "reading a block",
                                             "answering a block or frame",
                                             "done"};
    return kNames[static_cast<size_t>(step)];
}

void LinkJudge::Unexpected(const char* what, uint32_t size) const {
    Break(
        "%s of %u while %s (command %zu of %zu bytes sent, block to %zu; reply %zu bytes, block to %zu, %d "
        "attempts left, answer %02X due)",
        what, size, StepName(step_), sent_, frame_.size(), block_end_, received_.size(), reply_block_end_,
        attempts_, static_cast<unsigned>(answer_));
}

void LinkJudge::Begin(std::string_view text, int timeout_s, bool sure, const LinkClockModel& clock) {
    clock_ = &clock;
    frame_.assign(1, sim::kStx);
    frame_ += text;
    frame_ += static_cast<char>(sim::FrameChecksum(text));
    frame_ += sim::kEtx;
    timeout_ms_ = std::min(int64_t{timeout_s} * 1000, kMostMs);
    sure_ = sure;
    attempts_ = kAttempts;
    sent_ = 0;
    block_end_ = 0;
    received_.clear();
    reply_.clear();
    answer_ = 0;
    allowed_us_ = 0;
    first_byte_came_ = false;
    begun_s_ = clock_->Seconds();
    StartBlock();
}

void LinkJudge::Finish(End end, int result) {
    step_ = Step::Done;
    end_ = end;
    result_ = result;
}

void LinkJudge::StartBlock() {
    block_end_ = std::min(block_end_ + sim::kBlockSize, frame_.size());
    start_s_ = clock_->Seconds();
    step_ = Step::Block;
}

void LinkJudge::OnWrite(const uint8_t* bytes, uint32_t size, uint32_t written) {
    if (written < size) Allow(kWriteMs + size);
    if (step_ == Step::Answer) {
        if (size != 1 || static_cast<char>(bytes[0]) != answer_) {
            Break("the reply is answered with %u bytes, the first %02X, where one byte %02X is due", size,
                  size > 0 ? static_cast<unsigned>(bytes[0]) : 0U, static_cast<unsigned>(answer_));
        }
        if (answer_ends_) {
            if (answer_ == sim::kAck) return Finish(End::Reply, 0);
            return LoseAttempt();
        }
        reply_block_end_ += sim::kBlockSize;
        timeout_ms_ = kBodyTimeoutMs;
        return GoOn();
    }
    if (step_ != Step::Block || size != block_end_ - sent_) Unexpected("a write", size);
    if (std::memcmp(bytes, frame_.data() + sent_, size) != 0) {
        Break("the command on the line is %s where %s is due",
              Shown({reinterpret_cast<const char*>(bytes), size}).c_str(),
              Shown(std::string_view(frame_).substr(sent_, size)).c_str());
    }
    moved_ = written;
    // The library looks at the clock before it sleeps, and there is none to sleep behind a lost block.
    const bool late = written == 0 && clock_->SinceMs(start_s_) > kWriteTimeoutMs;
    if (late) return Finish(End::NotSent, kWriteTimedOut);
    step_ = Step::BlockPause;
}

void LinkJudge::OnSleep(int64_t milliseconds) {
    if (step_ != Step::BlockPause || milliseconds != 1)
        Unexpected("a sleep", static_cast<uint32_t>(milliseconds));
    Allow(milliseconds);
    step_ = Step::Block;
    if (moved_ == 0) return;
    sent_ += moved_;
    start_s_ = clock_->Seconds();
    if (clock_->SinceMs(begun_s_) > kTransferMs) return Finish(End::NotSent, kWriteTimedOut);
    if (sent_ < block_end_) return;
    Allow(kAckTimeoutMs + kSecondMs + kByteReadMs);
    step_ = Step::Ack;
}

void LinkJudge::OnRead(const uint8_t* bytes, uint32_t size, uint32_t read) {
    size_t wanted = 1;
    // The receive area ends before its last block does, for the longest frame leaves room for a NUL.
    if (step_ == Step::Body) wanted = std::min(reply_block_end_, kLongestFrame) - received_.size();
    const bool reads = step_ == Step::Ack || step_ == Step::FirstByte || step_ == Step::Body;
    if (!reads || size != wanted) Unexpected("a read", size);
    if (step_ == Step::Body) Allow(size + 1);
    if (read == 0) return GotNothing();
    if (step_ == Step::Ack) return GotAck(bytes[0]);
    if (step_ == Step::Body) return GotBody(bytes, read);
    received_.assign(1, static_cast<char>(bytes[0]));
    start_s_ = clock_->Seconds();
    if (!first_byte_came_) first_byte_s_ = start_s_;
    first_byte_came_ = true;
    timeout_ms_ = kBodyTimeoutMs;
    sure_ = true;
    step_ = Step::Body;
}

void LinkJudge::GotAck(uint8_t byte) {
    const char control = static_cast<char>(byte);
    if (control == sim::kNak) return Finish(End::NotSent, kNakReceived);
    // Junk does not restart the time-out, and the clock is looked at behind each of its bytes.
    if (control != sim::kAck) return GotNothing();
    if (sent_ < frame_.size()) return StartBlock();
    StartAttempt();
}

void LinkJudge::StartAttempt() {
    if (attempts_ == 0) return Finish(End::NotReceived, kNoAnswer);
    received_.clear();
    sum_ = 0;
    reply_block_end_ = sim::kBlockSize;
    start_s_ = clock_->Seconds();
    Allow(timeout_ms_ + kSecondMs + kByteReadMs);
    step_ = Step::FirstByte;
}

void LinkJudge::LoseAttempt() {
    --attempts_;
    StartAttempt();
}

void LinkJudge::GotNothing() {
    const int64_t since_ms = clock_->SinceMs(start_s_);
    if (step_ == Step::Ack && since_ms > kAckTimeoutMs) Finish(End::NotSent, kNoAnswer);
    if (step_ == Step::FirstByte && sure_ && since_ms > timeout_ms_) Finish(End::NotReceived, kNoAnswer);
    if (step_ == Step::Body && since_ms > timeout_ms_) {
        timeout_ms_ = kAfterStallMs;
        MustAnswer(sim::kNak, true);
    }
}

void LinkJudge::OnClose() {
    if (step_ == Step::FirstByte && !sure_) Finish(End::NotReceived, kNoAnswer);
    if (!Done()) Unexpected("a close", 0);
}

void LinkJudge::MustAnswer(char control, bool ends) {
    answer_ = control;
    answer_ends_ = ends;
    step_ = Step::Answer;
}

void LinkJudge::GotBody(const uint8_t* bytes, uint32_t read) {
    const void* etx = std::memchr(bytes, sim::kEtx, read);
    const size_t text = etx != nullptr ? static_cast<size_t>(static_cast<const uint8_t*>(etx) - bytes) : read;
    for (size_t i = 0; i < text; ++i)
        sum_ = static_cast<uint8_t>(sum_ + bytes[i]);
    received_.append(reinterpret_cast<const char*>(bytes), etx != nullptr ? text + 1 : text);
    timeout_ms_ = kBodyTimeoutMs;
    if (etx != nullptr) return JudgeFrame();
    if (received_.size() >= kLongestFrame) return MustAnswer(sim::kNak, true);
    if (received_.size() % sim::kBlockSize == 0) return MustAnswer(sim::kAck, false);
    GoOn();
}

/** More of the reply must come, unless it has been coming for too long. */
void LinkJudge::GoOn() {
    start_s_ = clock_->Seconds();
    step_ = Step::Body;
    if (clock_->SinceMs(first_byte_s_) > kTransferMs) Finish(End::NotReceived, kNoAnswer);
}

/** The frame is complete, or as complete as it gets: its sum decides. */
void LinkJudge::JudgeFrame() {
    constexpr size_t kShortest = 3;
    if (received_.size() < kShortest) return MustAnswer(sim::kNak, true);
    const uint8_t checksum = static_cast<uint8_t>(received_[received_.size() - 2]);
    uint8_t sum = static_cast<uint8_t>(sum_ - checksum);
    if (sum == sim::kEtx) ++sum;
    const bool good = sum == checksum;
    if (good) reply_ = received_.substr(1, received_.size() - kShortest);
    MustAnswer(good ? sim::kAck : sim::kNak, true);
}

}  // namespace simulate

#include <algorithm>
#include <string>

#include "sim_devices.h"

namespace sim {

namespace {

constexpr size_t kSmallestFrame = 3;  // STX, checksum, ETX

/** Uses up one of the times that a fault may happen. */
bool Spend(unsigned& times) {
    if (times == 0) return false;
    --times;
    return true;
}

/** Any checksum but the right one, and never one that reads as ETX. */
void SpoilChecksum(std::string& frame) {
    char& checksum = frame[frame.size() - 2];
    ++checksum;
    if (checksum == kEtx) ++checksum;
}

}  // namespace

void HonestDevice::OnOpen(Line& line) {
    if (!resets_on_open) return;
    state_ = State::Idle;
    line.DropUnsent();
}

void HonestDevice::OnBytes(Line& line, const uint8_t* bytes, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        const char byte = static_cast<char>(bytes[i]);
        switch (state_) {
            case State::Idle:
                TakeIdleByte(byte);
                break;
            case State::Command:
                TakeCommandByte(line, byte);
                break;
            case State::Reply:
                TakeReplyByte(line, byte);
                break;
        }
    }
}

void HonestDevice::TakeIdleByte(char byte) {
    if (byte != kStx) {
        ++stray_bytes;
        return;
    }
    state_ = State::Command;
    frame_.assign(1, byte);
    block_ = 0;
}

void HonestDevice::TakeCommandByte(Line& line, char byte) {
    frame_ += byte;
    if (byte == kEtx) {
        FinishCommand(line);
    } else if (frame_.size() % kBlockSize == 0) {
        if (!AnswerBlock(line, true)) state_ = State::Idle;
        ++block_;
    }
}

void HonestDevice::FinishCommand(Line& line) {
    state_ = State::Idle;
    const bool whole = frame_.size() >= kSmallestFrame;
    const std::string_view text =
        std::string_view(frame_).substr(1, whole ? frame_.size() - kSmallestFrame : 0);
    const bool good = whole && static_cast<uint8_t>(frame_[frame_.size() - 2]) == FrameChecksum(text);
    if (!good) ++commands_refused;
    if (!AnswerBlock(line, good)) return;

    ++commands_taken;
    last_command = text;
    if (keep_commands) commands.push_back(last_command);
    if (faults.silent || faults.silent_reply) return;
    reply_text_ = answer_(last_command);
    attempt_ = 0;
    state_ = State::Reply;
    BeginReply(line, reply_delay_us);
}

/** Answers the command's current block. False when the command ends with this answer. */
bool HonestDevice::AnswerBlock(Line& line, bool good) {
    const bool refuse = faults.nak_block >= 0 && static_cast<unsigned>(faults.nak_block) == block_ &&
                        Spend(faults.nak_block_times);
    const bool accept = good && !refuse;
    SendControl(line, accept ? kAck : kNak);
    return accept;
}

void HonestDevice::SendControl(Line& line, char control) {
    if (faults.silent) return;
    if (control == kNak) {
        ++naks_sent;
        line.SendAfter(faults.ack_delay_us, {&control, 1});
        return;
    }
    ++acks_sent;
    const std::string bytes = faults.junk_before_ack + std::string(faults.duplicate_ack ? 2 : 1, kAck);
    line.SendAfter(faults.ack_delay_us, bytes);
}

void HonestDevice::BeginReply(Line& line, int64_t delay_us) {
    reply_ = MakeFrame(reply_text_);
    if (Spend(faults.bad_checksum_times)) SpoilChecksum(reply_);
    if (faults.corrupt_at < reply_.size() && Spend(faults.corrupt_times)) reply_[faults.corrupt_at] ^= 0x20;
    if (faults.on_frame) faults.on_frame(reply_, attempt_);
    lose_byte_ = Spend(faults.lose_first_byte_times);
    reply_end_ = Spend(faults.stall_times) ? std::min(faults.stall_at, reply_.size()) : reply_.size();
    reply_next_ = 0;
    ++attempt_;
    ++frames_sent;
    SendBlock(line, delay_us);
}

void HonestDevice::SendBlock(Line& line, int64_t delay_us) {
    const size_t block_end = std::min(reply_next_ + kBlockSize, reply_.size());
    // The lost byte vanishes on the line: the device has sent it, so its blocks end where they would.
    const size_t from = reply_next_ == 0 && lose_byte_ ? 1 : reply_next_;
    const size_t to = std::min(block_end, reply_end_);
    const size_t pause = std::clamp(faults.pause_at, from, std::max(from, to));
    if (from < pause) line.SendAfter(delay_us, std::string_view(reply_).substr(from, pause - from));
    const int64_t behind_us = delay_us + (pause == faults.pause_at ? faults.pause_us : 0);
    if (pause < to) line.SendAfter(behind_us, std::string_view(reply_).substr(pause, to - pause));
    reply_next_ = block_end;
}

void HonestDevice::TakeReplyByte(Line& line, char byte) {
    if (byte == kAck) {
        ++acks_received;
        if (reply_next_ < reply_.size()) {
            SendBlock(line, 0);
        } else {
            ++replies_acknowledged;
            state_ = State::Idle;
        }
    } else if (byte == kNak) {
        ++naks_received;
        line.DropUnsent();
        BeginReply(line, resend_delay_us);
    } else if (byte == kStx) {
        line.DropUnsent();
        state_ = State::Idle;
        TakeIdleByte(byte);
    } else {
        ++stray_bytes;
    }
}

}  // namespace sim

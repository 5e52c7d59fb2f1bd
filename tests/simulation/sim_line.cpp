#include <algorithm>
#include <cstring>

#include "sim_platform.h"
#include "sim_serial.h"

namespace sim {

namespace {

constexpr int64_t kBitUsPerByte = 10'000'000;  // ten bits a byte, in microseconds at one bit a second

}  // namespace

void Device::OnOpen(Line&) {}

void Device::OnClose(Line&) {}

void Line::SendAfter(int64_t delay_us, std::string_view bytes) {
    if (bytes.empty()) return;
    const int64_t start_us = std::max(world().clock.NowUs() + delay_us, busy_until_us_);
    chunks_.push_back({start_us, baud_, 0, bytes.size()});
    input_.append(bytes);
    busy_until_us_ = ArrivalUs(chunks_.back(), bytes.size() - 1);
}

int64_t Line::ArrivalUs(const Chunk& chunk, size_t index) {
    if (chunk.baud == 0) return chunk.start_us;
    return chunk.start_us + static_cast<int64_t>(index + 1) * kBitUsPerByte / chunk.baud;
}

size_t Line::ArrivedIn(const Chunk& chunk, int64_t now_us) {
    if (now_us < chunk.start_us) return 0;
    if (ArrivalUs(chunk, chunk.size - 1) <= now_us) return chunk.size;
    size_t arrived = static_cast<size_t>((now_us - chunk.start_us) * chunk.baud / kBitUsPerByte);
    // The arrival time of a byte is rounded down, so one more may be there already.
    if (arrived < chunk.size && ArrivalUs(chunk, arrived) <= now_us) ++arrived;
    return arrived;
}

int64_t Line::NextArrivalUs() const {
    return chunks_.empty() ? kForever : ArrivalUs(chunks_.front(), chunks_.front().taken);
}

size_t Line::TakeArrived(uint8_t* buffer, size_t size, int64_t now_us, int64_t* last_arrival_us) {
    size_t done = 0;
    while (done < size && !chunks_.empty()) {
        const Chunk& chunk = chunks_.front();
        const size_t arrived = ArrivedIn(chunk, now_us);
        const size_t count = std::min(size - done, arrived - chunk.taken);
        if (count == 0) break;
        *last_arrival_us = ArrivalUs(chunk, chunk.taken + count - 1);
        if (buffer != nullptr) std::memcpy(buffer + done, input_.data() + input_next_, count);
        Consume(count);
        done += count;
    }
    return done;
}

void Line::Consume(size_t size) {
    Chunk& chunk = chunks_.front();
    chunk.taken += size;
    input_next_ += size;
    if (chunk.taken == chunk.size) chunks_.pop_front();
    if (input_next_ == input_.size()) {
        input_.clear();
        input_next_ = 0;
    }
}

void Line::DropPending() {
    chunks_.clear();
    input_.clear();
    input_next_ = 0;
    busy_until_us_ = 0;
}

void Line::DropUnsent() {
    const int64_t now_us = world().clock.NowUs();
    busy_until_us_ = 0;
    while (!chunks_.empty()) {
        Chunk& last = chunks_.back();
        const size_t arrived = ArrivedIn(last, now_us);
        input_.resize(input_.size() - (last.size - arrived));
        last.size = arrived;
        if (arrived > last.taken) break;
        chunks_.pop_back();
    }
    if (chunks_.empty()) DropPending();
}

}  // namespace sim

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "sim_devices.h"

namespace sim {

namespace {

std::string Hex(char byte) {
    char text[8];
    snprintf(text, sizeof text, "%02X", static_cast<unsigned>(static_cast<uint8_t>(byte)));
    return text;
}

}  // namespace

ScriptedDevice& ScriptedDevice::Append(Kind kind, std::string bytes, int64_t delay_us) {
    steps_.push_back({kind, std::move(bytes), delay_us, {}});
    return *this;
}

ScriptedDevice& ScriptedDevice::ExpectFrame() {
    return Append(Kind::ExpectFrame);
}

ScriptedDevice& ScriptedDevice::ExpectBytes(std::string bytes) {
    if (bytes.empty()) throw std::logic_error("a script expects no bytes");
    return Append(Kind::ExpectBytes, std::move(bytes));
}

ScriptedDevice& ScriptedDevice::SendRaw(std::string bytes, int64_t delay_us) {
    return Append(Kind::SendRaw, std::move(bytes), delay_us);
}

ScriptedDevice& ScriptedDevice::SendBlocks(std::string bytes, int64_t delay_us) {
    return Append(Kind::SendBlocks, std::move(bytes), delay_us);
}

ScriptedDevice& ScriptedDevice::Do(std::function<void(Line& line)> action) {
    Append(Kind::Do);
    steps_.back().action = std::move(action);
    return *this;
}

ScriptedDevice& ScriptedDevice::Loop() {
    // Without a step that waits, the script would go round for ever.
    const bool waits = std::any_of(steps_.begin(), steps_.end(), [](const Step& step) {
        return step.kind != Kind::SendRaw && step.kind != Kind::Do;
    });
    if (!waits) throw std::logic_error("a script that loops must expect something");
    return Append(Kind::Loop);
}

void ScriptedDevice::OnOpen(Line& line) {
    RunReadySteps(line);
}

void ScriptedDevice::OnBytes(Line& line, const uint8_t* bytes, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        const char byte = static_cast<char>(bytes[i]);
        received += byte;
        RunReadySteps(line);
        if (Done()) continue;
        const Step& step = steps_[step_];
        if (step.kind == Kind::ExpectFrame) TakeFrameByte(byte);
        if (step.kind == Kind::ExpectBytes) TakeExpectedByte(step, byte);
        if (step.kind == Kind::SendBlocks) TakeBlockAnswer(line, step, byte);
        RunReadySteps(line);
    }
}

/** Runs the steps up to one that waits for bytes. */
void ScriptedDevice::RunReadySteps(Line& line) {
    while (!Done()) {
        // A copy of its parts, for an action may add steps to the script.
        const Kind kind = steps_[step_].kind;
        if (kind == Kind::ExpectFrame || kind == Kind::ExpectBytes) return;
        if (kind == Kind::SendBlocks) {
            if (!started_) SendBlock(line, steps_[step_]);
            return;
        }
        const Step step = steps_[step_];
        step_ = kind == Kind::Loop ? 0 : step_ + 1;
        if (kind == Kind::SendRaw) line.SendAfter(step.delay_us, step.bytes);
        if (kind == Kind::Do) step.action(line);
    }
}

void ScriptedDevice::Finish() {
    ++step_;
    progress_ = 0;
    started_ = false;
}

void ScriptedDevice::Complain(const std::string& expected, char byte) {
    errors.push_back("step " + std::to_string(step_) + ": expected " + expected + ", got " + Hex(byte));
}

void ScriptedDevice::TakeFrameByte(char byte) {
    frame_ += byte;
    if (byte != kEtx && frame_.size() < kBlockSize) return;
    frames.push_back(std::exchange(frame_, {}));
    Finish();
}

void ScriptedDevice::TakeExpectedByte(const Step& step, char byte) {
    const char expected = step.bytes[progress_];
    if (byte != expected) Complain(Hex(expected), byte);
    if (++progress_ == step.bytes.size()) Finish();
}

void ScriptedDevice::SendBlock(Line& line, const Step& step) {
    const size_t count = std::min(kBlockSize, step.bytes.size() - progress_);
    line.SendAfter(started_ ? 0 : step.delay_us, std::string_view(step.bytes).substr(progress_, count));
    progress_ += count;
    started_ = true;
}

void ScriptedDevice::TakeBlockAnswer(Line& line, const Step& step, char byte) {
    if (byte == kNak) {
        Finish();
    } else if (byte != kAck) {
        Complain("06 or 15", byte);
    } else if (progress_ < step.bytes.size()) {
        SendBlock(line, step);
    } else {
        Finish();
    }
}

}  // namespace sim

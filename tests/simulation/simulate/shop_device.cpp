#include "shop_device.h"

#include <algorithm>
#include <utility>

namespace simulate {

ShopDevice::ShopDevice(std::function<const Plan&()> plan_of_caller)
    : HonestDevice([this](const std::string&) { return reply_; }),
      plan_of_caller_(std::move(plan_of_caller)) {
    keep_commands = false;
}

void ShopDevice::OnOpen(sim::Line& line) {
    const Plan& plan = plan_of_caller_();
    faults = plan.device;
    faults.on_frame = [this](std::string& frame, unsigned attempt) { ChangeFrame(frame, attempt); };
    reply_ = plan.reply;
    instead_ = plan.instead;
    behind_ = plan.behind;
    junk_size_ = plan.junk_size;
    reply_delay_us = plan.reply_delay_us;
    resend_delay_us = plan.resend_delay_us;
    resets_on_open = plan.resets_on_open;
    sent_.clear();
    line.SetBaud(plan.baud);
    line.AcceptAtMost(plan.accept_at_most);
    line.StopAcceptingAfter(plan.stop_accepting_after);
    HonestDevice::OnOpen(line);
}

void ShopDevice::ChangeFrame(std::string& frame, unsigned attempt) {
    if (!instead_.empty()) frame = instead_;
    // Ten million bytes once are enough.
    if (junk_size_ != 0 && (attempt == 0 || junk_size_ < 100'000)) frame.assign(junk_size_, 'J');
    frame += behind_;
    sent_.push_back(frame);
}

bool ShopDevice::SentText(std::string_view text) const {
    const auto begins = [text](const std::string& frame) {
        return frame.size() >= text.size() + 3 && std::string_view(frame).substr(1, text.size()) == text &&
               frame[text.size() + 2] == sim::kEtx &&
               static_cast<uint8_t>(frame[text.size() + 1]) == sim::FrameChecksum(text);
    };
    return std::any_of(sent_.begin(), sent_.end(), begins);
}

}  // namespace simulate

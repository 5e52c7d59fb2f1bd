#include "sim_serial.h"

#include <algorithm>

#include "platform/read_timing.h"
#include "sim_handles.h"
#include "sim_platform.h"

namespace sim {

namespace {

/** A moment from now; waits that no calendar can hold never end. */
int64_t AfterUs(int64_t now_us, uint64_t wait_us) {
    return wait_us < static_cast<uint64_t>(kForever - now_us) ? now_us + static_cast<int64_t>(wait_us)
                                                              : kForever;
}

/** Lets time pass to the earlier of two moments, or to the next timer. */
void WaitForEvent(int64_t deadline_us, int64_t arrival_us, const char* what) {
    Clock& clock = world().clock;
    const int64_t next_us = std::min({deadline_us, arrival_us, clock.NextTimerUs()});
    if (next_us == kForever) throw Stuck(what);
    clock.AdvanceTo(next_us);
}

/** A call that came back at once with nothing still costs a little, or a loop around it would never end. */
void ChargeIdle(int64_t since_us) {
    Clock& clock = world().clock;
    if (clock.NowUs() == since_us) clock.AdvanceUs(clock.idle_cost_us);
}

}  // namespace

Line& Ports::Add(std::string_view path, Device* device) {
    Unplug(path);
    lines_.push_back(std::make_unique<Line>(std::string(path), device));
    return *lines_.back();
}

Line* Ports::Find(std::string_view path) {
    for (const auto& line : lines_)
        if (line->plugged_ && line->path_ == path) return line.get();
    return nullptr;
}

void Ports::Unplug(std::string_view path) {
    Line* line = Find(path);
    if (line == nullptr) return;
    line->plugged_ = false;
    line->DropPending();
    if (!line->IsOpen()) return;
    dead_handles_.push_back({line->open_handle_, line->opened_by_});
    line->open_handle_ = 0;
    if (line->device_ != nullptr) line->device_->OnClose(*line);
}

void Ports::Replug(Line& line, std::string_view path) {
    Unplug(line.path_);
    Unplug(path);
    line.path_ = path;
    line.plugged_ = true;
}

void Ports::Hold(std::string_view path, int64_t until_us) {
    if (Line* line = Find(path)) line->held_until_us_ = until_us;
}

size_t Ports::OpenCount() const {
    const auto open =
        std::count_if(lines_.begin(), lines_.end(), [](const auto& line) { return line->IsOpen(); });
    return static_cast<size_t>(open) + dead_handles_.size();
}

size_t Ports::OpenCountOf(uint32_t process) const {
    const auto open = std::count_if(lines_.begin(), lines_.end(), [process](const auto& line) {
        return line->IsOpen() && line->opened_by_ == process;
    });
    const auto dead =
        std::count_if(dead_handles_.begin(), dead_handles_.end(),
                      [process](const DeadHandle& handle) { return handle.process == process; });
    return static_cast<size_t>(open + dead);
}

void Ports::CloseAll(uint32_t process) {
    std::erase_if(dead_handles_, [process](const DeadHandle& dead) { return dead.process == process; });
    for (const auto& line : lines_)
        if (line->IsOpen() && line->opened_by_ == process) Close(line->open_handle_);
}

plat_handle Ports::Open(const char* path, uint32_t process) {
    Line* line = Find(path);
    if (line == nullptr) {
        world().last_error = PLAT_ERROR_FILE_NOT_FOUND;
        return PLAT_INVALID_HANDLE;
    }
    const int64_t now_us = world().clock.NowUs();
    if (line->IsOpen() || line->held_until_us_ > now_us) {
        ++line->record_.refused_opens;
        world().last_error = PLAT_ERROR_ACCESS_DENIED;
        return PLAT_INVALID_HANDLE;
    }
    const auto place =
        std::find_if(lines_.begin(), lines_.end(), [&](const auto& l) { return l.get() == line; });
    line->open_handle_ =
        MakeHandle(HandleKind::Port, static_cast<size_t>(place - lines_.begin()), ++handles_made_);
    line->opened_by_ = process;
    ++line->record_.opens;
    line->record_.timeouts = {};
    line->record_.dtr = line->record_.rts = false;
    // Nobody was there to receive what arrived while the port was closed. What is still under way will come.
    int64_t arrival_us = 0;
    line->TakeArrived(nullptr, Line::kAll, now_us, &arrival_us);
    if (line->device_ != nullptr) line->device_->OnOpen(*line);
    return line->open_handle_;
}

Line* Ports::FromHandle(plat_handle handle) {
    const size_t index = HandleIndex(handle);
    if (IsHandleOf(handle, HandleKind::Port) && index < lines_.size() &&
        lines_[index]->open_handle_ == handle)
        return lines_[index].get();
    const bool dead = std::any_of(dead_handles_.begin(), dead_handles_.end(),
                                  [handle](const DeadHandle& d) { return d.handle == handle; });
    world().last_error = dead ? kErrorNoSuchPortNow : kErrorInvalidHandle;
    return nullptr;
}

LineRecord* Ports::RecordOf(plat_handle port) {
    Line* line = FromHandle(port);
    return line != nullptr ? &line->record_ : nullptr;
}

uint32_t Ports::Read(plat_handle port, uint8_t* buffer, uint32_t size) {
    const Clock& clock = world().clock;
    const int64_t start_us = clock.NowUs();
    int64_t last_us = start_us;
    plat_transfer_progress progress{size, 0, 0, 0};
    Line* line = FromHandle(port);
    while (line != nullptr) {
        const int64_t now_us = clock.NowUs();
        const size_t count =
            line->TakeArrived(buffer + progress.done, size - progress.done, now_us, &last_us);
        progress.done += static_cast<uint32_t>(count);
        progress.since_start_us = static_cast<uint64_t>(now_us - start_us);
        // A byte that lay there before the call counts as arriving with it.
        progress.since_last_us = static_cast<uint64_t>(now_us - std::max(last_us, start_us));
        const uint64_t wait_us = ReadWaitUs(line->record_.timeouts, progress);
        if (wait_us == 0) break;
        WaitForEvent(AfterUs(now_us, wait_us), line->NextArrivalUs(), "reading for ever from a silent port");
        line = FromHandle(port);
    }
    // An unplugged port takes what was read so far with it.
    if (line == nullptr) progress.done = 0;
    if (progress.done == 0) ChargeIdle(start_us);
    if (line != nullptr) line->record_.bytes_read += progress.done;
    return progress.done;
}

uint32_t Ports::ReadNothing(plat_handle port, uint32_t size) {
    const Clock& clock = world().clock;
    const int64_t start_us = clock.NowUs();
    const LineRecord* record = RecordOf(port);
    if (record != nullptr) {
        const int64_t end_us = AfterUs(start_us, ReadWaitUs(record->timeouts, {size, 0, 0, 0}));
        while (clock.NowUs() < end_us)
            WaitForEvent(end_us, kForever, "reading for ever from a silent port");
    }
    ChargeIdle(start_us);
    return 0;
}

uint32_t Ports::Write(plat_handle port, const uint8_t* bytes, uint32_t size, size_t at_most) {
    const Clock& clock = world().clock;
    const int64_t start_us = clock.NowUs();
    Line* line = FromHandle(port);
    if (line == nullptr) {
        ChargeIdle(start_us);
        return 0;
    }
    const size_t taken =
        std::min({static_cast<size_t>(size), at_most, line->accept_at_most_, line->accept_left_});
    if (line->accept_left_ != Line::kAll) line->accept_left_ -= taken;
    line->record_.bytes_written += taken;
    const plat_transfer_progress progress{size, static_cast<uint32_t>(taken), 0, 0};
    const int64_t end_us = AfterUs(start_us, WriteWaitUs(line->record_.timeouts, progress));
    if (taken > 0 && line->device_ != nullptr) line->device_->OnBytes(*line, bytes, taken);
    while (clock.NowUs() < end_us)
        WaitForEvent(end_us, kForever, "writing for ever to a port that takes nothing");
    if (taken == 0) ChargeIdle(start_us);
    return progress.done;
}

bool Ports::Close(plat_handle port) {
    if (std::erase_if(dead_handles_, [port](const DeadHandle& dead) { return dead.handle == port; }) > 0)
        return true;
    Line* line = FromHandle(port);
    if (line == nullptr) return false;
    line->open_handle_ = 0;
    ++line->record_.closes;
    if (line->device_ != nullptr) line->device_->OnClose(*line);
    return true;
}

}  // namespace sim

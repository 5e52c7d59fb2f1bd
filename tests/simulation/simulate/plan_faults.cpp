/*
 * What can go wrong, a row a fault: its name, how often it is drawn, and what it does to a plan.
 */
#include <algorithm>

#include "plan.h"
#include "sim_faults.h"

namespace simulate {

namespace {

constexpr char kControls[] = {sim::kStx, sim::kAck, sim::kNak, sim::kEtx, '\x16', '|'};

/** 1 ms to 4 s, short ones more often. */
int64_t DrawDelayUs(Draw& draw) {
    return draw.OneIn(3) ? draw.Between(1'000, 4'000'000) : draw.Between(1'000, 200'000);
}

/** A place in the reply's frame, its ends and the ends of its blocks more often. */
size_t DrawPlace(Draw& draw, const Plan& plan) {
    const size_t size = plan.reply.size() + 3;
    if (draw.OneIn(3)) return size - 1 - std::min(size - 1, draw.Below(3));
    if (draw.OneIn(6)) return std::min(size - 1, sim::kBlockSize - draw.Below(2));
    return draw.Below(size);
}

unsigned DrawTimes(Draw& draw) {
    return static_cast<unsigned>(draw.Between(1, 4));
}

void AddJunk(Draw& draw, size_t size, bool controls, std::string* text) {
    for (size_t i = 0; i < size; ++i)
        *text += draw.OneIn(3) && controls ? draw.Of(kControls) : static_cast<char>('!' + draw.Below(90));
}

/** Puts some bytes anywhere into the reply. */
void Sprinkle(Draw& draw, const char* bytes, size_t count, std::string* text) {
    for (int64_t left = draw.Between(1, 3); left > 0; --left)
        text->insert(text->begin() + static_cast<std::ptrdiff_t>(draw.Below(text->size() + 1)),
                     bytes[draw.Below(count)]);
}

/** Waiting in vain for a device that has half an hour takes the simulation a million reads: not often. */
bool TakesTooLong(Draw& draw, const Plan& plan) {
    return kCommands[plan.request.command].timeout_s > 30 && !draw.OneIn(100);
}

void NoAck(Draw&, Plan* plan) {
    plan->device.silent = true;
}
void NakBlock(Draw& draw, Plan* plan) {
    plan->device.nak_block = static_cast<int>(draw.Below(3) / 2);
}
void JunkBeforeAck(Draw& draw, Plan* plan) {
    AddJunk(draw, 1 + draw.Below(6), draw.OneIn(4), &plan->device.junk_before_ack);
}
void DuplicateAck(Draw&, Plan* plan) {
    plan->device.duplicate_ack = true;
}
void LateAck(Draw& draw, Plan* plan) {
    plan->device.ack_delay_us = DrawDelayUs(draw);
}
void NoReply(Draw& draw, Plan* plan) {
    // Half a minute takes ten thousand still.
    plan->device.silent_reply = kCommands[plan->request.command].configurable || draw.OneIn(4);
}
void LateReply(Draw& draw, Plan* plan) {
    // Those that have their own time-out whatever the file says are waited for beyond any that it names.
    const bool own = !kCommands[plan->request.command].configurable;
    plan->reply_delay_us = own              ? draw.Between(4'000'000, 12'000'000)
                           : draw.OneIn(10) ? draw.Between(1'000, 12'000'000)
                                            : DrawDelayUs(draw);
}
void LostByte(Draw& draw, Plan* plan) {
    plan->device.lose_first_byte_times = DrawTimes(draw);
}
void CorruptByte(Draw& draw, Plan* plan) {
    plan->device.corrupt_times = DrawTimes(draw);
    plan->device.corrupt_at = DrawPlace(draw, *plan);
}
void WrongChecksum(Draw& draw, Plan* plan) {
    plan->device.bad_checksum_times = DrawTimes(draw);
}
void Stall(Draw& draw, Plan* plan) {
    plan->device.stall_times = DrawTimes(draw);
    plan->device.stall_at = DrawPlace(draw, *plan);
}
void Truncated(Draw& draw, Plan* plan) {
    plan->device.stall_times = 9;
    plan->device.stall_at = DrawPlace(draw, *plan);
}
void Drip(Draw& draw, Plan* plan) {
    if (plan->reply.size() >= 2000) return;
    plan->baud = static_cast<uint32_t>(draw.Between(4, 400));
    if (!draw.OneIn(4)) return;
    // Ten seconds a byte is more than a reply may take, if there are enough of them.
    plan->baud = 1;
    if (draw.OneIn(2)) return;
    // So is a third of a second with thousands of them that must be sent again.
    plan->baud = 30;
    plan->device.bad_checksum_times = DrawTimes(draw);
    AppendWords(draw, 2500 + draw.Below(2500), &plan->reply);
}
void Pause(Draw& draw, Plan* plan) {
    // Less than a second's bytes before the end of a block a read gives up before the device goes on.
    plan->device.pause_at = draw.OneIn(2) ? DrawPlace(draw, *plan) : sim::kBlockSize - draw.Below(1200);
    plan->device.pause_us = DrawDelayUs(draw);
    if (plan->device.pause_at >= plan->reply.size()) AppendWords(draw, sim::kBlockSize, &plan->reply);
}
void JunkDrips(Draw& draw, Plan* plan) {
    AddJunk(draw, 10 + draw.Below(60), false, &plan->device.junk_before_ack);
    plan->baud = static_cast<uint32_t>(draw.Between(80, 400));
    if (!draw.OneIn(4)) return;
    // So dense that no read comes back empty, for longer than an acknowledgement may take.
    AddJunk(draw, 1500 + draw.Below(1500), false, &plan->device.junk_before_ack);
    plan->baud = 9600;
}
void OtherSession(Draw& draw, Plan* plan) {
    plan->reply.insert(plan->reply.begin(), static_cast<char>('1' + draw.Below(9)));
}
void BusyReply(Draw&, Plan* plan) {
    plan->reply = std::to_string(Reduced(plan->request.session)) +
                  "|06098|0000|SAT em processamento, tente novamente.||";
}
void ControlBytes(Draw& draw, Plan* plan) {
    Sprinkle(draw, kControls, std::size(kControls), &plan->reply);
}
void NulBytes(Draw& draw, Plan* plan) {
    Sprinkle(draw, "\0\x80\xFF", 3, &plan->reply);
}
void JunkInstead(Draw& draw, Plan* plan) {
    // Too short for a frame, although what would be their sum agrees.
    static const std::string kStubs[] = {"\x80\x03", std::string("\0\x03", 2), "\x02\x03", "\x03"};
    if (draw.OneIn(5)) {
        plan->instead = draw.Of(kStubs);
        return;
    }
    AddJunk(draw, 1 + draw.Below(draw.OneIn(3) ? 2 : 40), true, &plan->instead);
    if (draw.OneIn(2)) plan->instead += sim::kEtx;
}
void EndlessJunk(Draw& draw, Plan* plan) {
    plan->junk_size = draw.OneIn(12) ? kLongestFrame + 2 * sim::kBlockSize
                                     : static_cast<size_t>(draw.Between(1, 4 * 16384 + 2));
}
void JunkBehind(Draw& draw, Plan* plan) {
    AddJunk(draw, 1 + draw.Below(30), true, &plan->behind);
}
void Paced(Draw& draw, Plan* plan) {
    static constexpr uint32_t kBauds[] = {9600, 38'400, 115'200, 921'600};
    plan->baud = draw.Of(kBauds);
}
void StaleReply(Draw& draw, Plan* plan) {
    plan->resets_on_open = false;
    plan->reply_delay_us = DrawDelayUs(draw);
}
void SlowResend(Draw& draw, Plan* plan) {
    plan->device.bad_checksum_times = DrawTimes(draw);
    plan->resend_delay_us = DrawDelayUs(draw);
}
void Unplugged(Draw& draw, Plan* plan) {
    plan->unplug_after_us = draw.Between(0, 30'000);
    if (draw.OneIn(2)) return;
    // In the middle of a reply that has let the link wait.
    plan->baud = 9600;
    plan->reply_delay_us = DrawDelayUs(draw);
    plan->unplug_after_us += plan->reply_delay_us;
}
void ShortWrites(Draw& draw, Plan* plan) {
    plan->accept_at_most = static_cast<size_t>(draw.Between(1, 64));
    if (plan->request.texts[1].size() > 3000) plan->accept_at_most *= 100;
}
void StuckLine(Draw& draw, Plan* plan) {
    plan->stop_accepting_after = draw.Below(draw.OneIn(3) ? 20'000 : 300);
}
void PortHeld(Draw& draw, Plan* plan) {
    plan->hold_port_us = draw.Between(0, 35'000'000);
}
void NoDevice(Draw&, Plan* plan) {
    plan->presence = Presence::None;
}
void OddPort(Draw& draw, Plan* plan) {
    plan->presence = draw.OneIn(2) ? Presence::Com0 : Presence::Com1;
    if (plan->presence == Presence::Com1) plan->device.silent = draw.OneIn(2);
}
void LockHeld(Draw& draw, Plan* plan) {
    plan->hold_lock_us = draw.OneIn(4) ? draw.Between(2'999'000, 3'001'000) : draw.Between(0, 6'000'000);
}
void LockAbandoned(Draw& draw, Plan* plan) {
    plan->hold_lock_us = draw.Between(0, 2'900'000);
    plan->abandon_lock = true;
}
void CallFails(Draw& draw, Plan* plan) {
    plan->fail_call = draw.OneIn(3) ? static_cast<uint64_t>(draw.Between(1, 600))
                                    : static_cast<uint64_t>(draw.Between(1, 90));
    plan->fail_way = static_cast<int>(draw.OneIn(2) ? 0 : draw.Below(3));
}
void ReadsFail(Draw& draw, Plan* plan) {
    if (draw.OneIn(2)) plan->reply_delay_us = DrawDelayUs(draw);
    // A read that brings nothing takes two milliseconds, so this is about where the reply comes.
    plan->transfer_fails = static_cast<uint64_t>(plan->reply_delay_us / 2000 + draw.Between(1, 8));
    plan->reads_fail = static_cast<uint64_t>(draw.Between(1, draw.OneIn(2) ? 4'000 : 60));
    plan->fail_way = static_cast<int>(draw.OneIn(2) ? 0 : draw.Below(3));
}
void WritesFail(Draw& draw, Plan* plan) {
    plan->transfer_fails = static_cast<uint64_t>(draw.Between(1, 4));
    plan->writes_fail = static_cast<uint64_t>(draw.Between(1, draw.OneIn(2) ? 4'000 : 3));
    plan->fail_way = static_cast<int>(draw.Below(3));
}
void Killed(Draw& draw, Plan* plan) {
    plan->kill_at_call = static_cast<uint64_t>(draw.Between(1, 120));
}
void ClockJumps(Draw& draw, Plan* plan) {
    plan->clock_jump_s = draw.OneIn(2) ? draw.Between(-90'000, 90'000) : draw.Between(-5, 5);
    plan->clock_jump_delay_us = draw.OneIn(2) ? draw.Between(0, 20'000) : draw.Between(0, 4'000'000);
}

struct FaultRow {
    const char* name;
    unsigned weight;
    void (*apply)(Draw& draw, Plan* plan);
};

constexpr FaultRow kFaults[] = {
    {"no acknowledgement", 6, NoAck},
    {"NAK for a block", 12, NakBlock},
    {"junk before ACK", 15, JunkBeforeAck},
    {"ACK twice", 12, DuplicateAck},
    {"late ACK", 12, LateAck},
    {"no reply", 4, NoReply},
    {"late reply", 16, LateReply},
    {"first byte lost", 12, LostByte},
    {"byte corrupted", 15, CorruptByte},
    {"wrong checksum", 20, WrongChecksum},
    {"stall", 15, Stall},
    {"frame cut off", 8, Truncated},
    {"drip", 10, Drip},
    {"pause in the reply", 12, Pause},
    {"junk drips before ACK", 10, JunkDrips},
    {"another session's reply", 8, OtherSession},
    {"busy reply", 8, BusyReply},
    {"control bytes in the reply", 15, ControlBytes},
    {"NUL bytes in the reply", 8, NulBytes},
    {"junk instead of a reply", 12, JunkInstead},
    {"endless junk", 4, EndlessJunk},
    {"junk behind the reply", 12, JunkBehind},
    {"paced line", 15, Paced},
    {"stale reply", 10, StaleReply},
    {"slow resend", 8, SlowResend},
    {"unplugged", 12, Unplugged},
    {"short writes", 8, ShortWrites},
    {"line stuck", 8, StuckLine},
    {"port held", 5, PortHeld},
    {"no device", 16, NoDevice},
    {"odd port", 10, OddPort},
    {"lock held", 12, LockHeld},
    {"lock abandoned", 8, LockAbandoned},
    {"platform call fails", 60, CallFails},
    {"reads fail", 12, ReadsFail},
    {"writes fail", 8, WritesFail},
    {"process ends", 6, Killed},
    {"clock jumps", 8, ClockJumps},
};
static_assert(std::size(kFaults) == kFaultCount);

constexpr unsigned TotalWeight() {
    unsigned total = 0;
    for (const FaultRow& row : kFaults)
        total += row.weight;
    return total;
}

}  // namespace

const char* FaultName(Fault fault) {
    return kFaults[static_cast<size_t>(fault)].name;
}

Fault DrawFault(Draw& draw) {
    uint64_t at = draw.Below(TotalWeight());
    size_t row = 0;
    while (at >= kFaults[row].weight)
        at -= kFaults[row++].weight;
    return static_cast<Fault>(row);
}

void AddFault(Draw& draw, Fault fault, Plan* plan) {
    if (plan->request.command == kVersion || TakesTooLong(draw, *plan)) return;
    plan->clean = false;
    plan->faulty[static_cast<size_t>(fault)] = true;
    kFaults[static_cast<size_t>(fault)].apply(draw, plan);
}

}  // namespace simulate

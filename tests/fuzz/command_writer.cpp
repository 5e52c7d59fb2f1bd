/*
 * cSerialWriteBufW against any device: what it answers to each block, when, and how many bytes the port takes
 * comes from the input.
 */
#include <algorithm>
#include <vector>

#include "machine.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using fuzz::Input;

constexpr int64_t kSecondUs = 1'000'000;
constexpr int64_t kShortReadUs = 2'000;
/** What a write of a block that the port does not take costs: 1 ms a byte and a second. */
constexpr int64_t kLongWriteUs = 17'384'000;
/** What the bytes of a command may take in all. */
constexpr int64_t kCommandLimitUs = 1800 * kSecondUs;

struct Answer {
    std::string bytes;
    int64_t delay_us;
};

/** A full block, or the end of the frame, has arrived. */
struct BlockEnd {
    size_t read;  ///< how much of the answers had been read by then
    int64_t at_us;
};

class InputDevice : public sim::Device {
  public:
    std::vector<Answer> answers;
    size_t frame_size = 0;
    std::string received;
    std::string sent;
    std::vector<BlockEnd> ends;
    int64_t last_write_us = 0;

    void OnBytes(sim::Line& line, const uint8_t* bytes, size_t size) override {
        received.append(reinterpret_cast<const char*>(bytes), size);
        last_write_us = sim::world().clock.NowUs();
        const size_t end = std::min((ends.size() + 1) * sim::kBlockSize, frame_size);
        Expect(received.size() <= end, "nothing of a block is sent before the one in front of it ended");
        if (received.size() < end) return;
        ends.push_back({line.Record().bytes_read, last_write_us});
        if (ends.size() > answers.size()) return;
        const Answer& answer = answers[ends.size() - 1];
        line.SendAfter(answer.delay_us, answer.bytes);
        sent += answer.bytes;
    }
};

std::vector<Answer> Answers(Input& input) {
    static constexpr int64_t delays_us[] = {0,         1'000,     50'000,    1'000'000,
                                            1'900'000, 2'100'000, 3'100'000, 9'000'000};
    std::vector<Answer> answers;
    while (input.remaining_bytes() > 0 && answers.size() < 4) {
        const unsigned how = input.ConsumeIntegral<uint8_t>();
        std::string bytes = input.ConsumeRandomLengthString(20);
        if (how % 2 == 1) bytes += sim::kAck;
        answers.push_back({bytes, delays_us[how / 2 % 8]});
    }
    return answers;
}

/** Limits what the port takes, in all or at a time. Bytes one by one only where a frame is short. */
size_t LimitPort(Input& input, sim::Line& line, size_t frame_size) {
    const unsigned how = input.ConsumeIntegral<uint8_t>();
    if (how % 4 == 1) line.AcceptAtMost(frame_size < 1000 ? 1 + how / 4 : 1000U + how);
    if (how % 4 != 2) return sim::Line::kAll;
    const size_t most = input.ConsumeIntegralInRange<size_t>(0, frame_size);
    line.StopAcceptingAfter(most);
    return most;
}

/** What the computer read between two of its blocks, or behind its last one. */
struct Wait {
    std::string bytes;
    size_t control;  ///< where the first ACK or NAK stands
    bool Answered() const { return control != std::string::npos; }
};

Wait WaitBehind(const InputDevice& device, size_t block, size_t read_in_all) {
    const size_t from = device.ends[block].read;
    const size_t to = block + 1 < device.ends.size() ? device.ends[block + 1].read : read_in_all;
    const std::string bytes = device.sent.substr(from, to - from);
    const size_t control = bytes.find_first_of(std::string{sim::kAck, sim::kNak});
    if (control != std::string::npos) ExpectEqual("the first ACK or NAK ends a wait", control + 1, to - from);
    return {bytes, control};
}

/** The result that follows from what went over the line. */
int Outcome(const InputDevice& device, size_t read_in_all, int64_t start_us) {
    const int64_t now_us = sim::world().clock.NowUs();
    for (size_t block = 0; block < device.ends.size(); ++block) {
        const Wait wait = WaitBehind(device, block, read_in_all);
        const bool last = block + 1 == device.ends.size();
        if (wait.Answered() && wait.bytes[wait.control] == sim::kAck) continue;
        Expect(last && device.received.size() == std::min((block + 1) * sim::kBlockSize, device.frame_size),
               "only ACK lets the next block go out");
        if (wait.Answered()) return -1005;
        fuzz::ExpectWithin("time for the acknowledgement", now_us - device.ends[block].at_us, 2 * kSecondUs,
                           3 * kSecondUs + 5 * kShortReadUs);
        return -1;
    }
    if (device.received.size() == device.frame_size) return static_cast<int>(device.frame_size);
    if (now_us - start_us > kCommandLimitUs) return -1007;
    fuzz::ExpectWithin("time for the write", now_us - device.last_write_us, 2 * kSecondUs,
                       3 * kSecondUs + 2 * kLongWriteUs);
    return -1007;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const unsigned setup = input.ConsumeIntegral<uint8_t>();
    fuzz::FreshMachine(setup % 8 == 7 ? '5' : '0');
    const std::string text = fuzz::LongText(input, 400);
    const std::string frame = fuzz::ReferenceFrame(text);

    InputDevice device;
    device.frame_size = frame.size();
    fuzz::OpenPort port(&device);
    const size_t most = LimitPort(input, port.line, frame.size());
    device.answers = Answers(input);
    const int64_t allocations = sim::world().LiveAllocations();

    // As long as the frame and no longer: the checksum takes the one spare byte.
    std::string buffer = "\x02" + text + "\x03";
    const int length = static_cast<int>(buffer.size());
    char* const packet = static_cast<char*>(malloc(frame.size()));
    if (packet == nullptr) abort();
    buffer.copy(packet, buffer.size());
    const int64_t start_us = sim::world().clock.NowUs();
    const int result = cSerialWriteBufW(packet, length, &port.handle);
    const std::string left(packet, frame.size());
    free(packet);

    ExpectEqual("the buffer holds the frame", left, frame);
    ExpectEqual("what went out", device.received, frame.substr(0, device.received.size()));
    ExpectEqual("the result", result, Outcome(device, port.line.Record().bytes_read, start_us));
    const int64_t time_us = sim::world().clock.NowUs() - start_us;
    fuzz::ExpectWithin("the time of the call", time_us, int64_t{0}, kCommandLimitUs + 3 * kLongWriteUs);
    if (result == -1007 && time_us < kCommandLimitUs)
        ExpectEqual("what the port took", device.received.size(), most);
    if (result > 0) Expect(most >= frame.size(), "a frame that the port took whole");
    ExpectEqual("allocations", sim::world().LiveAllocations(), allocations);
    return 0;
}

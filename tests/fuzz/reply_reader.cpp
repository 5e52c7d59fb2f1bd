/*
 * cSerialReadBufW against any device: what arrives, when, and whether it waits for an answer comes from the
 * input. The device writes down what it hears; from that and from what it sent the outcome is worked out
 * anew.
 */
#include <vector>

#include "machine.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using fuzz::Input;

constexpr int64_t kSecondUs = 1'000'000;
/** What a read of one byte to which nothing comes costs at most. */
constexpr int64_t kShortReadUs = 2'000;
/** The same for a whole block: 1 ms a byte asked for. */
constexpr int64_t kLongReadUs = 16'386'000;
/** What the bytes of a reply may take in all behind the first one. */
constexpr int64_t kReplyLimitUs = 1800 * kSecondUs;

/** Bytes that the device sends in one go. */
struct Piece {
    std::string bytes;
    int64_t delay_us;
    bool waits;     ///< for a byte of the computer
    uint32_t baud;  ///< 0: all at once
};

/** A byte that the computer wrote. */
struct Heard {
    char byte;
    size_t read;  ///< how much of what was sent it had read by then
    int64_t at_us;
};

class InputDevice : public sim::Device {
  public:
    std::vector<Piece> pieces;
    std::string sent;
    std::vector<Heard> heard;

    void Talk(sim::Line& line) {
        int64_t delay_us = 0;
        for (bool first = true; next_ < pieces.size(); first = false, ++next_) {
            const Piece& piece = pieces[next_];
            if (piece.waits && !first) return;
            delay_us += piece.delay_us;
            line.SetBaud(piece.baud);
            line.SendAfter(delay_us, piece.bytes);
            sent += piece.bytes;
        }
    }

    void OnBytes(sim::Line& line, const uint8_t* bytes, size_t size) override {
        ExpectEqual("acknowledgements are single bytes", size, size_t{1});
        heard.push_back({static_cast<char>(bytes[0]), line.Record().bytes_read, sim::world().clock.NowUs()});
        Talk(line);
    }

  private:
    size_t next_ = 0;
};

std::vector<Piece> Script(Input& input) {
    static constexpr int64_t delays_us[] = {0, 100, 900, 9'000, 100'000, 1'000'000, 2'500'000, 20'000'000};
    std::vector<Piece> pieces;
    while (input.remaining_bytes() > 0 && pieces.size() < 12) {
        std::string text = fuzz::LongText(input, 400);
        const unsigned how = input.ConsumeIntegral<uint8_t>();
        if (how % 4 == 1) text = fuzz::ReferenceFrame(text);
        if (how % 4 == 2) text = "\x02" + text + static_cast<char>(how) + "\x03";
        // At 20 baud a byte takes half a second, and a long text longer than a reply may.
        const uint32_t baud = (how & 64) != 0 ? 115200 : (how & 128) != 0 ? 20 : 0;
        pieces.push_back({text, delays_us[how / 4 % 8], (how & 32) != 0, baud});
    }
    return pieces;
}

enum class Verdict { Open, Good, Bad };

/** What an attempt that has read these bytes must make of them. */
Verdict Judge(const std::string& bytes, size_t limit, size_t* etx) {
    *etx = bytes.find('\x03', 1);
    if (*etx == std::string::npos) return bytes.size() >= limit ? Verdict::Bad : Verdict::Open;
    if (*etx < 2) return Verdict::Bad;
    const unsigned char sum = fuzz::ReferenceChecksum(bytes.substr(1, *etx - 2));
    return static_cast<unsigned char>(bytes[*etx - 1]) == sum ? Verdict::Good : Verdict::Bad;
}

/** The call, as seen from the other end of the line. */
struct Reading {
    const InputDevice& device;
    size_t limit;
    int64_t timeout_ms;  ///< for the first byte of the attempt that runs
    int64_t attempt_us;  ///< when that began
    size_t begin = 0;    ///< where its bytes begin
    size_t blocks = 0;   ///< it has acknowledged
    int naks = 0;
    std::string text = {};  ///< of the frame that was accepted
    bool accepted = false;

    void Take(const Heard& heard) {
        Expect(!accepted, "nothing is sent behind the last acknowledgement");
        const std::string bytes = device.sent.substr(begin, heard.read - begin);
        ExpectNothingBeyondBlock(bytes.size());
        size_t etx = 0;
        const Verdict verdict = Judge(bytes, limit, &etx);
        if (heard.byte == sim::kAck && verdict == Verdict::Good) {
            accepted = true;
            text = bytes.substr(1, etx - 2);
        } else if (heard.byte == sim::kAck) {
            Expect(verdict == Verdict::Open, "no acknowledgement for a bad frame");
            ExpectEqual("a block is acknowledged when it is full", bytes.size(), ++blocks * sim::kBlockSize);
        } else {
            ExpectEqual("the only other byte is NAK", static_cast<int>(heard.byte), sim::kNak);
            Expect(verdict != Verdict::Good, "a good frame is not refused");
            Expect(!bytes.empty(), "nothing is refused before a byte came");
            timeout_ms = verdict == Verdict::Bad ? 100 : 2000;
            attempt_us = heard.at_us;
            begin = heard.read;
            blocks = 0;
            ++naks;
        }
    }

    /** Before a block is acknowledged nothing of the next one is read. */
    void ExpectNothingBeyondBlock(size_t bytes) const {
        Expect(bytes <= (blocks + 1) * sim::kBlockSize, "each full block is acknowledged");
    }

    /** The call gave up without a refusal: the reply took too long, or nothing came in time, measured in
     * whole seconds. */
    void CheckGivenUp(size_t read, int64_t start_us) const {
        const int64_t now_us = sim::world().clock.NowUs();
        ExpectNothingBeyondBlock(read - begin);
        if (read > begin) {
            Expect(now_us - start_us > kReplyLimitUs, "an attempt in which bytes came is refused");
            return;
        }
        const int64_t seconds = timeout_ms / 1000;
        fuzz::ExpectWithin("time for the first byte", now_us - attempt_us, seconds * kSecondUs,
                           (seconds + 1) * kSecondUs + 2 * kShortReadUs);
    }
};

void CheckBuffer(const std::string& buffer, const std::string& text) {
    ExpectEqual("the text", buffer.substr(0, text.size()), text);
    ExpectEqual("nothing behind the text", buffer.find_first_not_of('\0', text.size()), std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const unsigned setup = input.ConsumeIntegral<uint8_t>();
    const int timeout_s = (setup & 1) != 0 ? 3 : 0;
    const bool library_buffer = (setup & 6) == 0;
    fuzz::FreshMachine(setup / 16 % 8 == 7 ? '5' : '0');

    InputDevice device;
    device.pieces = Script(input);
    fuzz::OpenPort port(&device);
    const int64_t allocations = sim::world().LiveAllocations();
    const int64_t start_us = sim::world().clock.NowUs();
    device.Talk(port.line);

    // A buffer of its own is filled with what must not stay there, and its end is watched.
    std::string own((setup & 6) == 2 ? 1 + setup / 8 : 20'000, '?');
    char* const buffer = library_buffer ? gl_strSatRsp : own.data();
    const int buffer_size = library_buffer ? GL_DEF_MAX_SAT_PKT_SIZE : static_cast<int>(own.size());
    const int result = cSerialReadBufW(buffer, buffer_size, &port.handle, timeout_s);

    Reading reading = {device, library_buffer ? size_t{MAX_FRAME_SIZE} : own.size() + 2, timeout_s * 1000,
                       start_us};
    for (const Heard& heard : device.heard)
        reading.Take(heard);
    Expect(reading.naks <= 3, "three attempts");
    if (reading.accepted) {
        ExpectEqual("the index of ETX", result, static_cast<int>(reading.text.size() + 2));
    } else {
        ExpectEqual("the result of a failure", result, -1);
        if (reading.naks < 3) reading.CheckGivenUp(port.line.Record().bytes_read, start_us);
    }
    if (library_buffer) own.assign(buffer, reading.text.size() + 100);
    CheckBuffer(own, reading.text);

    // The time-outs of four first bytes, the limit for what follows, and the read and stall that ran beyond
    // it.
    fuzz::ExpectWithin("the time of the call", sim::world().clock.NowUs() - start_us, int64_t{0},
                       (timeout_s + 10) * kSecondUs + kReplyLimitUs + 2 * (kLongReadUs + kSecondUs));
    ExpectEqual("allocations", sim::world().LiveAllocations(), allocations);
    return 0;
}

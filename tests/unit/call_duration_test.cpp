/*
 * The longest that one call may take, as the public header promises it, against devices and lines that do
 * their worst.
 */
#include <random>

#include "api_fixture.h"

namespace {

/** What the public header says: so long beside the command's own time-out. */
constexpr int64_t kLongestCallS = 3800;
constexpr int64_t kSaleTimeoutS = 30;
constexpr int64_t kLongestSaleMs = (kLongestCallS + kSaleTimeoutS) * 1000;

/** Runs code of the test for each write, and knows what was written. */
struct Monster : sim::Device {
    std::function<void(sim::Line&, std::string_view)> on_bytes = [](sim::Line&, std::string_view) {};
    void OnBytes(sim::Line& line, const uint8_t* bytes, size_t size) override {
        on_bytes(line, {reinterpret_cast<const char*>(bytes), size});
    }
};

class CallDuration : public Api {
  protected:
    void SetUp() override {
        Load();
        VersaoDllZantir();
        line = &AttachDevice(&monster);
    }

    /** Makes one sale and returns how long it took. */
    int64_t Sale(size_t data_size = 100) {
        const std::string data(data_size, 'd');
        const int64_t begin = NowMs();
        reply = EnviarDadosVenda(1, "12345678", data.c_str());
        EXPECT_FALSE(reply.empty());
        EXPECT_EQ(World().ports.OpenCount(), 0U);
        return NowMs() - begin;
    }

    /** Sends `bytes` again and again from now on, at this pace, whatever the library does. */
    void Babble(std::string bytes, int64_t pace_us, int64_t until_us = sim::kForever) {
        if (World().clock.NowUs() >= until_us) return;
        if (line->Pending() < 1 << 20) line->Send(bytes);
        World().clock.After(pace_us, [this, bytes, pace_us, until_us] { Babble(bytes, pace_us, until_us); });
    }

    Monster monster;
    sim::Line* line = nullptr;
    std::string reply;
};

TEST_F(CallDuration, EndlessAcknowledgementsAreNoReply) {
    Babble("\x06", 5000);
    EXPECT_LT(Sale(), 1'900'000);
    EXPECT_THAT(reply, testing::StartsWith("SAT Erro["));
}

TEST_F(CallDuration, EndlessAcknowledgementsAtFullSpeedAreNoReply) {
    Babble(std::string(4096, '\x06'), 1000);
    EXPECT_LT(Sale(), kLongestSaleMs);
    EXPECT_THAT(reply, testing::StartsWith("SAT Erro["));
}

TEST_F(CallDuration, EndlessJunkWithoutEtxEndsAtAnyPace) {
    struct Pace {
        size_t size;
        int64_t us;
    };
    // From more than the library can read down to a byte that just keeps a read from ending.
    for (const Pace pace : {Pace{65536, 1000}, {16384, 17'000'000}, {100, 9000}, {1, 9000}, {1, 700'000}}) {
        SetUp();
        monster.on_bytes = [this, pace](sim::Line& port, std::string_view bytes) {
            if (bytes.size() <= 1) return;
            port.Send("\x06");
            Babble(std::string(pace.size, 'j'), pace.us);
        };
        const int64_t took = Sale();
        EXPECT_LT(took, 1'900'000) << pace.size << " bytes every " << pace.us;
        // A single byte a time never fills a frame: half an hour ends it, compared in whole seconds.
        EXPECT_TRUE(pace.size > 1 || took >= 1'801'000) << took;
        EXPECT_THAT(reply, testing::StartsWith("SAT Erro[-00001]Win Falha ao receber")) << pace.us;
    }
}

TEST_F(CallDuration, AReplyOfTwelveMegabytesIsRefusedThreeTimes) {
    sim::HonestDevice device = DeviceThatSays(std::string(12 << 20, 'r'));
    line->Attach(&device);
    line->SetBaud(115200);
    // Three times ten megabytes at the line's speed would be 45 minutes, so the limit ends the last of them.
    const int64_t took = Sale();
    EXPECT_LT(took, 1'900'000);
    EXPECT_GT(took, 1'700'000);
    EXPECT_STREQ(reply.c_str(),
                 "SAT Erro[-00001]Win Falha ao receber resposta do  SAT L[2127] F[Communicate] ");
    // The next call finds a device that has learnt.
    sim::HonestDevice better = DeviceThatSays("ok");
    line->Attach(&better);
    line->DropPending();
    Sale();
    EXPECT_EQ(reply, "ok");
}

TEST_F(CallDuration, EtxAsSecondByteForEverIsThreeAttempts) {
    monster.on_bytes = [](sim::Line& port, std::string_view bytes) {
        port.Send(bytes.size() > 1 ? "\x06\x02\x03" : "\x02\x03");
    };
    EXPECT_LT(Sale(), 5000);
    EXPECT_THAT(reply, testing::StartsWith("SAT Erro[-00001]Win Falha ao receber"));
}

TEST_F(CallDuration, AReplyThatNeverEndsWithinAnyTimeoutIsGivenUp) {
    // STX and a byte in time, again after every refusal.
    monster.on_bytes = [](sim::Line& port, std::string_view bytes) {
        if (bytes.size() > 1) port.Send("\x06");
        port.SendAfter(900'000, "\x02z");
    };
    EXPECT_LT(Sale(), 120'000);
    EXPECT_THAT(reply, testing::StartsWith("SAT Erro["));
}

TEST_F(CallDuration, APortThatTakesAByteASecondIsGivenUpAfterHalfAnHour) {
    line->AcceptAtMost(1);
    const int64_t took = Sale(100'000);
    EXPECT_GT(took, 1'800'000);
    EXPECT_LT(took, 1'950'000);
    EXPECT_THAT(reply, testing::StartsWith("SAT Erro[-01007]"));
}

TEST_F(CallDuration, HalfAnHourInWholeSecondsIsStillInTime) {
    // Each write waits a second and a millisecond for each byte that is left, so that every second is met by
    // some.
    for (size_t size = 1500; size < 1508; ++size) {
        SetUp();
        line->AcceptAtMost(1);
        EXPECT_GE(Sale(size), 1'801'000) << size;
        EXPECT_THAT(reply, testing::StartsWith("SAT Erro[-01007]"));
    }
}

TEST_F(CallDuration, AcknowledgementsThatComeInTheLastMomentDoNotAddUp) {
    monster.on_bytes = [](sim::Line& port, std::string_view) { port.SendAfter(2'000'000, "\x06"); };
    const int64_t took = Sale(10'000'000);
    // 611 blocks.
    EXPECT_LT(took, 1'900'000);
    EXPECT_THAT(reply, testing::StartsWith("SAT Erro["));
}

TEST_F(CallDuration, TheWorstOfEverythingStaysBelowWhatTheHeaderPromises) {
    World().mutexes.Hold(SAT_LOCK_NAME, 99, World().clock.NowUs() + 2'990'000);
    World().ports.Hold("\\\\?\\COM7", World().clock.NowUs() + 22'000'000);
    line->AcceptAtMost(1);
    constexpr size_t kDataSize = 1100;
    size_t taken = 0;
    unsigned naks = 0;
    monster.on_bytes = [&](sim::Line& port, std::string_view bytes) {
        const bool last = bytes[0] == sim::kEtx;
        ++taken;
        if (last && naks == 0) {
            // The command is through: the acknowledgement and the first byte in the last moment, then a
            // trickle up to the limit, then the silences of a stall.
            port.SendAfter(2'000'000, "\x06");
            World().clock.After(31'000'000, [&] {
                port.Send("\x02");
                Babble("t", 9000, World().clock.NowUs() + 1'799'000'000);
            });
        } else if (bytes[0] == sim::kNak) {
            ++naks;
            port.SendAfter(1'900'000, "\x02");
        }
    };
    const int64_t took = Sale(kDataSize);
    EXPECT_EQ(naks, 3U);
    EXPECT_LT(took, kLongestSaleMs);
    // It really was nearly the worst, so the promise is no idle one.
    EXPECT_GT(took, kLongestSaleMs - 150'000) << reply;
    EXPECT_THAT(reply, testing::StartsWith("SAT Erro[-00001]Win Falha ao receber"));
}

TEST_F(CallDuration, NoDeviceOutOfThousandMadeAtRandomExceedsIt) {
    int64_t longest = 0;
    for (unsigned seed = 0; seed < 1000; ++seed) {
        SetUp();
        std::mt19937 random(seed);
        // Each monster has a taste of its own for silence, speed and pieces.
        const int64_t slowest_us = 1 + static_cast<int64_t>(random() % 3'100'000);
        const unsigned pieces = 1 + random() % 4;
        if (random() % 4 == 0) line->AcceptAtMost(1 + random() % 400);
        if (random() % 4 == 0) line->SetBaud(300U << random() % 9);
        if (random() % 8 == 0) Babble(std::string(1 + random() % 300, "\x06\x15\x02z"[random() % 4]), 8000);
        monster.on_bytes = [&](sim::Line& port, std::string_view) {
            static const std::string kPieces[] = {"\x06",
                                                  "\x06",
                                                  "\x06",
                                                  "\x15",
                                                  "\x02",
                                                  "\x03",
                                                  "\x02\x03",
                                                  sim::MakeFrame("000001|06000|ok"),
                                                  sim::MakeFrame(std::string(20000, 'r')),
                                                  std::string(16384, 'j'),
                                                  "\x02half"};
            for (unsigned piece = 0; piece < pieces; ++piece) {
                if (port.Pending() > 200'000) return;
                port.SendAfter(static_cast<int64_t>(random()) % slowest_us,
                               kPieces[random() % std::size(kPieces)]);
            }
        };
        const int64_t took = Sale(random() % 3 == 0 ? 40000 : 200);
        longest = std::max(longest, took);
        ASSERT_LT(took, kLongestSaleMs) << "seed " << seed;
        ASSERT_NE(memchr(gl_strSatRsp, 0, sizeof gl_strSatRsp), nullptr);
    }
    RecordProperty("longest_ms", std::to_string(longest));
}

}  // namespace

#include "fault_plan.h"

#include <gmock/gmock.h>

#include "fault_script.h"

namespace emulator {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct FaultPlanTest : testing::Test {
    FaultPlan plan;

    static Faults Parsed(std::string_view text) {
        Faults faults;
        std::string error;
        EXPECT_TRUE(ParseFaults(text, &faults, &error)) << error;
        return faults;
    }

    void Add(std::string_view text) { AddFaults(plan, Parsed(text)); }

    void SetRandom(std::string_view text, uint64_t seed) {
        RandomFaults random;
        std::string error;
        ASSERT_TRUE(ParseRandomFaults(text, &random, &error)) << error;
        SetRandomFaults(plan, random, seed);
    }

    std::string Next() { return FaultsText(NextFaults(plan).faults); }

    std::vector<std::string> NextOnes(size_t count) {
        std::vector<std::string> texts;
        for (size_t i = 0; i < count; ++i) {
            texts.push_back(Next());
        }
        return texts;
    }

    // An exchange in which every fault acts so often.
    std::string Exchange(int acts) {
        PlannedFaults planned = NextFaults(plan);
        const std::string text = FaultsText(planned.faults);
        for (const Fault& fault : Faults(planned.faults)) {
            for (int i = 0; i < acts; ++i) {
                TakeFault(planned.faults, fault.kind);
            }
        }
        ReturnFaults(plan, planned);
        return text;
    }
};

}  // namespace

TEST_F(FaultPlanTest, OneEntryForEachExchangeInOrder) {
    Add("nak");
    Add("ok");
    Add("junk+checksum");
    EXPECT_THAT(NextOnes(4), ElementsAre("nak", "ok", "junk+checksum", "ok"));
}

TEST_F(FaultPlanTest, WhatIsToActMoreOftenGoesOnInTheNextExchange) {
    Add("checksum:times=5");
    Add("junk");
    EXPECT_EQ(Exchange(3), "checksum:times=5");
    EXPECT_EQ(Exchange(1), "checksum:times=2+junk");
    EXPECT_EQ(Exchange(1), "checksum");
    EXPECT_EQ(Exchange(1), "ok");
}

TEST_F(FaultPlanTest, WhatFoundNoOccasionIsNotKept) {
    Add("nak:block=2,times=3");
    EXPECT_EQ(Exchange(0), "nak:block=2,times=3");
    EXPECT_EQ(Exchange(0), "ok");
}

TEST_F(FaultPlanTest, EmptyingItForgetsEverything) {
    SetRandom("1,nak", 1);
    Add("junk");
    ClearFaults(plan);
    EXPECT_THAT(NextOnes(3), ElementsAre("ok", "ok", "ok"));
}

TEST_F(FaultPlanTest, WhatAnExchangeHadIsForgottenTooWhenThePlanWasEmptiedMeanwhile) {
    Add("silence:times=5");
    PlannedFaults planned = NextFaults(plan);
    ASSERT_NE(TakeFault(planned.faults, FaultKind::Silence), nullptr);
    ClearFaults(plan);
    ReturnFaults(plan, planned);
    EXPECT_EQ(Next(), "ok");
}

TEST_F(FaultPlanTest, TheSameSeedGivesTheSameSequence) {
    const auto sequence = [&](uint64_t seed) {
        SetRandom("0.5,nak,junk,checksum", seed);
        return NextOnes(50);
    };
    const std::vector<std::string> first = sequence(7);
    EXPECT_EQ(sequence(7), first);
    EXPECT_NE(sequence(8), first);
    // On every system: these are the first numbers of a generator that the language's standard lays down.
    EXPECT_THAT(std::vector(first.begin(), first.begin() + 8),
                ElementsAre("ok", "nak", "nak", "ok", "checksum", "ok", "nak", "ok"));
}

TEST_F(FaultPlanTest, TheProbabilityIsKept) {
    SetRandom("0.2,nak,junk", 1);
    const std::vector<std::string> texts = NextOnes(20000);
    const auto naks = static_cast<double>(std::ranges::count(texts, "nak"));
    const auto junks = static_cast<double>(std::ranges::count(texts, "junk"));
    EXPECT_NEAR(naks, 2000, 200);
    EXPECT_NEAR(junks, 2000, 200);
    SetRandom("0,nak", 1);
    EXPECT_EQ(std::ranges::count(NextOnes(1000), "ok"), 1000);
    SetRandom("1,nak", 1);
    EXPECT_EQ(std::ranges::count(NextOnes(1000), "nak"), 1000);
}

TEST_F(FaultPlanTest, WhatWasArmedComesBeforeChance) {
    SetRandom("1,nak", 1);
    Add("junk");
    EXPECT_THAT(NextOnes(2), ElementsAre("junk", "nak"));
}

TEST_F(FaultPlanTest, WithoutAChoiceEveryUsualFaultComes) {
    SetRandom("1", 1);
    std::vector<std::string> texts = NextOnes(1000);
    std::ranges::sort(texts);
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    EXPECT_EQ(texts.size(), UsualFaults().size());
}

TEST_F(FaultPlanTest, AProbabilityThatIsNone) {
    RandomFaults random;
    std::string error;
    for (const char* text : {"", "x", "-0.1", "1.1", "0.5x", "nan", "nak,0.5"}) {
        EXPECT_FALSE(ParseRandomFaults(text, &random, &error)) << text;
        EXPECT_THAT(error, HasSubstr("esperado um numero de 0 a 1")) << text;
    }
    EXPECT_FALSE(ParseRandomFaults("0.5,", &random, &error));
    EXPECT_FALSE(ParseRandomFaults("0.5,zap", &random, &error));
    EXPECT_THAT(error, HasSubstr("\"zap\""));
}

namespace {

struct FaultScriptTest : testing::Test {
    std::deque<Faults> exchanges;
    std::string error;

    std::vector<std::string> Read(std::string_view text) {
        EXPECT_TRUE(ParseFaultScript("falhas.txt", text, &exchanges, &error)) << error;
        std::vector<std::string> texts;
        for (const Faults& faults : exchanges) {
            texts.push_back(FaultsText(faults));
        }
        return texts;
    }

    std::string Problem(std::string_view text) {
        EXPECT_FALSE(ParseFaultScript("falhas.txt", text, &exchanges, &error)) << text;
        return error;
    }
};

}  // namespace

TEST_F(FaultScriptTest, ALineForEachExchange) {
    EXPECT_THAT(Read("# so\nok\n\n  nak:block=2  # the second\r\njunk + checksum"),
                ElementsAre("ok", "nak:block=2", "junk+checksum"));
    EXPECT_THAT(Read(""), ElementsAre());
}

TEST_F(FaultScriptTest, Repeats) {
    EXPECT_THAT(Read("nak\nrepeat 2\nrepeat 2 junk\nrepeat\t1"),
                ElementsAre("nak", "nak", "nak", "junk", "junk", "junk"));
    EXPECT_EQ(Read("repeat 1000000 ok").size(), 1000000U);
}

TEST_F(FaultScriptTest, AMistakeIsNamedByFileAndLine) {
    EXPECT_THAT(Problem("ok\n\nzap\nok"),
                testing::AllOf(testing::StartsWith("falhas.txt:3: falha \"zap\""),
                               HasSubstr("esperado ok, no-ack"), HasSubstr("repeat N")));
    EXPECT_THAT(Problem("repeat 2"), testing::StartsWith("falhas.txt:1: repeat sem falha"));
    EXPECT_THAT(Problem("ok\nrepeat x"), HasSubstr(":2: depois de repeat esperado um numero de 1 a 1000000"));
    EXPECT_THAT(Problem("ok\nrepeat 0"), HasSubstr("1 a 1000000"));
    EXPECT_THAT(Problem("ok\nrepeat"), HasSubstr("1 a 1000000"));
    EXPECT_THAT(Problem("repeat 2 zap"), HasSubstr("\"zap\""));
    EXPECT_THAT(Problem("repeating 2"), HasSubstr("\"repeating 2\""));
    EXPECT_THAT(Problem("ok\nrepeat 1000000"), HasSubstr("no maximo 1000000"));
}

TEST_F(FaultScriptTest, AFileThatCannotBeRead) {
    EXPECT_FALSE(ReadFaultScript("no-such-file", &exchanges, &error));
    EXPECT_THAT(error, testing::StartsWith("no-such-file: "));
    EXPECT_FALSE(ReadFaultScript(".", &exchanges, &error));
    EXPECT_THAT(error, testing::StartsWith(".: "));
}

}  // namespace emulator

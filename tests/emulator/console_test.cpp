#include "console.h"

#include <gmock/gmock.h>

#include <cstring>

namespace emulator {

namespace {

using testing::AllOf;
using testing::HasSubstr;

// What stands on the standard input; the end of a string is the end of a read.
std::deque<std::string> typed;

}  // namespace

// The system's part, in the tests' hands.
int ReadInput(char* buffer, size_t size) {
    if (typed.empty()) return 0;
    const std::string text = typed.front();
    typed.pop_front();
    EXPECT_LE(text.size(), size);
    std::memcpy(buffer, text.data(), text.size());
    return static_cast<int>(text.size());
}

namespace {

struct ConsoleTest : testing::Test {
    FaultPlan plan;
    StopFlag stop = false;
    std::string moved;
    Console console{.plan = plan, .reporter = {}, .stop = stop, .move = [this](std::string_view where) {
                        moved = where;
                        return std::string(where == "nowhere" ? "nao existe" : "");
                    }};
    std::string answer;

    bool Run(std::string_view line) { return RunConsoleLine(console, line, &answer); }
    std::string Next() { return FaultsText(NextFaults(plan).faults); }
};

}  // namespace

TEST_F(ConsoleTest, AFaultForTheNextExchange) {
    EXPECT_TRUE(Run("  fault  nak:block=2 + junk \r"));
    EXPECT_EQ(answer, "armada: nak:block=2+junk");
    EXPECT_TRUE(Run("fault ok"));
    EXPECT_TRUE(Run("fault silence"));
    EXPECT_EQ(Next(), "nak:block=2+junk");
    EXPECT_EQ(Next(), "ok");
    EXPECT_EQ(Next(), "silence");
}

TEST_F(ConsoleTest, FaultsByChanceWithCommasOrBlanks) {
    for (const char* line : {"random 1 nak:block=2", "random 1,nak:block=2", "random\t1 ,  nak:block=2"}) {
        EXPECT_TRUE(Run(line));
        EXPECT_THAT(answer, AllOf(HasSubstr("1,nak:block=2"), HasSubstr("semente ")));
        EXPECT_EQ(Next(), "nak:block=2") << line;
        ClearFaults(plan);
    }
}

TEST_F(ConsoleTest, Clear) {
    Run("fault nak");
    Run("random 1 junk");
    EXPECT_TRUE(Run("clear"));
    EXPECT_EQ(Next(), "ok");
}

TEST_F(ConsoleTest, StateMovesTheDevice) {
    EXPECT_TRUE(Run("state  blocked "));
    EXPECT_EQ(moved, "blocked");
    EXPECT_EQ(answer, "equipamento: blocked");
    EXPECT_FALSE(Run("state nowhere"));
    EXPECT_EQ(answer, "nao existe");
}

TEST_F(ConsoleTest, HelpTeachesCommandsAndFaults) {
    EXPECT_TRUE(Run("help"));
    EXPECT_THAT(answer, AllOf(HasSubstr("fault FALHA"), HasSubstr("random P"), HasSubstr("clear "),
                              HasSubstr("state ONDE"), HasSubstr("quit "), HasSubstr(FaultHelp())));
}

TEST_F(ConsoleTest, Quit) {
    typed = {"quit\n"};
    testing::internal::CaptureStdout();
    ReadConsole(console);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "terminando\n");
    EXPECT_TRUE(stop);
}

TEST_F(ConsoleTest, AWrongLineIsExplained) {
    EXPECT_FALSE(Run("fautl nak"));
    EXPECT_THAT(answer,
                AllOf(HasSubstr("\"fautl\""), HasSubstr("fault, random, clear, state, help ou quit")));
    EXPECT_FALSE(Run("fault zap"));
    EXPECT_THAT(answer, HasSubstr("\"zap\""));
    EXPECT_FALSE(Run("fault"));
    EXPECT_FALSE(Run("random x"));
    EXPECT_THAT(answer, HasSubstr("0 a 1"));
    EXPECT_FALSE(Run("quit now"));
    EXPECT_THAT(answer, HasSubstr("nada esperado"));
    EXPECT_FALSE(stop);
    EXPECT_EQ(Next(), "ok");
}

TEST_F(ConsoleTest, LinesArriveInPiecesAndTheLastMayLackItsEnd) {
    typed = {"fau", "lt nak\n\n  \nfault ju", "nk\nzap\n", "fault busy"};
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ReadConsole(console);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "armada: nak\narmada: junk\narmada: busy\n");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("\"zap\""));
    EXPECT_EQ(Next(), "nak");
    EXPECT_EQ(Next(), "junk");
    EXPECT_EQ(Next(), "busy");
    EXPECT_FALSE(stop);
}

TEST_F(ConsoleTest, ALineWithoutAnEndIsRefusedAndTheNextOneServed) {
    for (int i = 0; i < 1000; ++i) {
        typed.push_back(std::string(1000, 'x'));
    }
    typed.push_back("\nfault nak\n");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ReadConsole(console);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "armada: nak\n");
    EXPECT_LT(testing::internal::GetCapturedStderr().size(), 70000U);
}

}  // namespace emulator

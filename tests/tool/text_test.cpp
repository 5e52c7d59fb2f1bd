#include "text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "run.h"

namespace tool {
namespace {

TEST(TextTest, Utf8StaysAsItIs) {
    EXPECT_EQ(ToUtf8("Opera\xC3\xA7\xC3\xA3o \xE2\x82\xAC \xF0\x9F\x98\x80"),
              "Opera\xC3\xA7\xC3\xA3o \xE2\x82\xAC \xF0\x9F\x98\x80");
}

TEST(TextTest, Latin1AndWindows1252BecomeUtf8) {
    EXPECT_EQ(ToUtf8("Opera\xE7\xE3o"), "Opera\xC3\xA7\xC3\xA3o");
    EXPECT_EQ(ToUtf8("\x80"), "\xE2\x82\xAC");
    EXPECT_EQ(ToUtf8("\x93x\x94"), "\xE2\x80\x9Cx\xE2\x80\x9D");
}

TEST(TextTest, OverlongFormsAndSurrogatesAreNoUtf8) {
    EXPECT_EQ(ToUtf8("\xC0\x80"), "\xC3\x80\xE2\x82\xAC");
    EXPECT_NE(ToUtf8("\xED\xA0\x80"), "\xED\xA0\x80");
    EXPECT_NE(ToUtf8("\xE0\x80\xAF"), "\xE0\x80\xAF");
    EXPECT_NE(ToUtf8("\xF5\x80\x80\x80"), "\xF5\x80\x80\x80");
    EXPECT_NE(ToUtf8("\xC3"), "\xC3");
}

TEST(TextTest, ControlCharactersNeverReachTheTerminal) {
    EXPECT_EQ(Printable("a\x1B[31mb"), "a\xC2\xB7[31mb");
    EXPECT_EQ(Printable("a\tb\nc\x7F"), "a\tb\nc\xC2\xB7");
    // The C1 control that begins a sequence as ESC [ does.
    EXPECT_EQ(Printable("\xC2\x9B"
                        "31m"),
              "\xC2\xB7"
              "31m");
}

TEST(TextTest, ColumnsCountCharactersNotBytes) {
    EXPECT_EQ(Columns("a\xC3\xA7\xC3\xA3o"), 4U);
    EXPECT_EQ(Padded("a\xC3\xA7", 4), "a\xC3\xA7  ");
    EXPECT_EQ(Shortened("a\xC3\xA7\xC3\xA3o!", 4), "a\xC3\xA7\xC3\xA3\xE2\x80\xA6");
    EXPECT_EQ(Shortened("abcd", 4), "abcd");
}

TEST(TextTest, ValuesStandInTheirPlacesAndAreNotLookedThroughAgain) {
    EXPECT_EQ(Say({"%2 de %1", ""}, {"%2", "x"}), "x de %2");
    EXPECT_EQ(Say({"100%", ""}), "100%");
    EXPECT_EQ(Say({"%1 %2", ""}, {"a"}), "a %2");
}

TEST(TextTest, LanguageIsPortugueseUntilAnotherOneIsChosen) {
    EXPECT_EQ(Say({"sim", "yes"}), "sim");
    SetLanguage(Language::English);
    EXPECT_EQ(Say({"sim", "yes"}), "yes");
    SetLanguage(Language::Portuguese);
}

TEST(TextTest, SplitKeepsEmptyPieces) {
    EXPECT_THAT(Split("a||b|", '|'), testing::ElementsAre("a", "", "b", ""));
    EXPECT_THAT(Split("", '|'), testing::ElementsAre(""));
}

TEST(ProgressTest, BarFillsWithTheTimeOut) {
    EXPECT_EQ(ProgressLine("X", 0, 10, 24), "X 0 s / 10 s [--------]");
    EXPECT_EQ(ProgressLine("X", 5000, 10, 24), "X 5 s / 10 s [####----]");
    EXPECT_EQ(ProgressLine("X", 50000, 10, 25), "X 50 s / 10 s [########]");
}

TEST(ProgressTest, NarrowTerminalHasNoBar) {
    EXPECT_EQ(ProgressLine("ConsultarSAT", 1000, 10, 20), "ConsultarSAT 1 s / 10 s");
}

TEST(ProgressTest, NoTimeOutIsNoDivisionByZero) {
    EXPECT_EQ(ProgressLine("X", 1000, 0, 24), "X 1 s / 0 s [#########]");
}

}  // namespace
}  // namespace tool

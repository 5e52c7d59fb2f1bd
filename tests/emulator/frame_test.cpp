#include "frame.h"

#include <gtest/gtest.h>

namespace emulator {

TEST(Frame, SumsTheTextAndClosesIt) {
    EXPECT_EQ(BuildFrame("AB"),
              "\x02"
              "AB"
              "\x83\x03");
}

TEST(Frame, ASumThatReadsAsEtxBecomesFour) {
    EXPECT_EQ(FrameSum("\x01\x02"), 4);
    EXPECT_EQ(FrameSum("\x01\x01"), 2);
    EXPECT_EQ(FrameSum("\x02\x02"), 4);
}

TEST(Frame, WrapsAndKeepsZero) {
    EXPECT_EQ(FrameSum("\xff\x01"), 0);
    EXPECT_EQ(BuildFrame("\xff\x01"), std::string("\x02\xff\x01\x00\x03", 5));
    EXPECT_EQ(FrameSum(std::string(257, '\xff')), 0xFF);
}

}  // namespace emulator

/*
 * How much memory each routine asks for: what it needs and the room to spare that it has always had. More
 * would be paid by every sale, less would be written over.
 */
#include <functional>

#include "api_fixture.h"

namespace {

class AllocationSizes : public Api {
  protected:
    /** The sizes asked for by a routine, in their order. */
    static std::vector<std::string> Asked(const std::function<void()>& routine) {
        World().faults.trace.clear();
        World().faults.TraceOn({sim::Call::Alloc});
        routine();
        World().faults.TraceOff();
        return World().faults.trace;
    }

    static std::vector<std::string> Sizes(std::initializer_list<size_t> sizes) {
        std::vector<std::string> lines;
        for (const size_t size : sizes) {
            lines.push_back("Alloc " + std::to_string(size));
        }
        return lines;
    }
};

TEST_F(AllocationSizes, OfBase64) {
    uint64_t length = 0;
    EXPECT_EQ(Asked([&] { VKO_Base64Encoder("abcd", 4, nullptr, &length); }), Sizes({8 + 1}));
    EXPECT_EQ(Asked([] { VKO_Base64DecTblAlloc(); }), Sizes({256}));
    VKO_Base64DecTblFree();
}

TEST_F(AllocationSizes, OfIniFiles) {
    World().files.SetText("a.ini", "[S]\nA=1\n");
    char value[8];
    EXPECT_EQ(Asked([&] { VKO_GetIniFileValueSized("a.ini", "S", "A", value, sizeof value); }),
              Sizes({8 + 1024}));
    constexpr size_t line = 1 + 1 + 2 + 16;
    EXPECT_EQ(Asked([] { VKO_SetIniFileValue("a.ini", "S", "A", "22"); }), Sizes({8 + 64 + 1024 + line}));
    EXPECT_EQ(Asked([] { VKO_SetIniFileValue("a.ini", "S", "B", "22"); }),
              Sizes({9 + 64 + 1024 + line, line}));
    EXPECT_EQ(Asked([] { VKO_SetIniFileValue("b.ini", "S", "A", "22"); }), Sizes({line}));
    EXPECT_EQ(Asked([] { CreateFile_ZantirIni(); }), Sizes({8192}));
}

TEST_F(AllocationSizes, OfParsers) {
    EXPECT_EQ(Asked([] { SAT_API_CmdPktParcer("a|b", 3); }), Sizes({3 + 10}));
    EXPECT_EQ(Asked([] { SAT_API_RspPktParcer("a|bc", 4); }), Sizes({4 + 10}));
    EXPECT_EQ(Asked([] { SAT_APP_CmdParcer("ConsultarSAT", "a|b"); }), Sizes({3 + 10}));
    EXPECT_EQ(Asked([] { SAT_APP_RspParcer("ConsultarSAT", 1, nullptr, nullptr, nullptr, "a|b"); }),
              Sizes({3 + 5000}));
}

TEST_F(AllocationSizes, OfLines) {
    EXPECT_EQ(Asked([] { LogSATProtocolMsg("abcde", 0); }), Sizes({5 + 48 + 64}));
    EXPECT_EQ(Asked([] { VKO_Print("%s\n", "abcde"); }), Sizes({6 + 1}));
    EXPECT_EQ(Asked([] { VKO_Print("%s", ""); }), Sizes({1}));
}

TEST_F(AllocationSizes, OfAListOfPorts) {
    World().devices.push_back({.port_name = "COM7", .friendly = "ZANTIR SAT"});
    char name[256];
    // The size that the system tells counts the text's NUL.
    EXPECT_EQ(Asked([&] { vListComPorts(name); }), Sizes({sizeof(SerialPortNode), 4 + 1, 10 + 1 + 1}));
}

}  // namespace

/*
 * The lines of the protocol log: one packet a line, by direction and shape of the frame.
 */
#include <cstdlib>
#include <random>

#include "logged_library.h"

namespace {

constexpr uint8_t kToDevice = 0;
constexpr uint8_t kFromDevice = 1;

/** The bytes of a packet; what follows a NUL in it is what stands behind the string's end. */
std::string Bytes(std::initializer_list<int> bytes) {
    std::string text;
    for (const int byte : bytes)
        text += static_cast<char>(byte);
    return text;
}

class ProtocolLine : public LoggedLibrary {
  protected:
    /**
     * Logs a packet that stands alone in memory, with nothing readable behind the byte that follows its
     * terminator, and returns its line.
     */
    static std::string LineOf(const std::string& bytes, uint8_t direction) {
        World().files.Remove("Log\\20261120_SAT_ProtocolLog.txt");
        gl_iFd = 0;
        CreateSAT_ProtLogFile();
        TakeLog();
        const size_t length = strlen(bytes.c_str());
        char* packet = static_cast<char*>(calloc(1, length + 2));
        memcpy(packet, bytes.data(), std::min(bytes.size(), length + 2));
        LogSATProtocolMsg(packet, direction);
        free(packet);
        return ProtocolLog();
    }

    static std::string Diagnosed(const std::string& message) {
        return "WRN [#] [../src/api/ZANTIR] [LogSATProtocolMsg]All WR" + message + "\n";
    }
};

struct Row {
    std::string packet;
    uint8_t direction;
    std::string line;  ///< behind the time
    std::string diagnosed;
};

TEST_F(ProtocolLine, EveryRowOfDirectionAndShape) {
    const std::string good = Bytes({2, 'a', 'b', 'c', 0x5A, 3});
    const std::string zero = Bytes({2, 'a', 'b', 'c', 0, 3});
    const std::string noStx = Bytes({'a', 'b', 'c', 0x5A, 3});
    const std::string noEtx = Bytes({2, 'a', 'b', 'c', 0x5A});
    const std::string etx = "\n\t iSatPkgLen[00000006]\n\t pSatPkt[iSatPkgLen-1]=[03h]Rcvd ETX";
    const std::string zeroSum =
        ":\n\t iSatPkgLen[00000005]\n\t pSatPkt[iSatPkgLen-1]=[03h]rcvd ETX CKSUM=0x00";
    const std::string badStart = ":bInvalidPacket\n\t iSatPkgLen[00000005]\n\t pSatPkt[0]=[61h]Expected STX";
    const std::string badEnd =
        ":bInvalidPacket\n\t iSatPkgLen[00000005]\n\t pSatPkt[iSatPkgLen-1]=[5Ah]Expected ETX";
    const Row rows[] = {
        {good, kToDevice, " PC->SAT >> [<02>abc<5A><03>]OK:a\n", etx},
        {zero, kToDevice, " SAT->PC << [ab<00><03>]WR:CKSUM=0x00--\n", zeroSum},
        {noStx, kToDevice, " PC->SAT >> [abcZ\x03]InvalidSatPkg\n", badStart},
        {noEtx, kToDevice,
         " PC->SAT >> [\x02"
         "abcZ]InvalidSatPkg\n",
         badEnd},
        {good, kFromDevice, " SAT->PC << [<02>abc<5A><03>]OK:b\n", etx},
        {zero, kFromDevice, " SAT->PC << [<02>ab<00><03>]WR:CKS=0x00\n", zeroSum},
        {noStx, kFromDevice, " SAT->PC << [abcZ\x03]InvalidSatPkg\n", badStart},
        {noEtx, kFromDevice,
         " SAT->PC << [\x02"
         "abcZ]InvalidSatPkg\n",
         badEnd},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(LineOf(row.packet, row.direction), "20261120120405" + row.line);
        EXPECT_EQ(TakeLog(), Diagnosed(row.diagnosed));
        EXPECT_EQ(World().LiveAllocations(), 0);
    }
}

TEST_F(ProtocolLine, AnyDirectionButOneIsToTheDevice) {
    for (const int direction : {0, 2, 3, 127, 255}) {
        EXPECT_EQ(LineOf(Bytes({2, 'a', 0x61, 3}), static_cast<uint8_t>(direction)),
                  "20261120120405 PC->SAT >> [<02>a<61><03>]OK:a\n");
    }
}

TEST_F(ProtocolLine, ShortFrames) {
    struct Short {
        std::string packet;
        std::string to_device;
        std::string from_device;
    };
    const Short frames[] = {
        {"", " PC->SAT >> []InvalidSatPkg\n", " SAT->PC << []InvalidSatPkg\n"},
        {Bytes({2}), " PC->SAT >> [\x02]InvalidSatPkg\n", " SAT->PC << [\x02]InvalidSatPkg\n"},
        {Bytes({3}), " PC->SAT >> [\x03]InvalidSatPkg\n", " SAT->PC << [\x03]InvalidSatPkg\n"},
        {Bytes({2, 3}), " PC->SAT >> [<02><03>]OK:a\n", " SAT->PC << [<02><03>]OK:b\n"},
        {Bytes({2, 0xFF, 3}), " PC->SAT >> [<02><FF><03>]OK:a\n", " SAT->PC << [<02><FF><03>]OK:b\n"},
        {Bytes({2, 0, 3}), " SAT->PC << [<00><03>]WR:CKSUM=0x00--\n",
         " SAT->PC << [<02><00><03>]WR:CKS=0x00\n"},
        {Bytes({2, 'a', 0, 3}), " SAT->PC << [<00><03>]WR:CKSUM=0x00--\n",
         " SAT->PC << [<02><00><03>]WR:CKS=0x00\n"},
        {Bytes({0, 3}), " PC->SAT >> []InvalidSatPkg\n", " SAT->PC << []InvalidSatPkg\n"},
    };
    for (const Short& frame : frames) {
        EXPECT_EQ(LineOf(frame.packet, kToDevice), "20261120120405" + frame.to_device);
        EXPECT_EQ(LineOf(frame.packet, kFromDevice), "20261120120405" + frame.from_device);
    }
}

TEST_F(ProtocolLine, OnlyTheFramingBytesAreShownInHexadecimal) {
    EXPECT_EQ(LineOf(Bytes({2, 1, 10, 13, 27, 0xE7, 3, '%', 's', 0x0A, 3}), kFromDevice),
              "20261120120405 SAT->PC << [<02>\x01\n\r\x1B\xE7\x03%s<0A><03>]OK:b\n");
}

TEST_F(ProtocolLine, AMissingPacketIsReportedWithItsStrayLetter) {
    CreateSAT_ProtLogFile();
    TakeLog();
    LogSATProtocolMsg(nullptr, kToDevice);
    EXPECT_EQ(TakeLog(), "WRN [#] [../src/api/ZANTIR] [LogSATProtocolMsg]All WR:pText=NUL\nL");
    EXPECT_EQ(ProtocolLog(), "");
    EXPECT_FALSE(gl_bProtocolLineFormatted);
}

TEST_F(ProtocolLine, WithoutMemoryTheLineIsReportedAndDropped) {
    CreateSAT_ProtLogFile();
    TakeLog();
    World().faults.FailNth(sim::Call::Alloc, 1);
    LogSATProtocolMsg(
        "\x02"
        "abc\x5A\x03",
        kToDevice);
    EXPECT_EQ(TakeLog(), Diagnosed(":calloc error iSatPkgLen[00000006]"));
    EXPECT_EQ(ProtocolLog(), "");
    EXPECT_FALSE(gl_bProtocolLineFormatted);
}

TEST_F(ProtocolLine, TheTimeIsTheLocalOne) {
    World().clock.SetUtc(2026, 12, 31, 23, 8, 9);
    World().clock.SetZone(60);
    CreateSAT_ProtLogFile();
    LogSATProtocolMsg("\x02\x41\x41\x03", kToDevice);
    EXPECT_EQ(FileText("Log\\20270101_SAT_ProtocolLog.txt"),
              "20270101000809 PC->SAT >> [<02>A<41><03>]OK:a\n");
}

TEST_F(ProtocolLine, APacketOfTenMegabytesIsShownWhole) {
    const std::string text(10'000'000, 'x');
    EXPECT_TRUE(LineOf("\x02" + text + "\x5A\x03", kFromDevice) ==
                "20261120120405 SAT->PC << [<02>" + text + "<5A><03>]OK:b\n");
}

TEST_F(ProtocolLine, ASaleLeavesBothItsPackets) {
    WriteIni(DefaultIni());
    sim::HonestDevice device([](const std::string&) { return "000042|06000|0000|Emitido"; });
    AttachDevice(&device);
    EnviarDadosVenda(42, "12345678", "<CFe/>");
    char sums[2][8];
    VKO_FormatText(sums[0], 8, "<%02X>", sim::FrameChecksum("EnviarDadosVenda|000042|12345678|<CFe/>"));
    VKO_FormatText(sums[1], 8, "<%02X>", sim::FrameChecksum("000042|06000|0000|Emitido"));
    EXPECT_THAT(ProtocolLog(),
                testing::ContainsRegex("PC->SAT >> \\[<02>EnviarDadosVenda\\|000042\\|12345678\\|<CFe/>" +
                                       std::string(sums[0]) + "<03>\\]OK:a\n"));
    EXPECT_THAT(ProtocolLog(), testing::HasSubstr(" SAT->PC << [<02>000042|06000|0000|Emitido" +
                                                  std::string(sums[1]) + "<03>]OK:b\n"));
}

// ------------------------------------------------------------------------------ against a second formulation

std::string Hex(char byte) {
    static const char digits[] = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    return {'<', digits[value / 16], digits[value % 16], '>'};
}

/** The line of a packet, put together frame by frame. `behind` follows the terminator. */
std::string Rendered(const std::string& packet, char behind, bool from_device) {
    const std::string label = from_device ? " SAT->PC << [" : " PC->SAT >> [";
    if (packet.empty() || packet.front() != '\x02') return label + packet + "]InvalidSatPkg\n";
    if (packet.back() == '\x03') {
        std::string shown = "<02>";
        if (packet.size() > 3) shown += packet.substr(1, packet.size() - 3);
        if (packet.size() >= 3) shown += Hex(packet[packet.size() - 2]);
        return label + shown + "<03>" + (from_device ? "]OK:b\n" : "]OK:a\n");
    }
    if (behind != '\x03') return label + packet + "]InvalidSatPkg\n";
    std::string text = packet.substr(1);
    if (!text.empty()) text.pop_back();
    return from_device ? " SAT->PC << [<02>" + text + "<00><03>]WR:CKS=0x00\n"
                       : " SAT->PC << [" + text + "<00><03>]WR:CKSUM=0x00--\n";
}

TEST_F(ProtocolLine, RandomPacketsAgreeWithASecondFormulation) {
    std::mt19937 random(20261120);
    static const std::string alphabet(
        "\x02\x03\x02\x03"
        "aZ|%[]<>\n\r\x04\xFF",
        16);
    LoadAtMode('1');
    for (int round = 0; round < 5000; ++round) {
        std::string packet;
        const size_t length = random() % 9;
        for (size_t i = 0; i < length; ++i)
            packet += alphabet[random() % alphabet.size()];
        // Half of them begin as a frame does.
        if (random() % 2 == 0 && !packet.empty()) packet[0] = '\x02';
        const char behind =
            "\x03\x03"
            "a\0"[random() % 4];
        const bool from_device = random() % 2 == 0;
        ASSERT_EQ(LineOf(packet + '\0' + behind, from_device ? kFromDevice : kToDevice),
                  "20261120120405" + Rendered(packet, behind, from_device))
            << testing::PrintToString(packet) << " behind " << static_cast<int>(behind);
    }
}

}  // namespace

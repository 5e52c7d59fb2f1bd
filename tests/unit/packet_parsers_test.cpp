#include "vko_sat_utils/packet_parsers.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "captured_log.h"

namespace {

/** A frame as it is on the wire, with the checksum that its text has. */
std::string FrameOf(const std::string& text) {
    unsigned sum = 0;
    for (const char character : text) {
        sum += static_cast<unsigned char>(character);
    }
    sum %= 256;
    return '\x02' + text + static_cast<char>(sum == 3 ? 4 : sum) + '\x03';
}

/** Hands the bytes over in memory of exactly their size, so that reading further is an error. */
int32_t Parse(int32_t (*parser)(const void*, int32_t), const std::string& bytes) {
    const auto memory = std::make_unique<char[]>(bytes.size());
    memcpy(memory.get(), bytes.data(), bytes.size());
    const int32_t count = parser(memory.get(), static_cast<int32_t>(bytes.size()));
    EXPECT_EQ(memcmp(memory.get(), bytes.data(), bytes.size()), 0) << "the caller's text was changed";
    return count;
}

int32_t ParseCommand(const std::string& bytes) {
    return Parse(SAT_API_CmdPktParcer, bytes);
}

int32_t ParseReply(const std::string& bytes) {
    return Parse(SAT_API_RspPktParcer, bytes);
}

TEST(CommandPacket, ASale) {
    const CapturedLog log;
    EXPECT_EQ(ParseCommand(FrameOf("EnviarDadosVenda|000042|segredo|<CFe></CFe>")), 4);
    EXPECT_EQ(log.Messages(),
              "STX[02h]\n"
              "P01=[00000016:EnviarDadosVenda]NomeDoComando\n"
              "P02=[00000006:000042]numeroSessao(AC-RND)\n"
              "P03=[00000007:segredo]\n"
              "P04=[00000011:<CFe></CFe>]LastParam\n"
              "CKS[C0h]\n"
              "ETX[03h]\n");
    for (const LogLine& line : log.Lines()) {
        EXPECT_EQ(line.level, VKO_LOG_INF);
        EXPECT_EQ(line.function, "SAT_API_CmdPktParcer");
        EXPECT_EQ(line.source, "../src/vko_sat_utils/vko_sat_utils");
        EXPECT_GT(line.line, 0);
    }
    EXPECT_EQ(log.LiveAllocations(), 0);
}

TEST(CommandPacket, SessionAndNameMayBeTheLast) {
    const CapturedLog log;
    EXPECT_EQ(ParseCommand(FrameOf("ConsultarSAT|000042")), 2);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "P02=[00000006:000042]numeroSessao(AC-RND) LastParam"));
    EXPECT_EQ(ParseCommand(FrameOf("AB")), 1);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "P01=[00000002:AB]NomeDoComando LastParam"));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "CKS[83h]"));
}

TEST(CommandPacket, EmptyFieldsHaveTheirNumbers) {
    const CapturedLog log;
    EXPECT_EQ(ParseCommand("||A|||B|C"), 7);
    EXPECT_EQ(log.Messages(),
              "P01=[NULL] [01]\n"
              "P02=[NULL] [02]\n"
              "P03=[00000001:A]\n"
              "P04=[NULL] [01]\n"
              "P05=[NULL] [02]\n"
              "P06=[00000001:B]\n"
              "P07=[00000001:C]\n");
}

TEST(CommandPacket, LastArgumentEmpty) {
    const CapturedLog log;
    EXPECT_EQ(ParseCommand("\002A|1|\x55\x03"), 3);
    EXPECT_EQ(log.Messages(),
              "STX[02h]\nP01=[00000001:A]NomeDoComando\nP02=[00000001:1]numeroSessao(AC-RND)\n"
              "P03=[00000000:]LastParam\nCKS[55h]\nETX[03h]\n");
}

TEST(CommandPacket, ChecksumThatLooksLikeASeparator) {
    const CapturedLog log;
    EXPECT_EQ(ParseCommand("A|1|\x03"), 2) << "nothing but the checksum stands between the field and ETX";
    EXPECT_EQ(log.Messages(),
              "P01=[00000001:A]NomeDoComando\nP02=[00000001:1]numeroSessao(AC-RND)\nCKS[7Ch]\nETX[03h]\n");
}

TEST(CommandPacket, ChecksumThatEndsARunOfSeparators) {
    const CapturedLog log;
    EXPECT_EQ(ParseCommand("A|||\x03"), 4) << "one more empty field is counted in front of ETX";
    EXPECT_EQ(log.Messages(),
              "P01=[00000001:A]NomeDoComando\nP02=[NULL] [01]\nP03=[NULL] [02]\nP04=[NULL] [03]\n"
              "CKS[7Ch]\nETX[03h]\n");
}

TEST(CommandPacket, ZeroChecksumIsShownAndNotReadPast) {
    const CapturedLog log;
    const std::string frame("\x02\x80\x40|\x04\xC0\x00\x03", 8);
    EXPECT_EQ(ParseCommand(frame), 2);
    EXPECT_EQ(log.Messages(),
              "STX[02h]\nP01=[00000002:\x80\x40]NomeDoComando\nP02=[00000002:\x04\xC0]numeroSessao(AC-RND)\n"
              "CKS[00h]=pSatCmdPkt[strlen(pSatCmdPkt)+0]\nETX[03h]=pSatCmdPkt[strlen(pSatCmdPkt)+1]\n");
}

TEST(CommandPacket, ZeroWithoutEtxBehindIt) {
    const CapturedLog log;
    EXPECT_EQ(ParseCommand(std::string("A|B\x00\x55", 5)), 2);
    EXPECT_TRUE(log.Has(VKO_LOG_WRN, "CKS[00h]=pSatCmdPkt[strlen(pSatCmdPkt)+0] Expected CKS"));
    EXPECT_TRUE(log.Has(VKO_LOG_WRN, "ETX[55h]=pSatCmdPkt[strlen(pSatCmdPkt)+1] Expected ETX"));
}

TEST(CommandPacket, OnlyTheGivenLengthCounts) {
    const CapturedLog log;
    const char text[] = "AB|CD|EF|GH";
    EXPECT_EQ(SAT_API_CmdPktParcer(text, 4), 2);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "P02=[00000001:C]numeroSessao(AC-RND)"));
    EXPECT_EQ(SAT_API_CmdPktParcer(text, 0), 0);
    EXPECT_EQ(SAT_API_CmdPktParcer(text, -5), 0);
    EXPECT_EQ(SAT_API_RspPktParcer(text, -2), 0);
}

TEST(CommandPacket, LoneEtx) {
    const CapturedLog log;
    EXPECT_EQ(ParseCommand("\x03"), 1);
    EXPECT_EQ(log.Messages(), "P01=[00000000:]NomeDoComando LastParam\nETX[03h]\n");
    EXPECT_EQ(ParseCommand("\x02\x03"), 1);
}

TEST(CommandPacket, NoField) {
    const CapturedLog log;
    EXPECT_EQ(SAT_API_CmdPktParcer(nullptr, 5), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "pSatCmdPkt=NULL"));
    EXPECT_EQ(ParseCommand("|||"), 0);
    EXPECT_EQ(ParseCommand(""), 0);
    EXPECT_EQ(log.Lines().size(), 3U);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "WARNING INVALID SAT ARGS HAS NO PIPE SEPARATOR!!!"));
    EXPECT_EQ(log.LiveAllocations(), 0);
}

TEST(CommandPacket, NoMemory) {
    CapturedLog log;
    log.FailAllocations();
    EXPECT_EQ(ParseCommand("A|B"), 0);
    EXPECT_EQ(ParseReply("1|2"), 0);
    EXPECT_EQ(SAT_APP_CmdParcer("X", "a|b"), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "pSatCmdPkt=[00000003:A|B]CALLOC FAIL!!!"));
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "pSatRspPkt=[00000003:1|2]CALLOC FAIL!!!"));
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "pSatArgs=[00000003:a|b]CALLOC FAIL!!!"));
    log.FailAllocations(false);
    EXPECT_EQ(ParseCommand("A|B"), 2);
}

TEST(CommandPacket, ALongArgumentIsShownWhole) {
    const CapturedLog log;
    const std::string argument(150, 'x');
    EXPECT_EQ(ParseCommand("A|1|" + argument), 3);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "P03=[00000150:" + argument + "]"));
}

TEST(ReplyPacket, AStatusReplyOf28Fields) {
    const CapturedLog log;
    std::string text = "000042|10000|Resposta com Sucesso||";
    std::string expected =
        "STX[02h]\nR01=[00000006:000042]\nR02=[00000005:10000]\n"
        "R03=[00000020:Resposta com Sucesso]\nR04=[NULL] [01]\n";
    for (int number = 5; number <= 28; number++) {
        const std::string value = "v" + std::to_string(number);
        text += value + (number == 28 ? "" : "|");
        char line[64];
        snprintf(line, sizeof line, "R%02d=[%08d:%s]\n", number, static_cast<int>(value.size()),
                 value.c_str());
        expected += line;
    }
    const std::string frame = FrameOf(text);
    char end[32];
    snprintf(end, sizeof end, "CKS[%02Xh]\nETX[03h]\n",
             static_cast<unsigned>(static_cast<unsigned char>(frame[frame.size() - 2])));
    EXPECT_EQ(ParseReply(frame), 28);
    EXPECT_EQ(log.Messages(), expected + end);
    EXPECT_EQ(log.Lines()[0].function, "SAT_API_RspPktParcer");
}

TEST(ReplyPacket, AnEmptyReply) {
    const CapturedLog log;
    EXPECT_EQ(ParseReply("\x02" + std::string("\x00\x03", 2)), 1);
    EXPECT_EQ(log.Messages(),
              "STX[02h]\nR01=[00000000:]\n"
              "CKS[00h]=pSatRspPkt[strlen(pSatRspPkt)+0]\nETX[03h]=pSatRspPkt[strlen(pSatRspPkt)+1]\n");
}

TEST(ReplyPacket, SeparatorsOnly) {
    const CapturedLog log;
    EXPECT_EQ(ParseReply("||||"), 0);
    EXPECT_EQ(log.Messages(), "WARNING INVALID SAT ARGS HAS NO PIPE SEPARATOR!!!\n");
    EXPECT_EQ(log.Lines()[0].level, VKO_LOG_ERR);
    EXPECT_EQ(ParseReply(FrameOf("||||")), 5) << "in a frame, STX is the first field";
}

TEST(ReplyPacket, NullText) {
    const CapturedLog log;
    EXPECT_EQ(SAT_API_RspPktParcer(nullptr, 5), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "pSatRspPkt=NULL"));
}

/** A field whose bytes tell where they stand, so that a mark in the wrong place shows. */
std::string Counting(size_t length) {
    std::string text;
    for (size_t i = 0; i < length; i++) {
        text += static_cast<char>('a' + i % 26);
    }
    return text;
}

TEST(ReplyPacket, ALongFieldIsShortened) {
    const CapturedLog log;
    const std::string field = Counting(150);
    EXPECT_EQ(ParseReply("1|" + field + "|2"), 3);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "BIG R02=[00000150:" + field.substr(0, 97) + "..>]")) << log.Messages();
}

TEST(ReplyPacket, ALongLastFieldGetsOneMark) {
    const CapturedLog log;
    const std::string field = Counting(150);
    EXPECT_EQ(ParseReply("1|" + field + "\x55\x03"), 2);
    EXPECT_TRUE(
        log.Has(VKO_LOG_INF, "BIG R02=[00000150:" + field.substr(0, 97) + ">" + field.substr(98, 2) + "]"))
        << log.Messages();
}

TEST(ReplyPacket, AHundredCharactersAreNotLong) {
    const CapturedLog log;
    EXPECT_EQ(ParseReply("1|" + Counting(100) + "|" + Counting(101)), 3);
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "R02=[00000100:" + Counting(100) + "]"));
    EXPECT_TRUE(log.Has(VKO_LOG_INF, "BIG R03=[00000101:" + Counting(97) + "..>]"));
}

TEST(ReplyPacket, ZeroChecksumIsMeasuredByTheLastField) {
    const CapturedLog log;
    // Two fields: the last one's length plus 2 is not the frame's, so nothing is said of the two bytes.
    EXPECT_EQ(ParseReply(std::string("\00212|ab\x00\x03", 8)), 2);
    EXPECT_EQ(log.Messages(), "STX[02h]\nR01=[00000002:12]\nR02=[00000002:ab]\n");
    // One field and no ETX.
    EXPECT_EQ(ParseReply(std::string("abc\x00\x55", 5)), 1);
    EXPECT_TRUE(log.Has(VKO_LOG_WRN, "CKS[00h]=pSatRspPkt[strlen(pSatRspPkt)+0] Expected CKS"));
    EXPECT_TRUE(log.Has(VKO_LOG_WRN, "ETX[55h]=pSatRspPkt[strlen(pSatRspPkt)+1] Expected ETX"));
}

TEST(ReplyPacket, TenMegabytes) {
    const CapturedLog log;
    const size_t size = 10 << 20;
    const std::string big = Counting(size - 20);
    EXPECT_EQ(ParseReply("\002000042|06000|" + big + "\x55\x03"), 3);
    EXPECT_EQ(log.Lines().size(), 6U);
    char line[160];
    snprintf(line, sizeof line, "BIG R03=[%08d:%s>%s]", static_cast<int>(big.size()),
             big.substr(0, 97).c_str(), big.substr(98, 2).c_str());
    EXPECT_TRUE(log.Has(VKO_LOG_INF, line));
    EXPECT_EQ(log.LiveAllocations(), 0);
}

TEST(ReplyPacket, TenMegabytesOfFieldsAreCountedWhenNobodyListens) {
    for (const char mode : {'0', '1', '2'}) {
        const CapturedLog log(mode);
        std::string text;
        for (size_t i = 0; i < (5 << 20); i++) {
            text += "a|";
        }
        EXPECT_EQ(ParseReply(text), 5 << 20);
        EXPECT_EQ(ParseCommand(text), 5 << 20);
        EXPECT_EQ(SAT_APP_CmdParcer(nullptr, text.c_str()), (5 << 20) + 1);
        EXPECT_TRUE(log.Lines().empty());
        EXPECT_EQ(log.LiveAllocations(), 0);
    }
}

TEST(CommandArguments, Labels) {
    const CapturedLog log;
    EXPECT_EQ(SAT_APP_CmdParcer("AtivarSAT", "aa|bb|cc|dd|ee|ff|gg"), 8);
    EXPECT_EQ(
        log.Messages(),
        "P01  ------------[00000002:aa]\nP02  ------------[00000002:bb]\nP03  ------------[00000002:cc]\n"
        "P04  ------------[00000002:dd]\nP05  ------------[00000002:ee]\nP06  ------------[00000002:ff]\n"
        "P07  UNKNOWN[00000002:gg]\n");
    for (const LogLine& line : log.Lines()) {
        EXPECT_EQ(line.level, VKO_LOG_INF);
        EXPECT_EQ(line.function, "SAT_APP_CmdParcer");
    }
}

TEST(CommandArguments, EmptyFieldsAreSeenBehindOneCharacterOnly) {
    const CapturedLog log;
    EXPECT_EQ(SAT_APP_CmdParcer(nullptr, "|a|||bb||ccc||d"), 8);
    EXPECT_EQ(log.Messages(),
              "P01=[NULL] [01]\nP02  ------------[00000001:a]\nP03=[NULL] [01]\nP04=[NULL] [02]\n"
              "P05  ------------[00000002:bb]\nP06  ------------[00000003:ccc]\nP07  UNKNOWN[00000001:d]\n");
}

TEST(CommandArguments, NoField) {
    const CapturedLog log;
    EXPECT_EQ(SAT_APP_CmdParcer("X", nullptr), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "pSatArgs=NULL"));
    EXPECT_EQ(SAT_APP_CmdParcer("X", "||"), 0);
    EXPECT_EQ(SAT_APP_CmdParcer("X", ""), 0);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "WARNING INVALID SAT ARGS HAS NO PIPE SEPARATOR!!!"));
    EXPECT_EQ(log.LiveAllocations(), 0);
}

// ----------------------------------------------------------------------------------------------------
// The same once more with a tokenizer on a copy of the text, which is how the numbering is defined.

enum Variant { COMMAND, REPLY, ARGUMENTS };

struct Dump {
    std::string lines;
    int32_t number = 0;
};

std::string Label(Variant variant, int32_t number, bool last) {
    std::string label = number == 1 ? "NomeDoComando" : number == 2 ? "numeroSessao(AC-RND)" : "";
    if (last) {
        label += label.empty() ? "LastParam" : " LastParam";
    }
    return variant == COMMAND ? label : "";
}

std::string FieldLine(Variant variant, int32_t number, const std::string& field, bool last) {
    char front[64];
    const char* middle = variant != ARGUMENTS ? "=" : number <= 6 ? "  ------------" : "  UNKNOWN";
    snprintf(front, sizeof front, "%c%02d%s[%08d:", variant == REPLY ? 'R' : 'P', number, middle,
             static_cast<int>(field.size()));
    return front + field + "]" + Label(variant, number, last) + "\n";
}

std::string EndLines(const std::string& text, size_t etx_at) {
    char line[32];
    std::string lines;
    if (etx_at > 0) {
        snprintf(line, sizeof line, "CKS[%02Xh]\n",
                 static_cast<unsigned>(static_cast<unsigned char>(text[etx_at - 1])));
        lines = line;
    }
    return lines + "ETX[03h]\n";
}

std::string EmptyLines(Variant variant, size_t run, int32_t* number) {
    std::string lines;
    for (size_t i = 1; i <= run; i++) {
        char line[32];
        snprintf(line, sizeof line, "%c%02d=[NULL] [%02d]\n", variant == REPLY ? 'R' : 'P', ++*number,
                 static_cast<int>(i));
        lines += line;
    }
    return lines;
}

size_t Run(const char* at) {
    return strspn(at, "|");
}

/** One token's lines, and whether the text shows its end at it. */
std::string TokenLines(Variant variant, const std::string& text, size_t at, const std::string& token,
                       int32_t number) {
    std::string name = token;
    std::string lines;
    if (number == 1 && name[0] == '\x02') {
        lines = "STX[02h]\n";
        name.erase(0, 1);
    }
    const bool last = !name.empty() && name.back() == '\x03';
    if (last) {
        name.erase(name.size() >= 2 ? name.size() - 2 : 0);
    }
    lines += FieldLine(variant, number, name, last);
    return last ? lines + EndLines(text, at + token.size() - 1) : lines;
}

/** What a reply says of the two bytes that lie as far in the text as its last field is long. */
std::string BehindLines(char checksum, char etx) {
    char lines[160];
    const bool expected = etx == '\x03';
    snprintf(lines, sizeof lines,
             "CKS[%02Xh]=pSatRspPkt[strlen(pSatRspPkt)+0]%s\nETX[%02Xh]=pSatRspPkt[strlen(pSatRspPkt)+1]%s\n",
             static_cast<unsigned>(static_cast<unsigned char>(checksum)), expected ? "" : " Expected CKS",
             static_cast<unsigned>(static_cast<unsigned char>(etx)), expected ? "" : " Expected ETX");
    return lines;
}

Dump Tokenize(Variant variant, const std::string& text) {
    Dump dump;
    std::vector<char> copy(text.size() + 10);
    memcpy(copy.data(), text.data(), text.size());
    const size_t leading = Run(text.c_str());
    char* token = strtok(copy.data(), "|");
    if (!token) {
        dump.lines = "WARNING INVALID SAT ARGS HAS NO PIPE SEPARATOR!!!\n";
        return dump;
    }
    dump.lines = EmptyLines(variant, leading, &dump.number);
    size_t last_length = 0;
    for (; token; token = strtok(nullptr, "|")) {
        const size_t length = strlen(token);
        last_length = length;
        const auto at = static_cast<size_t>(token - copy.data());
        dump.lines += TokenLines(variant, text, at, token, ++dump.number);
        const char* behind = token + (variant == ARGUMENTS ? 2 : length + 1);
        const size_t run = Run(behind);
        const bool closed = run > 0 && behind[run] == '\x03';
        dump.lines += EmptyLines(variant, run + (closed ? 1 : 0), &dump.number);
        if (closed || token[length + 1] == '\x03') {
            if (closed || token[length - 1] != '\x03') {
                dump.lines += EndLines(text, at + length + 1 + (closed ? run : 0));
            }
            break;
        }
    }
    if (variant == REPLY && text.size() == last_length + 2) {
        dump.lines += BehindLines(text[last_length], text[last_length + 1]);
    }
    return dump;
}

std::string RandomText(std::mt19937& random) {
    static constexpr char alphabet[] = "||||ab1\x02\x03\x03Z";
    std::string text;
    const size_t length = random() % 16;
    for (size_t i = 0; i < length; i++) {
        text += alphabet[random() % (sizeof alphabet - 1)];
    }
    return text;
}

TEST(FieldNumbering, AgreesWithATokenizer) {
    std::mt19937 random(32);
    for (int round = 0; round < 12000; round++) {
        const std::string text = RandomText(random);
        {
            const CapturedLog log;
            const Dump expected = Tokenize(COMMAND, text);
            ASSERT_EQ(ParseCommand(text), expected.number) << testing::PrintToString(text);
            ASSERT_EQ(log.Messages(), expected.lines) << testing::PrintToString(text);
        }
        {
            const CapturedLog log;
            const Dump expected = Tokenize(REPLY, text);
            ASSERT_EQ(ParseReply(text), expected.number) << testing::PrintToString(text);
            ASSERT_EQ(log.Messages(), expected.lines) << testing::PrintToString(text);
        }
        {
            const CapturedLog log;
            const Dump expected = Tokenize(ARGUMENTS, text);
            const int32_t count = expected.number > 0 ? expected.number + 1 : 0;
            ASSERT_EQ(SAT_APP_CmdParcer("X", text.c_str()), count) << testing::PrintToString(text);
            ASSERT_EQ(log.Messages(), expected.lines) << testing::PrintToString(text);
        }
        const CapturedLog silent('0');
        ASSERT_EQ(ParseCommand(text), Tokenize(COMMAND, text).number) << testing::PrintToString(text);
    }
}

}  // namespace

#include "fault.h"

#include <gmock/gmock.h>

#include "fault_table.h"

namespace emulator {

namespace {

using testing::AllOf;
using testing::HasSubstr;

// The faults of a text; a test with a text that is wrong fails by itself.
Faults Parsed(std::string_view text) {
    Faults faults;
    std::string error;
    EXPECT_TRUE(ParseFaults(text, &faults, &error)) << text << ": " << error;
    return faults;
}

std::string Problem(std::string_view text) {
    Faults faults;
    std::string error;
    EXPECT_FALSE(ParseFaults(text, &faults, &error)) << text;
    return error;
}

}  // namespace

TEST(FaultText, EveryFaultByItsNameAlone) {
    std::vector<std::string> names;
    for (const FaultRow& row : FaultTable()) {
        const Faults faults = Parsed(row.name);
        ASSERT_EQ(faults.size(), 1U) << row.name;
        EXPECT_EQ(faults[0].kind, row.kind) << row.name;
        EXPECT_EQ(faults[0].times, 1) << row.name;
        EXPECT_EQ(FaultText(faults[0]), row.name);
        names.emplace_back(row.name);
    }
    EXPECT_THAT(names, testing::ElementsAre("no-ack", "nak", "junk", "double-ack", "ack-delay", "silence",
                                            "busy", "other-session", "size", "lost-first", "corrupt",
                                            "checksum", "stall", "truncate", "drip", "unplug"));
}

TEST(FaultText, EveryParameterIsReadAndWritten) {
    for (const char* text :
         {"no-ack:block=2,times=3", "nak:block=2,times=3", "junk:block=2,bytes=7,times=3",
          "double-ack:block=2,times=3", "ack-delay:block=2,ms=7,times=3", "silence:times=3", "busy:times=3",
          "other-session:number=7,times=3", "size:bytes=12000000,times=3", "lost-first:times=3",
          "corrupt:byte=100,times=3", "checksum:times=3", "stall:byte=500,ms=7,times=3",
          "truncate:byte=7,times=3", "drip:ms=7,times=3", "unplug:byte=300,ms=7,times=3,as=COM13"}) {
        EXPECT_EQ(FaultsText(Parsed(text)), text);
    }
}

TEST(FaultText, ParametersReachTheirFields) {
    const Fault unplug = Parsed("unplug:byte=300,ms=400,as=COM13")[0];
    EXPECT_EQ(unplug.byte, 300);
    EXPECT_EQ(unplug.ms, 400);
    EXPECT_EQ(unplug.as, "COM13");
    const Fault junk = Parsed("junk:block=2,bytes=9")[0];
    EXPECT_EQ(junk.block, 2);
    EXPECT_EQ(junk.bytes, 9);
    EXPECT_EQ(Parsed("other-session:number=7")[0].number, 7);
    EXPECT_EQ(Parsed("other-session")[0].number, NEXT_SESSION);
}

TEST(FaultText, SeveralOfOneExchange) {
    EXPECT_EQ(FaultsText(Parsed(" junk : bytes=7 , times=2 + checksum ")), "junk:bytes=7,times=2+checksum");
    EXPECT_TRUE(Parsed("ok").empty());
    EXPECT_EQ(FaultsText({}), "ok");
}

TEST(FaultText, WhatIsWrongIsNamedWithWhatWasExpected) {
    EXPECT_THAT(Problem("zap"),
                AllOf(HasSubstr("\"zap\""), HasSubstr("ok, no-ack, nak"), HasSubstr("unplug")));
    EXPECT_THAT(Problem(""), HasSubstr("falha \"\""));
    EXPECT_THAT(Problem("nak:blok=2"), AllOf(HasSubstr("\"blok\""), HasSubstr("block, times")));
    EXPECT_THAT(Problem("nak:"), HasSubstr("block, times"));
    EXPECT_THAT(Problem("nak:as=COM3"), HasSubstr("\"as\""));
    EXPECT_THAT(Problem("unplug:as="), HasSubstr("as="));
    EXPECT_THAT(Problem("nak+"), HasSubstr("falha \"\""));
    EXPECT_THAT(Problem("nak:block=1,,times=2"), HasSubstr("parametro \"\""));
    EXPECT_THAT(Problem("unplug:x=1"), HasSubstr("byte, ms, times, as"));
}

TEST(FaultText, NumbersHaveLimits) {
    EXPECT_THAT(Problem("nak:block=0"), HasSubstr("nak:block=0: esperado um numero de 1 a 100000"));
    EXPECT_THAT(Problem("nak:block=100001"), HasSubstr("1 a 100000"));
    EXPECT_THAT(Problem("size:bytes=12582913"), HasSubstr("1 a 12582912"));
    EXPECT_EQ(Parsed("size:bytes=12582912")[0].bytes, 12582912);
    for (const char* value : {"", "x", "2x", "-1", "0x10", "99999999999999999999", "1.5"}) {
        EXPECT_THAT(Problem("drip:ms=" + std::string(value)), HasSubstr("esperado um numero de 0 a 3600000"));
    }
}

TEST(FaultChoices, ACommaInFrontOfANameBeginsAnother) {
    std::vector<Faults> choices;
    std::string error;
    ASSERT_TRUE(ParseChoices("nak:block=2,checksum:times=3,stall:byte=5,ms=3+junk,unplug:as=COM3,ok",
                             &choices, &error))
        << error;
    std::vector<std::string> texts;
    for (const Faults& faults : choices) {
        texts.push_back(FaultsText(faults));
    }
    EXPECT_THAT(texts, testing::ElementsAre("nak:block=2", "checksum:times=3", "stall:byte=5,ms=3+junk",
                                            "unplug:as=COM3", "ok"));
}

TEST(FaultChoices, ABadOneSpoilsAll) {
    std::vector<Faults> choices;
    std::string error;
    EXPECT_FALSE(ParseChoices("nak,zap", &choices, &error));
    EXPECT_THAT(error, HasSubstr("\"zap\""));
    EXPECT_FALSE(ParseChoices("ms=3,nak", &choices, &error));
    EXPECT_THAT(error, HasSubstr("\"ms=3\""));
}

TEST(FaultChoices, TheUsualOnesLeaveThePortWhereItIs) {
    const std::vector<Faults> usual = UsualFaults();
    EXPECT_EQ(usual.size(), FaultTable().size() - 1);
    for (const Faults& faults : usual) {
        EXPECT_NE(faults.at(0).kind, FaultKind::Unplug);
    }
}

TEST(FaultHelp, TeachesEveryFaultAndParameter) {
    const std::string help = FaultHelp();
    for (const FaultRow& row : FaultTable()) {
        EXPECT_THAT(help, HasSubstr("\n  " + std::string(row.name) + " "));
        EXPECT_THAT(help, HasSubstr(row.help));
        for (const FaultParameter& parameter : row.parameters) {
            EXPECT_THAT(help, HasSubstr(std::string(parameter.name)));
            EXPECT_THAT(help, HasSubstr(parameter.help));
        }
    }
    EXPECT_THAT(help, AllOf(HasSubstr("bytes=20000 ("), HasSubstr("ms=3000 ("), HasSubstr("as=NOME")));
}

TEST(TakeFault, EachActsAsOftenAsItWasAsked) {
    Faults faults = Parsed("checksum:times=2+nak:block=2");
    EXPECT_NE(TakeFault(faults, FaultKind::Checksum), nullptr);
    EXPECT_NE(TakeFault(faults, FaultKind::Checksum), nullptr);
    EXPECT_EQ(TakeFault(faults, FaultKind::Checksum), nullptr);
    EXPECT_EQ(TakeFault(faults, FaultKind::Nak, 1), nullptr);
    EXPECT_EQ(UsedFault(faults, FaultKind::Nak), nullptr);
    EXPECT_NE(TakeFault(faults, FaultKind::Nak, 2), nullptr);
    EXPECT_EQ(TakeFault(faults, FaultKind::Nak, 2), nullptr);
    EXPECT_EQ(UsedFault(faults, FaultKind::Nak), &faults[1]);
    EXPECT_EQ(TakeFault(faults, FaultKind::Silence), nullptr);
}

}  // namespace emulator

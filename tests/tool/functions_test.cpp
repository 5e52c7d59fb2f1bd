#include "functions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "api/command_table.h"
#include "device_call.h"

namespace tool {
namespace {

TEST(FunctionsTest, NamesAndTimeOutsAreThoseOfTheLibrary) {
    ASSERT_EQ(Functions().size(), static_cast<size_t>(SAT_COMMAND_COUNT));
    for (const tSatCommand& command : SAT_COMMANDS) {
        const Function* const function = FindFunction(command.pName);
        ASSERT_NE(function, nullptr) << command.pName;
        EXPECT_EQ(function->timeout_s, command.iTimeout) << command.pName;
    }
}

TEST(FunctionsTest, NameIsFoundInAnyCase) {
    EXPECT_STREQ(FindFunction("extrairlogs")->name, "ExtrairLogs");
    EXPECT_EQ(FindFunction("ExtrairLog"), nullptr);
    EXPECT_EQ(FindFunction(""), nullptr);
}

TEST(FunctionsTest, ArgumentsAreNamedInTheirOrder) {
    EXPECT_THAT(ArgumentNames(*FindFunction("AtivarSAT")),
                testing::ElementsAre("subComando", "codigoDeAtivacao", "CNPJ", "cUF"));
    EXPECT_THAT(ArgumentNames(*FindFunction("ConsultarSAT")), testing::IsEmpty());
    EXPECT_EQ(ActivationCodeIndex(*FindFunction("AtivarSAT")), 1U);
    EXPECT_EQ(ActivationCodeIndex(*FindFunction("ConsultarSAT")), SIZE_MAX);
}

TEST(FunctionsTest, NumbersAreChecked) {
    const Function& function = *FindFunction("TrocarCodigoDeAtivacao");
    EXPECT_EQ(FirstWrongNumber(function, {"12345678", "2", "a", "a"}), SIZE_MAX);
    EXPECT_EQ(FirstWrongNumber(function, {"12345678", "2x", "a", "a"}), 1U);
    EXPECT_EQ(FirstWrongNumber(function, {"12345678", "", "a", "a"}), 1U);
    EXPECT_EQ(FirstWrongNumber(function, {"12345678", "99999999999", "a", "a"}), 1U);
}

// Stands in for the library's export.
char* FakeActivation(int session, int kind, const char* code, const char* taxpayer, int state) {
    static std::string text;
    text = std::to_string(session) + "/" + std::to_string(kind) + "/" + code + "/" + taxpayer + "/" +
           std::to_string(state);
    return text.data();
}

TEST(FunctionsTest, ArgumentsReachTheExportWithTheirTypes) {
    const Function& function = *FindFunction("AtivarSAT");
    EXPECT_STREQ(function.call(reinterpret_cast<void*>(FakeActivation), 7, {"1", "code", "cnpj", "35"}),
                 "7/1/code/cnpj/35");
}

TEST(PayloadTest, WhatWouldCutOrEndTheCommandIsRefused) {
    EXPECT_EQ(PayloadFault("<CFe>caf\xE9</CFe>\r\n"), "");
    EXPECT_NE(PayloadFault(std::string("a\0b", 3)), "");
    EXPECT_NE(PayloadFault("a\x03"), "");
    EXPECT_NE(PayloadFault("\x02"
                           "a"),
              "");
}

TEST(SessionTest, RandomSessionsAreInRangeAndDiffer) {
    const int first = RandomSession();
    bool differs = false;
    for (int round = 0; round < 20; ++round) {
        const int session = RandomSession();
        EXPECT_GE(session, 1);
        EXPECT_LE(session, 999999);
        differs = differs || session != first;
    }
    EXPECT_TRUE(differs);
}

}  // namespace
}  // namespace tool

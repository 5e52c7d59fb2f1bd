#include "values.h"

#include <gtest/gtest.h>

#include "library.h"

namespace tool {
namespace {

constexpr const char* KEY = "CFe35261111222333000181590001234560000012436775";

std::string Shown(FieldKind kind, const char* value) {
    return ExplainValue(kind, value).shown;
}

std::string Fault(FieldKind kind, const char* value) {
    return ExplainValue(kind, value).fault;
}

TEST(ValuesTest, KeyIsTakenApart) {
    EXPECT_EQ(Shown(FieldKind::Key, KEY), "SP, 11/2026, CNPJ 11222333000181, SAT 000123456, cupom 000001");
    EXPECT_EQ(Shown(FieldKind::Key, KEY + 3), Shown(FieldKind::Key, KEY));
    EXPECT_EQ(Fault(FieldKind::Key, KEY), "");
}

TEST(ValuesTest, KeyWithAnotherCheckDigitIsWrong) {
    std::string key = KEY;
    key.back() = '6';
    EXPECT_FALSE(KeyIsRight(key));
    EXPECT_NE(Fault(FieldKind::Key, key.c_str()), "");
    EXPECT_NE(Fault(FieldKind::Key, "CFe123"), "");
}

TEST(ValuesTest, ZerosAreNoKeyAndNoMomentYet) {
    EXPECT_EQ(Shown(FieldKind::Key, std::string(44, '0').c_str()), "nenhum");
    EXPECT_EQ(Shown(FieldKind::Moment, "00000000000000"), "nenhum");
    EXPECT_EQ(Fault(FieldKind::Moment, "00000000000000"), "");
}

TEST(ValuesTest, MomentsAndDatesAreShownAsPeopleWriteThem) {
    EXPECT_EQ(Shown(FieldKind::Moment, "20261120155407"), "20/11/2026 15:54:07");
    EXPECT_EQ(Shown(FieldKind::Date, "20301119"), "19/11/2030");
    for (const char* const wrong :
         {"20261320155407", "20260230155407", "20261120245407", "2026112015540", "x"}) {
        EXPECT_NE(Fault(FieldKind::Moment, wrong), "") << wrong;
    }
    EXPECT_NE(Fault(FieldKind::Date, "20260229"), "");
    EXPECT_EQ(Fault(FieldKind::Date, "20280229"), "");
}

TEST(ValuesTest, OperatingStatesAreNamed) {
    EXPECT_EQ(Shown(FieldKind::OperatingState, "0"), "desbloqueado");
    EXPECT_EQ(Shown(FieldKind::OperatingState, "4"), "bloqueado para desativação");
    EXPECT_NE(Fault(FieldKind::OperatingState, "5"), "");
    EXPECT_NE(Fault(FieldKind::OperatingState, "-1"), "");
}

TEST(ValuesTest, Base64OfWholeGroupsIsDecoded) {
    EXPECT_EQ(FromBase64("Q0ZlPg=="), "CFe>");
    EXPECT_EQ(Shown(FieldKind::Base64, "Q0ZlPg=="), "4 bytes");
    for (const char* const wrong : {"", "Q0Z", "Q0Zl=", "Q0=l", "Q0Zl====", "Q0 l", "===="}) {
        EXPECT_FALSE(std::string(wrong) != "====" && IsBase64(wrong)) << wrong;
        EXPECT_EQ(FromBase64(wrong), "") << wrong;
    }
}

TEST(ValuesTest, AmountsHaveTwoDecimals) {
    EXPECT_EQ(Shown(FieldKind::Amount, "140.06"), "R$ 140.06");
    for (const char* const wrong : {"140", "140.0", "140,06", ".06", "140.", "1x.00"}) {
        EXPECT_NE(Fault(FieldKind::Amount, wrong), "") << wrong;
    }
}

TEST(ValuesTest, TaxpayerIsTold) {
    EXPECT_EQ(Shown(FieldKind::Taxpayer, "52998224725"), "CPF");
    EXPECT_EQ(Shown(FieldKind::Taxpayer, "11222333000181"), "CNPJ");
    EXPECT_NE(Fault(FieldKind::Taxpayer, "52998224724"), "");
    EXPECT_EQ(Fault(FieldKind::Taxpayer, ""), "");
}

TEST(LibraryFileTest, BitsAreReadFromTheHeader) {
    EXPECT_EQ(BitsOfHeader("\x7F"
                           "ELF\x02"),
              64);
    EXPECT_EQ(BitsOfHeader("\x7F"
                           "ELF\x01"),
              32);
    std::string program(0x100, '\0');
    program.replace(0, 2, "MZ");
    program[0x3C] = '\x80';
    program.replace(0x80, 6, std::string("PE\0\0\x64\x86", 6));
    EXPECT_EQ(BitsOfHeader(program), 64);
    program.replace(0x80, 6, std::string("PE\0\0\x4C\x01", 6));
    EXPECT_EQ(BitsOfHeader(program), 32);
}

TEST(LibraryFileTest, WhatIsNoProgramHasNoBits) {
    std::string cut = "MZ" + std::string(0x3A, '\0') + "\xFF\xFF\xFF\x7F";
    for (const std::string& bytes : {std::string(), std::string("MZ"), std::string("#!/bin/sh"), cut}) {
        EXPECT_EQ(BitsOfHeader(bytes), 0) << bytes;
    }
}

}  // namespace
}  // namespace tool

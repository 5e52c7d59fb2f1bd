#include "ini_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "files.h"
#include "log_files.h"
#include "ports.h"

namespace tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> Told(const std::vector<IniRemark>& remarks) {
    std::vector<std::string> told;
    for (const IniRemark& remark : remarks) {
        told.push_back(remark.where + ": " + remark.what);
    }
    return told;
}

// A SAT.ini on the disk, where the library's own reader finds it.
class IniCheckTest : public testing::Test {
  protected:
    void SetUp() override {
        const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
        file_ = NameOf(std::filesystem::temp_directory_path() / ("zantir-tool-" + name + ".ini"));
    }
    void TearDown() override { std::remove(file_.c_str()); }

    std::vector<std::string> Bad(const std::string& text) {
        WriteFile(file_, text);
        return Told(BadValues(text, file_));
    }

    std::string file_;
};

TEST_F(IniCheckTest, LinesAreReadWithTheirSections) {
    const std::vector<IniLine> lines = ReadIniLines("# x=1\n[LOG]\r\n LogMode = 3 \n;y\nnaked\n");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].number, 3);
    EXPECT_EQ(lines[0].section, "LOG");
    EXPECT_EQ(lines[0].key, "LogMode");
    EXPECT_EQ(lines[0].value, "3");
    EXPECT_EQ(lines[1].key, "naked");
    EXPECT_EQ(lines[1].value, "");
}

TEST_F(IniCheckTest, UnknownKeysAreExplained) {
    EXPECT_THAT(
        Told(UnknownKeys("[LOG]\nLogMode=1\nlogmode=2\nFixarPorta=COM3\nNada=1\n[X]\ny=1\nLogMode=1\n")),
        ElementsAre("[LOG] logmode=2: maiúsculas contam: escreva LogMode",
                    "[LOG] FixarPorta=COM3: esta chave só vale em [SERIAL_PORT_CONFIG]",
                    "[LOG] Nada=1: a biblioteca não conhece esta chave",
                    "[X] y=1: a biblioteca não conhece esta seção",
                    "[X] LogMode=1: esta chave só vale em [LOG]"));
}

TEST_F(IniCheckTest, SecondLineOfAKeyIsTold) {
    EXPECT_THAT(Told(UnknownKeys("[LOG]\nLogMode=1\nLogMode=2\n")), ElementsAre(HasSubstr("na linha 2")));
}

TEST_F(IniCheckTest, ChangedValuesWithoutEffectAreToldWithTheReason) {
    size_t unchanged = 0;
    const auto told = Told(KeysWithoutEffect(
        "[SAT_TIMEOUT]\nExtrairLogs = 90\nBloquearSAT=300\nConsultarSAT=90\n[SERIAL_PORT_CONFIG]\n"
        "ReadIntervalTimeout=MAXDWORD\nWriteTotalTimeoutConstant=5\n[CUPOM_DESK]\nPathLinux=/x\n",
        &unchanged));
    EXPECT_EQ(unchanged, 1U);
    EXPECT_THAT(told, ElementsAre(HasSubstr("ExtrairLogs=90: este tempo nunca"),
                                  HasSubstr("só o texto MAXDWORD vale"), HasSubstr("10/1/1/1/1000"),
                                  HasSubstr("vale PathWindows")));
}

TEST_F(IniCheckTest, AFolderOfReceiptsIsFoundWithEitherSeparator) {
    const std::filesystem::path folder = PathOf(file_ + ".receipts") / "new";
    std::filesystem::create_directories(folder);
    const std::string parent = NameOf(folder.parent_path());
    EXPECT_THAT(Bad("[CUPOM_DESK]\nPathWindows=" + parent + "/new\nEnable=1\n"), IsEmpty());
    EXPECT_THAT(Bad("[CUPOM_DESK]\nPathWindows=" + parent + "\\new\nEnable=1\n"), IsEmpty());
    EXPECT_THAT(Bad("[CUPOM_DESK]\nPathWindows=" + parent + "\\old\nEnable=1\n"),
                ElementsAre(HasSubstr("esta pasta não existe")));
    std::filesystem::remove_all(folder.parent_path());
}

TEST_F(IniCheckTest, AllNineTimeOutsOfTheSecondHalfHaveNoEffect) {
    std::string text = "[SAT_TIMEOUT]\n";
    for (const char* const name :
         {"AtivarSAT", "ComunicarCertificadoICPBRASIL", "EnviarDadosVenda", "CancelarUltimaVenda",
          "ConsultarSAT", "TesteFimAFim", "ConsultarStatusOperacional", "ConsultarNumeroSessao",
          "ConfigurarInterfaceDeRede", "AssociarAssinatura", "AtualizarSoftwareSAT", "ExtrairLogs",
          "BloquearSAT", "DesbloquearSAT", "TrocarCodigoDeAtivacao", "ConsultarUltimaSessaoFiscal"}) {
        text += std::string(name) + "=77\n";
    }
    size_t unchanged = 0;
    EXPECT_EQ(KeysWithoutEffect(text, &unchanged).size(), 9U);
}

TEST_F(IniCheckTest, GoodValuesAreNotTold) {
    EXPECT_THAT(
        Bad("[SERIAL_PORT_CONFIG]\nFixarPorta=COM7 x\n[SAT_TIMEOUT]\nConsultarSAT = 15\n[SAT_EMULATOR]\n"
            "SerialPortWindows=CNCA0\nEnable=0\n[LOG]\nLogFilePath=Log\nLogFileName=\nLogFileMaxSize=1\nLogMode=3\n"),
        IsEmpty());
}

TEST_F(IniCheckTest, ValuesOutOfRangeAreTold) {
    EXPECT_THAT(
        Bad("[SERIAL_PORT_CONFIG]\nFixarPorta=com3\n[SAT_TIMEOUT]\nConsultarSAT=0\nEnviarDadosVenda=abc\nAtivarSAT=9999\n"
            "[SAT_EMULATOR]\nEnable=yes\n[LOG]\nLogFilePath=L\nLogFileName=other.log\nLogFileMaxSize=-5\nLogMode=7\n"),
        ElementsAre(HasSubstr("COM em maiúsculas"), HasSubstr("os 10 s da biblioteca"),
                    HasSubstr("os 30 s da biblioteca"), HasSubstr("mais de duas horas"), HasSubstr("como 0"),
                    HasSubstr("um só caractere"), HasSubstr("SAT_api.log cresce"), HasSubstr("800000"),
                    HasSubstr("de 0 a 5")));
}

TEST_F(IniCheckTest, EnabledEmulatorNeedsACom) {
    EXPECT_THAT(Bad("[SAT_EMULATOR]\nSerialPortWindows=CNCA0\nEnable=1\n"),
                ElementsAre(HasSubstr("a chamada falha")));
    EXPECT_THAT(Bad("[SAT_EMULATOR]\nSerialPortWindows=COM1005\nEnable=1\n"), IsEmpty());
}

TEST_F(IniCheckTest, KeyFoundInACommentIsReadThere) {
    EXPECT_THAT(Bad("[LOG]\n# LogMode=5\nLogMode=1\n"), ElementsAre(HasSubstr("a biblioteca lê \"5\"")));
}

TEST_F(IniCheckTest, BracketOnTheWayHidesAKey) {
    EXPECT_THAT(Bad("[LOG]\n# [old]\nLogMode=1\n"), ElementsAre(HasSubstr("encerra a seção")));
}

TEST_F(IniCheckTest, BlankInAPathIsTakenOut) {
    EXPECT_THAT(Bad("[LOG]\nLogFilePath=C:\\Meus Logs\n"), ElementsAre(HasSubstr("C:\\MeusLogs")));
}

TEST_F(IniCheckTest, LogsOffIsWorthAWord) {
    EXPECT_THAT(Bad("[LOG]\nLogMode=0\n"), ElementsAre(HasSubstr("desliga os dois registros")));
}

TEST_F(IniCheckTest, PortSettingsAreThoseThatTheLibraryReads) {
    WriteFile(
        file_,
        "[SERIAL_PORT_CONFIG]\nFixarPorta=COM7 left\n[SAT_EMULATOR]\nSerialPortWindows=COM9\nEnable=1\n");
    const PortSettings settings = ReadPortSettings(file_);
    EXPECT_EQ(settings.fixed_port, "COM7");
    EXPECT_TRUE(settings.emulator_enabled);
    EXPECT_EQ(settings.emulator_port, "COM9");
    EXPECT_EQ(ReadPortSettings(file_ + "x").emulator_port, "");
}

TEST_F(IniCheckTest, LogFolderIsThatOfTheFile) {
    EXPECT_EQ(LogFolderOf(file_), "Log");
    WriteFile(file_, "[LOG]\nLogFilePath=registros\n");
    EXPECT_EQ(LogFolderOf(file_), "registros");
}

}  // namespace
}  // namespace tool

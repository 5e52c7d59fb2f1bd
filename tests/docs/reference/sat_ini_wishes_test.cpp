/*
 * The examples and the rules of writing of the page about SAT.ini do what it says.
 */
#include <algorithm>

#include "api_fixture.h"
#include "reference_page.h"

namespace {

/** The text with the line of a section's key replaced, or with a new line behind the section's header. */
std::string WithLine(std::string text, const std::string& section, const std::string& line) {
    const std::string key = line.substr(0, line.find('=') + 1);
    const size_t body = text.find("[" + section + "]\n") + section.size() + 3;
    const size_t next = std::min(text.find("\n[", body), text.size());
    const size_t old = text.find("\n" + key, body - 1);
    if (old >= next) return text.insert(body, line + "\n");
    return text.replace(old + 1, text.find('\n', old + 1) - old - 1, line);
}

/** The settings that the page shows for usual wishes. */
class SatIniWishes : public Api, public testing::WithParamInterface<PageLanguage> {
  protected:
    /** Writes the default file with the lines of the block that sets a key. */
    static void Follow(const std::string& key) {
        for (const std::string& block : PageBlocks(ProjectFile(GetParam().sat_ini), "ini")) {
            if (block.find("\n" + key + "=") == std::string::npos) continue;
            const std::vector<std::string> lines = LinesOf(block);
            std::string text = DefaultIni();
            for (size_t at = 1; at < lines.size(); ++at)
                text = WithLine(text, lines[0].substr(1, lines[0].size() - 2), lines[at]);
            WriteIni(text);
            return;
        }
        FAIL() << "no example of " << key;
    }

    sim::HonestDevice device = DeviceThatSays("COM7");
    sim::HonestDevice other = DeviceThatSays("COM5");
};

INSTANTIATE_TEST_SUITE_P(Docs, SatIniWishes, testing::ValuesIn(PAGE_LANGUAGES), LanguageName);

TEST_P(SatIniWishes, AFixedPort) {
    AttachDevice(&device);
    World().ports.Add("\\\\?\\COM5", &other);
    Follow("FixarPorta");
    EXPECT_STREQ(ConsultarSAT(1), "COM5");
}

TEST_P(SatIniWishes, MoreTimeForASale) {
    device.reply_delay_us = 85 * 1000000LL;
    AttachDevice(&device);
    Follow("EnviarDadosVenda");
    EXPECT_STREQ(EnviarDadosVenda(1, "12345678", "<CFe></CFe>"), "COM7");
}

TEST_P(SatIniWishes, FullLogs) {
    Follow("LogMode");
    ConsultarSAT(1);
    EXPECT_THAT(DiagnosticLog(), testing::HasSubstr("]INF ["));
}

TEST_P(SatIniWishes, LogsInAFolderOfTheSalesProgram) {
    AttachDevice(&device);
    World().files.MakeFolder("C:\\PDV");
    Follow("LogFilePath");
    ConsultarSAT(1);
    EXPECT_THAT(ProtocolLog("C:\\PDV\\Log"), testing::HasSubstr("ConsultarSAT|000001"));
    EXPECT_EQ(ProtocolLog("Log"), "");
}

TEST_P(SatIniWishes, TheEmulatorInPlaceOfADevice) {
    World().ports.Add("\\\\?\\COM7", &device);
    Follow("SerialPortWindows");
    EXPECT_STREQ(ConsultarSAT(1), "COM7");
}

TEST_P(SatIniWishes, ACopyOfEverySale) {
    AttachDevice(&device);
    World().files.MakeFolder("C:\\PDV\\Cupons");
    Follow("PathWindows");
    EnviarDadosVenda(123, "12345678", "<CFe></CFe>");
    CancelarUltimaVenda(124, "12345678", "CFe", "<CFeCanc></CFeCanc>");
    EXPECT_THAT(World().files.List("C:\\PDV\\Cupons"),
                testing::ElementsAre("canc-cprx-20120405-124-1.sat", "venda-cprx-20120405-123-1.sat"));
}

TEST_P(SatIniWishes, EveryExampleIsTriedHere) {
    EXPECT_EQ(PageBlocks(ProjectFile(GetParam().sat_ini), "ini").size(), 6U);
}

/** The rules of writing; the page has a row for each. */
class SatIniRules : public Api {
  protected:
    static int MaskWith(const std::string& log_section) {
        Load();
        WriteIni(log_section);
        VersaoDllZantir();
        return gl_tLogSettings.iLevelMask;
    }
    static constexpr int AS_ONE = 1;
    static constexpr int AS_THREE = 7;
};

TEST_F(SatIniRules, CapitalsCount) {
    EXPECT_EQ(MaskWith("[LOG]\nlogmode=3\n"), AS_ONE);
    EXPECT_EQ(MaskWith("[log]\nLogMode=3\n"), AS_ONE);
}

TEST_F(SatIniRules, BlanksAreDropped) {
    WriteIni("[LOG]\nLogFilePath = C:\\Meu PDV\n");
    VersaoDllZantir();
    EXPECT_STREQ(gl_tLogSettings.strLogFilePath, "C:\\MeuPDV");
}

TEST_F(SatIniRules, ThereAreNoComments) {
    EXPECT_EQ(MaskWith("[LOG]\n#LogMode=0\nLogMode=3\n"), 0);
    WriteIni("[CUPOM_DESK]\nPathWindows=C:\\PDV;pasta\n");
    Load();
    WriteIni("[CUPOM_DESK]\nPathWindows=C:\\PDV ; pasta\n");
    VersaoDllZantir();
    EXPECT_STREQ(gl_tSat.strReceiptPathWindows, "C:\\PDV;pasta");
}

TEST_F(SatIniRules, TheFirstLineCounts) {
    EXPECT_EQ(MaskWith("[LOG]\nLogMode=3\nLogMode=0\n"), AS_THREE);
}

TEST_F(SatIniRules, ABracketEndsTheSection) {
    EXPECT_EQ(MaskWith("[LOG]\nLogFilePath=[x]\nLogMode=3\n"), AS_ONE);
}

TEST_F(SatIniRules, AnsiAndUtf8AreUnderstoodAndUtf16IsNot) {
    EXPECT_EQ(MaskWith("\xEF\xBB\xBF[LOG]\r\nLogMode=3\r\n"), AS_THREE);
    const std::string narrow = "[LOG]\nLogMode=3\n";
    std::string wide = "\xFF\xFE";
    for (const char c : narrow)
        wide += {c, '\0'};
    EXPECT_EQ(MaskWith(wide), AS_ONE);
}

TEST_F(SatIniRules, AMissingKeyWritesErrorsAndAMissingFixedPortNone) {
    MaskWith("[SERIAL_PORT_CONFIG]\nReadIntervalTimeout=1\n[LOG]\nLogMode=1\nLogFilePath=Log\n");
    EXPECT_THAT(DiagnosticLog(), testing::HasSubstr("ExtrairLogs"));
    EXPECT_THAT(DiagnosticLog(), testing::Not(testing::HasSubstr("FixarPorta")));
    EXPECT_THAT(DiagnosticLog(), testing::Not(testing::HasSubstr("ReadIntervalTimeout")));
}

TEST_F(SatIniRules, ADeletedFileLeavesTheSettingsAndIsNotWrittenAgain) {
    sim::HonestDevice device = DeviceThatSays("found");
    sim::HonestDevice other = DeviceThatSays("fixed");
    AttachDevice(&device);
    World().ports.Add("\\\\?\\COM5", &other);
    WriteIni("[SERIAL_PORT_CONFIG]\nFixarPorta=COM5\n[LOG]\nLogMode=3\n");
    EXPECT_STREQ(ConsultarSAT(1), "fixed");
    World().files.Remove("SAT.ini");
    EXPECT_STREQ(ConsultarSAT(2), "found");
    EXPECT_EQ(gl_tLogSettings.iLevelMask, AS_THREE);
    EXPECT_FALSE(World().files.Exists("SAT.ini"));
}

}  // namespace

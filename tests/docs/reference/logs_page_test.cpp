/*
 * The page about the logs: the lines that it reads aloud are those that the library writes.
 */
#include <regex>
#include <set>

#include "api_fixture.h"
#include "reference_page.h"

namespace {

class LogsPage : public Api, public testing::WithParamInterface<PageLanguage> {
  protected:
    static std::string Page() { return ProjectFile(GetParam().logs); }
    static std::string SectionOf(const char* portuguese, const char* english) {
        return PageSection(Page(), GetParam().name == std::string("English") ? english : portuguese);
    }

    /** Without what differs between two runs or versions, and without the bytes that a page cannot show. */
    static std::string Settled(const std::string& line) {
        static const std::regex time(R"(\[\d\d:\d\d:\d\d\.\d\d\d\])");
        static const std::regex source_line(R"((ERR|WRN|INF) \[\d{4}\])");
        static const std::regex handle("[0-9A-F]{8}h");
        std::string settled = std::regex_replace(line, time, "");
        settled = std::regex_replace(settled, source_line, "$1");
        settled = std::regex_replace(settled, handle, "H");
        std::erase_if(settled, [](char c) { return (c >= 0 && c < ' ' && c != '\t') || c == ' '; });
        return settled;
    }

    /** What ConsultarSAT(3) writes with the device on COM5. */
    void Exchange(char mode) {
        Load();
        AttachDevice(&device, "COM5");
        WriteIniWithLog(mode);
        ConsultarSAT(3);
    }

    sim::HonestDevice device = DeviceThatSays("000003|08000|SAT em operacao||");
};

INSTANTIATE_TEST_SUITE_P(Docs, LogsPage, testing::ValuesIn(PAGE_LANGUAGES), LanguageName);

TEST_P(LogsPage, TheExchangeThatItReadsIsTheOneThatIsWritten) {
    Exchange('3');
    const std::vector<std::string> written = LinesOf(DiagnosticLog());
    const std::string section = SectionOf("## Uma troca, linha por linha", "## An exchange, line by line");
    size_t at = 0;
    for (const std::string& line : LinesOf(PageBlocks(section, "text").at(0))) {
        while (at < written.size() && Settled(written[at]) != Settled(line))
            ++at;
        ASSERT_LT(at, written.size()) << "not written, or not in this place: " << line;
        ++at;
    }
    EXPECT_GT(at, 40U);
}

TEST_P(LogsPage, EachWordOfItsExplanationIsInTheExchange) {
    const std::string section = SectionOf("## Uma troca, linha por linha", "## An exchange, line by line");
    const std::string block = PageBlocks(section, "text").at(0);
    static const std::regex code("`([^`]+)`");
    size_t words = 0;
    for (const std::string& line : LinesOf(section)) {
        if (!line.starts_with("| `")) continue;
        const std::string cell = line.substr(0, line.find(" | "));
        for (auto at = std::sregex_iterator(cell.begin(), cell.end(), code); at != std::sregex_iterator();
             ++at, ++words) {
            const std::string word = (*at)[1];
            EXPECT_THAT(block, testing::HasSubstr(word.substr(0, word.find("{...}"))));
        }
    }
    EXPECT_GT(words, 10U);
}

TEST_P(LogsPage, TheProtocolLinesAreThoseThatAreWritten) {
    Exchange('1');
    const std::string section =
        SectionOf("## Uma linha do log de protocolo", "## A line of the protocol log");
    EXPECT_EQ(PageBlocks(section, "text").at(0), ProtocolLog());
}

TEST_P(LogsPage, TheLineOfAFailureIsTheOneThatIsWritten) {
    AttachDevice(&device, "COM5");
    World().ports.Unplug("\\\\?\\COM5");
    WriteIniWithLog('1');
    ConsultarSAT(3);
    const std::string section =
        SectionOf("## Uma linha do log de diagnóstico", "## A line of the diagnostic log");
    std::vector<std::string> written;
    for (const std::string& line : LinesOf(DiagnosticLog()))
        written.push_back(Settled(line));
    const std::string shown = PageBlocks(section, "text").at(0);
    EXPECT_THAT(written, testing::Contains(Settled(shown)));
    EXPECT_THAT(DiagnosticLog(), testing::HasSubstr(shown.substr(0, 14))) << "the time";
}

TEST_P(LogsPage, EachLogModeWritesTheLevelsOfItsRow) {
    static const std::regex level(R"(\]([A-Z]{3}) \[)");
    size_t rows = 0;
    for (const PageRow& row :
         PageRows(SectionOf("## O que é gravado: LogMode", "## What is written: LogMode"))) {
        Load();
        World().files.MakeFolder("Log");
        const char mode = row[0][0] >= '0' && row[0][0] <= '5' ? row[0][0] : 'x';
        Exchange(mode);
        World().ports.Unplug("\\\\?\\COM5");
        ConsultarSAT(4);
        const std::string log = DiagnosticLog();
        std::set<std::string> levels;
        for (auto at = std::sregex_iterator(log.begin(), log.end(), level); at != std::sregex_iterator();
             ++at)
            levels.insert((*at)[1]);
        for (const std::string name : {"ERR", "WRN", "INF", "TRC", "DBG"})
            EXPECT_EQ(levels.count(name) == 1, row[1].find(name) != std::string::npos) << mode << name;
        EXPECT_EQ(!ProtocolLog().empty(), row[2] == GetParam().yes) << mode;
        ++rows;
    }
    EXPECT_EQ(rows, 7U);
}

TEST_P(LogsPage, FromThreeOnEveryModeWritesTheSame) {
    Exchange('3');
    const size_t lines = LinesOf(DiagnosticLog()).size();
    for (const char mode : {'4', '5'}) {
        Exchange(mode);
        EXPECT_EQ(LinesOf(DiagnosticLog()).size(), lines);
    }
    // "Some sixty lines" for an exchange behind the first call.
    ClearLog();
    ConsultarSAT(4);
    EXPECT_THAT(LinesOf(DiagnosticLog()).size(), testing::AllOf(testing::Ge(50U), testing::Le(70U)));
}

TEST_P(LogsPage, AfterNineInTheEveningTheDayOfTheNameIsTheNext) {
    World().clock.SetUtc(2026, 11, 21, 0, 30, 0);
    Exchange('1');
    World().clock.SetUtc(2026, 11, 21, 3, 30, 0);
    World().ports.Unplug("\\\\?\\COM5");
    ConsultarSAT(4);
    EXPECT_THAT(FileText("Log\\20261121_SAT_api.log"), testing::HasSubstr("[24:30:00"));
    EXPECT_TRUE(World().files.Exists("Log\\20261120_SAT_ProtocolLog.txt"));
}

TEST_P(LogsPage, AnOversizedLogIsRenamedInARelativeFolderOnly) {
    for (const std::string folder : {"Log", "C:\\PDV"}) {
        Load();
        World().files.MakeFolder(folder);
        WriteIni("[LOG]\nLogFilePath=" + folder + "\nLogFileMaxSize=1000\nLogMode=3\n");
        for (int call = 0; call < 4; ++call)
            VersaoDllZantir();
        EXPECT_EQ(World().files.Exists(folder + "\\20261120_SAT_api.log_bkp_00.log"), folder == "Log");
    }
}

TEST_P(LogsPage, ASpoiledReplyIsInTheProtocolLogTwiceAndARefusedCommandNotAtAll) {
    device.faults.bad_checksum_times = 1;
    Exchange('1');
    EXPECT_EQ(LinesOf(ProtocolLog()).size(), 3U);
    const std::vector<std::string> lines = LinesOf(ProtocolLog());
    EXPECT_THAT(lines.at(1), testing::EndsWith("]OK:b"));
    device.faults.nak_block = 0;
    ConsultarSAT(4);
    EXPECT_EQ(LinesOf(ProtocolLog()).size(), 3U);
}

}  // namespace

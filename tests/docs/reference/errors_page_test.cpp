/*
 * The page about errors: every text that a call can return stands in it to the letter, and no other.
 */
#include <filesystem>
#include <set>

#include "api/busy_reply.h"
#include "api_fixture.h"
#include "reference_page.h"

namespace {

/** A text and how many bytes the device's line had been given by then. */
struct Returned {
    std::string text;
    uint64_t bytes_written;
};

class ErrorsPage : public Api, public testing::WithParamInterface<PageLanguage> {
  protected:
    static std::string Page() { return ProjectFile(GetParam().errors); }

    static std::string SectionOf(const char* portuguese, const char* english) {
        return PageSection(Page(), GetParam().name == std::string("English") ? english : portuguese);
    }

    /** The lines of a section's blocks that are error texts, with the blank that the page cannot show. */
    static std::set<std::string> TextsIn(const std::string& section) {
        std::set<std::string> texts;
        for (const std::string& block : PageBlocks(section, "text"))
            for (const std::string& line : LinesOf(block))
                if (line.starts_with("SAT Erro[")) texts.insert(line + " ");
        return texts;
    }

    /** Every way in which a call fails, on a machine of its own each. */
    static std::vector<Returned> EveryFailure();
};

INSTANTIATE_TEST_SUITE_P(Docs, ErrorsPage, testing::ValuesIn(PAGE_LANGUAGES), LanguageName);

std::vector<Returned> ErrorsPage::EveryFailure() {
    std::vector<Returned> all;
    sim::HonestDevice device = DeviceThatSays("ok");
    const auto call = [&](const std::string& port, const auto& break_it) {
        Load();
        WriteIniWithLog('0');
        device.faults = {};
        sim::Line* line = port.empty() ? nullptr : &AttachDevice(&device, port);
        break_it(line);
        const std::string text = ConsultarSAT(1);
        all.push_back({text, line != nullptr ? line->Record().bytes_written : 0});
    };
    const auto fix_port = [](const char* port) {
        WriteIni(DefaultIniWith("SERIAL_PORT_CONFIG", "FixarPorta", port));
    };
    call("COM5", [](sim::Line*) { World().faults.FailAlways(sim::Call::MutexCreate); });
    call("COM5", [](sim::Line*) { World().mutexes.Hold(SAT_LOCK_NAME, 99); });
    call("", [](sim::Line*) {});
    call("COM5", [&](sim::Line*) { fix_port("LPT1"); });
    call("COM5", [&](sim::Line*) { fix_port("COM0"); });
    call("COM5", [](sim::Line*) { World().ports.Hold("\\\\?\\COM5"); });
    for (const sim::Call setting : {sim::Call::PortParseMode, sim::Call::PortApply, sim::Call::PortSetQueues,
                                    sim::Call::PortSetTimeouts})
        call("COM5", [&](sim::Line*) { World().faults.FailAlways(setting); });
    for (const char* port : {"COM1", "COM5"}) {
        call(port, [&](sim::Line*) { device.faults.silent = true; });
        call(port, [&](sim::Line*) { device.faults.nak_block = 0; });
        call(port, [](sim::Line* line) { line->AcceptAtMost(0); });
    }
    call("COM5", [&](sim::Line*) { device.faults.silent_reply = true; });
    call("COM5", [&](sim::Line*) { device.faults.bad_checksum_times = 3; });

    Load();
    WriteIniWithLog('0');
    const std::string huge(11 * 1024 * 1024, 'z');
    all.push_back({EnviarDadosVenda(1, "12345678", huge.c_str()), 0});
    return all;
}

TEST_P(ErrorsPage, HasEveryTextThatACallReturnsAndNoOther) {
    std::set<std::string> returned;
    for (const Returned& failure : EveryFailure())
        returned.insert(failure.text);
    EXPECT_EQ(TextsIn(SectionOf("## Os textos", "## The texts")), returned);
}

TEST_P(ErrorsPage, KnowsEveryTextOfTheTable) {
    const std::string page = Page();
    for (int error = 0; error <= EXCHANGE_NOT_RECEIVED; ++error) {
        WriteExchangeError(gl_strSatRsp, static_cast<eExchangeError>(error), -1, "\\\\?\\COM5");
        const std::string text = gl_strSatRsp;
        const std::string behind_code = text.substr(text.find(']'), text.rfind(' ') - text.find(']'));
        EXPECT_THAT(page, testing::HasSubstr(behind_code + "\n"));
    }
}

TEST_P(ErrorsPage, ListsTheTextsThatNoCallReturns) {
    std::set<std::string> texts;
    WriteExchangeError(gl_strSatRsp, EXCHANGE_NOT_OPENED, -2004, "\\\\?\\COM5");
    texts.insert(gl_strSatRsp);
    for (const eExchangeError error : {EXCHANGE_NOT_SENT_ON_COM1, EXCHANGE_NOT_SENT}) {
        WriteExchangeError(gl_strSatRsp, error, -1006, "\\\\?\\COM5");
        texts.insert(gl_strSatRsp);
    }
    generate_98_return(gl_strSatRsp, 1, 15, 5);
    texts.insert(gl_strSatRsp);
    generate_98_return(gl_strSatRsp, 1, 0, -1);
    texts.insert(gl_strSatRsp);
    EXPECT_EQ(TextsIn(SectionOf("## Textos que nenhuma chamada devolve", "## Texts that no call returns")),
              texts);
}

TEST_P(ErrorsPage, TheHeaderNamesEachCodeBesideItsPlaceToo) {
    const std::string header = ProjectFile("include/zantir.h");
    const auto entry = [&](const std::string& place) {
        const size_t at = header.rfind(" * - ", header.find(place + ","));
        return header.substr(at, header.find("\n * -", at + 1) - at);
    };
    for (const Returned& failure : EveryFailure()) {
        const std::string place = failure.text.substr(failure.text.find(" L[") + 1, 7);
        const std::string code = "`" + failure.text.substr(failure.text.find('[') + 1, 6) + "`";
        EXPECT_THAT(entry(place), testing::HasSubstr(place)) << failure.text;
        // COM1 has words of its own, and the codes of every other port.
        EXPECT_THAT(entry(place == "L[2110]" ? "L[2114]" : place), testing::HasSubstr(code)) << failure.text;
    }
}

TEST_P(ErrorsPage, NoOtherSourceMakesErrorTexts) {
    std::set<std::string> sources;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(ZANTIR_TOP "/src")) {
        if (entry.path().extension() != ".cpp") continue;
        const std::string name = std::filesystem::relative(entry.path(), ZANTIR_TOP).generic_string();
        if (ProjectFile(name).find("\"SAT Erro[") != std::string::npos) sources.insert(name);
    }
    EXPECT_THAT(sources, testing::ElementsAre("src/api/busy_reply.cpp", "src/api/exchange_errors.cpp"));
}

TEST_P(ErrorsPage, HasASectionForEachPlace) {
    for (const Returned& failure : EveryFailure()) {
        const std::string place = failure.text.substr(failure.text.find(" L[") + 1, 7);
        EXPECT_EQ(PageHeadings(Page(), "### " + place + ":").size(), 1U) << failure.text;
    }
}

TEST_P(ErrorsPage, SaysTrulyWhenNothingWasSent) {
    const std::vector<PageRow> rows = PageRows(SectionOf("## Depois de uma falha", "## After a failure"));
    ASSERT_EQ(rows.size(), 3U);
    for (const Returned& failure : EveryFailure()) {
        const std::string place = failure.text.substr(failure.text.find(" L[") + 1, 7);
        const bool said = rows[0][0].find(place) != std::string::npos;
        const bool otherwise = (rows[1][0] + rows[2][0]).find(place) != std::string::npos;
        EXPECT_NE(said, otherwise) << place;
        EXPECT_TRUE(!said || failure.bytes_written == 0) << failure.text << failure.bytes_written;
    }
}

TEST_P(ErrorsPage, TheCommandItselfComesBackWhenTheEmulatorHasNoPort) {
    WriteIni("[SAT_EMULATOR]\nSerialPortWindows=\nEnable=1\n");
    const std::string text = EnviarDadosVenda(123, "12345678", "<CFe></CFe>");
    EXPECT_THAT(Shown(text), testing::StartsWith("<02>EnviarDadosVenda|000123|12345678|<CFe>"));
    EXPECT_THAT(SectionOf("## O texto é o próprio comando", "## The text is the command itself"),
                testing::HasSubstr("\nEnviarDadosVenda|000123|12345678|<CFe>...\n"));
}

}  // namespace

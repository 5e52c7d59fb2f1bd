#include "golden.h"

#include "api_fixture.h"

using testing::HasSubstr;

/** One sale at the highest log mode, from the load of the library on. */
class Golden : public Api {
  protected:
    void SetUp() override {
        Load();
        WriteIniWithLog('5');
        sim::PresentDevice modem;
        modem.port_name = "COM3";
        modem.friendly = "Modem (COM3)";
        World().devices.push_back(modem);
        AttachDevice(&device, "COM7", "ZANTIR SAT (COM7)");
        reply = EnviarDadosVenda(
            1000042, "12345678",
            "<?xml version=\"1.0\"?><CFe><infCFe versaoDadosEnt=\"0.07\"><ide><numeroCaixa>001</numeroCaixa>"
            "</ide></infCFe></CFe>");
    }
    sim::HonestDevice device = DeviceThatSays(
        "000042|06000|0000|Emitido com sucesso + conteudo notas|||PENGZS9YbWw+|20261120120405|"
        "CFe35261114200166000166591234567890001234567890|12.50||c2ln");
    std::string reply;
};

TEST_F(Golden, TheDiagnosticLogOfASale) {
    ASSERT_THAT(reply, testing::StartsWith("000042|06000|"));
    // The first lines of a first start come before its folder is there.
    ExpectGolden("sale_diagnostic_log", Masked(DiagnosticLog(".") + DiagnosticLog()));
}

TEST_F(Golden, TheProtocolLogOfASale) {
    ExpectGolden("sale_protocol_log", Masked(ProtocolLog()));
}

TEST(GoldenText, MasksTimesLinesAndHandlesOnly) {
    EXPECT_EQ(
        Masked(
            "[12:04:05.006]WRN [0123] [../src/api/ZANTIR] [f]*phComm[0001F012h] n[0000000Ah] hC[FFFFFFFFh]\x02\n"),
        "[time]WRN [line] [../src/api/ZANTIR] [f]*phComm[<handle>h] n[0000000Ah] hC[FFFFFFFFh]<02>\n");
    EXPECT_EQ(Masked("20261120120405 PC->SAT\n20261120120406 x\n"), "<time> PC->SAT\n<time> x\n");
}

TEST(GoldenText, ShowsDifferingLinesWithTheirSurroundings) {
    EXPECT_EQ(DifferingLines("a\nb\n", "a\nb\n"), "");
    EXPECT_EQ(DifferingLines("1\n2\n3\n4\n5\n6\n", "1\n2\n3\n4\nX\n6\n"), "...\n 2\n 3\n 4\n-5\n+X\n 6\n");
    EXPECT_EQ(DifferingLines("a\n", "a\nb\n"), " a\n+b\n");
    EXPECT_EQ(DifferingLines("a\n", "a"), "-a\n+a<no line feed>\n");
}

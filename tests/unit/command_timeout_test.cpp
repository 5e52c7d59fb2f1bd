#include <functional>

#include "api_fixture.h"

/** How long each export waits for the first byte of its reply. */
class CommandTimeout : public Api {
  protected:
    /** Virtual seconds that a call takes when the device takes its command and never answers. */
    static double Seconds(const std::function<char*()>& call) {
        sim::HonestDevice device = DeviceThatSays("");
        device.faults.silent_reply = true;
        World().devices.clear();
        AttachDevice(&device);
        const int64_t start_ms = NowMs();
        EXPECT_THAT(call(), testing::HasSubstr("Falha ao receber resposta do  SAT"));
        return static_cast<double>(NowMs() - start_ms) / 1000;
    }
};

// The clock moves in whole seconds: "more than 10" is reached after more than 10 and at most 11 seconds, and
// the call itself takes some milliseconds.
#define EXPECT_WAITS(seconds, call)           \
    EXPECT_THAT(Seconds([] { return call; }), \
                testing::AllOf(testing::Gt(seconds), testing::Lt(seconds + 1.1)))

TEST_F(CommandTimeout, EachExportWaitsAsLongAsItsRowSays) {
    EXPECT_WAITS(1800, AtivarSAT(1, 2, "a", "b", 35));
    EXPECT_WAITS(300, ComunicarCertificadoICPBRASIL(1, "a", "b"));
    EXPECT_WAITS(30, EnviarDadosVenda(1, "a", "b"));
    EXPECT_WAITS(30, CancelarUltimaVenda(1, "a", "b", "c"));
    EXPECT_WAITS(10, ConsultarSAT(1));
    EXPECT_WAITS(20, TesteFimAFim(1, "a", "b"));
    EXPECT_WAITS(10, ConsultarStatusOperacional(1, "a"));
    EXPECT_WAITS(20, ConsultarNumeroSessao(1, "a", 2));
    EXPECT_WAITS(20, ConfigurarInterfaceDeRede(1, "a", "b"));
    EXPECT_WAITS(1800, AssociarAssinatura(1, "a", "b", "c"));
    EXPECT_WAITS(1800, AtualizarSoftwareSAT(1, "a"));
    EXPECT_WAITS(30, ExtrairLogs(1, "a"));
    EXPECT_WAITS(300, BloquearSAT(1, "a"));
    EXPECT_WAITS(20, DesbloquearSAT(1, "a"));
    EXPECT_WAITS(30, TrocarCodigoDeAtivacao(1, "a", 1, "b", "c"));
    EXPECT_WAITS(20, ConsultarUltimaSessaoFiscal(1, "a"));
}

TEST_F(CommandTimeout, AConfiguredTimeoutCountsForTheFirstSevenCommandsOnly) {
    WriteIni(
        "[LOG]\nLogMode=0\n[SAT_TIMEOUT]\nConsultarStatusOperacional=3\nConsultarNumeroSessao=3\n"
        "ConsultarSAT=-3\n");
    EXPECT_WAITS(3, ConsultarStatusOperacional(1, "a"));
    EXPECT_WAITS(20, ConsultarNumeroSessao(1, "a", 2));
    EXPECT_WAITS(10, ConsultarSAT(1));
}

TEST_F(CommandTimeout, ATimeoutChangedBetweenTwoCallsCountsFromTheNextCallOn) {
    WriteIni("[LOG]\nLogMode=0\n[SAT_TIMEOUT]\nConsultarSAT=2\n");
    EXPECT_WAITS(2, ConsultarSAT(1));
    WriteIni("[LOG]\nLogMode=0\n[SAT_TIMEOUT]\nConsultarSAT=5\n");
    EXPECT_WAITS(5, ConsultarSAT(1));
}

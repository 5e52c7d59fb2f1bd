/*
 * The periodic size control, which nothing starts: a sleep that throws ends it.
 */
#include "logged_library.h"

namespace {

class PeriodicSizeControl : public LoggedLibrary {
  protected:
    struct Stop {};

    /**
     * Runs the body for some rounds with a command on the line and says in which rounds, from 1, the sizes
     * were checked. `before` runs in front of each round.
     */
    static std::vector<size_t> RoundsWithCheck(size_t rounds, const std::function<void(size_t)>& before) {
        std::vector<size_t> checked;
        size_t round = 0;
        // The protocol log's control closes its file: that shows that it ran.
        gl_bProtocolLineFormatted = true;
        World().clock.on_sleep = [&](uint32_t milliseconds) {
            EXPECT_EQ(milliseconds, 5000U);
            if (round > 0 && gl_iFd == 0) checked.push_back(round);
            if (round == rounds) throw Stop{};
            if (gl_iFd == 0) CreateSAT_ProtLogFile();
            before(++round);
        };
        EXPECT_THROW(LogSzCtlTherad(), Stop);
        World().clock.on_sleep = nullptr;
        return checked;
    }

    static void Command(const std::string& name, plat_handle port) {
        gl_hComm = port;
        VKO_CopyText(gl_tSat.strCurSatCmdInProc, sizeof gl_tSat.strCurSatCmdInProc, name.c_str());
    }

    static std::string Line(const std::string& rest) {
        return "WRN [#] ../src/api/ZANTIR LogSzCtlTherad " + rest + "\n";
    }
};

constexpr plat_handle kOpenPort = 0x44;

TEST_F(PeriodicSizeControl, TheSixLongCommandsHoldItBackForTwentyRounds) {
    for (const char* name : {"AtivarSAT", "EnviarDadosVenda", "CancelarUltimaVenda", "TesteFimAFim",
                             "ExtrairLogs", "AtualizarSoftwareSAT"}) {
        LoadAtMode('5');
        const std::vector<size_t> checked = RoundsWithCheck(41, [name](size_t) { Command(name, kOpenPort); });
        EXPECT_THAT(checked, testing::ElementsAre(20U, 40U)) << name;
    }
}

TEST_F(PeriodicSizeControl, AnyOtherCommandLetsItRunInEveryRound) {
    for (const char* name :
         {"ComunicarCertificadoICPBRASIL", "ConsultarSAT", "ConsultarStatusOperacional",
          "ConsultarNumeroSessao", "ConfigurarInterfaceDeRede", "AssociarAssinatura", "BloquearSAT",
          "DesbloquearSAT", "TrocarCodigoDeAtivacao", "ConsultarUltimaSessaoFiscal", "VersaoDllZantir", "",
          "AtivarSA", "AtivarSATx"}) {
        LoadAtMode('5');
        EXPECT_THAT(RoundsWithCheck(3, [name](size_t) { Command(name, kOpenPort); }),
                    testing::ElementsAre(1U, 2U, 3U))
            << name;
    }
}

TEST_F(PeriodicSizeControl, AClosedPortLetsItRunInEveryRound) {
    for (const plat_handle port : {PLAT_INVALID_HANDLE, plat_handle{0}}) {
        LoadAtMode('5');
        EXPECT_THAT(RoundsWithCheck(3, [port](size_t) { Command("AtivarSAT", port); }),
                    testing::ElementsAre(1U, 2U, 3U));
    }
}

TEST_F(PeriodicSizeControl, ARoundWithoutTheCommandStartsTheCountAnew) {
    const std::vector<size_t> checked = RoundsWithCheck(
        45, [](size_t round) { Command(round == 10 ? "ConsultarSAT" : "EnviarDadosVenda", kOpenPort); });
    EXPECT_THAT(checked, testing::ElementsAre(10U, 30U));
}

TEST_F(PeriodicSizeControl, ItReportsItsStartAndALongCommand) {
    gl_tSat.hSizeControlThread = 0x1AB;
    CreateSAT_ProtLogFile();
    TakeLog();
    // A file that stays open keeps the log to the lines of the body itself.
    gl_bProtocolLineFormatted = false;
    size_t sleeps = 0;
    World().clock.on_sleep = [&sleeps](uint32_t) {
        Command("ExtrairLogs", kOpenPort);
        if (++sleeps == 41) throw Stop{};
    };
    EXPECT_THROW(LogSzCtlTherad(), Stop);
    World().clock.on_sleep = nullptr;
    const std::string running =
        Line("hT[000001ABh] i[20] CurSatCmdInProc[ExtrairLogs]Running for Long Time!!!");
    EXPECT_EQ(TakeLog(), Line("Entering hT[000001ABh]") + running + running);
    EXPECT_EQ(World().clock.SleptMs(), 41U * 5000);
}

TEST_F(PeriodicSizeControl, BothLogsAreControlled) {
    gl_tLogSettings.iLogFileMaxSize = 100;
    World().files.SetText("Log\\20261120_SAT_api.log", std::string(200, 'x'));
    EXPECT_THAT(RoundsWithCheck(1, [](size_t) {}), testing::ElementsAre(1U));
    EXPECT_TRUE(World().files.Exists("Log\\20261120_SAT_api.log_bkp_00.log"));
}

}  // namespace

#include "api_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/** What an export itself writes: to the diagnostic log, and as a result file. */
class ExportLog : public Api {
  protected:
    void SetUp() override {
        Load();
        WriteIniWithLog('5');
    }

    /** Switches result files on, into the folder "C:\receipts". */
    static void KeepReceipts() {
        WriteIni("[LOG]\nLogMode=5\n[CUPOM_DESK]\nPathWindows=C:\\receipts\nEnable=1\n");
        World().files.MakeFolder("C:\\receipts");
    }

    static constexpr const char* kNotFound =
        "SAT Erro[-01000]Win SAT Nao encontrado!!! L[2013] F[Communicate] ";
};

TEST_F(ExportLog, AFailedCallIsReportedInItsNameOnce) {
    ConsultarSAT(1);
    EXPECT_THAT(LogOf("ConsultarSAT"),
                ElementsAre(std::string("ERR [ConsultarSAT] rc[-01000]ER\n\t << SAT_Rsp[00065:") + kNotFound +
                            "]\n"));
}

TEST_F(ExportLog, ASuccessfulCallWritesNoLineOfItsOwn) {
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    ConsultarSAT(1);
    EXPECT_THAT(LogOf("ConsultarSAT"), IsEmpty());
    EXPECT_THAT(LogOf("cSerialReadBufW"), SizeIs(1));
}

TEST_F(ExportLog, TheLastFiscalSessionIsLoggedBothWays) {
    sim::HonestDevice device = DeviceThatSays("000016|19000|ok");
    AttachDevice(&device);
    ConsultarUltimaSessaoFiscal(16, "act");
    // The result is the ETX index of a frame with 15 bytes of text.
    EXPECT_THAT(LogOf("ConsultarUltimaSessaoFiscal"),
                ElementsAre("INF [ConsultarUltimaSessaoFiscal] rc[000000]WR\n\t >> "
                            "SAT_Cmd[00040:\x02"
                            "ConsultarUltimaSessaoFiscal|000016|act\x03]\n",
                            "INF [ConsultarUltimaSessaoFiscal] rc[000017]OK\n\tSAT->PC <<    "
                            "SAT_Rsp[00015:000016|19000|ok]\n"));
}

TEST_F(ExportLog, ItsFailureIsLoggedAsTheOtherDirectionAndNotAsUsual) {
    ConsultarUltimaSessaoFiscal(16, "act");
    EXPECT_THAT(LogOf("ConsultarUltimaSessaoFiscal"),
                ElementsAre("INF [ConsultarUltimaSessaoFiscal] rc[000000]WR\n\t >> "
                            "SAT_Cmd[00040:\x02"
                            "ConsultarUltimaSessaoFiscal|000016|act\x03]\n",
                            std::string("ERR [ConsultarUltimaSessaoFiscal] rc[-01000]ER\n\tSAT->PC <<    "
                                        "SAT_Rsp[00065:") +
                                kNotFound + "]\n"));
}

TEST_F(ExportLog, ItsCommandIsLoggedBeforeTheExchangeAndItsReplyBehindIt) {
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    ConsultarUltimaSessaoFiscal(16, "act");
    std::vector<std::string> order;
    for (const std::string& line : Log()) {
        if (line.find("SAT_Cmd[") != std::string::npos) order.emplace_back("command");
        if (line.find("STEP-01.1") != std::string::npos) order.emplace_back("first step");
        if (line.find("STEP-07.0") != std::string::npos) order.emplace_back("last step");
        if (line.find("SAT_Rsp[") != std::string::npos) order.emplace_back("reply");
    }
    EXPECT_THAT(order, ElementsAre("command", "first step", "last step", "reply"));
}

TEST_F(ExportLog, TheVersionWritesNoLine) {
    VersaoDllZantir();
    ClearLog();
    VersaoDllZantir();
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(ExportLog, AReplyThatLooksLikeAFormatIsPrintedAsItStands) {
    sim::HonestDevice device = DeviceThatSays("%s%n%d|100%");
    AttachDevice(&device);
    EXPECT_STREQ(ConsultarUltimaSessaoFiscal(16, "%n%s"), "%s%n%d|100%");
    EXPECT_THAT(LogOf("ConsultarUltimaSessaoFiscal"), Contains(HasSubstr("SAT_Rsp[00011:%s%n%d|100%]")));
}

TEST_F(ExportLog, SalesAndCancellationsKeepTheirReplyWhenReceiptsAreEnabled) {
    KeepReceipts();
    sim::HonestDevice device = DeviceThatSays("000042|06000|ok");
    AttachDevice(&device);
    EnviarDadosVenda(1000042, "a", "<CFe/>");
    CancelarUltimaVenda(-1000007, "a", "b", nullptr);
    ConsultarSAT(1);
    TesteFimAFim(1, "a", "b");
    // Day, hour, minute and second of the local time, and the reduced session.
    EXPECT_THAT(World().files.List("C:\\receipts"),
                ElementsAre("canc-cprx-20120405--7-1.sat", "venda-cprx-20120405-42-1.sat"));
    EXPECT_EQ(FileText("C:\\receipts\\venda-cprx-20120405-42-1.sat"), "000042|06000|ok");
}

TEST_F(ExportLog, AFailedSaleKeepsItsErrorTextAndIsReportedBehindTheFile) {
    KeepReceipts();
    EnviarDadosVenda(42, "a", "<CFe/>");
    CancelarUltimaVenda(43, "a", "b", "c");
    EXPECT_EQ(FileText("C:\\receipts\\venda-cprx-20120405-42-1.sat"), kNotFound);
    EXPECT_EQ(FileText("C:\\receipts\\canc-cprx-20120405-43-1.sat"), kNotFound);
    std::vector<std::string> order;
    for (const std::string& line : Log()) {
        if (line.find("[write_operation_result]") != std::string::npos &&
            line.find("Saved File") != std::string::npos)
            order.emplace_back("file");
        if (line.starts_with("ERR [EnviarDadosVenda]") || line.starts_with("ERR [CancelarUltimaVenda]"))
            order.emplace_back("line");
    }
    EXPECT_THAT(order, ElementsAre("file", "line", "file", "line"));
}

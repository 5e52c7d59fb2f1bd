#include <functional>
#include <regex>

#include "api_fixture.h"

using testing::ElementsAre;

static const char kLock[] = "Global My shared memory mutex";

/** One whole exchange: its order of calls, its log, what it leaves behind. */
class Exchange : public Api {
  protected:
    /** The steps of the last exchange as the log shows them: "INF STEP-01.1[PASS]". */
    static std::vector<std::string> Steps() {
        static const std::regex step(R"(STEP-\d\d\.\d(\[[A-Z]{4}\])?)");
        std::vector<std::string> steps;
        for (const std::string& line : LogOf("Communicate")) {
            std::smatch match;
            if (std::regex_search(line, match, step)) steps.push_back(line.substr(0, 4) + match.str());
        }
        return steps;
    }
};

TEST_F(Exchange, ASaleReturnsTheDevicesReply) {
    sim::HonestDevice device([](const std::string&) { return "000042|06000|0000|Emitido|||x|y|z|1|2|3"; });
    AttachDevice(&device);
    EXPECT_STREQ(EnviarDadosVenda(42, "12345678", "<CFe/>"), "000042|06000|0000|Emitido|||x|y|z|1|2|3");
    EXPECT_EQ(device.last_command, "EnviarDadosVenda|000042|12345678|<CFe/>");
    EXPECT_EQ(World().ports.OpenCount(), 0U);
    EXPECT_EQ(World().mutexes.Owner(kLock), 0U);
}

TEST_F(Exchange, CallsThePlatformInItsOrder) {
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    VersaoDllZantir();
    using sim::Call;
    World().faults.TraceOn({Call::AppendOpen, Call::AppendWrite, Call::FindOpen, Call::MutexCreate,
                            Call::MutexWait, Call::MutexRelease, Call::DevicesOpen, Call::DevicesClose,
                            Call::PortOpen, Call::PortParseMode, Call::PortApply, Call::PortSetQueues,
                            Call::PortRaise, Call::PortSetTimeouts, Call::PortFlush, Call::PortWrite,
                            Call::PortRead, Call::PortClose, Call::SleepMs});
    ConsultarSAT(5);
    World().faults.TraceOff();
    for (std::string& call : World().faults.trace)
        if (call.starts_with("AppendWrite")) call = "AppendWrite";
    EXPECT_THAT(World().faults.trace,
                ElementsAre("AppendOpen Log\\20261120_SAT_ProtocolLog.txt", "FindOpen Log/*.txt",
                            std::string("MutexCreate ") + kLock, "MutexWait 3000", "DevicesOpen Ports",
                            "DevicesClose", "PortOpen \\\\?\\COM7", "PortParseMode 115200,n,8,1",
                            "PortApply 115200,n,8,1", "PortSetQueues 16384 16384", "PortRaise DTR",
                            "PortRaise RTS", "PortSetTimeouts 10 1 1 1 1000", "PortFlush", "PortWrite 22: 02",
                            "SleepMs 1", "PortRead 1", "AppendWrite", "PortRead 1", "PortRead 16383",
                            "PortWrite 1: 06", "AppendWrite", "PortClose", "SleepMs 2", "MutexRelease"));
}

TEST_F(Exchange, LogsItsStepsInOrderAndThereIsNoStepFive) {
    WriteIniWithLog('5');
    sim::HonestDevice device = DeviceThatSays("ok");
    AttachDevice(&device);
    ConsultarSAT(5);
    EXPECT_THAT(Steps(), ElementsAre("INF STEP-01.1[PASS]", "INF STEP-01.2[PASS]", "INF STEP-02.0[PASS]",
                                     "INF STEP-02.2[PASS]", "INF STEP-02.3[PASS]", "INF STEP-03.0[PASS]",
                                     "INF STEP-06.0", "INF STEP-07.0[PASS]"));
    EXPECT_EQ(DiagnosticLog().find("STEP-05"), std::string::npos);
}

TEST_F(Exchange, LogsAFailedReplyAndStillClosesOut) {
    WriteIniWithLog('5');
    sim::HonestDevice device = DeviceThatSays("ok");
    device.faults.silent_reply = true;
    AttachDevice(&device);
    ConsultarSAT(5);
    EXPECT_THAT(Steps(), ElementsAre("INF STEP-01.1[PASS]", "INF STEP-01.2[PASS]", "INF STEP-02.0[PASS]",
                                     "INF STEP-02.2[PASS]", "INF STEP-02.3[PASS]", "INF STEP-03.0[PASS]",
                                     "ERR STEP-04.0[FAIL]", "INF STEP-06.0", "ERR STEP-07.0[FAIL]"));
    const std::string text = "SAT Erro[-00001]Win Falha ao receber resposta do  SAT L[2127] F[Communicate] ";
    const std::vector<std::string> lines = LogOf("Communicate");
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_THAT(lines[6], testing::HasSubstr(text));
    EXPECT_THAT(lines[8], testing::AllOf(testing::HasSubstr("rc[-00001]"),
                                         testing::HasSubstr("LibVersion[23-JUL-2020] BuildDate[Jan 14 "
                                                            "2021-14:37:25]"),
                                         testing::HasSubstr("10485760")));
}

TEST_F(Exchange, TheLastLineOfASuccessShowsTheResultAndTheBufferSize) {
    WriteIniWithLog('5');
    sim::HonestDevice device = DeviceThatSays("AB");
    AttachDevice(&device);
    ConsultarSAT(5);
    const std::string last = LogOf("Communicate").back();
    EXPECT_THAT(
        last, testing::AllOf(testing::StartsWith("INF "), testing::HasSubstr("rc[000004]"),
                             testing::HasSubstr("10485760"), testing::Not(testing::HasSubstr("LibVersion"))));
}

TEST_F(Exchange, ReturnsTheReadersResult) {
    VersaoDllZantir();
    sim::HonestDevice device = DeviceThatSays("AB");
    AttachDevice(&device);
    strcpy(gl_strSatRsp,
           "\x02"
           "ConsultarSAT|000001\x03");
    // The index of ETX in STX, A, B, checksum, ETX.
    EXPECT_EQ(Communicate(gl_strSatRsp, 10, 1, 4, 5), 4);
    EXPECT_STREQ(gl_strSatRsp, "AB");
}

/** A device that looks, when a command has come, whether the library knows its port. */
static sim::HonestDevice DeviceThatLooks(bool* valid) {
    return sim::HonestDevice([valid](const std::string&) {
        *valid = plat_handle_valid(gl_hComm);
        return "ok";
    });
}

TEST_F(Exchange, TheOpenPortIsKnownLibraryWideWhileItIsOpen) {
    bool valid = false;
    sim::HonestDevice device = DeviceThatLooks(&valid);
    AttachDevice(&device);
    ConsultarSAT(5);
    EXPECT_TRUE(valid);
    EXPECT_EQ(gl_hComm, PLAT_INVALID_HANDLE);
}

/** Another thread that closes out just when the port has been set up. */
struct ClosingOut : sim::Observer {
    void OnCall(sim::Call call, int64_t, int64_t) override {
        if (call == sim::Call::PortFlush) gl_hComm = PLAT_INVALID_HANDLE;
    }
};

TEST_F(Exchange, TheOpenPortIsKnownAgainBehindAnotherThreadsCloseOut) {
    bool valid = false;
    sim::HonestDevice device = DeviceThatLooks(&valid);
    AttachDevice(&device);
    ClosingOut other;
    World().observer = &other;
    EXPECT_STREQ(ConsultarSAT(5), "ok");
    World().observer = nullptr;
    EXPECT_TRUE(valid);
}

TEST_F(Exchange, OpensAndClosesThePortInEveryCall) {
    sim::HonestDevice device = DeviceThatSays("ok");
    sim::Line& line = AttachDevice(&device);
    for (int i = 1; i <= 3; ++i) {
        ConsultarSAT(i);
        EXPECT_EQ(line.Record().opens, static_cast<unsigned>(i));
        EXPECT_EQ(line.Record().closes, static_cast<unsigned>(i));
    }
}

TEST_F(Exchange, EachCallLeavesOneHandleToTheLockOpen) {
    for (unsigned i = 1; i <= 3; ++i) {
        ConsultarSAT(1);
        EXPECT_EQ(World().mutexes.HandlesCreated(), i);
    }
    EXPECT_THAT(World().mutexes.Names(), ElementsAre(kLock));
}

TEST_F(Exchange, ANewCallAfterAFailureWorks) {
    sim::HonestDevice device = DeviceThatSays("ok");
    device.faults.silent = true;
    AttachDevice(&device);
    EXPECT_THAT(ConsultarSAT(1), testing::StartsWith("SAT Erro[-00001]"));
    device.faults.silent = false;
    EXPECT_STREQ(ConsultarSAT(2), "ok");
}

/** What a call does that comes in while another thread of the process has the port open. */
class ExchangeWithOpenPort : public Exchange {
  protected:
    void SetUp() override {
        Load();
        WriteIniWithLog('5');
        VersaoDllZantir();
        ClearLog();
        OpenPort(&device);
        gl_hComm = hPort;
        strcpy(gl_strSatRsp,
               "\x02"
               "ConsultarSAT|000001\x03");
    }
    sim::HonestDevice device = DeviceThatSays("ok");
};

TEST_F(ExchangeWithOpenPort, UsesThePortWithoutFindingOpeningOrConfiguringOne) {
    const uint64_t configured = World().faults.Count(sim::Call::PortApply);
    EXPECT_GE(Communicate(gl_strSatRsp, 10, 1, 4, 5), 0);
    EXPECT_STREQ(gl_strSatRsp, "ok");
    EXPECT_EQ(World().faults.Count(sim::Call::DevicesOpen), 0U);
    EXPECT_EQ(World().faults.Count(sim::Call::PortOpen), 1U);
    EXPECT_EQ(World().faults.Count(sim::Call::PortApply), configured);
    EXPECT_THAT(LogOf("Communicate"),
                testing::Contains(testing::AllOf(testing::StartsWith("WRN "), testing::HasSubstr("STEP-02.0"),
                                                 testing::HasSubstr("Already Openned"))));
}

TEST_F(ExchangeWithOpenPort, ClosesThatPortAtItsEnd) {
    Communicate(gl_strSatRsp, 10, 1, 4, 5);
    EXPECT_EQ(World().ports.OpenCount(), 0U);
    EXPECT_EQ(gl_hComm, PLAT_INVALID_HANDLE);
}

TEST_F(ExchangeWithOpenPort, ClosesItEvenWhenTheLockWasNotObtained) {
    World().mutexes.Hold(kLock, 99);
    EXPECT_EQ(Communicate(gl_strSatRsp, 10, 1, 4, 5), -1002);
    EXPECT_EQ(World().ports.OpenCount(), 0U);
    EXPECT_EQ(gl_hComm, PLAT_INVALID_HANDLE);
}

TEST_F(ExchangeWithOpenPort, AFailedSendNamesNoPortAndIsNoMissingDevice) {
    device.faults.silent = true;
    EXPECT_EQ(Communicate(gl_strSatRsp, 10, 1, 4, 5), -1);
    EXPECT_STREQ(gl_strSatRsp,
                 "SAT Erro[-00001]Win Falha ao enviar Comando ao SAT[] L[2114] F[Communicate] ");
}

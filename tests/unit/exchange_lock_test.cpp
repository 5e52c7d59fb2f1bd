#include "api_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

static const char kLock[] = "Global My shared memory mutex";

/** The machine-wide lock around an exchange. */
class ExchangeLock : public Api {
  protected:
    void SetUp() override {
        Load();
        WriteIniWithLog('5');
        AttachDevice(&device);
        VersaoDllZantir();
        ClearLog();
    }
    sim::HonestDevice device = DeviceThatSays("ok");
};

TEST_F(ExchangeLock, HeldByAnotherForMoreThanThreeSecondsIsAnErrorText) {
    World().mutexes.Hold(kLock, 99);
    EXPECT_STREQ(ConsultarSAT(1), "SAT Erro[-01002]Win Falha ao Durante Lock do SAT L[1986] F[Communicate] ");
    EXPECT_EQ(NowMs(), 3000);
    EXPECT_EQ(device.commands_taken, 0U);
    EXPECT_EQ(World().faults.Count(sim::Call::DevicesOpen), 0U);
    EXPECT_EQ(World().mutexes.Owner(kLock), 99U);
}

TEST_F(ExchangeLock, ATimeoutIsLoggedAsBusyAndReleasesTwiceWhatItDoesNotOwn) {
    World().mutexes.Hold(kLock, 99);
    World().faults.TraceOn({sim::Call::MutexWait, sim::Call::MutexRelease, sim::Call::PortClose});
    ConsultarSAT(1);
    EXPECT_THAT(World().faults.trace, ElementsAre("MutexWait 3000", "MutexRelease", "MutexRelease"));
    const std::vector<std::string> lines = LogOf("Communicate");
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_THAT(lines[0], HasSubstr("STEP-01.1"));
    EXPECT_EQ(lines[1],
              "ERR [Communicate]Win:ER:Win:STEP-01.2[FAIL] dwWaitResult[258]WAIT_TIMEOUT <Erro 98*, estou "
              "ocupado.>\n");
    EXPECT_THAT(lines[2], testing::AllOf(HasSubstr("STEP-06.0"), HasSubstr("ReleaseMutex")));
    EXPECT_THAT(lines[3],
                testing::AllOf(testing::StartsWith("ERR "), HasSubstr("STEP-07.0"), HasSubstr("rc[-01002]")));
}

TEST_F(ExchangeLock, ReleasedJustInTimeIsTaken) {
    World().mutexes.Hold(kLock, 99, 2999 * 1000);
    EXPECT_STREQ(ConsultarSAT(1), "ok");
    EXPECT_GE(NowMs(), 2999);
}

TEST_F(ExchangeLock, AbandonedByItsOwnerIsTaken) {
    World().mutexes.Hold(kLock, 99, 1000 * 1000, sim::HoldEnd::Abandoned);
    EXPECT_STREQ(ConsultarSAT(1), "ok");
    EXPECT_EQ(World().mutexes.Owner(kLock), 0U);
    EXPECT_THAT(LogOf("Communicate"), testing::Contains(testing::AllOf(HasSubstr("STEP-01.2[PASS]"),
                                                                       HasSubstr("dwWaitResult[128]"))));
}

TEST_F(ExchangeLock, AFailedWaitCountsAsAcquired) {
    constexpr int kFailedWait = 2;
    World().faults.FailAlways(sim::Call::MutexWait, kFailedWait);
    EXPECT_STREQ(ConsultarSAT(1), "ok");
    EXPECT_EQ(World().faults.Count(sim::Call::MutexRelease), 1U);
}

TEST_F(ExchangeLock, ThatCannotBeCreatedIsAnErrorTextAndNothingIsReleased) {
    World().faults.FailAlways(sim::Call::MutexCreate);
    EXPECT_STREQ(ConsultarSAT(1), "SAT Erro[-01001]Win Falha ao Durante Lock do SAT L[1975] F[Communicate] ");
    EXPECT_EQ(World().faults.Count(sim::Call::MutexWait), 0U);
    EXPECT_EQ(World().faults.Count(sim::Call::MutexRelease), 0U);
    EXPECT_EQ(World().faults.Count(sim::Call::DevicesOpen), 0U);
}

TEST_F(ExchangeLock, ThatCannotBeCreatedLogsTheSystemsError) {
    World().faults.FailAlways(sim::Call::MutexCreate);
    ConsultarSAT(1);
    const std::vector<std::string> lines = LogOf("Communicate");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], testing::AllOf(testing::StartsWith("ERR "), HasSubstr("STEP-01.1[FAIL]")));
    EXPECT_THAT(lines[1], testing::AllOf(testing::StartsWith("ERR "), HasSubstr("STEP-07.0")));
    const std::vector<std::string> system = LogOf("printGetLastError");
    ASSERT_EQ(system.size(), 2U);
    EXPECT_EQ(system[0], "INF [printGetLastError]Win: [5]\n");
}

TEST_F(ExchangeLock, OwnedByTheCallingThreadIsTakenAgainAtOnce) {
    World().mutexes.Hold(kLock, World().Thread());
    EXPECT_STREQ(ConsultarSAT(1), "ok");
    EXPECT_LT(NowMs(), 100);
    EXPECT_EQ(World().mutexes.Owner(kLock), World().Thread());
    EXPECT_EQ(World().mutexes.Depth(kLock), 1U);
}

TEST_F(ExchangeLock, TheLogFolderIsLookedAtBeforeTheLockIsTaken) {
    World().mutexes.Hold(kLock, 99);
    ConsultarSAT(1);
    EXPECT_EQ(World().faults.Count(sim::Call::FindOpen), 1U);
    EXPECT_EQ(World().faults.Count(sim::Call::AppendOpen), 1U);
}

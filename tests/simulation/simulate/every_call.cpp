#include "every_call.h"

#include <string>

#include "broken.h"

namespace simulate {

namespace {

struct Scenario {
    const char* name;
    int command;
    bool first_start;  ///< without "SAT.ini", and the call is the first of the process
};
constexpr Scenario kScenarios[] = {
    {"sale", kSale, false},
    {"cancellation", kCancellation, false},
    {"first start", kStatus, true},
};

/** Way by which the process ends at the call instead. */
constexpr int kEnds = -1;
constexpr int kMostWays = 3;

Plan PlanOf(int command) {
    Plan plan;
    plan.request.command = command;
    plan.request.session = 4711;
    plan.request.texts[0] = "codigo123";
    plan.request.texts[1] = "<CFe>dados</CFe>";
    plan.request.texts[2] = "<CFeCanc/>";
    plan.reply = "004711|06000|0000|Emitido com sucesso|||";
    plan.reply_delay_us = 5000;
    return plan;
}

class EveryCall {
  public:
    EveryCall(Run& run, const Scenario& scenario) : run_(run), scenario_(scenario) {}

    void Go(EveryCallCount* count) {
        // Without a failure, for the file that a first start leaves.
        RunOnce(0, 0);
        first_ini_ = Ini();
        for (uint64_t call = 1; reached_; ++call) {
            reached_ = false;
            for (int way = kEnds; way < kMostWays; ++way) {
                if (!Check(call, way) && way != kEnds) break;
                ++(way == kEnds ? count->ended : count->failed);
            }
        }
    }

  private:
    /** False when the call cannot fail in this way, or when there is no such call. */
    bool Check(uint64_t call, int way) {
        try {
            return RunOnce(call, way);
        } catch (const std::exception& broken) {
            const std::string last = sim::world().faults.LastFired();
            Break("%s, call %llu, way %d (last failure: %s): %s", scenario_.name,
                  static_cast<unsigned long long>(call), way, last.c_str(), broken.what());
        }
    }

    bool RunOnce(uint64_t call, int way) {
        Draw draw(1);
        sim::World& world = sim::world();
        run_.OpenShop(draw, scenario_.first_start, 1);
        Till& till = run_.FirstTill();
        if (!scenario_.first_start) {
            run_.TheShop().UseIni(Settled());
            world.files.MakeFolder(run_.TheShop().Ini().result_folder);
            run_.RunPlan(till, PlanOf(kStatus));
        }
        Plan plan = PlanOf(scenario_.command);
        plan.clean = call == 0;
        (way == kEnds ? plan.kill_at_call : plan.fail_call) = call;
        plan.fail_way = way;
        const uint64_t before = world.faults.Total();
        const uint64_t fired = world.faults.Fired();
        run_.RunPlan(till, plan);
        reached_ = reached_ || world.faults.Total() - before >= call;
        const bool happened = world.faults.Fired() != fired || till.LastOutcome() == Outcome::Killed;
        JudgeIni();
        const bool restarted = till.MustRestart();
        run_.AfterExchange(till);
        // What failed once does not fail again: the next call succeeds.
        run_.RunPlan(till, PlanOf(kStatus));
        if (till.LastOutcome() != Outcome::Reply)
            Break("the next call ended with \"%s\"", OutcomeName(till.LastOutcome()));
        if (restarted && Ini() != first_ini_) Break("the next start did not mend SAT.ini");
        return happened;
    }

    static Settings Settled() {
        Settings settings;
        settings.log_mode = '3';
        settings.result_files = true;
        return settings;
    }

    static std::string Ini() { return sim::world().files.Text("SAT.ini"); }

    /** What a first start leaves is a whole file or none; a file that was there stays as it was. */
    void JudgeIni() const {
        if (!sim::world().files.Exists("SAT.ini") || run_.FirstTill().LastOutcome() == Outcome::Killed)
            return;
        if (!first_ini_.empty() && Ini() != first_ini_) Break("SAT.ini was left as %s", Shown(Ini()).c_str());
    }

    Run& run_;
    const Scenario& scenario_;
    std::string first_ini_;
    bool reached_ = true;  ///< the exchanges of the last round still made that many calls
};

}  // namespace

EveryCallCount EveryCallMayFail(Run& run) {
    EveryCallCount count;
    for (const Scenario& scenario : kScenarios)
        EveryCall(run, scenario).Go(&count);
    return count;
}

}  // namespace simulate

/*
 * simulate: sales by the million on a simulated machine, of which many go wrong. Ends with an error at the
 * first broken promise and tells the seed and the exchange at which it is found again.
 */
#include <CLI/CLI.hpp>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <random>

#include "every_call.h"
#include "run.h"

namespace {

int RunSeed(const simulate::RunOptions& options, bool every_call) {
    std::printf("seed %" PRIu64 "\n", options.seed);
    std::fflush(stdout);
    simulate::Run run(options);
    const auto start = std::chrono::steady_clock::now();
    try {
        if (every_call) {
            const simulate::EveryCallCount count = simulate::EveryCallMayFail(run);
            std::printf("every call: %" PRIu64 " failures, %" PRIu64 " ended processes\n", count.failed,
                        count.ended);
        } else {
            run.Go();
        }
    } catch (const std::exception& broken) {
        std::fflush(stdout);
        std::fprintf(stderr, "BROKEN: %s\n%s", broken.what(), run.Where().c_str());
        // The other options, if any, must be given again too.
        if (!every_call)
            std::fprintf(stderr,
                         "again: simulate --seed %" PRIu64 " --exchanges %" PRIu64 " --from-step %" PRIu64
                         " --trace\n",
                         options.seed, options.exchanges, run.Step());
        return 1;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (!every_call) run.Result().Print(stdout);
    // Not on the standard output, which is the same whenever the seed is.
    std::fprintf(stderr, "%.1f s, %.0f exchanges a second\n", elapsed.count(),
                 static_cast<double>(run.Result().exchanges) / elapsed.count());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Sales by the million on a simulated machine, of which many go wrong.");
    simulate::RunOptions options;
    bool every_call = false;
    options.seed = std::random_device()();
    app.add_option("--exchanges", options.exchanges, "how many calls are made")->capture_default_str();
    app.add_option("--seed", options.seed, "decides everything; drawn afresh when it is not given");
    app.add_option("--from-step", options.from_step, "begin with the thousand that this exchange belongs to");
    app.add_option("--log-mode", options.log_mode, "LogMode of every SAT.ini; mostly 0 when it is not given")
        ->check(CLI::Range(0, 5));
    app.add_option("--processes", options.processes, "tills at a time; any number when it is not given")
        ->check(CLI::Range(1, simulate::Library::kCopies));
    app.add_flag("--trace", options.trace, "print every watched platform call");
    app.add_flag("--every-call", every_call,
                 "a sale, a cancellation and a first start instead, each of their calls failing in turn");
    CLI11_PARSE(app, argc, argv);
    return RunSeed(options, every_call);
}

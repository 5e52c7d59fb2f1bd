#include "report.h"

#include <cinttypes>

namespace simulate {

void Report::Count(const Plan& plan, Outcome outcome) {
    ++exchanges;
    if (plan.clean) ++clean;
    for (size_t i = 0; i < kFaultCount; ++i)
        faults[i] += plan.faulty[i] ? 1 : 0;
    ++outcomes[static_cast<size_t>(outcome)];
}

void Report::Print(std::FILE* file) const {
    std::fprintf(file, "exchanges            %10" PRIu64 "\n", exchanges);
    std::fprintf(file, "  without a fault    %10" PRIu64 "\n", clean);
    std::fprintf(file, "process starts       %10" PRIu64 "\n", starts);
    std::fprintf(file, "platform calls       %10" PRIu64 "\n", calls);
    std::fprintf(file, "  made to fail       %10" PRIu64 "\n", calls_failed);
    std::fprintf(file, "virtual time         %10.0f s\n", static_cast<double>(virtual_us) / 1e6);
    std::fprintf(file, "faults\n");
    for (size_t i = 0; i < kFaultCount; ++i)
        std::fprintf(file, "  %-28s %10" PRIu64 "\n", FaultName(static_cast<Fault>(i)), faults[i]);
    std::fprintf(file, "results\n");
    for (size_t i = 0; i < std::size(outcomes); ++i)
        std::fprintf(file, "  %-28s %10" PRIu64 "\n", OutcomeName(static_cast<Outcome>(i)), outcomes[i]);
    std::fprintf(file, "digest %016" PRIx64 "\n", digest);
}

}  // namespace simulate

#include "fault_plan.h"

#include <cstdlib>

namespace emulator {

namespace {

// The standard library's distributions differ from system to system; these two lines do not.
double Fraction(std::mt19937_64& random) {
    return static_cast<double>(random() >> 11) / 9007199254740992.0;
}

bool ParseProbability(const std::string& text, double* probability) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    // Written so that what is not a number fails too.
    if (text.empty() || *end != '\0' || !(value >= 0 && value <= 1)) return false;
    *probability = value;
    return true;
}

}  // namespace

bool ParseRandomFaults(std::string_view text, RandomFaults* random, std::string* error) {
    const size_t comma = std::min(text.find(','), text.size());
    const std::string probability(Trimmed(text.substr(0, comma)));
    if (!ParseProbability(probability, &random->probability)) {
        *error = "probabilidade \"" + probability + "\": esperado um numero de 0 a 1, como 0.2";
        return false;
    }
    if (comma == text.size()) {
        random->choices = UsualFaults();
        return true;
    }
    const std::string_view choices = Trimmed(text.substr(comma + 1));
    if (!choices.empty()) return ParseChoices(choices, &random->choices, error);
    *error = "esperada uma falha depois de \"" + std::string(text) + "\"";
    return false;
}

void AddFaults(FaultPlan& plan, const Faults& faults) {
    const std::lock_guard lock(plan.guard);
    plan.queue.push_back(faults);
}

void SetRandomFaults(FaultPlan& plan, const RandomFaults& random, uint64_t seed) {
    const std::lock_guard lock(plan.guard);
    plan.by_chance = random;
    plan.random.seed(seed);
}

void ClearFaults(FaultPlan& plan) {
    const std::lock_guard lock(plan.guard);
    plan.queue.clear();
    plan.carried.clear();
    plan.by_chance = {};
    ++plan.cleared;
}

PlannedFaults NextFaults(FaultPlan& plan) {
    const std::lock_guard lock(plan.guard);
    PlannedFaults planned{.faults = std::move(plan.carried), .cleared = plan.cleared};
    plan.carried.clear();
    if (!plan.queue.empty()) {
        const Faults& next = plan.queue.front();
        planned.faults.insert(planned.faults.end(), next.begin(), next.end());
        plan.queue.pop_front();
    } else if (!plan.by_chance.choices.empty()) {
        // Both numbers are drawn each time, so that the sequence does not depend on what came of the first.
        const bool chosen = Fraction(plan.random) < plan.by_chance.probability;
        const Faults& choice = plan.by_chance.choices[plan.random() % plan.by_chance.choices.size()];
        if (chosen) planned.faults.insert(planned.faults.end(), choice.begin(), choice.end());
    }
    return planned;
}

void ReturnFaults(FaultPlan& plan, const PlannedFaults& planned) {
    const std::lock_guard lock(plan.guard);
    if (plan.cleared != planned.cleared) return;
    for (const Fault& fault : planned.faults) {
        // One that found no occasion, say the second block of a short command, is not kept for later.
        if (fault.used == 0 || fault.times == 0) continue;
        plan.carried.push_back(fault);
        plan.carried.back().used = 0;
    }
}

}  // namespace emulator

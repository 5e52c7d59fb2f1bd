/*
 * A run: so many exchanges of some tills, all decided by a seed.
 */
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fibers.h"
#include "report.h"
#include "shop.h"
#include "till.h"

namespace simulate {

struct RunOptions {
    uint64_t exchanges = 1'000'000;
    uint64_t seed = 1;
    uint64_t from_step = 0;  ///< begins with the shop that this exchange happens in
    int log_mode = -1;       ///< 0 to 5; -1 for mostly 0
    int processes = 0;       ///< 1 to 3; 0 for any
    bool trace = false;
};

/** Every so many exchanges a fresh shop opens, whose seed depends on its number alone. */
constexpr uint64_t kExchangesAShop = 1000;

class Run : public sim::Observer {
  public:
    explicit Run(const RunOptions& options);
    ~Run() override;

    /** Throws Broken, or what the library lets through, at the first broken promise. */
    void Go();

    /** Where the run stands: seed, exchange, till, and the platform calls that came last. */
    std::string Where() const;

    /** The exchange that the running till is in. */
    uint64_t Step() const { return steps_[sim::world().Process() - 1]; }

    const Report& Result() const { return report_; }

    // A single till in an orderly shop, for a run that is planned call by call.
    void OpenShop(Draw& draw, bool first_start, int tills);
    void RunPlan(Till& till, const Plan& plan);
    void AfterExchange(Till& till);
    Till& FirstTill() { return *tills_[0]; }
    Shop& TheShop() { return shop_; }

    void OnCall(sim::Call call, int64_t argument, int64_t result) override;
    void OnOpen(const char* path, plat_handle port) override;
    void OnRead(const uint8_t* buffer, uint32_t size, uint32_t read) override;
    void OnWrite(const uint8_t* bytes, uint32_t size, uint32_t written) override;
    void OnFault(sim::Call call, int way) override;

  private:
    /** A platform call as the run remembers it. */
    struct Event {
        int64_t at_us = 0;
        uint32_t process = 0;
        sim::Call call{};
        int64_t argument = 0;
        int64_t result = 0;
        uint32_t bytes = 0;  ///< the first of those moved
    };

    Till& Running();
    void RunShop(uint64_t number, uint64_t exchanges);
    void TillBody(Till& till);
    void Arm(const Plan& plan);
    void JumpAfter(int64_t delay_us, int64_t seconds);
    void Note(sim::Call call, int64_t argument, int64_t result, const uint8_t* bytes, uint32_t size);
    void TakeLock(Till& till);
    static std::string Text(const Event& event);

    RunOptions options_;
    Report report_;
    Draw draw_;
    Shop shop_;
    std::vector<std::unique_ptr<Till>> tills_;
    Fibers* fibers_ = nullptr;
    uint64_t left_ = 0;
    uint64_t step_ = 0;
    std::array<uint64_t, Library::kCopies> steps_{};  ///< the exchange that each till is in
    uint32_t next_thread_ = 0;
    const Till* armed_by_ = nullptr;
    std::array<Event, 64> events_{};
    uint64_t event_count_ = 0;
};

}  // namespace simulate

/*
 * The device in the shop: keeps the protocol, with what the plan of the exchange makes go wrong.
 */
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "plan.h"
#include "sim_devices.h"

namespace simulate {

class ShopDevice : public sim::HonestDevice {
  public:
    /** `plan_of_caller` tells the plan of the process that opens the port. */
    explicit ShopDevice(std::function<const Plan&()> plan_of_caller);

    void OnOpen(sim::Line& line) override;

    /** Whether a frame was put on the line since the port was opened that begins with STX, this text and its
     * sum. */
    bool SentText(std::string_view text) const;

  private:
    void ChangeFrame(std::string& frame, unsigned attempt);

    std::function<const Plan&()> plan_of_caller_;
    std::string reply_;
    std::string instead_;
    std::string behind_;
    size_t junk_size_ = 0;
    std::vector<std::string>
        sent_;  ///< the frames since the port was opened, with all that is wrong with them
};

}  // namespace simulate

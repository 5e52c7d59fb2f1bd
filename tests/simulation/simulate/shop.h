/*
 * The shop: one machine with its ports, devices and "SAT.ini", shared by all tills that run on it.
 */
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "exchange_judge.h"
#include "plan.h"
#include "settings.h"
#include "shop_device.h"

namespace simulate {

class Shop {
  public:
    /** `plan_of_caller` tells the plan of the running process, for a device whose port it opens. */
    explicit Shop(std::function<const Plan&()> plan_of_caller);

    /** A fresh machine. Without "SAT.ini" when `first_start`: the library must write it. */
    void Open(Draw& draw, bool first_start, int log_mode);

    /** The technician writes "SAT.ini" anew: other settings, or the same ones. */
    void WriteIni();
    void ChangeIni(Draw& draw, int log_mode);
    void UseIni(const Settings& settings);
    const Settings& Ini() const { return ini_; }

    /** Another program takes the lock before the call, if it is free. */
    void HoldLock(const Plan& plan) const;

    /** The running process has the lock: its plan's ports and devices are there from now on. */
    void Arrange(Draw& draw, const Plan& plan);

    /** Where an exchange must turn in the shop as it is; `emulator` tells whether the caller's settings
     * switch it on. */
    Route RouteFor(const Plan& plan, bool emulator) const;
    Route RouteWithoutDevice(bool emulator) const;

    /** Starts what happens while the port is open: the device is unplugged. */
    void PortOpened(const Plan& plan);

    /** The exchange is over: what was to happen to it happens no more. */
    void Close() { ++exchange_; }

    /** The device behind a route's port; nullptr when there is none of ours. */
    const ShopDevice* DeviceAt(int port) const;

    /** How many calls were made to fail, or processes to end: what may leave something behind. */
    void Doubt() { ++doubts_; }
    uint64_t Doubts() const { return doubts_; }

  private:
    void ShowDevices(Presence presence);
    std::string DevicePath() const { return "\\\\?\\COM" + std::to_string(port_); }

    ShopDevice device_;
    ShopDevice emulator_;
    sim::Line* line_ = nullptr;
    int port_ = 7;
    Presence shown_ = Presence::None;
    int shown_port_ = 0;
    Settings ini_;
    int64_t ini_version_ = 0;
    uint64_t exchange_ = 0;
    uint64_t doubts_ = 0;
};

}  // namespace simulate

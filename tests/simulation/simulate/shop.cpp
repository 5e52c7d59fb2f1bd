#include "shop.h"

#include <cctype>
#include <cstdlib>
#include <utility>

namespace simulate {

namespace {

constexpr int kOtherPort = 40;  ///< a port with nobody at the other end
constexpr int kEmulatorPort = 50;
constexpr uint32_t kOtherProgram = 999;
constexpr const char* kEmulatorPath = "\\\\?\\COM50";

/** A file of a long run keeps no more than this. */
constexpr size_t kMostFileBytes = 1 << 20;

Route RouteTo(const std::string& name) {
    const size_t com = name.find("COM");
    if (com == std::string::npos) return {Route::Kind::NoCom, name, 0};
    const int port = std::atoi(name.c_str() + com + 3);
    return {port < 1 ? Route::Kind::NoNumber : Route::Kind::Open, name, port};
}

sim::PresentDevice Port(std::string name, std::string friendly) {
    sim::PresentDevice device;
    device.port_name = std::move(name);
    device.friendly = std::move(friendly);
    return device;
}

}  // namespace

Shop::Shop(std::function<const Plan&()> plan_of_caller)
    : device_(plan_of_caller), emulator_(plan_of_caller) {}

void Shop::Open(Draw& draw, bool first_start, int log_mode) {
    sim::World& world = sim::world();
    world.Reset();
    world.keep_printed = false;
    world.files.ForgetAbove(kMostFileBytes);
    world.files.MakeFolder("C:\\cupons");
    if (draw.OneIn(2)) world.files.MakeFolder("C:\\ProgramData\\CupomDesk\\Cupons\\New");
    // Frequencies whose ticks are a whole number of microseconds, so that seconds begin where they are
    // expected.
    static constexpr int64_t kFrequencies[] = {10'000'000, 10'000'000, 1'000'000, 1'000'000'000, 0};
    world.clock.SetCounterFrequency(draw.Of(kFrequencies));
    port_ = static_cast<int>(draw.Between(2, 32));
    line_ = &world.ports.Add(DevicePath(), &device_);
    world.ports.Add("\\\\?\\COM" + std::to_string(kOtherPort), nullptr);
    world.ports.Add(kEmulatorPath, &emulator_);
    shown_ = Presence::None;
    world.devices.clear();
    ini_ = Settings();
    ++exchange_;
    if (!first_start) ChangeIni(draw, log_mode);
}

void Shop::WriteIni() {
    // Every version has a time of its own, as if the technician took a second at least.
    constexpr int64_t kFirstVersion = 1'700'000'000;
    sim::world().files.SetText("SAT.ini", IniText(ini_));
    sim::world().files.SetModified("SAT.ini", kFirstVersion + ++ini_version_);
}

void Shop::ChangeIni(Draw& draw, int log_mode) {
    UseIni(DrawSettings(draw, log_mode));
}

void Shop::UseIni(const Settings& settings) {
    ini_ = settings;
    WriteIni();
}

void Shop::HoldLock(const Plan& plan) const {
    sim::World& world = sim::world();
    if (plan.hold_lock_us == 0 || world.mutexes.Owner(kLockName) != 0) return;
    world.mutexes.Hold(kLockName, kOtherProgram, world.clock.NowUs() + plan.hold_lock_us,
                       plan.abandon_lock ? sim::HoldEnd::Abandoned : sim::HoldEnd::Released);
}

void Shop::Arrange(Draw& draw, const Plan& plan) {
    sim::World& world = sim::world();
    const std::string old_path = DevicePath();
    const bool line_gone = world.ports.Find(old_path) == nullptr;
    if (plan.presence == Presence::Com1) {
        port_ = 1;
    } else if (plan.new_port || port_ == 1 || (line_gone && draw.OneIn(2))) {
        port_ = static_cast<int>(draw.Between(2, 32));
    }
    const std::string path = DevicePath();
    if (path != old_path || world.ports.Find(path) == nullptr) world.ports.Replug(*line_, path);
    const int64_t until_us = plan.hold_port_us != 0 ? world.clock.NowUs() + plan.hold_port_us : 0;
    world.ports.Hold(path, until_us);
    world.ports.Hold(kEmulatorPath, until_us);
    ShowDevices(plan.presence);
}

void Shop::ShowDevices(Presence presence) {
    if (presence == shown_ && port_ == shown_port_) return;
    shown_ = presence;
    shown_port_ = port_;
    auto& devices = sim::world().devices;
    devices.clear();
    const std::string name = std::to_string(port_);
    const sim::PresentDevice other = Port("COM40", "Porta de outra marca (COM40)");
    switch (presence) {
        case Presence::Usual:
            devices = {other, Port("COM" + name, "ZANTIR SAT (COM" + name + ")"),
                       Port("LPT1", "ZANTIR (LPT1)")};
            break;
        case Presence::Alone:
        case Presence::Com1:
            devices = {Port("COM" + name, "SAT MXQ-B70")};
            break;
        case Presence::Second:
            devices = {Port("COM60", "ZANTIR"), Port("COM" + name, "MXQ-B70"), other};
            break;
        case Presence::LowerCase:
            devices = {Port("com" + name, "ZANTIR SAT"), other};
            break;
        case Presence::None:
            devices = {other};
            break;
        case Presence::Com0:
            devices = {Port("COM0", "ZANTIR SAT")};
            break;
    }
}

Route Shop::RouteWithoutDevice(bool emulator) const {
    if (!emulator) return {Route::Kind::NoDevice, "", 0};
    if (ini_.emulator_port.empty()) return {Route::Kind::KeepsLock, "", 0};
    return RouteTo(ini_.emulator_port);
}

Route Shop::RouteFor(const Plan& plan, bool emulator) const {
    if (plan.presence == Presence::None) return RouteWithoutDevice(emulator);
    std::string name = plan.presence == Presence::Com0 ? "COM0" : "COM" + std::to_string(port_);
    std::string fixed = ini_.fixed_port;
    while (!fixed.empty() && std::isdigit(static_cast<unsigned char>(fixed.back())) == 0)
        fixed.pop_back();
    if (fixed.size() > 2) name = fixed;
    return RouteTo(name);
}

void Shop::PortOpened(const Plan& plan) {
    if (plan.unplug_after_us < 0) return;
    sim::world().clock.After(plan.unplug_after_us, [this, exchange = exchange_, path = DevicePath()] {
        if (exchange == exchange_) sim::world().ports.Unplug(path);
    });
}

const ShopDevice* Shop::DeviceAt(int port) const {
    if (port == port_) return &device_;
    return port == kEmulatorPort ? &emulator_ : nullptr;
}

}  // namespace simulate

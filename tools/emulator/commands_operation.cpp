#include "commands.h"

namespace emulator {

namespace {

constexpr int NETWORK_DATA_INVALID = 2;
constexpr int ALREADY_BLOCKED = 2;
constexpr int NOT_BLOCKED = 5;

constexpr auto SOFTWARE_LIFE = std::chrono::days(365);

}  // namespace

Result ConfigureNetwork(Device& device, const Request& request) {
    const std::string problem = ReadNetwork(request.arguments[1], &device.network);
    return {.ending = problem.empty() ? DONE : NETWORK_DATA_INVALID, .reason = problem};
}

Result UpdateSoftware(Device& device, const Request& request) {
    device.update_due = request.now + SOFTWARE_LIFE;
    return {};
}

Result Block(Device& device, const Request&) {
    if (device.blocked) return {.ending = ALREADY_BLOCKED};
    device.blocked = true;
    return {};
}

// Whoever knows the code also ends the lock that wrong codes have put on the device.
Result Unblock(Device& device, const Request&) {
    if (!device.blocked && !IsLocked(device)) return {.ending = NOT_BLOCKED};
    device.blocked = false;
    device.wrong_codes = 0;
    return {};
}

}  // namespace emulator

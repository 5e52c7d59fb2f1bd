/*
 * platform.h on the simulated machine: serial ports and present devices.
 */
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "sim_enter.h"

using sim::Fail;
using sim::HandleKind;
using sim::Seen;

// ----------------------------------------------------------------------------------------------- serial port

plat_handle plat_port_open(const char* path) {
    SIM_ENTER(PortOpen, "%s", path);
    constexpr uint32_t kErrors[] = {PLAT_ERROR_FILE_NOT_FOUND, PLAT_ERROR_ACCESS_DENIED,
                                    sim::kErrorNotWorking};
    const plat_handle port =
        way >= 0 ? Fail(kErrors[way], PLAT_INVALID_HANDLE) : world.ports.Open(path, world.Process());
    if (world.observer != nullptr) world.observer->OnOpen(path, port);
    return port;
}

namespace {

bool ParseNumber(std::string_view text, uint32_t* number) {
    constexpr size_t kMostDigits = 7;
    if (text.empty() || text.size() > kMostDigits) return false;
    *number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return false;
        *number = *number * 10 + static_cast<uint32_t>(c - '0');
    }
    return true;
}

/** Reads "baud,parity,data bits,stop bits". */
bool ParseMode(std::string_view mode, plat_line_settings* settings) {
    std::string_view fields[4];
    for (size_t i = 0; i < 4; ++i) {
        const size_t comma = mode.find(',');
        if ((comma == std::string_view::npos) != (i == 3)) return false;
        fields[i] = mode.substr(0, comma);
        if (i < 3) mode.remove_prefix(comma + 1);
    }
    constexpr std::string_view kParities = "noe";
    const size_t parity = fields[1].size() == 1 ? kParities.find(fields[1][0]) : std::string_view::npos;
    uint32_t baud = 0, data_bits = 0, stop_bits = 0;
    if (!ParseNumber(fields[0], &baud) || !ParseNumber(fields[2], &data_bits) ||
        !ParseNumber(fields[3], &stop_bits))
        return false;
    if (baud == 0 || parity == std::string_view::npos || data_bits < 5 || data_bits > 8) return false;
    if (stop_bits < 1 || stop_bits > 2) return false;
    settings->baud_rate = baud;
    settings->data_bits = static_cast<uint8_t>(data_bits);
    settings->parity = static_cast<uint8_t>(parity);
    settings->stop_bits = stop_bits == 2 ? 2 : 0;
    return true;
}

}  // namespace

bool plat_port_parse_mode(const char* mode, plat_line_settings* settings) {
    SIM_ENTER(PortParseMode, "%s", mode);
    const size_t length = std::strlen(mode);
    if (way >= 0 || length >= sizeof settings->native || !ParseMode(mode, settings))
        return Seen(sim::Call::PortParseMode, 0, Fail(sim::kErrorInvalidParameter, false));
    // The text itself is the native block; the record of the line shows it once it is applied.
    std::memcpy(settings->native, mode, length + 1);
    return Seen(sim::Call::PortParseMode, 0, true);
}

namespace {

/** The record that a setting is noted in; nullptr when the setting fails. */
sim::LineRecord* RecordFor(plat_handle port, int way) {
    return way >= 0 ? Fail<sim::LineRecord*>(sim::kErrorNotWorking, nullptr)
                    : sim::world().ports.RecordOf(port);
}

}  // namespace

bool plat_port_apply(plat_handle port, const plat_line_settings* settings) {
    SIM_ENTER(PortApply, "%s", reinterpret_cast<const char*>(settings->native));
    sim::LineRecord* record = RecordFor(port, way);
    if (record == nullptr) return Seen(sim::Call::PortApply, 0, false);
    const auto* mode = reinterpret_cast<const char*>(settings->native);
    const auto* end = std::find(mode, mode + sizeof settings->native, '\0');
    record->mode.assign(mode, end);
    record->settings = *settings;
    ++record->applies;
    return Seen(sim::Call::PortApply, 0, true);
}

bool plat_port_set_queues(plat_handle port, uint32_t input_size, uint32_t output_size) {
    SIM_ENTER(PortSetQueues, "%u %u", input_size, output_size);
    sim::LineRecord* record = RecordFor(port, way);
    if (record == nullptr) return Seen(sim::Call::PortSetQueues, 0, false);
    record->input_queue = input_size;
    record->output_queue = output_size;
    return Seen(sim::Call::PortSetQueues, 0, true);
}

bool plat_port_set_timeouts(plat_handle port, const plat_port_timeouts* timeouts) {
    SIM_ENTER(PortSetTimeouts, "%u %u %u %u %u", timeouts->read_interval, timeouts->read_total_multiplier,
              timeouts->read_total_constant, timeouts->write_total_multiplier,
              timeouts->write_total_constant);
    sim::LineRecord* record = RecordFor(port, way);
    if (record == nullptr) return Seen(sim::Call::PortSetTimeouts, 0, false);
    record->timeouts = *timeouts;
    return Seen(sim::Call::PortSetTimeouts, 0, true);
}

bool plat_port_raise(plat_handle port, plat_port_signal signal) {
    SIM_ENTER(PortRaise, "%s", signal == PLAT_SIGNAL_DTR ? "DTR" : "RTS");
    sim::LineRecord* record = RecordFor(port, way);
    if (record == nullptr) return Seen(sim::Call::PortRaise, signal, false);
    (signal == PLAT_SIGNAL_DTR ? record->dtr : record->rts) = true;
    return Seen(sim::Call::PortRaise, signal, true);
}

namespace {

uint32_t ReadPort(sim::World& world, int way, plat_handle port, uint8_t* bytes, uint32_t size) {
    switch (way) {
        case 0:
            world.clock.AdvanceUs(world.clock.idle_cost_us);
            return Fail(sim::kErrorNotWorking, 0U);
        case 1:
            return world.ports.ReadNothing(port, size);
        case 2:
            return world.ports.Read(port, bytes, std::min(size, 1U));
        default:
            return world.ports.Read(port, bytes, size);
    }
}

uint32_t WritePort(sim::World& world, int way, plat_handle port, const uint8_t* data, uint32_t size) {
    switch (way) {
        case 0:
            world.clock.AdvanceUs(world.clock.idle_cost_us);
            return Fail(sim::kErrorNotWorking, 0U);
        case 1:
            return world.ports.Write(port, data, size, 0);
        case 2:
            return world.ports.Write(port, data, size, size / 2);
        default:
            return world.ports.Write(port, data, size);
    }
}

}  // namespace

uint32_t plat_port_read(plat_handle port, void* buffer, uint32_t size) {
    SIM_ENTER(PortRead, "%u", size);
    auto* bytes = static_cast<uint8_t*>(buffer);
    const uint32_t read = ReadPort(world, way, port, bytes, size);
    if (world.observer != nullptr) world.observer->OnRead(bytes, size, read);
    return read;
}

uint32_t plat_port_write(plat_handle port, const void* bytes, uint32_t size) {
    const auto* data = static_cast<const uint8_t*>(bytes);
    SIM_ENTER(PortWrite, "%u: %02X", size, size > 0 ? data[0] : 0U);
    const uint32_t written = WritePort(world, way, port, data, size);
    if (world.observer != nullptr) world.observer->OnWrite(data, size, written);
    return written;
}

bool plat_port_flush(plat_handle port) {
    SIM_ENTER(PortFlush);
    sim::LineRecord* record = RecordFor(port, way);
    if (record == nullptr) return Seen(sim::Call::PortFlush, 0, false);
    ++record->flushes;
    return Seen(sim::Call::PortFlush, 0, true);
}

bool plat_port_close(plat_handle port) {
    SIM_ENTER(PortClose);
    if (way == 0) world.ports.Close(port);
    const bool closed = way >= 0 ? Fail(sim::kErrorInvalidHandle, false) : world.ports.Close(port);
    return Seen(sim::Call::PortClose, port, closed);
}

// ------------------------------------------------------------------------------------------- present devices

namespace {

sim::World::DeviceSet* SetOf(plat_handle devices) {
    sim::World& world = sim::world();
    const size_t index = sim::HandleIndex(devices);
    const bool known = sim::IsHandleOf(devices, HandleKind::Devices) && index < world.device_sets.size() &&
                       world.device_sets[index].handle == devices;
    return known ? &world.device_sets[index]
                 : Fail<sim::World::DeviceSet*>(sim::kErrorInvalidHandle, nullptr);
}

/** The current device of a set; nullptr when none is selected, or when it has gone since. */
const sim::PresentDevice* CurrentOf(plat_handle devices) {
    const sim::World& world = sim::world();
    const sim::World::DeviceSet* set = SetOf(devices);
    if (set == nullptr || !set->current || *set->current >= world.devices.size()) return nullptr;
    return &world.devices[*set->current];
}

}  // namespace

plat_handle plat_devices_open(const char* class_name) {
    SIM_ENTER(DevicesOpen, "%s", class_name);
    const auto& classes = world.device_classes;
    const bool exists = std::find(classes.begin(), classes.end(), class_name) != classes.end();
    if (way >= 0 || !exists) return Fail(sim::kErrorInvalidData, PLAT_INVALID_HANDLE);
    auto& sets = world.device_sets;
    const auto place =
        std::find_if(sets.begin(), sets.end(), [](const auto& set) { return set.handle == 0; });
    const size_t index = static_cast<size_t>(place - sets.begin());
    if (place == sets.end()) sets.emplace_back();
    const plat_handle handle =
        sim::MakeHandle(HandleKind::Devices, index, world.faults.Count(sim::Call::DevicesOpen));
    sets[index] = {handle, world.Process(), class_name, {}};
    return handle;
}

bool plat_devices_select(plat_handle devices, uint32_t index) {
    SIM_ENTER(DevicesSelect, "%u", index);
    if (way >= 0) return Fail(sim::kErrorNoMoreItems, false);
    sim::World::DeviceSet* set = SetOf(devices);
    if (set == nullptr) return false;
    uint32_t seen = 0;
    for (size_t i = 0; i < world.devices.size(); ++i) {
        if (world.devices[i].class_name != set->class_name || seen++ != index) continue;
        set->current = i;
        return true;
    }
    return Fail(sim::kErrorNoMoreItems, false);
}

bool plat_devices_port_name(plat_handle devices, char* name, uint32_t size) {
    SIM_ENTER(DevicesPortName, "%u", size);
    const sim::PresentDevice* device = CurrentOf(devices);
    if (way == 0 || device == nullptr || !device->has_key) return Fail(PLAT_ERROR_ACCESS_DENIED, false);
    const bool fits = device->port_name && device->port_name->size() < size;
    if (way < 0 && fits) std::memcpy(name, device->port_name->c_str(), device->port_name->size() + 1);
    return true;
}

uint32_t plat_devices_friendly_size(plat_handle devices) {
    SIM_ENTER(DevicesFriendlySize);
    const sim::PresentDevice* device = CurrentOf(devices);
    if (way >= 0 || device == nullptr || !device->friendly) return Fail(sim::kErrorInvalidData, 0U);
    return static_cast<uint32_t>(device->friendly->size() + 1);
}

bool plat_devices_friendly(plat_handle devices, char* friendly, uint32_t size) {
    SIM_ENTER(DevicesFriendly, "%u", size);
    const sim::PresentDevice* device = CurrentOf(devices);
    const bool readable = device != nullptr && device->friendly && !device->friendly_read_fails;
    if (way >= 0 || !readable || device->friendly->size() >= size) return Fail(sim::kErrorInvalidData, false);
    std::memcpy(friendly, device->friendly->c_str(), device->friendly->size() + 1);
    return true;
}

bool plat_devices_close(plat_handle devices) {
    SIM_ENTER(DevicesClose);
    sim::World::DeviceSet* set = SetOf(devices);
    if (set != nullptr) *set = {};
    return way >= 0 ? Fail(sim::kErrorInvalidHandle, false) : set != nullptr;
}

void plat_devices_forget() {
    SIM_ENTER(DevicesForget);
}

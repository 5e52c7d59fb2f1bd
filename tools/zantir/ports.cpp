#include "ports.h"

#include <string_view>

#include "ini_check.h"
#include "platform/platform.h"
#include "text.h"
#include "vko_utils/text.h"

namespace tool {

namespace {

// clang-format off
constexpr Text BY_MARK = {"\"%1\" traz a marca do SAT no nome", "\"%1\" carries the device's mark in its name"};
constexpr Text BY_FIXED_PORT = {"FixarPorta no SAT.ini manda usar %1 em vez de %2, onde o SAT foi encontrado", "FixarPorta in SAT.ini says %1 instead of %2, where the device was found"};
constexpr Text BY_EMULATOR = {"nenhum SAT encontrado; o emulador está ligado no SAT.ini", "no device found; the emulator is enabled in SAT.ini"};
constexpr Text NONE = {"nenhuma porta tem ZANTIR ou MXQ-B70 no nome, e o emulador está desligado no SAT.ini", "no port has ZANTIR or MXQ-B70 in its name, and the emulator is disabled in SAT.ini"};
constexpr Text NO_EMULATOR_PORT = {"o emulador está ligado no SAT.ini, mas SerialPortWindows está vazio", "the emulator is enabled in SAT.ini, but SerialPortWindows is empty"};
constexpr Text SEVERAL = {"mais de uma porta com a marca: a última vale", "more than one port with the mark: the last one counts"};
constexpr Text FIXED_ELSEWHERE = {"FixarPorta aponta para outra porta que a do SAT", "FixarPorta names another port than the device's"};
constexpr Text FIXED_UNUSED = {"FixarPorta não é usada quando nenhum SAT é encontrado", "FixarPorta is not used when no device is found"};
// clang-format on

constexpr size_t SHORTEST_FIXED_PORT = 3;

Port ReadDevice(plat_handle devices) {
    Port port;
    char name[16] = {};
    plat_devices_port_name(devices, name, sizeof name);
    name[sizeof name - 1] = '\0';
    plat_upper(name);
    port.name = name;
    const uint32_t size = plat_devices_friendly_size(devices);
    std::string friendly(static_cast<size_t>(size) + 1, '\0');
    if (size != 0 && plat_devices_friendly(devices, friendly.data(), size)) {
        friendly.resize(friendly.find('\0'));
        port.friendly = friendly;
    }
    port.file = PortFile(port.name);
    return port;
}

}  // namespace

std::vector<Port> PresentPorts() {
    std::vector<Port> ports;
    const plat_handle devices = plat_devices_open("Ports");
    for (uint32_t index = 0; plat_devices_select(devices, index); ++index) {
        const Port port = ReadDevice(devices);
        if (port.name.compare(0, 3, "COM") == 0) ports.push_back(port);
    }
    if (plat_handle_valid(devices)) plat_devices_close(devices);
    return ports;
}

PortSettings ReadPortSettings(const std::string& ini_file) {
    PortSettings settings;
    std::string enabled;
    LibraryValue(ini_file, "SAT_EMULATOR", "Enable", &enabled);
    settings.emulator_enabled = enabled.compare(0, 1, "1") == 0;
    LibraryValue(ini_file, "SAT_EMULATOR", "SerialPortWindows", &settings.emulator_port);
    LibraryValue(ini_file, "SERIAL_PORT_CONFIG", "FixarPorta", &settings.fixed_port);
    // What follows the last digit does not count.
    const size_t last_digit = settings.fixed_port.find_last_of("0123456789");
    settings.fixed_port.resize(last_digit == std::string::npos ? 0 : last_digit + 1);
    return settings;
}

bool HasDeviceMark(const std::string& friendly) {
    return friendly.find("ZANTIR") != std::string::npos || friendly.find("MXQ-B70") != std::string::npos;
}

PortChoice ChoosePort(const std::vector<Port>& ports, const PortSettings& settings) {
    PortChoice choice;
    int marked = 0;
    for (const Port& port : ports) {
        if (!HasDeviceMark(port.friendly)) continue;
        ++marked;
        choice.port = port.name;
        choice.rule = Say(BY_MARK, {ToUtf8(port.friendly)});
    }
    if (marked > 1) choice.warning = Say(SEVERAL);
    const bool fixed = settings.fixed_port.size() >= SHORTEST_FIXED_PORT;
    if (marked == 0) {
        if (fixed) choice.warning = Say(FIXED_UNUSED);
        if (settings.emulator_enabled) choice.port = settings.emulator_port;
        choice.rule = Say(!settings.emulator_enabled ? NONE
                          : choice.port.empty()      ? NO_EMULATOR_PORT
                                                     : BY_EMULATOR);
    } else if (fixed && settings.fixed_port != choice.port) {
        choice.rule = Say(BY_FIXED_PORT, {ToUtf8(settings.fixed_port), choice.port});
        choice.warning = Say(FIXED_ELSEWHERE);
        choice.port = settings.fixed_port;
    }
    return choice;
}

PortState TryPort(const std::string& port) {
    // The library makes the path from the number behind "COM", whatever else stands there.
    const size_t at = port.find("COM");
    const int number = at == std::string::npos ? 0 : VKO_DecimalValue(port.c_str() + at + 3);
    if (number < 1) return PortState::Missing;
    const plat_handle handle = plat_port_open(("\\\\?\\COM" + std::to_string(number)).c_str());
    if (!plat_handle_valid(handle)) {
        return plat_last_error() == PLAT_ERROR_ACCESS_DENIED ? PortState::Refused : PortState::Missing;
    }
    plat_port_close(handle);
    return PortState::Opens;
}

}  // namespace tool

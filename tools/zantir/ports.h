/*
 * The serial ports that are present, and which of them the library takes for the device.
 */
#pragma once

#include <string>
#include <vector>

namespace tool {

/** A present serial port. */
struct Port {
    std::string name;      ///< "COM7"
    std::string friendly;  ///< what the system calls the device; "" when it has no name
    std::string file;      ///< the device file, where ports are files; "" elsewhere
};

/** What SAT.ini says about the port. */
struct PortSettings {
    std::string fixed_port;  ///< FixarPorta as the library reads it
    bool emulator_enabled = false;
    std::string emulator_port;  ///< SerialPortWindows as the library reads it
};

/** The port that the library takes, and by which rule. */
struct PortChoice {
    std::string port;  ///< "" when there is none
    std::string rule;  ///< why, in the chosen language
    std::string warning;
};

/** All ports, in the system's order. */
std::vector<Port> PresentPorts();

/** Reads the settings from a SAT.ini. */
PortSettings ReadPortSettings(const std::string& ini_file);

/** The library's rule of discovery. Pure. */
PortChoice ChoosePort(const std::vector<Port>& ports, const PortSettings& settings);

/** Whether the name carries one of the device's marks. */
bool HasDeviceMark(const std::string& friendly);

/** A program that has a port open. */
struct PortHolder {
    int process = 0;
    std::string program;
};

/** The device file of a port; "" where ports are no files. */
std::string PortFile(const std::string& port);

/** Programs that have a port open, as far as the system tells and this user may know. */
std::vector<PortHolder> HoldersOf(const std::string& port);

enum class PortState { Opens, Refused, Missing };

/** Opens the port for a moment, as the library would. */
PortState TryPort(const std::string& port);

}  // namespace tool

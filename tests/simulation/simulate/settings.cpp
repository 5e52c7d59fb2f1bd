#include "settings.h"

namespace simulate {

int Settings::TimeoutS(int command) const {
    const Command& row = kCommands[command];
    return row.configurable && timeouts_s[command] > 0 ? timeouts_s[command] : row.timeout_s;
}

std::string IniText(const Settings& settings) {
    std::string text = "[LOG]\nLogFilePath=Log\nLogMode=";
    text += settings.log_mode;
    text += "\n[SERIAL_PORT_CONFIG]\n";
    if (!settings.fixed_port.empty()) text += "FixarPorta=" + settings.fixed_port + "\n";
    text += "SerialPortConfig=115200,8,N,1\n[SAT_TIMEOUT]\n";
    for (int i = 0; i < kCommandCount; ++i)
        if (settings.timeouts_s[i] != 0)
            text += std::string(kCommands[i].name) + " = " + std::to_string(settings.timeouts_s[i]) + "\n";
    text += "[CUPOM_DESK]\nPathWindows=" + settings.result_folder +
            "\nEnable=" + (settings.result_files ? "1" : "0") +
            "\n[SAT_EMULATOR]\nSerialPortWindows=" + settings.emulator_port +
            "\nEnable=" + (settings.emulator ? "1" : "0") + "\n";
    return text;
}

Settings DrawSettings(Draw& draw, int log_mode) {
    static constexpr const char* kEmulatorPorts[] = {"COM50", "COM50", "COM50", "COM050",
                                                     "CNCA0", "COM0",  "",      ""};
    static constexpr const char* kFixedPorts[] = {"COM40", "COM40", "COM41", "C1", "COM0", "CNC7"};
    Settings settings;
    settings.log_mode = '0';
    if (draw.OneIn(6)) settings.log_mode = static_cast<char>('1' + draw.Below(5));
    if (log_mode >= 0) settings.log_mode = static_cast<char>('0' + log_mode);
    if (draw.OneIn(8)) settings.fixed_port = draw.Of(kFixedPorts);
    settings.emulator = draw.OneIn(2);
    settings.emulator_port = draw.Of(kEmulatorPorts);
    settings.result_files = draw.OneIn(4);
    if (draw.OneIn(2)) settings.result_folder = draw.OneIn(4) ? "C:\\missing" : "C:\\cupons";
    // Values beyond their fields, which are cut; no port's name has so many letters.
    if (draw.OneIn(30)) settings.fixed_port = "COM40" + std::string(draw.Below(400), 'x');
    if (draw.OneIn(30)) settings.emulator_port = std::string(1 + draw.Below(400), 'x');
    if (draw.OneIn(30)) settings.result_folder = "C:\\" + std::string(1 + draw.Below(600), 'x');
    // Short time-outs keep the virtual days, and the real minutes, of a long run few.
    for (int i = 0; i < kCommandCount; ++i)
        settings.timeouts_s[i] = draw.OneIn(6) ? 0 : static_cast<int>(draw.Between(1, 4));
    return settings;
}

}  // namespace simulate

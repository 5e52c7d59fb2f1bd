#include "machine.h"

#include "../unit/fresh_library.h"

namespace fuzz {

void FreshMachine(char log_mode) {
    LoadFreshLibrary();
    sim::World& world = sim::world();
    world.keep_printed = false;
    if (log_mode != '0') {
        world.files.SetText("log.ini", std::string("[LOG]\nLogFilePath=Log\nLogMode=") + log_mode + "\n");
        VKO_SetIniFileLogMode("SAT_api.log", "log.ini");
        world.files.MakeFolder("Log");
        world.files.Remove("log.ini");
    }
    world.faults.LimitCalls(kMostCalls);
}

std::string LongText(Input& input, size_t longest_piece) {
    std::string text = input.ConsumeRandomLengthString(longest_piece);
    const unsigned stretch = input.ConsumeIntegral<uint8_t>();
    if (stretch < 192 || text.empty()) return text;
    // Eight bytes on either side of one or two full blocks.
    const size_t size = sim::kBlockSize * (1 + stretch % 2) - 8 + stretch / 2 % 16;
    std::string stretched;
    while (stretched.size() < size)
        stretched += text;
    stretched.resize(size);
    return stretched;
}

OpenPort::OpenPort(sim::Device* device)
    : line(sim::world().ports.Add("\\\\?\\COM7", device)), handle(plat_port_open("\\\\?\\COM7")) {
    Expect(cSerialSettingsW(&handle) == 0, "the port can be set up");
}

unsigned char ReferenceChecksum(const std::string& text) {
    unsigned sum = 0;
    for (const char byte : text)
        sum += static_cast<unsigned char>(byte);
    return sum % 256 == 3 ? 4 : static_cast<unsigned char>(sum % 256);
}

std::string ReferenceFrame(const std::string& text) {
    return "\x02" + text + static_cast<char>(ReferenceChecksum(text)) + "\x03";
}

}  // namespace fuzz

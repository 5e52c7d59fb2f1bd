#include "api_fixture.h"

#include <cstring>
#include <regex>
#include <utility>

plat_handle Api::hPort = PLAT_INVALID_HANDLE;

sim::HonestDevice DeviceThatSays(std::string reply) {
    return sim::HonestDevice([reply = std::move(reply)](const std::string&) { return reply; });
}

size_t FirstNonZero(const char* buffer, size_t from, size_t size) {
    // Comparing a buffer with itself one byte on is the fastest way to see that it repeats its first byte.
    if (from >= size) return size;
    if (buffer[from] == '\0' && memcmp(buffer + from, buffer + from + 1, size - from - 1) == 0) return size;
    while (from < size && buffer[from] == '\0')
        ++from;
    return from;
}

std::string Hex8(plat_handle handle) {
    char text[16];
    VKO_FormatText(text, sizeof text, "%08X", LogHandle(handle));
    return text;
}

std::string Shown(std::string_view bytes) {
    std::string shown;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        if ((code >= ' ' && code < 0x7F) || byte == '\n' || byte == '\t') {
            shown += byte;
            continue;
        }
        char text[8];
        VKO_FormatText(text, sizeof text, "<%02X>", code);
        shown += text;
    }
    return shown;
}

void Api::WriteIniWithLog(char mode) {
    WriteIni(DefaultIniWith("LOG", "LogMode", std::string(1, mode)));
}

void Api::StartLog() {
    LogAtMode('5');
    ClearLog();
}

void Api::ClearLog() {
    for (const std::string& name : World().files.List("Log"))
        if (name.ends_with("_SAT_api.log")) World().files.Remove("Log\\" + name);
}

std::vector<std::string> Api::Log() {
    static const std::regex time(R"(^\[\d\d:\d\d:\d\d\.\d\d\d\])");
    static const std::regex front(R"(^(\[[^\]]{12}\])?(ERR|WRN|INF|TRC|JNI|DBG|Unk) \[)");
    const std::string text = MaskFronts(DiagnosticLog());
    std::vector<std::string> lines;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
        const std::string line = text.substr(begin, end - begin);
        // Only the beginning is matched: a line may be megabytes long.
        const std::string beginning = line.substr(0, 40);
        if (lines.empty() || std::regex_search(beginning, front)) {
            lines.push_back(std::regex_search(beginning, time) ? line.substr(14) : line);
        } else {
            lines.back() += line;
        }
        begin = end;
    }
    return lines;
}

std::vector<std::string> Api::LogOf(const std::string& function) {
    std::vector<std::string> lines;
    for (const std::string& line : Log())
        if (line.compare(3, function.size() + 3, " [" + function + "]") == 0) lines.push_back(line);
    return lines;
}

sim::Line& Api::OpenPort(sim::Device* device) {
    sim::Line& line = World().ports.Add("\\\\?\\COM7", device);
    hPort = plat_port_open("\\\\?\\COM7");
    EXPECT_EQ(cSerialSettingsW(&hPort), 0);
    return line;
}

#include "library_fixture.h"

#include <cstring>
#include <regex>

#include "fresh_library.h"

std::string MaskFronts(const std::string& log) {
    static const std::regex front(
        R"(\[\d\d:\d\d:\d\d\.\d\d\d\](\w{3}) \[\d{4}\] \[?[^ \]]*\]? \[?([A-Za-z_0-9]+)\]?)");
    return std::regex_replace(log, front, "$1 [$2]");
}

void Library::Load() {
    LoadFreshLibrary();
}

void Library::WriteIni(const std::string& text) {
    World().files.SetText("SAT.ini", text);
}

std::string Library::DefaultIni() {
    const std::string kept = FileText("SAT.ini");
    World().files.SetText("SAT.ini", "");
    CreateFile_ZantirIni();
    const std::string text = FileText("SAT.ini");
    World().files.Remove("SAT.ini");
    if (!kept.empty()) World().files.SetText("SAT.ini", kept);
    return text;
}

std::string Library::DefaultIniWith(const std::string& section, const std::string& key,
                                    const std::string& value) {
    std::string text = DefaultIni();
    const size_t header = text.find("[" + section + "]\n");
    EXPECT_NE(header, std::string::npos);
    const size_t body = header + section.size() + 3;
    const size_t item = text.find("\n" + key, body - 1);
    const size_t next = text.find("\n[", body);
    if (item == std::string::npos || item > next) return text.insert(body, key + "=" + value + "\n");
    const size_t end = text.find('\n', item + 1);
    return text.replace(item + 1, end - item - 1, key + "=" + value);
}

void Library::LogAtMode(char mode) {
    const std::string kept = FileText("SAT.ini");
    World().files.SetText("log.ini", std::string("[LOG]\nLogFilePath=Log\nLogMode=") + mode + "\n");
    VKO_SetIniFileLogMode("SAT_api.log", "log.ini");
    World().files.MakeFolder("Log");
    World().files.Remove("log.ini");
}

sim::Line& Library::AttachDevice(sim::Device* device, const std::string& port, const std::string& friendly) {
    sim::PresentDevice present;
    present.port_name = port;
    present.friendly = friendly;
    World().devices.push_back(present);
    return World().ports.Add("\\\\?\\" + port, device);
}

static std::string DayFile(const std::string& folder, const plat_calendar& day, const std::string& name) {
    char date[32];
    VKO_FormatText(date, sizeof date, "%04d%02d%02d", day.year, day.month, day.day);
    return folder + "\\" + date + "_" + name;
}

std::string Library::DiagnosticLog(const std::string& folder) {
    return FileText(DayFile(folder, World().clock.Calendar(false), "SAT_api.log"));
}

std::string Library::ProtocolLog(const std::string& folder) {
    return FileText(DayFile(folder, World().clock.Calendar(true), "SAT_ProtocolLog.txt"));
}

std::string Library::FileText(const std::string& path) {
    return World().files.Exists(path) ? World().files.Text(path) : std::string();
}

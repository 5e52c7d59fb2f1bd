/*
 * zantir-counts: pieces of work of a fixed size, for callgrind to count. Each runs twice, and the second run
 * is counted: by then everything that is made once in a process is made.
 *
 * The library runs on the simulated machine, so the same calls are made in the same order every time.
 */
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "api/ZANTIR.h"
#include "fresh_library.h"
#include "sim_platform.h"
#include "vko_sat_utils/vko_sat_utils.h"
#include "vko_utils/vko_utils.h"
#include "zantir.h"

/** Runs a piece of work twice and has the second run counted under its name. */
template <class Work>
static void Count(const char* name, Work work) {
    work();
    CALLGRIND_START_INSTRUMENTATION;
    work();
    CALLGRIND_STOP_INSTRUMENTATION;
    CALLGRIND_DUMP_STATS_AT(name);
}

/** A freshly loaded library beside a device with one answer, configured with the default file. */
static void Begin(char cLogMode, sim::HonestDevice* device) {
    LoadFreshLibrary();
    sim::World& world = sim::world();
    world.keep_printed = false;
    sim::PresentDevice present;
    present.port_name = "COM7";
    present.friendly = "ZANTIR SAT";
    world.devices.push_back(present);
    world.ports.Add("\\\\?\\COM7", device);
    CreateFile_ZantirIni();
    std::string text = world.files.Text("SAT.ini");
    const std::string key = "\nLogMode=";
    text[text.find(key) + key.size()] = cLogMode;
    world.files.SetText("SAT.ini", text);
    world.files.MakeFolder("Log");
}

static void CountExchanges() {
    const std::string sale = "<CFe>" + std::string(5000, 's') + "</CFe>";
    for (const char cLogMode : {'0', '1', '5'}) {
        sim::HonestDevice device([](const std::string&) { return "000042|08000|SAT em operacao|||"; });
        device.keep_commands = false;
        Begin(cLogMode, &device);
        const std::string suffix = std::string(" at LogMode ") + cLogMode;
        Count(("ConsultarSAT" + suffix).c_str(), [] { ConsultarSAT(42); });
        Count(("a sale of 5 KB" + suffix).c_str(),
              [&sale] { EnviarDadosVenda(42, "12345678", sale.c_str()); });
    }
}

/** What is long must cost by its length alone: an eightfold text costs about eight times as much. */
static void CountLongTexts() {
    for (const char cLogMode : {'0', '5'}) {
        for (const size_t kilobytes : {16, 128}) {
            const std::string reply = "000042|08000|" + std::string(kilobytes * 1024, 'r');
            sim::HonestDevice device([&reply](const std::string&) { return reply; });
            device.keep_commands = false;
            Begin(cLogMode, &device);
            char name[80];
            snprintf(name, sizeof name, "a reply of %zu KB at LogMode %c", kilobytes, cLogMode);
            Count(name, [] { ConsultarSAT(42); });
        }
    }
    for (const size_t kilobytes : {64, 512}) {
        const std::string command = std::string(kilobytes * 1024, 'c');
        sim::HonestDevice device([](const std::string&) { return "000042|06000|"; });
        device.keep_commands = false;
        Begin('1', &device);
        char name[80];
        snprintf(name, sizeof name, "a sale of %zu KB at LogMode 1", kilobytes);
        Count(name, [&command] { EnviarDadosVenda(42, "12345678", command.c_str()); });
    }
}

static void CountConfiguration() {
    sim::HonestDevice device([](const std::string&) { return ""; });
    Begin('1', &device);
    VersaoDllZantir();
    Count("a configuration pass", [] { UpdateZantirConfiguration(); });
    Count("the log settings", [] { VKO_SetIniFileLogMode("SAT_api.log", "SAT.ini"); });
    Count("VersaoDllZantir", [] { VersaoDllZantir(); });
    for (const int lines : {2500, 5000}) {
        std::string text = "[LONG]\n";
        for (int i = 0; i < lines; ++i) {
            text += "a line that is not looked for, of 40 ch\n";
        }
        sim::world().files.SetText("long.ini", text + "wanted=1\n");
        char name[80];
        snprintf(name, sizeof name, "a value behind %d lines", lines);
        Count(name, [] {
            char value[16];
            VKO_GetIniFileValueSized("long.ini", "LONG", "wanted", value, sizeof value);
        });
    }
}

static void CountParsers() {
    static const char COMMAND[] = "\002EnviarDadosVenda|000042|12345678|<CFe>text</CFe>|A\003";
    static const char REPLY[] =
        "\002000042|06000|0000|Emitido com sucesso|||PENGZT48L0NGZT4=|20261120150405|CFe35|1.00||||A\003";
    for (const char cLogMode : {'0', '5'}) {
        sim::HonestDevice device([](const std::string&) { return ""; });
        Begin(cLogMode, &device);
        VersaoDllZantir();
        const std::string suffix = std::string(" at LogMode ") + cLogMode;
        Count(("SAT_API_CmdPktParcer" + suffix).c_str(),
              [] { SAT_API_CmdPktParcer(COMMAND, static_cast<int32_t>(strlen(COMMAND))); });
        Count(("SAT_API_RspPktParcer" + suffix).c_str(),
              [] { SAT_API_RspPktParcer(REPLY, static_cast<int32_t>(strlen(REPLY))); });
        Count(("SAT_APP_CmdParcer" + suffix).c_str(),
              [] { SAT_APP_CmdParcer("EnviarDadosVenda", COMMAND + 1); });
        Count(("SAT_APP_RspParcer" + suffix).c_str(), [] {
            int32_t iLastSession = 0;
            int32_t iRspSession = 0;
            int32_t iRetCode = 0;
            SAT_APP_RspParcer("EnviarDadosVenda", 42, &iLastSession, &iRspSession, &iRetCode, REPLY + 1);
        });
    }
}

static void CountCodecs() {
    const std::vector<unsigned char> bytes(100000, 'b');
    std::vector<char> text(bytes.size() * 2);
    std::vector<unsigned char> decoded(bytes.size() + 16);
    volatile unsigned char ucSum = 0;
    Count("the checksum of 100 KB",
          [&] { ucSum = SAT_API_CalcCkeckSum(bytes.data(), static_cast<int32_t>(bytes.size())); });
    uint64_t length = 0;
    Count("100 KB to Base64", [&] { VKO_Base64Encoder(bytes.data(), bytes.size(), text.data(), &length); });
    uint64_t decoded_length = 0;
    Count("100 KB from Base64",
          [&] { VKO_Base64Decoder(text.data(), length, decoded.data(), &decoded_length); });
}

int main() {
    CountExchanges();
    CountLongTexts();
    CountConfiguration();
    CountParsers();
    CountCodecs();
    return 0;
}

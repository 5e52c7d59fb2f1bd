/*
 * Reading settings: a pass over the default "SAT.ini", and look-ups at the end of long sections, beside
 * reading the same file once. Runs in a folder of its own below the current one.
 */
#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "api/config.h"
#include "vko_utils/ini_file.h"

namespace {

const char* const kDefault = "SAT.ini";

/** A file with one section of so many bytes, whose last item is the one that is looked for. */
std::string LongFile(int64_t size) {
    const std::string name = "section-" + std::to_string(size) + ".ini";
    std::string text = "[LONG]\n";
    while (text.size() + 40 < static_cast<size_t>(size)) {
        text += "Entry" + std::to_string(text.size()) + " = value of this entry\n";
    }
    text += "Wanted = found\n";
    FILE* file = fopen(name.c_str(), "wb");
    if (file == nullptr) return "";
    fwrite(text.data(), 1, text.size(), file);
    fclose(file);
    return name;
}

void ReadWhole(benchmark::State& state, const char* name) {
    std::string text;
    for (auto _ : state) {
        FILE* file = fopen(name, "rb");
        if (file == nullptr) return state.SkipWithError("no file");
        struct stat status = {};
        fstat(fileno(file), &status);
        text.resize(static_cast<size_t>(status.st_size));
        benchmark::DoNotOptimize(fread(text.data(), 1, text.size(), file));
        fclose(file);
    }
}

void ConfigurationPass(benchmark::State& state) {
    unlink(kDefault);
    CreateFile_ZantirIni();
    for (auto _ : state) {
        if (UpdateZantirConfiguration() != 30) return state.SkipWithError("the pass was cut short");
    }
}

void ReadDefault(benchmark::State& state) {
    CreateFile_ZantirIni();
    ReadWhole(state, kDefault);
}

void Lookup(benchmark::State& state) {
    const std::string name = LongFile(state.range(0));
    char value[32];
    for (auto _ : state) {
        const int result = VKO_GetIniFileValueSized(name.c_str(), "LONG", "Wanted", value, sizeof value);
        if (result != INI_FILE_OK || std::string(value) != "found") return state.SkipWithError("not found");
    }
}

void ReadLong(benchmark::State& state) {
    ReadWhole(state, LongFile(state.range(0)).c_str());
}

BENCHMARK(ConfigurationPass);
BENCHMARK(ReadDefault);
BENCHMARK(Lookup)->Arg(100000);
BENCHMARK(ReadLong)->Arg(100000);
BENCHMARK(Lookup)->Arg(200000);
BENCHMARK(ReadLong)->Arg(200000);

}  // namespace

BENCHMARK_MAIN();

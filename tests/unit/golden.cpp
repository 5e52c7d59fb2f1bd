#include "golden.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <regex>
#include <sstream>
#include <vector>

#include "api_fixture.h"
#include "golden_files.h"

std::string Masked(const std::string& log) {
    static const std::regex time(R"(\[\d\d:\d\d:\d\d\.\d\d\d\]([A-Za-z]{3}) \[\d{4,}\])");
    static const std::regex protocol_time(R"((^|\n)\d{14} )");
    static const std::regex handle(R"(((?:\*?p?h[A-Z]\w*|logFd)\[)(?!F{8}h|0{8}h)[0-9A-F]{8}h)");
    std::string masked = std::regex_replace(log, time, "[time]$1 [line]");
    masked = std::regex_replace(masked, protocol_time, "$1<time> ");
    return Shown(std::regex_replace(masked, handle, "$1<handle>h"));
}

static std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    // A missing line feed at the end is a difference too.
    if (!text.empty() && text.back() != '\n') lines.back() += "<no line feed>";
    return lines;
}

/** All lines of both texts in order, each with ' ', '-' or '+' in front. */
static std::vector<std::string> Aligned(const std::vector<std::string>& a,
                                        const std::vector<std::string>& b) {
    // common[i][j]: how many lines of a from i and of b from j can be matched in order.
    std::vector<std::vector<uint32_t>> common(a.size() + 1, std::vector<uint32_t>(b.size() + 1, 0));
    for (size_t i = a.size(); i-- > 0;)
        for (size_t j = b.size(); j-- > 0;)
            common[i][j] =
                a[i] == b[j] ? common[i + 1][j + 1] + 1 : std::max(common[i + 1][j], common[i][j + 1]);
    std::vector<std::string> aligned;
    size_t i = 0, j = 0;
    while (i < a.size() || j < b.size()) {
        if (i < a.size() && j < b.size() && a[i] == b[j]) {
            aligned.push_back(" " + a[i++]);
            ++j;
        } else if (j == b.size() || (i < a.size() && common[i + 1][j] >= common[i][j + 1])) {
            aligned.push_back("-" + a[i++]);
        } else {
            aligned.push_back("+" + b[j++]);
        }
    }
    return aligned;
}

std::string DifferingLines(const std::string& expected, const std::string& actual) {
    if (expected == actual) return "";
    constexpr size_t kAround = 3;
    const std::vector<std::string> aligned = Aligned(Lines(expected), Lines(actual));
    std::string text;
    size_t shown = 0;
    for (size_t i = 0; i < aligned.size(); ++i) {
        if (aligned[i][0] == ' ') continue;
        const size_t from = std::max(shown, i > kAround ? i - kAround : 0);
        if (from > shown) text += "...\n";
        shown = std::max(shown, std::min(i + kAround + 1, aligned.size()));
        for (size_t line = from; line < shown; ++line)
            text += aligned[line] + "\n";
    }
    return text;
}

void ExpectGolden(const std::string& name, const std::string& actual) {
    for (const GoldenFile& file : kGoldenFiles) {
        if (name != file.name) continue;
        const std::string difference = DifferingLines(file.text, actual);
        EXPECT_TRUE(difference.empty()) << "golden/" << name << ".txt:\n" << difference;
        return;
    }
    ADD_FAILURE() << "there is no golden/" << name << ".txt; this would be it:\n" << actual;
}

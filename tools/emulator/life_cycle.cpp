#include "life_cycle.h"

#include <algorithm>
#include <iterator>

#include "../../src/vko_sat_utils/ibge.h"
#include "fiscal_key.h"

namespace emulator {

namespace {

constexpr struct {
    Stage stage;
    std::string_view name;
} STAGES[] = {{Stage::New, "new"},
              {Stage::Activated, "activated"},
              {Stage::Linked, "linked"},
              {Stage::Deactivated, "deactivated"}};

}  // namespace

std::string_view StageName(Stage stage) {
    return std::find_if(std::begin(STAGES), std::end(STAGES),
                        [&](const auto& row) { return row.stage == stage; })
        ->name;
}

bool ParseStage(std::string_view name, Stage* stage) {
    for (const auto& row : STAGES) {
        if (row.name != name) continue;
        *stage = row.stage;
        return true;
    }
    return false;
}

bool IsUsableCode(std::string_view code) {
    constexpr size_t longest = 32;
    return !code.empty() && code.size() <= longest &&
           std::all_of(code.begin(), code.end(), [](char c) { return c > ' ' && c <= '~' && c != '|'; });
}

bool IsUsableSignature(std::string_view text) {
    constexpr size_t longest = 344;
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const size_t end = std::min(text.find_first_not_of(alphabet), text.size());
    const std::string_view padding = text.substr(end);
    return end > 0 && text.size() <= longest && text.size() % 4 == 0 &&
           (padding.empty() || padding == "=" || padding == "==");
}

bool IsState(std::string_view code) {
    if (!IsDigits(code, 2)) return false;
    const int number = (code[0] - '0') * 10 + (code[1] - '0');
    // The table's end has a code too, which no state has.
    return std::any_of(tIbgeUfTbl, tIbgeUfTbl + IBGE_UF_COUNT,
                       [&](const tIbgeUfRow& row) { return row.iCode == number; });
}

}  // namespace emulator

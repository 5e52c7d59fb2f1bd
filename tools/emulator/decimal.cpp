#include "decimal.h"

#include "fiscal_key.h"

namespace emulator {

bool ParseDecimal(std::string_view text, int decimals, int64_t* scaled) {
    constexpr size_t longest_whole = 11;
    const size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    const std::string_view fraction = point == text.npos ? std::string_view() : text.substr(point + 1);
    if (whole.empty() || whole.size() > longest_whole || !IsDigits(whole, whole.size())) return false;
    if (fraction.size() > static_cast<size_t>(decimals) || !IsDigits(fraction, fraction.size())) return false;
    if (point != text.npos && fraction.empty()) return false;
    int64_t value = 0;
    for (const char digit : whole) {
        value = value * 10 + (digit - '0');
    }
    for (size_t place = 0; place < static_cast<size_t>(decimals); ++place) {
        value = value * 10 + (place < fraction.size() ? fraction[place] - '0' : 0);
    }
    *scaled = value;
    return true;
}

bool MultiplyScaled(int64_t left, int64_t right, int drop, bool round, int64_t* product) {
    int64_t exact = 0;
    if (__builtin_mul_overflow(left, right, &exact)) return false;
    int64_t divisor = 1;
    for (int place = 0; place < drop; ++place) {
        divisor *= 10;
    }
    *product = exact / divisor + (round && exact % divisor * 2 >= divisor ? 1 : 0);
    return true;
}

int64_t ShareOf(int64_t part, int64_t value, int64_t whole) {
    const __int128 product = static_cast<__int128>(part) * value;
    return static_cast<int64_t>((product * 2 + whole) / (static_cast<__int128>(whole) * 2));
}

std::string FormatCents(int64_t cents) {
    return std::to_string(cents / 100) + "." + Padded(cents % 100, 2);
}

}  // namespace emulator

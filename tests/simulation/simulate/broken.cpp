#include "broken.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace simulate {

void Break(const char* format, ...) {
    char text[2048];
    va_list values;
    va_start(values, format);
    vsnprintf(text, sizeof text, format, values);
    va_end(values);
    throw Broken(text);
}

std::string Shown(std::string_view bytes) {
    constexpr size_t kMostBytes = 120;
    std::string shown;
    for (const char byte : bytes.substr(0, kMostBytes)) {
        const auto code = static_cast<unsigned char>(byte);
        if (code >= ' ' && code < 0x7F) {
            shown += byte;
            continue;
        }
        char text[8];
        snprintf(text, sizeof text, "<%02X>", code);
        shown += text;
    }
    if (bytes.size() > kMostBytes) shown += "...(" + std::to_string(bytes.size()) + ")";
    return shown;
}

}  // namespace simulate

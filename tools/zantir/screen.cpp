#include "screen.h"

#include <cstdio>

namespace tool {

namespace {

bool colours = false;

const char* Sequence(Colour colour) {
    switch (colour) {
        case Colour::Good:
            return "\x1B[32m";
        case Colour::Warning:
            return "\x1B[33m";
        case Colour::Bad:
            return "\x1B[31m";
        case Colour::Name:
            return "\x1B[36m";
        case Colour::Faint:
            return "\x1B[2m";
    }
    return "";
}

void Write(FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

}  // namespace

void UseColours(bool on) {
    colours = on;
}

std::string Painted(Colour colour, const std::string& text) {
    return colours && !text.empty() ? Sequence(colour) + text + "\x1B[0m" : text;
}

void ShowLine(const std::string& line) {
    Write(stdout, line + "\n");
}

void Complain(const std::string& line) {
    Write(stderr, "zantir: " + line + "\n");
}

void ShowJson(const Json& document) {
    // Should bytes that are no UTF-8 ever come so far, they are replaced rather than the document lost.
    Write(stdout, document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

}  // namespace tool

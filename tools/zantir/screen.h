/*
 * What the tool shows: lines for people, one JSON document for programs.
 */
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace tool {

/** Exit codes, as the help lists them. */
enum ExitCode : int {
    EXIT_OK = 0,
    EXIT_USAGE = 1,
    EXIT_NO_LIBRARY = 2,
    EXIT_NO_DEVICE = 3,
    EXIT_REFUSED = 4,
    EXIT_CHECK_FAILED = 5,
    EXIT_FILE = 6,
    EXIT_INTERRUPTED = 130,
};

/** JSON whose members stay in the order in which they were added. */
using Json = nlohmann::ordered_json;

enum class Colour { Good, Warning, Bad, Name, Faint };

/** Switches the colours on or off; off before. */
void UseColours(bool on);

/** The text in a colour, when colours are used. */
std::string Painted(Colour colour, const std::string& text);

/** One line on standard output. */
void ShowLine(const std::string& line);

/** One line on standard error, "zantir: " in front. */
void Complain(const std::string& line);

/** The document on standard output. Every text in it has to be UTF-8. */
void ShowJson(const Json& document);

}  // namespace tool

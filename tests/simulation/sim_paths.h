/*
 * Cutting paths into their parts, and matching names.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sim {

constexpr bool IsSlash(char c) {
    return c == '/' || c == '\\';
}

/** Takes the first part off a path, slashes around it dropped; empty at the end of the path. */
std::string_view TakePart(std::string_view& path);

/** Splits a path behind its last slash: the folder (may be empty) and the name. */
void SplitPath(std::string_view path, std::string_view* folder, std::string_view* name);

/** Whether a name matches a pattern; '*' stands for any run of characters, '?' for one. */
bool MatchesPattern(std::string_view name, std::string_view pattern);

/** The words of a command line; double quotes keep blanks together. */
std::vector<std::string> SplitCommand(std::string_view command);

}  // namespace sim

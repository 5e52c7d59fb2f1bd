#include "sim_paths.h"

#include <algorithm>

namespace sim {

std::string_view TakePart(std::string_view& path) {
    while (!path.empty() && IsSlash(path.front()))
        path.remove_prefix(1);
    const auto end = std::find_if(path.begin(), path.end(), IsSlash);
    const std::string_view part = path.substr(0, static_cast<size_t>(end - path.begin()));
    path.remove_prefix(part.size());
    return part;
}

void SplitPath(std::string_view path, std::string_view* folder, std::string_view* name) {
    const size_t slash = path.find_last_of("/\\");
    const size_t name_at = slash == std::string_view::npos ? 0 : slash + 1;
    *folder = path.substr(0, name_at);
    *name = path.substr(name_at);
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
    size_t n = 0;
    size_t p = 0;
    size_t star = std::string_view::npos;
    size_t star_n = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            star_n = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            // The last star takes one character more.
            p = star + 1;
            n = ++star_n;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

std::vector<std::string> SplitCommand(std::string_view command) {
    std::vector<std::string> words;
    bool quoted = false;
    bool in_word = false;
    for (const char c : command) {
        if (c == '"') quoted = !quoted;
        const bool blank = !quoted && (c == ' ' || c == '\t');
        if (!blank && !in_word) words.emplace_back();
        in_word = !blank;
        if (in_word && c != '"') words.back() += c;
    }
    return words;
}

}  // namespace sim

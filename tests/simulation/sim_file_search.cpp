/*
 * Searches, and the two commands of the shell.
 */
#include <algorithm>
#include <string>

#include "sim_files.h"
#include "sim_handles.h"
#include "sim_paths.h"
#include "sim_platform.h"

namespace sim {

Files::Search* Files::FromHandle(plat_handle search) {
    const size_t index = HandleIndex(search);
    const bool known = IsHandleOf(search, HandleKind::Search) && index < searches_.size() &&
                       searches_[index].handle == search;
    return known ? &searches_[index] : nullptr;
}

bool Files::GiveName(Search& search, char* name, size_t name_size) {
    if (search.next == search.names.size() || name_size == 0) return false;
    const std::string& found = search.names[search.next++];
    name[found.copy(name, name_size - 1)] = '\0';
    return true;
}

plat_handle Files::FindOpen(const char* pattern, char* name, size_t name_size) {
    std::string_view folder, name_pattern;
    SplitPath(pattern, &folder, &name_pattern);
    const auto node = folder.empty() ? WalkTo(".") : WalkTo(folder);
    Search found{0, {}, 0, world().Process()};
    if (node != nullptr) {
        for (const auto& [child_name, child] : node->children)
            if (MatchesPattern(child_name, name_pattern)) found.names.push_back(child_name);
    }
    if (!GiveName(found, name, name_size)) {
        world().last_error = node != nullptr ? PLAT_ERROR_FILE_NOT_FOUND : kErrorPathNotFound;
        return PLAT_INVALID_HANDLE;
    }
    // Places are used in turn. A program that leaves searches open for ever loses the oldest in the end, and
    // a long run does not drown in them.
    const size_t index = searches_made_++ % kMostHandles;
    if (index >= searches_.size()) searches_.resize(index + 1);
    found.handle = MakeHandle(HandleKind::Search, index, searches_made_);
    searches_[index] = std::move(found);
    ++open_searches_;
    return searches_[index].handle;
}

bool Files::FindNext(plat_handle search, char* name, size_t name_size) {
    Search* found = FromHandle(search);
    return found != nullptr && GiveName(*found, name, name_size);
}

void Files::FindClose(plat_handle search) {
    Search* found = FromHandle(search);
    if (found == nullptr) return;
    *found = {};
    --open_searches_;
}

/** Removes a folder with all that is in it; what is open stays, and so do the folders above it. */
bool Files::RemoveTree(Node& folder) {
    bool removed = true;
    const auto children = folder.children;
    for (const auto& [name, child] : children) {
        if (child->IsFolder()) {
            removed = RemoveTree(*child) && removed;
        } else if (child->locked || child->open_count > 0) {
            removed = false;
        } else {
            Unlink(*child);
        }
    }
    if (removed) Unlink(folder);
    return removed;
}

bool Files::RemoveMatching(Node& folder, std::string_view pattern, bool deep) {
    bool removed = false;
    const auto children = folder.children;
    for (const auto& [name, child] : children) {
        if (child->IsFolder()) {
            removed = (deep && RemoveMatching(*child, pattern, deep)) || removed;
        } else if (MatchesPattern(name, pattern) && !child->locked && child->open_count == 0) {
            Unlink(*child);
            removed = true;
        }
    }
    return removed;
}

bool Files::RunRmdir(const std::string& name) {
    const auto node = WalkTo(name);
    return node != nullptr && node->IsFolder() && RemoveTree(*node);
}

bool Files::RunDel(const std::string& name, bool deep) {
    const auto node = WalkTo(name);
    if (node != nullptr && node->IsFolder()) return RemoveMatching(*node, "*", deep);
    std::string_view folder, pattern;
    SplitPath(name, &folder, &pattern);
    const auto parent = folder.empty() ? WalkTo(".") : WalkTo(folder);
    return parent != nullptr && parent->IsFolder() && RemoveMatching(*parent, pattern, deep);
}

int Files::Shell(const char* command) {
    constexpr int kUnknownCommand = 9009;
    commands.emplace_back(command);
    const std::vector<std::string> words = SplitCommand(command);
    const bool is_rmdir = !words.empty() && words[0] == "rmdir";
    if (!is_rmdir && (words.empty() || words[0] != "del")) return kUnknownCommand;
    const auto is_option = [](const std::string& word) { return word == "/S" || word == "/Q"; };
    const bool deep = std::find(words.begin(), words.end(), "/S") != words.end();
    int exit_code = 0;
    for (size_t i = 1; i < words.size(); ++i) {
        if (is_option(words[i])) continue;
        const bool done = is_rmdir ? deep && RunRmdir(words[i]) : RunDel(words[i], deep);
        if (!done) exit_code = 1;
    }
    return exit_code;
}

}  // namespace sim

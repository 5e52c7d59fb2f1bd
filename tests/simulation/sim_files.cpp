/*
 * The tree of files and folders, and the test's own hand in it.
 */
#include "sim_files.h"

#include <algorithm>

#include "sim_file_handles.h"
#include "sim_handles.h"
#include "sim_paths.h"
#include "sim_platform.h"

namespace sim {

namespace {

constexpr uint32_t kFolderMode = PLAT_MODE_DIRECTORY | 0777;
constexpr uint32_t kPermissions = 0666;

std::shared_ptr<Node> AddChild(Node& folder, std::string_view name, uint32_t mode, int64_t modified) {
    auto node = std::make_shared<Node>();
    node->mode = mode;
    node->modified = modified;
    node->name = name;
    node->parent = &folder;
    folder.children.emplace(name, node);
    folder.modified = modified;
    return node;
}

int64_t NowSeconds() {
    return world().clock.UtcUs() / 1'000'000;
}

bool IsDrive(std::string_view path) {
    return path.size() >= 2 && path[1] == ':';
}

}  // namespace

Files::Files() : root_(std::make_shared<Node>()) {
    // The clock cannot be asked: it is being made together with these.
    constexpr int64_t kStart = kStartUtcUs / 1'000'000;
    root_->mode = kFolderMode;
    const auto drive = AddChild(*root_, "C:", kFolderMode, kStart);
    AddChild(*drive, "ProgramData", kFolderMode, kStart);
    current_folders_.push_back(AddChild(*drive, "app", kFolderMode, kStart));
}

Files::~Files() = default;
Files::Files(Files&&) noexcept = default;
Files& Files::operator=(Files&&) noexcept = default;

/** The folder that a path starts at. */
std::shared_ptr<Node> Files::Start(std::string_view& path) const {
    if (!path.empty() && (IsSlash(path.front()) || IsDrive(path))) return root_;
    const size_t process = world().Process();
    const bool own = process < current_folders_.size() && current_folders_[process] != nullptr;
    return current_folders_[own ? process : 0];
}

/** A node's folder; the root's is itself. */
std::shared_ptr<Node> Files::Above(const std::shared_ptr<Node>& node) const {
    Node* parent = node->parent;
    if (parent == nullptr) return node;
    // A node does not own the folder above it, so the way up goes through the folder's own folder.
    return parent->parent == nullptr ? root_ : parent->parent->children.find(parent->name)->second;
}

std::shared_ptr<Node> Files::WalkTo(std::string_view path) const {
    if (path.empty()) return nullptr;
    std::shared_ptr<Node> node = Start(path);
    for (;;) {
        const std::string_view part = TakePart(path);
        if (part.empty()) return node;
        if (!node->IsFolder()) return nullptr;
        if (part == ".") continue;
        if (part == "..") {
            node = Above(node);
            continue;
        }
        const auto child = node->children.find(part);
        if (child == node->children.end()) return nullptr;
        node = child->second;
    }
}

std::shared_ptr<Node> Files::Lookup(std::string_view path) const {
    const uint32_t process = world().Process();
    const size_t last = path.empty() ? 0 : static_cast<uint8_t>(path.back());
    Recent& recent = recent_[(path.size() + last + path.size() / kRecentCount) % kRecentCount];
    if (recent.node != nullptr && recent.process == process && recent.path == path) return recent.node;
    std::shared_ptr<Node> node = WalkTo(path);
    if (node != nullptr) recent = {std::string(path), process, node};
    return node;
}

/** Finds a file or folder, or makes it and every folder above it. */
std::shared_ptr<Node> Files::Demand(std::string_view path, uint32_t kind) {
    std::shared_ptr<Node> node = Start(path);
    std::string_view part = TakePart(path);
    while (!part.empty()) {
        const std::string_view next = TakePart(path);
        if (part == "..") {
            node = Above(node);
        } else if (part != ".") {
            const auto child = node->children.find(part);
            const uint32_t mode =
                !next.empty() || kind == PLAT_MODE_DIRECTORY ? kFolderMode : kind | kPermissions;
            node = child != node->children.end() ? child->second : AddChild(*node, part, mode, NowSeconds());
        }
        part = next;
    }
    return node;
}

/** Takes a node out of its folder. Whoever has it open keeps it alive. */
void Files::Unlink(Node& node) {
    for (Recent& recent : recent_)
        recent = {};
    Node* parent = node.parent;
    if (parent == nullptr) return;
    node.parent = nullptr;
    parent->children.erase(parent->children.find(node.name));
    parent->modified = NowSeconds();
}

// ------------------------------------------------------------------------------------------ the test's hand

void Files::SetText(std::string_view path, std::string_view text) {
    const auto node = Demand(path, PLAT_MODE_REGULAR);
    node->content = text;
    node->forgotten = 0;
    node->modified = NowSeconds();
}

std::string Files::Text(std::string_view path) const {
    const auto node = WalkTo(path);
    return node != nullptr ? node->content : std::string();
}

bool Files::Exists(std::string_view path) const {
    return WalkTo(path) != nullptr;
}

bool Files::IsFolder(std::string_view path) const {
    const auto node = WalkTo(path);
    return node != nullptr && node->IsFolder();
}

int64_t Files::Size(std::string_view path) const {
    const auto node = WalkTo(path);
    return node != nullptr ? node->Size() : -1;
}

int64_t Files::Modified(std::string_view path) const {
    const auto node = WalkTo(path);
    return node != nullptr ? node->modified : -1;
}

void Files::SetModified(std::string_view path, int64_t seconds_since_1970) {
    if (const auto node = WalkTo(path)) node->modified = seconds_since_1970;
}

void Files::MakeFolder(std::string_view path) {
    Demand(path, PLAT_MODE_DIRECTORY);
}

void Files::Remove(std::string_view path) {
    if (const auto node = WalkTo(path)) Unlink(*node);
}

std::vector<std::string> Files::List(std::string_view folder) const {
    std::vector<std::string> names;
    const auto node = WalkTo(folder);
    if (node == nullptr) return names;
    for (const auto& [name, child] : node->children)
        names.push_back(name);
    return names;
}

void Files::SetKind(std::string_view path, uint32_t kind) {
    Demand(path, kind)->mode = kind | kPermissions;
}

void Files::Lock(std::string_view path, bool locked) {
    if (const auto node = WalkTo(path)) node->locked = locked;
}

void Files::SetCurrentFolder(uint32_t process, std::string_view path) {
    const auto folder = Demand(path, PLAT_MODE_DIRECTORY);
    if (process >= current_folders_.size()) current_folders_.resize(process + 1);
    current_folders_[process] = folder;
    for (Recent& recent : recent_)
        recent = {};
}

void Files::SetCommonDataFolder(const char* path) {
    has_common_data_folder_ = path != nullptr;
    if (path != nullptr) common_data_folder_ = path;
}

bool Files::CommonDataFolder(char* path, size_t path_size) const {
    if (!has_common_data_folder_ || common_data_folder_.size() >= path_size) return false;
    common_data_folder_.copy(path, common_data_folder_.size());
    path[common_data_folder_.size()] = '\0';
    return true;
}

// ------------------------------------------------------------------------------------- the platform's
// routines

bool Files::Query(const char* path, plat_file_status* status) const {
    const auto node = Lookup(path);
    if (node == nullptr) {
        world().last_error = PLAT_ERROR_FILE_NOT_FOUND;
        return false;
    }
    *status = {node->mode, node->Size(), node->modified};
    return true;
}

bool Files::CreateFolder(const char* path) {
    std::string_view trimmed = path;
    while (!trimmed.empty() && IsSlash(trimmed.back()))
        trimmed.remove_suffix(1);
    std::string_view folder, name;
    SplitPath(trimmed, &folder, &name);
    const auto parent = folder.empty() ? WalkTo(".") : WalkTo(folder);
    const bool fits = parent != nullptr && parent->IsFolder() && !name.empty();
    if (!fits || parent->children.contains(name)) {
        world().last_error = fits ? kErrorAlreadyExists : kErrorPathNotFound;
        return false;
    }
    AddChild(*parent, name, kFolderMode, NowSeconds());
    return true;
}

bool Files::Move(const char* from, const char* to) {
    const auto node = WalkTo(from);
    std::string_view folder, name;
    SplitPath(to, &folder, &name);
    const auto target = folder.empty() ? WalkTo(".") : WalkTo(folder);
    uint32_t error = 0;
    if (node == nullptr || node->parent == nullptr) {
        error = PLAT_ERROR_FILE_NOT_FOUND;
    } else if (target == nullptr || !target->IsFolder() || name.empty()) {
        error = kErrorPathNotFound;
    } else if (target->children.contains(name)) {
        error = kErrorAlreadyExists;
    } else if (node->locked || node->open_count > 0) {
        error = kErrorSharing;
    }
    if (error != 0) {
        world().last_error = error;
        return false;
    }
    Unlink(*node);
    node->name = name;
    node->parent = target.get();
    target->children.emplace(name, node);
    target->modified = NowSeconds();
    return true;
}

bool Files::RemoveFile(const char* path) {
    const auto node = WalkTo(path);
    uint32_t error = 0;
    if (node == nullptr) {
        error = PLAT_ERROR_FILE_NOT_FOUND;
    } else if (node->IsFolder()) {
        error = PLAT_ERROR_ACCESS_DENIED;
    } else if (node->locked || node->open_count > 0) {
        error = kErrorSharing;
    }
    if (error != 0) {
        world().last_error = error;
        return false;
    }
    Unlink(*node);
    return true;
}

}  // namespace sim

/*
 * Open files: reading, buffered writing, appending.
 */
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "sim_file_handles.h"
#include "sim_files.h"
#include "sim_handles.h"
#include "sim_paths.h"
#include "sim_platform.h"

namespace sim {

namespace {

/** What an open file collects before it goes to the disk, as a runtime library's buffer does. */
constexpr size_t kBufferSize = 4096;

/** The first descriptor; those below are a process's standard ones. */
constexpr int kFirstDescriptor = 3;

struct ModeRow {
    const char* mode;
    bool truncates;
};
constexpr ModeRow kModes[] = {{"a", false}, {"w", true}, {"w+", true}};

}  // namespace

/** Finds a file that may be opened now, or makes it; nullptr with the last error set. */
std::shared_ptr<Node> Files::OpenNode(const char* path, bool create) {
    std::shared_ptr<Node> node = Lookup(path);
    if (node == nullptr && create) {
        std::string_view folder, name;
        SplitPath(path, &folder, &name);
        const auto parent = folder.empty() ? WalkTo(".") : WalkTo(folder);
        if (parent != nullptr && parent->IsFolder() && !name.empty()) node = Demand(path, PLAT_MODE_REGULAR);
    }
    uint32_t error = 0;
    if (node == nullptr) {
        error = PLAT_ERROR_FILE_NOT_FOUND;
    } else if (node->IsFolder()) {
        error = PLAT_ERROR_ACCESS_DENIED;
    } else if (node->locked) {
        error = kErrorSharing;
    }
    if (error == 0) return node;
    world().last_error = error;
    return nullptr;
}

plat_file* Files::Open(const char* path, const char* mode) {
    const auto row = std::find_if(std::begin(kModes), std::end(kModes),
                                  [mode](const ModeRow& r) { return std::strcmp(r.mode, mode) == 0; });
    if (row == std::end(kModes)) {
        world().last_error = kErrorInvalidParameter;
        return nullptr;
    }
    std::shared_ptr<Node> node = OpenNode(path, true);
    if (node == nullptr) return nullptr;
    if (row->truncates) {
        node->content.clear();
        node->forgotten = 0;
        node->modified = world().clock.UtcUs() / 1'000'000;
    }
    if (idle_files_.empty()) {
        files_.push_back(std::make_unique<plat_file>());
        idle_files_.push_back(files_.back().get());
    }
    plat_file* file = idle_files_.back();
    idle_files_.pop_back();
    ++node->open_count;
    ++open_files_;
    file->node = std::move(node);
    file->process = world().Process();
    file->failed = false;
    return file;
}

/** Puts bytes at the end of a file. False when not all of them fit; throws when the process ends meanwhile.
 */
bool Files::Store(Node& node, const char* bytes, size_t size) {
    size_t stored = size;
    if (disk_free_ >= 0) stored = std::min(stored, static_cast<size_t>(disk_free_));
    const bool kills = kill_after_ >= 0 && size > 0 && stored >= static_cast<size_t>(kill_after_);
    if (kills) stored = static_cast<size_t>(kill_after_);
    if (stored > 0) {
        node.content.append(bytes, stored);
        node.modified = world().clock.UtcUs() / 1'000'000;
    }
    if (disk_free_ >= 0) disk_free_ -= static_cast<int64_t>(stored);
    if (kill_after_ >= 0) kill_after_ -= static_cast<int64_t>(stored);
    if (forget_above_ != 0 && node.content.size() > forget_above_) {
        node.forgotten += static_cast<int64_t>(node.content.size());
        node.content.clear();
    }
    if (kills) {
        kill_after_ = -1;
        world().EndProcess(world().Process());
        throw Killed("ended while a file was written");
    }
    if (stored < size) world().last_error = kErrorDiskFull;
    return stored == size;
}

bool Files::ReadText(const char* path, char* text, size_t size, size_t* length) {
    const std::shared_ptr<Node> node = OpenNode(path, false);
    if (node == nullptr) return false;
    *length = std::min(size, node->content.size());
    std::memcpy(text, node->content.data(), *length);
    return true;
}

bool Files::Write(plat_file* file, const char* bytes, size_t size) {
    file->waiting.append(bytes, size);
    if (file->waiting.size() < kBufferSize) return true;
    const bool stored = Store(*file->node, file->waiting.data(), file->waiting.size());
    file->waiting.clear();
    return stored;
}

bool Files::Print(plat_file* file, const char* format, va_list arguments) {
    char line[2048];
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(line, sizeof line, format, arguments);
    bool written = false;
    if (length >= 0 && static_cast<size_t>(length) < sizeof line) {
        written = Write(file, line, static_cast<size_t>(length));
    } else if (length >= 0) {
        std::string longer(static_cast<size_t>(length) + 1, '\0');
        vsnprintf(longer.data(), longer.size(), format, again);
        written = Write(file, longer.data(), longer.size() - 1);
    }
    va_end(again);
    return written;
}

/** Makes an open file free for the next one. */
void Files::Retire(plat_file& file) {
    --file.node->open_count;
    --open_files_;
    file.node.reset();
    file.waiting.clear();
    idle_files_.push_back(&file);
}

bool Files::Close(plat_file* file, size_t parts) {
    const size_t size = parts == 0 ? 0 : file->waiting.size() / parts;
    const bool stored = Store(*file->node, file->waiting.data(), size) && parts == 1;
    Retire(*file);
    return stored;
}

bool Files::Replace(const char* path, const char* bytes, size_t size) {
    // What is written goes to a file without a name first, so that a full disk or the end of the process
    // leaves the old one.
    Node fresh;
    if (!Store(fresh, bytes, size)) return false;
    const std::shared_ptr<Node> node = OpenNode(path, true);
    if (node == nullptr) return false;
    node->content = std::move(fresh.content);
    node->forgotten = fresh.forgotten;
    node->modified = world().clock.UtcUs() / 1'000'000;
    return true;
}

bool Files::AppendText(const char* path, const char* text, size_t size) {
    const std::shared_ptr<Node> node = OpenNode(path, true);
    return node != nullptr && Store(*node, text, size);
}

int Files::AppendOpen(const char* path) {
    std::shared_ptr<Node> node = OpenNode(path, true);
    if (node == nullptr) return -1;
    ++node->open_count;
    ++open_appends_;
    size_t place = 0;
    while (place < appends_.size() && appends_[place].node != nullptr)
        ++place;
    if (place == appends_.size()) appends_.emplace_back();
    appends_[place] = {std::move(node), world().Process()};
    return kFirstDescriptor + static_cast<int>(place);
}

bool Files::AppendWrite(int descriptor, const char* bytes, size_t size) {
    const size_t place = static_cast<size_t>(descriptor - kFirstDescriptor);
    if (descriptor < kFirstDescriptor || place >= appends_.size() || appends_[place].node == nullptr) {
        world().last_error = kErrorInvalidHandle;
        return false;
    }
    return Store(*appends_[place].node, bytes, size);
}

void Files::AppendClose(int descriptor) {
    const size_t place = static_cast<size_t>(descriptor - kFirstDescriptor);
    if (descriptor < kFirstDescriptor || place >= appends_.size() || appends_[place].node == nullptr) return;
    --appends_[place].node->open_count;
    --open_appends_;
    appends_[place].node.reset();
}

void Files::CloseAll(uint32_t process) {
    for (const auto& file : files_)
        if (file->node != nullptr && file->process == process) Retire(*file);
    for (size_t place = 0; place < appends_.size(); ++place)
        if (appends_[place].node != nullptr && appends_[place].process == process)
            AppendClose(kFirstDescriptor + static_cast<int>(place));
    for (Search& search : searches_) {
        if (search.handle == 0 || search.process != process) continue;
        search = {};
        --open_searches_;
    }
}

}  // namespace sim

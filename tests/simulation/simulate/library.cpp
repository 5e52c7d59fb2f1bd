#include "library.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace simulate {

namespace {

/** An export as a function of these arguments. */
template <class... Arguments>
const char* As(void* symbol, Arguments... arguments) {
    return reinterpret_cast<char* (*)(Arguments...)>(symbol)(arguments...);
}

}  // namespace

Library::Library(int copy) {
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    path_ = program.parent_path() / ("simulated_process_" + std::to_string(copy) + ".so");
    Load();
}

Library::~Library() {
    Unload();
}

void Library::Reload() {
    Unload();
    Load();
}

void Library::Load() {
    module_ = dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module_ == nullptr) throw std::runtime_error(dlerror());
    for (int i = 0; i <= kCommandCount; ++i) {
        const char* name = i == kVersion ? "VersaoDllZantir" : kCommands[i].name;
        exports_[i] = dlsym(module_, name);
        if (exports_[i] == nullptr) throw std::runtime_error(std::string("no export ") + name);
    }
}

void Library::Unload() {
    if (module_ != nullptr) dlclose(module_);
    module_ = nullptr;
    // A copy that stays would keep its state, and a new process would not be one.
    if (dlopen(path_.c_str(), RTLD_NOW | RTLD_NOLOAD) != nullptr)
        throw std::runtime_error(path_ + " does not let itself be unloaded");
}

const char* Library::Call(const Request& request) const {
    void* symbol = exports_[request.command];
    if (request.command == kVersion) return As(symbol);
    const std::string_view shape = kCommands[request.command].shape;
    const int session = request.session;
    const int* numbers = request.numbers;
    const char* const texts[] = {request.Text(0), request.Text(1), request.Text(2)};
    if (shape.empty()) return As(symbol, session);
    if (shape == "s") return As(symbol, session, texts[0]);
    if (shape == "ss") return As(symbol, session, texts[0], texts[1]);
    if (shape == "sss") return As(symbol, session, texts[0], texts[1], texts[2]);
    if (shape == "sr") return As(symbol, session, texts[0], numbers[0]);
    if (shape == "dssd") return As(symbol, session, numbers[0], texts[0], texts[1], numbers[1]);
    if (shape == "sdss") return As(symbol, session, texts[0], numbers[0], texts[1], texts[2]);
    throw std::logic_error("no such shape");
}

}  // namespace simulate

#include "library.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>

#include "files.h"

namespace tool {

const char* LibraryName() {
    return "libzantir64.so";
}

static std::string BesideProgram() {
    std::error_code failure;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failure);
    const std::filesystem::path library = program.parent_path() / LibraryName();
    return !failure && std::filesystem::exists(library, failure) ? NameOf(library) : "";
}

Library LoadLibraryFile(const std::string& path) {
    Library library;
    library.path = path.empty() ? BesideProgram() : path;
    if (library.path.empty()) library.path = LibraryName();
    // A name without a folder is looked for by the system; a given one means the file.
    if (!path.empty() && path.find('/') == std::string::npos) library.path = "./" + path;
    library.handle = dlopen(library.path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library.handle == nullptr) {
        const char* const reason = dlerror();
        library.error = reason != nullptr ? reason : "";
    }
    const link_map* loaded = nullptr;
    if (library.handle != nullptr && dlinfo(library.handle, RTLD_DI_LINKMAP, &loaded) == 0) {
        library.path = loaded->l_name;
    }
    library.file_bits = BitsOfFile(library.path);
    return library;
}

void* FindExport(const Library& library, const char* name) {
    return library.handle != nullptr ? dlsym(library.handle, name) : nullptr;
}

}  // namespace tool

#include "library.h"

#include <windows.h>

#include <filesystem>

#include "files.h"
#include "platform/platform.h"
#include "text.h"

namespace tool {

const char* LibraryName() {
    return "ZANTIR64.dll";
}

static std::filesystem::path ModulePath(HMODULE module) {
    std::wstring name(32768, L'\0');
    const DWORD length = GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
    name.resize(length);
    return name;
}

static std::filesystem::path Wanted(const std::string& path) {
    std::error_code failure;
    if (!path.empty()) return std::filesystem::absolute(PathOf(path), failure);
    const std::filesystem::path beside = ModulePath(nullptr).parent_path() / LibraryName();
    return std::filesystem::exists(beside, failure) ? beside : std::filesystem::path(LibraryName());
}

static std::string SystemText(DWORD code) {
    char* const text = plat_error_text(code);
    const std::string reason = text != nullptr ? Trimmed(text) : "";
    plat_free(text);
    return reason + " (" + std::to_string(code) + ")";
}

Library LoadLibraryFile(const std::string& path) {
    Library library;
    const std::filesystem::path wanted = Wanted(path);
    const HMODULE module = LoadLibraryW(wanted.c_str());
    if (module == nullptr) library.error = SystemText(GetLastError());
    library.handle = module;
    library.path = NameOf(module != nullptr ? ModulePath(module) : wanted);
    library.file_bits = BitsOfFile(library.path);
    return library;
}

void* FindExport(const Library& library, const char* name) {
    if (library.handle == nullptr) return nullptr;
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library.handle), name));
}

}  // namespace tool

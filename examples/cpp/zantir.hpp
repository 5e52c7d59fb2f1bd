/*
 * A SAT fiscal device through ZANTIR64.dll or libzantir64.so: load, call, read the reply. C++17.
 */
#pragma once

#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "zantir.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace zantir {

/** The library could not be loaded, or lacks a function. */
struct NotLoaded : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** The device was not reached, or did not answer: the library's own text. */
struct ExchangeError : std::runtime_error {
    using std::runtime_error::runtime_error;

    /** The command went out, or may have: ask for its session before sending it again. */
    bool DeviceMayHaveActed() const {
        const std::string text = what();
        return text.find("L[2114]") != std::string::npos || text.find("L[2127]") != std::string::npos;
    }
};

/** A device's reply, cut at its "|". Its bytes are the device's, mostly UTF-8. */
class Reply {
  public:
    explicit Reply(const std::string& text) {
        size_t from = 0;
        for (size_t at = text.find('|'); at != std::string::npos; at = text.find('|', from)) {
            fields_.push_back(text.substr(from, at - from));
            from = at + 1;
        }
        fields_.push_back(text.substr(from));
    }

    /** Empty when the reply has no such field. */
    std::string Field(size_t place) const { return place < fields_.size() ? fields_[place] : ""; }
    std::string Code() const { return Field(1); }
    bool Busy() const { return Code().size() > 3 && Code().substr(Code().size() - 3) == "098"; }

    /** The device's message; replies to sales and cancellations have an alert in front of it. */
    std::string Message() const {
        const std::string command = Code().substr(0, 2);
        return Field(command == "06" || command == "07" ? 3 : 2);
    }

  private:
    std::vector<std::string> fields_;
};

/** The library. One object a process; its calls may come from any thread. */
class Sat {
  public:
#ifdef _WIN32
    explicit Sat(const char* path = nullptr)
        : library_(LoadLibraryA(path != nullptr ? path : "ZANTIR64.dll")) {
        if (library_ == nullptr) throw NotLoaded("ZANTIR64.dll: erro " + std::to_string(GetLastError()));
    }
    ~Sat() {
        FreeLibrary(library_);
    }
#else
    explicit Sat(const char* path = nullptr)
        : library_(dlopen(path != nullptr ? path : "libzantir64.so", RTLD_NOW)) {
        if (library_ == nullptr) throw NotLoaded(dlerror());
    }
    ~Sat() {
        dlclose(library_);
    }
#endif
    Sat(const Sat&) = delete;
    Sat& operator=(const Sat&) = delete;

    /** Calls one of the functions of zantir.h by its name and type. Throws ExchangeError. */
    template <typename Function, typename... Arguments>
    Reply Call(Function*, const char* name, Arguments... arguments) {
#ifdef _WIN32
        auto* const address = reinterpret_cast<void*>(GetProcAddress(library_, name));
#else
        void* const address = dlsym(library_, name);
#endif
        if (address == nullptr) throw NotLoaded(std::string("funcao ausente: ") + name);
        // All functions share one buffer: one call at a time, and its text copied before the next.
        const std::lock_guard<std::mutex> one_at_a_time(mutex_);
        const std::string text = reinterpret_cast<Function*>(address)(arguments...);
        if (text.compare(0, 9, "SAT Erro[") == 0 || (!text.empty() && text[0] == '\x02'))
            throw ExchangeError(text);
        return Reply(text);
    }

  private:
#ifdef _WIN32
    HMODULE library_;
#else
    void* library_;
#endif
    std::mutex mutex_;
};

/** ZANTIR_CALL_BY_NAME(sat, ConsultarSAT, 42): the declaration in zantir.h checks the arguments. */
#define ZANTIR_CALL_BY_NAME(sat, name, ...) \
    (sat).Call(static_cast<decltype(&(name))>(nullptr), #name, __VA_ARGS__)

inline int NewSession() {
    static std::mt19937 random{std::random_device()()};
    return std::uniform_int_distribution<int>(1, 999999)(random);
}

/** How many bytes a Base64 text holds. */
inline size_t Base64Size(const std::string& text) {
    size_t size = text.size() / 4 * 3;
    if (!text.empty() && text.back() == '=') --size;
    if (text.size() > 1 && text[text.size() - 2] == '=') --size;
    return size;
}

}  // namespace zantir

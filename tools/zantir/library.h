/*
 * The library under diagnosis, loaded by name as a point-of-sale program loads it.
 */
#pragma once

#include <string>

namespace tool {

/** A loaded library. It stays loaded until the process ends, as with every program that uses it. */
struct Library {
    void* handle = nullptr;  ///< NULL when it could not be loaded
    std::string path;        ///< the file that was taken, or that was looked for
    std::string error;       ///< the system's reason, when it could not be loaded
    int file_bits = 0;       ///< 32 or 64 by the file's own header; 0 when there is no such file
};

/** The library's file name on this system. */
const char* LibraryName();

/** Loads `path`, or the library beside this program, or the one that the system finds by its name. */
Library LoadLibraryFile(const std::string& path);

/** The address of an exported function; NULL when there is none. */
void* FindExport(const Library& library, const char* name);

/** 32 or 64, from the first bytes of a program file of either system; 0 when it is none. */
int BitsOfHeader(const std::string& bytes);

/** The same for a file. */
int BitsOfFile(const std::string& path);

/** Bits of this program. */
constexpr int OWN_BITS = static_cast<int>(sizeof(void*) * 8);

}  // namespace tool

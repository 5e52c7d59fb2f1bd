#include "library.h"

#include "files.h"

namespace tool {

namespace {

unsigned ByteAt(const std::string& bytes, size_t at) {
    return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

int BitsOfPortableExecutable(const std::string& bytes) {
    const size_t at = ByteAt(bytes, 0x3C) | ByteAt(bytes, 0x3D) << 8 | ByteAt(bytes, 0x3E) << 16;
    if (bytes.compare(at < bytes.size() ? at : 0, 4, std::string("PE\0\0", 4)) != 0) return 0;
    const unsigned machine = ByteAt(bytes, at + 4) | ByteAt(bytes, at + 5) << 8;
    switch (machine) {
        case 0x014C:
            return 32;
        case 0x8664:
        case 0xAA64:
            return 64;
        default:
            return 0;
    }
}

}  // namespace

int BitsOfHeader(const std::string& bytes) {
    if (bytes.compare(0, 4,
                      "\x7F"
                      "ELF") == 0) {
        const unsigned kind = ByteAt(bytes, 4);
        return kind == 1 ? 32 : kind == 2 ? 64 : 0;
    }
    return bytes.compare(0, 2, "MZ") == 0 ? BitsOfPortableExecutable(bytes) : 0;
}

int BitsOfFile(const std::string& path) {
    std::string bytes;
    return ReadFile(path, &bytes, 4096) ? BitsOfHeader(bytes) : 0;
}

}  // namespace tool

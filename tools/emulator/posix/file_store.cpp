#include "../file_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace emulator {

namespace {

bool WriteAll(int descriptor, const std::string& content) {
    for (size_t done = 0; done < content.size();) {
        const ssize_t count = write(descriptor, content.data() + done, content.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        done += static_cast<size_t>(count);
    }
    return true;
}

// Writes a file and brings it to the disk; an error stands in errno.
bool WriteFile(const std::string& path, const std::string& content) {
    // The state holds the activation code, which is nobody else's business.
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0) return false;
    const bool written = WriteAll(descriptor, content) && fsync(descriptor) == 0;
    const int failure = errno;
    const bool closed = close(descriptor) == 0;
    if (!written) errno = failure;
    return written && closed;
}

// The new name is safe only when the folder is on the disk as well. Some file systems cannot do that for a
// folder; the file is replaced all the same.
void SyncFolder(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string folder = slash == path.npos ? "." : path.substr(0, slash + 1);
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    fsync(descriptor);
    close(descriptor);
}

}  // namespace

bool ReplaceWholeFile(const std::string& path, const std::string& content, std::string* error) {
    const std::string temporary = TemporaryName(path);
    if (!WriteFile(temporary, content) || std::rename(temporary.c_str(), path.c_str()) != 0) {
        *error = std::strerror(errno);
        unlink(temporary.c_str());
        return false;
    }
    SyncFolder(path);
    return true;
}

std::shared_ptr<void> HoldFile(const std::string& path, std::string* error) {
    error->clear();
    const int descriptor = open(LockName(path).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        *error = std::strerror(errno);
        return nullptr;
    }
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) *error = std::strerror(errno);
        close(descriptor);
        return nullptr;
    }
    // The file stays: whoever removed it could take it from under one who has just opened it.
    return {new int(descriptor), [](const int* held) {
                close(*held);
                delete held;
            }};
}

}  // namespace emulator

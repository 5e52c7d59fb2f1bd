#include "../console.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace emulator {

void SecureInput() {
    for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
        // What is opened takes the lowest free number.
        if (fcntl(number, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0) return;
    }
}

int ReadInput(char* buffer, size_t size) {
    ssize_t count = -1;
    do {
        count = read(STDIN_FILENO, buffer, size);
    } while (count < 0 && errno == EINTR);
    return static_cast<int>(count);
}

}  // namespace emulator

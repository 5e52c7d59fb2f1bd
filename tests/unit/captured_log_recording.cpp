/* The capture without a log writer and without a platform: both are replaced by a few lines here. */
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "captured_log.h"

const char* gl_pLogBaseName = "vko_utils.log";

namespace {

struct Recording {
    unsigned mask = 0;
    std::vector<LogLine> lines;
    bool allocations_fail = false;
    int64_t live_allocations = 0;
    int64_t unix_milliseconds = 0;
    std::string printed;
};

Recording recording;

constexpr int64_t MILLISECONDS_TO_1970 = 11644473600000;

}  // namespace

void CapturedLog::Start(char mode) {
    static constexpr unsigned masks[] = {0, 1, 3, 7, 15, 31};
    recording = {};
    recording.mask = masks[mode - '0'];
}

std::vector<LogLine> CapturedLog::Lines() const {
    return recording.lines;
}

void CapturedLog::FailAllocations(bool fail) {
    recording.allocations_fail = fail;
}

int64_t CapturedLog::LiveAllocations() const {
    return recording.live_allocations;
}

void CapturedLog::SetUnixMilliseconds(int64_t milliseconds) {
    recording.unix_milliseconds = milliseconds;
}

std::string CapturedLog::Printed() const {
    return recording.printed;
}

bool VKO_LogEnabled(unsigned level) {
    return (level & recording.mask) != 0;
}

int VKO_LogWrite(const char* /*logName*/, unsigned level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<size_t>(length) + 1, '\0');
    vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    text.pop_back();
    recording.lines.push_back(TakeApart(level, text));
    return 0;
}

uint32_t VKO_GetTickOfDay() {
    return static_cast<uint32_t>(recording.unix_milliseconds % 86400000 + 86400000);
}

void* plat_alloc(size_t size) {
    void* memory = recording.allocations_fail ? nullptr : calloc(1, size);
    recording.live_allocations += memory ? 1 : 0;
    return memory;
}

void plat_free(void* memory) {
    recording.live_allocations -= memory ? 1 : 0;
    free(memory);
}

int64_t plat_system_time() {
    return (recording.unix_milliseconds + MILLISECONDS_TO_1970) * 10000;
}

void plat_print(const char* text) {
    recording.printed += text;
}

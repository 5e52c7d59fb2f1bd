/*
 * platform.h on the simulated machine: memory, time, errors, mutexes, text.
 */
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sim_enter.h"
#include "sim_memory.h"

namespace {

/** System time counts from 1601. */
constexpr int64_t kSecondsFrom1601To1970 = 11'644'473'600;
constexpr int64_t kUnitsPerSecond = 10'000'000;

/** Above this code the simulated system has no text. */
constexpr uint32_t kLastErrorWithText = 15'999;

/** So many NUL bytes stand behind an error text, at least. */
constexpr size_t kErrorTextEnd = 8;

}  // namespace

// ---------------------------------------------------------------------------------------------------- memory

void* plat_alloc(size_t size) {
    SIM_ENTER(Alloc, "%zu", size);
    if (way >= 0) return sim::Fail<void*>(sim::kErrorNoMemory, nullptr);
    void* memory = sim::Allocate(size);
    if (memory != nullptr) world.CountAllocation(1);
    return memory;
}

void plat_free(void* memory) {
    SIM_ENTER(Free);
    if (memory != nullptr) world.CountAllocation(-1);
    sim::Release(memory);
}

// ------------------------------------------------------------------------------------------------------ time

void plat_utc_now(plat_calendar* now) {
    SIM_ENTER(UtcNow);
    *now = world.clock.Calendar(false);
}

void plat_local_now(plat_calendar* now) {
    SIM_ENTER(LocalNow);
    *now = world.clock.Calendar(true);
}

int64_t plat_counter_frequency() {
    SIM_ENTER(CounterFrequency);
    return way >= 0 ? 0 : world.clock.CounterFrequency();
}

int64_t plat_counter() {
    SIM_ENTER(Counter);
    return world.clock.Counter();
}

int64_t plat_system_time() {
    SIM_ENTER(SystemTime);
    return kSecondsFrom1601To1970 * kUnitsPerSecond + world.clock.UtcUs() * 10;
}

int64_t plat_calendar_to_system_time(const plat_calendar* utc) {
    SIM_ENTER(CalendarToSystemTime, "%04d-%02d-%02d %02d:%02d:%02d", utc->year, utc->month, utc->day,
              utc->hour, utc->minute, utc->second);
    const int64_t days = sim::DaysFromDate(utc->year, utc->month, utc->day);
    const int64_t seconds = ((days * 24 + utc->hour) * 60 + utc->minute) * 60 + utc->second;
    return (seconds + kSecondsFrom1601To1970) * kUnitsPerSecond + int64_t{utc->millisecond} * 10'000;
}

void plat_sleep_ms(uint32_t milliseconds) {
    SIM_ENTER(SleepMs, "%u", milliseconds);
    world.clock.Sleep(milliseconds);
    sim::Seen(sim::Call::SleepMs, milliseconds, 0);
}

// ---------------------------------------------------------------------------------------------------- errors

uint32_t plat_last_error() {
    SIM_ENTER(LastError);
    return world.last_error;
}

char* plat_error_text(uint32_t code) {
    SIM_ENTER(ErrorText, "%u", code);
    if (way >= 0 || code > kLastErrorWithText) return nullptr;
    char text[64];
    const int length = snprintf(text, sizeof text, "Simulated error %u.\r\n", code);
    char* copy = static_cast<char*>(sim::Allocate(static_cast<size_t>(length) + kErrorTextEnd));
    if (copy == nullptr) return nullptr;
    world.CountAllocation(1);
    std::memcpy(copy, text, static_cast<size_t>(length));
    return copy;
}

// --------------------------------------------------------------------------------------------------- mutexes

plat_handle plat_mutex_create(const char* name) {
    SIM_ENTER(MutexCreate, "%s", name);
    const plat_handle handle =
        way >= 0 ? sim::Fail<plat_handle>(PLAT_ERROR_ACCESS_DENIED, 0) : world.mutexes.Create(name);
    return sim::Seen(sim::Call::MutexCreate, 0, handle);
}

static uint32_t WaitForMutex(sim::World& world, int way, plat_handle mutex, uint32_t milliseconds) {
    switch (way) {
        case 0:
            world.clock.Advance(milliseconds);
            return PLAT_WAIT_TIMEOUT;
        case 1:
            return world.mutexes.TakeAbandoned(mutex, world.Thread());
        case 2:
            return sim::Fail(sim::kErrorInvalidHandle, PLAT_WAIT_FAILED);
        default:
            return world.mutexes.Wait(mutex, milliseconds, world.Thread());
    }
}

uint32_t plat_mutex_wait(plat_handle mutex, uint32_t milliseconds) {
    SIM_ENTER(MutexWait, "%u", milliseconds);
    return sim::Seen(sim::Call::MutexWait, milliseconds, WaitForMutex(world, way, mutex, milliseconds));
}

bool plat_mutex_release(plat_handle mutex) {
    SIM_ENTER(MutexRelease);
    const bool released =
        way >= 0 ? sim::Fail(sim::kErrorNotOwner, false) : world.mutexes.ReleaseOnce(mutex, world.Thread());
    return sim::Seen(sim::Call::MutexRelease, 0, released);
}

// ------------------------------------------------------------------------------------------------------ text

void plat_upper(char* text) {
    SIM_ENTER(Upper, "%s", text);
    for (; *text != '\0'; ++text)
        if (*text >= 'a' && *text <= 'z') *text = static_cast<char>(*text - 'a' + 'A');
}

void plat_wide_to_bytes(const wchar_t* wide, char* bytes, size_t size) {
    SIM_ENTER(WideToBytes, "%zu", size);
    if (size == 0) return;
    // The simulated code page has the characters below 256 and no others.
    size_t length = 0;
    for (; length + 1 < size && wide[length] != L'\0'; ++length) {
        const bool known = wide[length] > 0 && wide[length] < 256;
        bytes[length] = known ? static_cast<char>(wide[length]) : ' ';
    }
    bytes[length] = '\0';
}

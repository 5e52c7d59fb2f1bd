#include "sim_mutexes.h"

#include <algorithm>

#include "sim_handles.h"
#include "sim_platform.h"

namespace sim {

const Mutexes::Mutex* Mutexes::Find(std::string_view name) const {
    for (const Mutex& mutex : mutexes_)
        if (mutex.name == name) return &mutex;
    return nullptr;
}

Mutexes::Mutex& Mutexes::Named(std::string_view name) {
    for (Mutex& mutex : mutexes_)
        if (mutex.name == name) return mutex;
    mutexes_.emplace_back().name = name;
    return mutexes_.back();
}

Mutexes::Mutex* Mutexes::FromHandle(plat_handle handle) {
    const size_t index = HandleIndex(handle);
    return IsHandleOf(handle, HandleKind::Mutex) && index < mutexes_.size() ? &mutexes_[index] : nullptr;
}

void Mutexes::GiveUp(Mutex& mutex, bool abandoned) {
    mutex.owner = 0;
    mutex.depth = 0;
    mutex.abandoned = abandoned;
    mutex.until_us = kForever;
    world().clock.Wake();
}

void Mutexes::Expire(Mutex& mutex, int64_t now_us) {
    if (mutex.owner != 0 && mutex.until_us <= now_us) GiveUp(mutex, mutex.end == HoldEnd::Abandoned);
}

void Mutexes::Hold(std::string_view name, uint32_t owner, int64_t until_us, HoldEnd end) {
    Mutex& mutex = Named(name);
    mutex.owner = owner;
    mutex.depth = 1;
    mutex.abandoned = false;
    mutex.until_us = until_us;
    mutex.end = end;
}

void Mutexes::Release(std::string_view name) {
    GiveUp(Named(name), false);
}

uint32_t Mutexes::Owner(std::string_view name) const {
    const Mutex* mutex = Find(name);
    return mutex != nullptr && mutex->until_us > world().clock.NowUs() ? mutex->owner : 0;
}

uint32_t Mutexes::Depth(std::string_view name) const {
    return Owner(name) != 0 ? Find(name)->depth : 0;
}

std::vector<std::string> Mutexes::Names() const {
    std::vector<std::string> names;
    for (const Mutex& mutex : mutexes_)
        names.push_back(mutex.name);
    return names;
}

void Mutexes::Abandon(uint32_t thread) {
    for (Mutex& mutex : mutexes_)
        if (mutex.owner == thread) GiveUp(mutex, true);
}

plat_handle Mutexes::Create(const char* name) {
    const Mutex& mutex = Named(name);
    const auto found =
        std::find_if(mutexes_.begin(), mutexes_.end(), [&](const Mutex& m) { return &m == &mutex; });
    // Each handle is a new one, as on a real system, but they need no table: the mutex's place is in the
    // handle.
    ++handles_created_;
    return MakeHandle(HandleKind::Mutex, static_cast<size_t>(found - mutexes_.begin()), handles_created_);
}

uint32_t Mutexes::Wait(plat_handle handle, uint32_t milliseconds, uint32_t thread) {
    constexpr uint32_t kInfinite = 0xFFFFFFFF;
    Clock& clock = world().clock;
    Mutex* mutex = FromHandle(handle);
    if (mutex == nullptr) {
        world().last_error = kErrorInvalidHandle;
        return PLAT_WAIT_FAILED;
    }
    const int64_t deadline_us =
        milliseconds == kInfinite ? kForever : clock.NowUs() + int64_t{milliseconds} * 1000;
    for (;;) {
        Expire(*mutex, clock.NowUs());
        if (mutex->owner == 0 || mutex->owner == thread) {
            const bool abandoned = mutex->abandoned;
            mutex->owner = thread;
            mutex->abandoned = false;
            ++mutex->depth;
            return abandoned ? PLAT_WAIT_ABANDONED : PLAT_WAIT_ACQUIRED;
        }
        if (clock.NowUs() >= deadline_us) return PLAT_WAIT_TIMEOUT;
        const int64_t next_us = std::min({mutex->until_us, clock.NextTimerUs(), deadline_us});
        if (next_us == kForever) throw Stuck("waiting for ever for the mutex " + mutex->name);
        clock.AdvanceTo(next_us, true);
    }
}

uint32_t Mutexes::TakeAbandoned(plat_handle handle, uint32_t thread) {
    Mutex* mutex = FromHandle(handle);
    if (mutex == nullptr) return PLAT_WAIT_FAILED;
    if (mutex->owner != thread) GiveUp(*mutex, false);
    mutex->owner = thread;
    ++mutex->depth;
    return PLAT_WAIT_ABANDONED;
}

bool Mutexes::ReleaseOnce(plat_handle handle, uint32_t thread) {
    Mutex* mutex = FromHandle(handle);
    if (mutex == nullptr || mutex->owner != thread) {
        world().last_error = mutex == nullptr ? kErrorInvalidHandle : kErrorNotOwner;
        return false;
    }
    if (--mutex->depth == 0) GiveUp(*mutex, false);
    return true;
}

}  // namespace sim

/*
 * The machine-wide mutex.
 *
 * Two floors: inside the process the mutex belongs to a thread, as on Windows; between processes the kernel's
 * lock on a file decides. There is one record and one descriptor for each name, however often it is created,
 * because the engine creates the mutex at every exchange and never closes it.
 */
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>

#include "../platform.h"
#include "last_error.h"
#include "lock_file.h"

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

struct NamedMutex {
    std::string name;
    LockFile file = {};
    uint64_t owner = 0;   ///< the thread that owns the mutex, or is just taking the file's lock; 0 when none
    uint32_t depth = {};  ///< how often the owner has taken it; without meaning until it has the file's lock
    bool abandoned = false;
};

/** All mutexes of the process. Never destroyed: threads may end, and give mutexes back, after main did. */
struct Registry {
    std::mutex guard;
    std::condition_variable* released = new std::condition_variable;
    std::deque<NamedMutex> mutexes;  // a deque keeps its elements in place as it grows
};

/** Identifies a thread, and abandons what it owns when it ends. Numbers are not used again, unlike thread
 * ids. */
struct ThreadMark {
    ThreadMark();
    ~ThreadMark();
    const uint64_t id;
};

/** How long the other processes are given between two looks at their lock. */
constexpr std::chrono::milliseconds kPollInterval(2);

}  // namespace

static Registry& TheRegistry();

static uint64_t NextThreadId() {
    static std::atomic<uint64_t> last_id;
    return ++last_id;
}

ThreadMark::ThreadMark() : id(NextThreadId()) {}

ThreadMark::~ThreadMark() {
    Registry& registry = TheRegistry();
    const std::lock_guard<std::mutex> lock(registry.guard);
    for (NamedMutex& mutex : registry.mutexes) {
        if (mutex.owner != id) continue;
        mutex.owner = 0;
        mutex.abandoned = true;
        Unlock(&mutex.file);
    }
    registry.released->notify_all();
}

static uint64_t ThisThread() {
    thread_local const ThreadMark mark;
    return mark.id;
}

static void BeforeFork() {
    TheRegistry().guard.lock();
}

static void AfterForkInParent() {
    TheRegistry().guard.unlock();
}

/**
 * A forked child owns nothing. It also gives up its copies of the descriptors, since the kernel's lock lives
 * as long as any copy does and would outlive the parent that owns it.
 */
static void AfterForkInChild() {
    Registry& registry = TheRegistry();
    for (NamedMutex& mutex : registry.mutexes) {
        CloseLockFile(&mutex.file);
        mutex.owner = 0;
        mutex.abandoned = false;
    }
    // The old one may count waiters that exist in the parent alone, so it cannot even be deleted.
    registry.released = new std::condition_variable;
    registry.guard.unlock();
}

/** The registry once there is one. */
static std::atomic<Registry*> made_registry{nullptr};

static Registry& TheRegistry() {
    static Registry& registry = *[] {
        Registry* created = new Registry;
        pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
        made_registry = created;
        return created;
    }();
    return registry;
}

/**
 * Runs when the library is unloaded, by when all threads that used it have ended, and at the end of the
 * process. The files that nobody has locked are closed: left behind, their descriptors would be out of
 * everybody's reach. The records stay, since at the end of the process somebody may still come, for whom the
 * file is opened again.
 */
__attribute__((destructor)) static void CloseFilesAtUnload() {
    Registry* const registry = made_registry;
    if (registry == nullptr) return;
    // A thread that is in here while the process ends is not waited for.
    const std::unique_lock<std::mutex> lock(registry->guard, std::try_to_lock);
    if (!lock.owns_lock()) return;
    for (NamedMutex& mutex : registry->mutexes) {
        if (mutex.owner == 0) CloseLockFile(&mutex.file);
    }
}

/** Finds the record of a name, or makes one. NULL, with the last error set, when its file cannot be opened.
 */
static NamedMutex* FindOrAdd(Registry* registry, const char* name) {
    for (NamedMutex& mutex : registry->mutexes) {
        if (mutex.name == name) return &mutex;
    }
    NamedMutex added;
    added.name = name;
    if (!OpenLockFile(name, &added.file)) return nullptr;
    try {
        registry->mutexes.push_back(added);
    } catch (...) {
        CloseLockFile(&added.file);
        throw;
    }
    return &registry->mutexes.back();
}

plat_handle plat_mutex_create(const char* name) {
    try {
        Registry& registry = TheRegistry();
        const std::lock_guard<std::mutex> lock(registry.guard);
        return reinterpret_cast<plat_handle>(FindOrAdd(&registry, name));
    } catch (...) {
        SetLastErrno(ENOMEM);
        return 0;
    }
}

static NamedMutex* FindHandle(Registry* registry, plat_handle handle) {
    for (NamedMutex& mutex : registry->mutexes) {
        if (reinterpret_cast<plat_handle>(&mutex) == handle) return &mutex;
    }
    SetLastErrno(EBADF);
    return nullptr;
}

/** Waits until no thread of this process owns the mutex. False when the deadline comes first. */
static bool WaitForThreads(Registry* registry, std::unique_lock<std::mutex>* lock, const NamedMutex& mutex,
                           SteadyTime deadline) {
    return registry->released->wait_until(*lock, deadline, [&mutex] { return mutex.owner == 0; });
}

/** Waits until no other process owns the mutex. The registry is unlocked while it sleeps. */
static LockResult WaitForProcesses(Registry* registry, std::unique_lock<std::mutex>* lock, NamedMutex* mutex,
                                   SteadyTime deadline) {
    for (;;) {
        const LockResult result = TryLock(&mutex->file);
        const SteadyTime now = std::chrono::steady_clock::now();
        if (result != LockResult::busy || now >= deadline) return result;
        // Nobody signals this variable for us: it only serves as a sleep that lets go of the registry.
        registry->released->wait_until(*lock, std::min(deadline, now + kPollInterval));
    }
}

static SteadyTime DeadlineAfter(uint32_t milliseconds) {
    // The largest value, which Windows takes for "without end", is seven weeks here.
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
}

/** The wait proper, for a thread that does not own the mutex yet. */
static uint32_t Acquire(Registry* registry, std::unique_lock<std::mutex>* lock, NamedMutex* mutex,
                        SteadyTime deadline) {
    if (!WaitForThreads(registry, lock, *mutex, deadline)) return PLAT_WAIT_TIMEOUT;

    mutex->owner = ThisThread();
    const LockResult result = WaitForProcesses(registry, lock, mutex, deadline);
    if (result != LockResult::taken) {
        mutex->owner = 0;
        registry->released->notify_all();
        return result == LockResult::busy ? PLAT_WAIT_TIMEOUT : PLAT_WAIT_FAILED;
    }
    mutex->depth = 1;
    const bool abandoned = mutex->abandoned;
    mutex->abandoned = false;
    return abandoned ? PLAT_WAIT_ABANDONED : PLAT_WAIT_ACQUIRED;
}

uint32_t plat_mutex_wait(plat_handle mutex, uint32_t milliseconds) {
    const SteadyTime deadline = DeadlineAfter(milliseconds);
    Registry& registry = TheRegistry();
    std::unique_lock<std::mutex> lock(registry.guard);
    NamedMutex* const found = FindHandle(&registry, mutex);
    if (found == nullptr) return PLAT_WAIT_FAILED;
    if (found->owner == ThisThread()) {
        ++found->depth;
        return PLAT_WAIT_ACQUIRED;
    }
    return Acquire(&registry, &lock, found, deadline);
}

bool plat_mutex_release(plat_handle mutex) {
    Registry& registry = TheRegistry();
    const std::lock_guard<std::mutex> lock(registry.guard);
    NamedMutex* const found = FindHandle(&registry, mutex);
    if (found == nullptr) return false;
    if (found->owner != ThisThread()) {
        SetLastErrorCode(kErrorNotOwner);
        return false;
    }
    if (--found->depth == 0) {
        found->owner = 0;
        Unlock(&found->file);
        registry.released->notify_all();
    }
    return true;
}

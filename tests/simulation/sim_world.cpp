#include <algorithm>

#include "sim_platform.h"

namespace sim {

World& world() {
    static World the_world;
    return the_world;
}

void World::Reset() {
    *this = World();
}

World::ThreadState& World::StateOf(uint32_t process, uint32_t thread) {
    for (ThreadState& state : threads_)
        if (state.thread == thread) {
            state.process = process;
            return state;
        }
    threads_.push_back({process, thread, 0});
    return threads_.back();
}

void World::SetThread(uint32_t process, uint32_t thread) {
    StateOf(process_, thread_).last_error = last_error;
    last_error = StateOf(process, thread).last_error;
    process_ = process;
    thread_ = thread;
}

void World::EndThread(uint32_t thread) {
    mutexes.Abandon(thread);
}

void World::EndProcess(uint32_t process) {
    for (const ThreadState& state : threads_)
        if (state.process == process) EndThread(state.thread);
    ports.CloseAll(process);
    files.CloseAll(process);
    for (DeviceSet& set : device_sets)
        if (set.process == process) set = {};
}

size_t World::OpenDeviceSets() const {
    return static_cast<size_t>(std::count_if(device_sets.begin(), device_sets.end(),
                                             [](const DeviceSet& set) { return set.handle != 0; }));
}

}  // namespace sim

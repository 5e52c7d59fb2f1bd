/*
 * The simulated platform: a third implementation of platform.h, for tests. A program that links it instead of
 * a real platform runs the library in a small machine of its own, in which time passes only when somebody
 * waits, every device and file belongs to the test, and every call can be made to fail. Nothing depends on
 * the real machine: the same test gives the same calls, to the microsecond.
 *
 * One thread of the test program uses it at a time; threads and processes of the machine are ids.
 *
 *     sim::HonestDevice device([](const std::string&) { return "000042|08000|SAT em operacao|||"; });
 *     sim::world().Reset();
 *     sim::world().ports.Add("\\\\?\\COM7", &device);
 *     sim::world().devices.push_back({.port_name = "COM7", .friendly = "ZANTIR (COM7)"});
 *     sim::world().faults.FailNth(sim::Call::PortOpen, 1);
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/platform.h"
#include "sim_clock.h"
#include "sim_devices.h"
#include "sim_faults.h"
#include "sim_files.h"
#include "sim_mutexes.h"
#include "sim_observer.h"
#include "sim_serial.h"

namespace sim {

/** A device that discovery can find. */
struct PresentDevice {
    std::string class_name = "Ports";
    bool has_key = true;                     ///< its hardware key can be opened
    std::optional<std::string> port_name{};  ///< "PortName" of the key
    std::optional<std::string> friendly{};   ///< absent: a size of 0, and reading it fails
    bool friendly_read_fails = false;        ///< the size is told, the text is not
};

/** The machine. */
class World {
  public:
    Clock clock;
    Faults faults;
    Mutexes mutexes;
    Ports ports;
    Files files;

    /** Not owned; nullptr when nobody watches. */
    Observer* observer = nullptr;

    /** In enumeration order. */
    std::vector<PresentDevice> devices;

    /** The setup classes that exist; a class without devices gives an empty set, an unknown one none. */
    std::vector<std::string> device_classes{"Ports"};

    /** What plat_print printed. */
    std::string printed;
    bool keep_printed = true;  ///< long runs: whether `printed` grows

    /** A fresh machine. Handles and files of the old one are void. */
    void Reset();

    /**
     * Who runs from now on; process 1, thread 1 after a reset. Thread ids are unique on the machine, whatever
     * their process, and 0 is none. Each thread has its own last error.
     */
    void SetThread(uint32_t process, uint32_t thread);
    uint32_t Process() const { return process_; }
    uint32_t Thread() const { return thread_; }

    /** A thread ends: its mutexes become abandoned. */
    void EndThread(uint32_t thread);

    /**
     * A process ends: so do the threads that ran in it. What it had open is closed; its files lose what waits
     * in their buffers.
     */
    void EndProcess(uint32_t process);

    /** The running thread's last error. */
    uint32_t last_error = 0;

    /** Device sets that are open. */
    size_t OpenDeviceSets() const;

    /** plat_alloc minus plat_free. */
    int64_t LiveAllocations() const { return live_allocations_; }

    // Used by the platform's routines.
    void CountAllocation(int64_t change) { live_allocations_ += change; }
    struct DeviceSet {
        plat_handle handle = 0;  ///< 0 while the place is free
        uint32_t process = 0;
        std::string class_name;
        std::optional<size_t> current;
    };
    std::vector<DeviceSet> device_sets;

  private:
    struct ThreadState {
        uint32_t process;
        uint32_t thread;
        uint32_t last_error;
    };
    ThreadState& StateOf(uint32_t process, uint32_t thread);

    uint32_t process_ = 1;
    uint32_t thread_ = 1;
    std::vector<ThreadState> threads_{{1, 1, 0}};
    int64_t live_allocations_ = 0;
};

/** The one machine. */
World& world();

}  // namespace sim

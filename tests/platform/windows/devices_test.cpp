#include <windows.h>

#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "platform/windows/device_watch.h"
#include "scarce_memory.h"

// Which devices there are is the machine's affair: the walk must come to its end and stay inside the buffers.
TEST(Devices, ThePresentPortsCanBeWalked) {
    const plat_handle devices = plat_devices_open("Ports");
    ASSERT_TRUE(plat_handle_valid(devices));
    uint32_t count = 0;
    for (; plat_devices_select(devices, count); ++count) {
        ASSERT_LT(count, 10000u);
        char guarded[17] = {};
        guarded[16] = 'G';
        plat_devices_port_name(devices, guarded, 16);
        EXPECT_EQ(guarded[15], '\0');
        EXPECT_EQ(guarded[16], 'G');
        const uint32_t size = plat_devices_friendly_size(devices);
        if (size == 0) continue;
        char* friendly = static_cast<char*>(plat_alloc(size + 1));
        EXPECT_TRUE(plat_devices_friendly(devices, friendly, size));
        plat_free(friendly);
    }
    EXPECT_FALSE(plat_devices_select(devices, count));
    EXPECT_TRUE(plat_devices_close(devices));
}

TEST(Devices, NoClassNoSet) {
    EXPECT_EQ(plat_devices_open("No such class"), PLAT_INVALID_HANDLE);
}

TEST(Devices, AClassIsNotTakenForAnother) {
    for (int round = 0; round < 2; ++round) {
        const plat_handle devices = plat_devices_open("Ports");
        EXPECT_TRUE(plat_handle_valid(devices));
        EXPECT_TRUE(plat_devices_close(devices));
        EXPECT_EQ(plat_devices_open(""), PLAT_INVALID_HANDLE);
        EXPECT_EQ(plat_devices_open("No such class"), PLAT_INVALID_HANDLE);
    }
}

namespace {

/** A made-up device in the system's tree, which only Wine lets everybody write to. It goes with the object.
 */
class MadeUpDevice {
  public:
    explicit MadeUpDevice(const std::string& name)
        : path_("SYSTEM\\CurrentControlSet\\Enum\\USB\\VID_0000&PID_0002\\" + name) {
        made_ = Set("", "ClassGUID", "{4d36e978-e325-11ce-bfc1-08002be10318}") && Set("", "Class", "Ports");
    }
    MadeUpDevice(const MadeUpDevice&) = delete;
    MadeUpDevice& operator=(const MadeUpDevice&) = delete;
    ~MadeUpDevice() { RegDeleteTreeA(HKEY_LOCAL_MACHINE, path_.c_str()); }

    bool made() const { return made_; }
    void Name(const char* port) { Set("\\Device Parameters", "PortName", port); }
    void Describe(const char* friendly) { Set("", "FriendlyName", friendly); }

  private:
    bool Set(const char* key, const char* name, const char* text) {
        return RegSetKeyValueA(HKEY_LOCAL_MACHINE, (path_ + key).c_str(), name, REG_SZ, text,
                               static_cast<DWORD>(strlen(text) + 1)) == ERROR_SUCCESS;
    }

    std::string path_;
    bool made_;
};

std::string Listed(plat_handle devices) {
    std::string listed;
    for (uint32_t i = 0; plat_devices_select(devices, i); ++i) {
        char name[16] = "";
        const bool has_key = plat_devices_port_name(devices, name, sizeof name);
        std::string friendly(plat_devices_friendly_size(devices), '?');
        plat_devices_friendly(devices, friendly.data(), static_cast<uint32_t>(friendly.size()));
        listed += std::string(has_key ? name : "-") + "=" + friendly.c_str() + ";";
    }
    return listed;
}

/** What a discovery sees. */
std::string Listed() {
    const plat_handle devices = plat_devices_open("Ports");
    const std::string listed = Listed(devices);
    EXPECT_TRUE(plat_devices_close(devices));
    return listed;
}

/** While it lives, the process finds nothing in the machine's part of the registry. */
class EmptyRegistry {
  public:
    EmptyRegistry() {
        RegCreateKeyExA(HKEY_CURRENT_USER, kPath, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &empty_, nullptr);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, empty_);
    }
    EmptyRegistry(const EmptyRegistry&) = delete;
    EmptyRegistry& operator=(const EmptyRegistry&) = delete;
    ~EmptyRegistry() {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(empty_);
        RegDeleteTreeA(HKEY_CURRENT_USER, kPath);
    }

  private:
    static constexpr char kPath[] = "Software\\zantir-empty";
    HKEY empty_ = nullptr;
};

}  // namespace

#define SKIP_UNLESS_MADE(device) \
    if (!(device).made()) GTEST_SKIP() << "only Wine lets a test make up a device"

TEST(Devices, EveryChangeIsSeenByTheNextDiscovery) {
    const std::string before = Listed();
    {
        MadeUpDevice device("A");
        SKIP_UNLESS_MADE(device);
        EXPECT_EQ(Listed(), before + "-=;");
        device.Name("COM41");
        EXPECT_EQ(Listed(), before + "COM41=;");
        device.Describe("Modem");
        EXPECT_EQ(Listed(), before + "COM41=Modem;");
        device.Describe("ZANTIR");
        device.Name("COM42");
        EXPECT_EQ(Listed(), before + "COM42=ZANTIR;");
        MadeUpDevice other("B");
        other.Name("COM43");
        EXPECT_EQ(Listed(), before + "COM42=ZANTIR;COM43=;");
    }
    EXPECT_EQ(Listed(), before);
}

TEST(Devices, AChangeWhileASetIsOpenIsSeenBehindIt) {
    const std::string before = Listed();
    const plat_handle open = plat_devices_open("Ports");
    MadeUpDevice device("A");
    SKIP_UNLESS_MADE(device);
    EXPECT_EQ(Listed(open), before);
    EXPECT_TRUE(plat_devices_close(open));
    EXPECT_EQ(Listed(), before + "-=;");
}

// Of two sets at the same time the one closed last is kept; the other one's view may be older.
TEST(Devices, ASetThatIsClosedBehindANewerOneDoesNotBringItsViewBack) {
    const std::string before = Listed();
    const plat_handle old = plat_devices_open("Ports");
    MadeUpDevice device("A");
    SKIP_UNLESS_MADE(device);
    EXPECT_EQ(Listed(), before + "-=;");
    EXPECT_EQ(Listed(old), before);
    EXPECT_TRUE(plat_devices_close(old));
    EXPECT_EQ(Listed(), before + "-=;");
}

TEST(Devices, TwoSetsHaveASelectionEach) {
    MadeUpDevice first("A");
    MadeUpDevice second("B");
    SKIP_UNLESS_MADE(first);
    first.Name("COM41");
    second.Name("COM42");
    uint32_t count = 0;
    const plat_handle one = plat_devices_open("Ports");
    while (plat_devices_select(one, count))
        ++count;
    const plat_handle other = plat_devices_open("Ports");
    ASSERT_TRUE(plat_devices_select(one, count - 2));
    ASSERT_TRUE(plat_devices_select(other, count - 1));
    char name[16] = "";
    plat_devices_port_name(one, name, sizeof name);
    EXPECT_STREQ(name, "COM41");
    plat_devices_port_name(other, name, sizeof name);
    EXPECT_STREQ(name, "COM42");
    EXPECT_TRUE(plat_devices_close(one));
    EXPECT_TRUE(plat_devices_close(other));
}

TEST(Devices, ANewSetHasNoSelection) {
    MadeUpDevice device("A");
    SKIP_UNLESS_MADE(device);
    device.Describe("Modem");
    for (int round = 0; round < 2; ++round) {
        const plat_handle devices = plat_devices_open("Ports");
        char text[16] = "kept";
        EXPECT_FALSE(plat_devices_port_name(devices, text, sizeof text));
        EXPECT_EQ(plat_devices_friendly_size(devices), 0U);
        EXPECT_FALSE(plat_devices_friendly(devices, text, sizeof text));
        EXPECT_STREQ(text, "kept");
        EXPECT_TRUE(plat_devices_select(devices, 0));
        EXPECT_TRUE(plat_devices_close(devices));
    }
}

TEST(Devices, ANameCountsOnlyWhenItFits) {
    MadeUpDevice device("A");
    SKIP_UNLESS_MADE(device);
    for (const size_t length : {15U, 16U, 63U, 64U, 200U}) {
        device.Name(std::string(length, 'C').c_str());
        const plat_handle devices = plat_devices_open("Ports");
        uint32_t last = 0;
        while (plat_devices_select(devices, last + 1))
            ++last;
        ASSERT_TRUE(plat_devices_select(devices, last));
        char name[17] = "kept";
        EXPECT_TRUE(plat_devices_port_name(devices, name, 16));
        EXPECT_EQ(name, length == 15 ? std::string(15, 'C') : "kept") << length;
        EXPECT_TRUE(plat_devices_close(devices));
    }
}

TEST(Devices, WhileNothingChangesTheSystemIsNotAskedAgain) {
    MadeUpDevice device("A");
    SKIP_UNLESS_MADE(device);
    // The first list that has a new device makes the system complete its entry: a change.
    Listed();
    const std::string listed = Listed();
    ASSERT_NE(listed, "");
    const EmptyRegistry registry;
    EXPECT_EQ(Listed(), listed);
    EXPECT_EQ(Listed(), listed);
    EXPECT_FALSE(plat_handle_valid(plat_devices_open("Another class")));
    EXPECT_FALSE(plat_handle_valid(plat_devices_open("Ports")));
}

TEST(Devices, AListThatMemoryCutShortIsNotUsedAgain) {
    MadeUpDevice first("A");
    MadeUpDevice second("B");
    SKIP_UNLESS_MADE(first);
    first.Name("COM41");
    first.Describe("Modem");
    second.Name("COM42");
    second.Describe("ZANTIR");
    Listed();
    const std::string whole = Listed();
    int cut_short = 0;
    for (int n = 1; n <= 5; ++n) {
        plat_devices_forget();
        FailMemoryAt(n);
        const plat_handle devices = plat_devices_open("Ports");
        FailMemoryAt(0);
        if (Listed(devices) != whole) ++cut_short;
        plat_devices_close(devices);
        EXPECT_EQ(Listed(), whole) << n;
    }
    // The set, and two for each device.
    EXPECT_EQ(cut_short, 5);
}

TEST(Devices, WhatIsForgottenIsListedAnew) {
    MadeUpDevice device("A");
    SKIP_UNLESS_MADE(device);
    Listed();
    Listed();
    const EmptyRegistry registry;
    plat_devices_forget();
    EXPECT_FALSE(plat_handle_valid(plat_devices_open("Ports")));
    plat_devices_forget();
}

TEST(DeviceWatch, TellsOfPortsThatComeAndGo) {
    static constexpr char kPorts[] = "HARDWARE\\DEVICEMAP\\SERIALCOMM";
    uint64_t watch = WatchDevices();
    ASSERT_NE(watch, 0U);
    if (RegSetKeyValueA(HKEY_LOCAL_MACHINE, kPorts, "\\Device\\Test", REG_SZ, "COM99", 6) != ERROR_SUCCESS) {
        GTEST_SKIP() << "only Wine lets a test make up a port";
    }
    EXPECT_FALSE(DevicesUnchanged(watch));
    watch = WatchDevices();
    EXPECT_TRUE(DevicesUnchanged(watch));
    RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, kPorts, "\\Device\\Test");
    EXPECT_FALSE(DevicesUnchanged(watch));
}

TEST(DeviceWatch, LeavesNoHandlesBehindChanges) {
    WatchDevices();
    DWORD before = 0;
    GetProcessHandleCount(GetCurrentProcess(), &before);
    for (int i = 0; i < 20; ++i) {
        const MadeUpDevice device("A");
        SKIP_UNLESS_MADE(device);
        EXPECT_TRUE(DevicesUnchanged(WatchDevices()));
    }
    DWORD after = 0;
    GetProcessHandleCount(GetCurrentProcess(), &after);
    EXPECT_EQ(after, before);
}

TEST(DeviceWatch, TellsOfChangesAndEndsWithTheNextOne) {
    EXPECT_FALSE(DevicesUnchanged(0));
    const uint64_t watch = WatchDevices();
    ASSERT_NE(watch, 0U);
    EXPECT_TRUE(DevicesUnchanged(watch));
    EXPECT_TRUE(DevicesUnchanged(watch));
    EXPECT_FALSE(DevicesUnchanged(watch + 1));
    MadeUpDevice device("A");
    SKIP_UNLESS_MADE(device);
    EXPECT_FALSE(DevicesUnchanged(watch));
    EXPECT_FALSE(DevicesUnchanged(watch));
    const uint64_t next = WatchDevices();
    EXPECT_TRUE(DevicesUnchanged(next));
    EXPECT_FALSE(DevicesUnchanged(watch));
    const uint64_t third = WatchDevices();
    EXPECT_TRUE(DevicesUnchanged(third));
    EXPECT_FALSE(DevicesUnchanged(next));
}

TEST(DeviceWatch, OutlivesItsThread) {
    uint64_t watch = 0;
    std::thread([&watch] { watch = WatchDevices(); }).join();
    EXPECT_TRUE(DevicesUnchanged(watch));
    const MadeUpDevice device("A");
    SKIP_UNLESS_MADE(device);
    EXPECT_FALSE(DevicesUnchanged(watch));
}

TEST(DeviceWatch, KnowsNothingAfterAWhile) {
    const uint64_t watch = WatchDevices();
    Sleep(PLAT_DEVICES_KNOWN_MS / 2);
    EXPECT_TRUE(DevicesUnchanged(watch));
    Sleep(PLAT_DEVICES_KNOWN_MS / 2 + 100);
    EXPECT_FALSE(DevicesUnchanged(watch));
    EXPECT_TRUE(DevicesUnchanged(WatchDevices()));
}

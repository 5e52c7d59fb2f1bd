/*
 * A port whose other side is a routine of the test, on a clock that moves only when somebody waits.
 */
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>

#include "port.h"

namespace emulator {

struct ScriptedPort : Port {
    std::string incoming;                                 ///< what the other side has sent
    std::string written;                                  ///< everything that came back, in order
    std::function<void(const std::string& block)> react;  ///< called with each write; may add to `incoming`
    int64_t now_us = 0;
    int dropped = 0;        ///< calls of DropUnread
    int awaited = 0;        ///< calls of AwaitTaken
    bool gone = false;      ///< reads fail once `incoming` is empty
    bool refusing = false;  ///< writes time out
    size_t slice = 100000;  ///< a read gives no more than this at once

    int Read(char* buffer, size_t size, int64_t wait_ms) override {
        if (incoming.empty()) {
            if (gone) return -1;
            now_us += wait_ms * 1000;
            return 0;
        }
        const size_t count = std::min({size, incoming.size(), slice});
        std::memcpy(buffer, incoming.data(), count);
        incoming.erase(0, count);
        return static_cast<int>(count);
    }

    bool Write(const char* bytes, size_t size, int64_t wait_ms) override {
        if (refusing) {
            now_us += wait_ms * 1000;
            return false;
        }
        written.append(bytes, size);
        if (react) react(std::string(bytes, size));
        return true;
    }

    int64_t NowUs() override { return now_us; }
    bool SleepUntil(int64_t moment_us) override {
        now_us = std::max(now_us, moment_us);
        return !gone;
    }
    void DropUnread() override { ++dropped; }
    void AwaitTaken(int64_t) override { ++awaited; }
    std::string Address() const override { return "scripted"; }
};

}  // namespace emulator

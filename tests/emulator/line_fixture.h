/*
 * A line on a scripted port, whose other side acknowledges every block of a reply unless a test says what
 * else it does.
 */
#pragma once

#include <gtest/gtest.h>

#include "line.h"
#include "scripted_port.h"

namespace emulator {

struct LineTest : testing::Test {
    ScriptedPort port;
    FaultPlan plan;
    Line line{.port = port, .settings = {}, .plan = &plan};
    std::string reply = "000001|08000|SAT em operacao||";
    std::vector<std::string> commands;
    std::vector<size_t> blocks;  // sizes of the reply's blocks as they were written

    // What the caller answers to each block of the reply; ACK when there is nothing left.
    std::string verdicts;

    void SetUp() override {
        port.react = [this](const std::string& block) {
            if (block.size() == 1) return;
            blocks.push_back(block.size());
            port.incoming += verdicts.empty() ? ACK : verdicts.front();
            if (!verdicts.empty()) verdicts.erase(0, 1);
        };
    }

    Exchange Serve() {
        return ServeExchange(
            line,
            [this](const std::string& command) {
                commands.push_back(command);
                return reply;
            },
            1000);
    }
};

}  // namespace emulator

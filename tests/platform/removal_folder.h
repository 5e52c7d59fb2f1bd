/*
 * A test of removals in a folder of its own. Such tests run on a real machine, often as root: a fault in a
 * removal must cost a test, not the machine.
 */
#pragma once

#include "scratch_folder.h"

/**
 * Whether this process, and every process that it starts, is kept from removing what is not the tests' own.
 * Where it is not, nothing may be removed by the code under test.
 */
bool RemovalsAreConfined();

struct Removal : ScratchFolder {
    void SetUp() override {
        ScratchFolder::SetUp();
        if (!RemovalsAreConfined()) GTEST_SKIP() << "a fault here would cost the machine";
    }
};

/*
 * A test with a mutex of its own.
 */
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "platform/posix/lock_file.h"
#include "system_calls.h"

/** A mutex of its own for each test, whose file is removed at the end. */
struct ProcessMutex : testing::Test {
    void SetUp() override {
        name = "zantir test " + std::to_string(plat_system_time()) + std::to_string(plat_counter());
        old_umask = umask(077);
        mutex = plat_mutex_create(name.c_str());
        umask(old_umask);
        ASSERT_TRUE(plat_handle_valid(mutex));
        LockFile file = {};
        ASSERT_TRUE(OpenLockFile(name.c_str(), &file));
        CloseLockFile(&file);
        path = file.path;
    }

    void TearDown() override {
        ResetSystemCalls();
        unlink(path.c_str());
    }

    mode_t old_umask = 0;
    std::string name;
    std::string path;
    plat_handle mutex = 0;
};

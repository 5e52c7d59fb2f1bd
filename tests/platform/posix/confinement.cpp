/*
 * Landlock, from Linux 5.13 on, confines removals to the tests' own temporary folder.
 */
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "removal_folder.h"

namespace fs = std::filesystem;

static bool confined = false;

bool RemovalsAreConfined() {
    return confined;
}

static bool Allow(int ruleset, const fs::path& folder, uint64_t access) {
    landlock_path_beneath_attr rule = {};
    rule.allowed_access = access;
    rule.parent_fd = open(folder.c_str(), O_PATH | O_CLOEXEC);
    if (rule.parent_fd < 0) return false;
    const long result = syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
    close(rule.parent_fd);
    return result == 0;
}

static bool ConfineRemovals(const fs::path& temporary) {
    constexpr uint64_t kFiles = LANDLOCK_ACCESS_FS_REMOVE_FILE;
    constexpr uint64_t kAll = kFiles | LANDLOCK_ACCESS_FS_REMOVE_DIR;
    landlock_ruleset_attr handled = {};
    handled.handled_access_fs = kAll;
    const int ruleset = static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0));
    if (ruleset < 0) return false;
    // The lock's file lies in a folder of the system, and one test cleans it away.
    const bool success = Allow(ruleset, temporary, kAll) && Allow(ruleset, "/run/lock", kFiles) &&
                         prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                         syscall(SYS_landlock_restrict_self, ruleset, 0) == 0;
    close(ruleset);
    return success;
}

namespace {

/** Gives the tests a temporary folder, which stays, and lets them remove nothing outside. */
struct Confinement : testing::Environment {
    void SetUp() override {
        const fs::path temporary =
            fs::temp_directory_path() / ("zantir-platform-" + std::to_string(getuid()));
        fs::create_directories(temporary);
        setenv("TMPDIR", temporary.c_str(), 1);
        confined = ConfineRemovals(temporary);
    }
};

}  // namespace

static const testing::Environment* const confinement = testing::AddGlobalTestEnvironment(new Confinement);

TEST(Confinement, NothingOutsideTheTestsFolderCanBeRemoved) {
    if (!RemovalsAreConfined()) GTEST_SKIP() << "this kernel confines nobody";
    // Not empty, and for the kernel the refusal comes first.
    EXPECT_NE(rmdir(fs::temp_directory_path().parent_path().c_str()), 0);
    EXPECT_THAT(errno, testing::AnyOf(EACCES, EROFS));
}

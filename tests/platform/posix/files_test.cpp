/*
 * Files where Unix differs: what the removal must not touch, kinds of files, descriptors, order.
 */
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>
#include <thread>
#include <vector>

#include "platform/posix/last_error.h"
#include "platform/posix/path.h"
#include "scratch_folder.h"

namespace fs = std::filesystem;

struct UnixFiles : ScratchFolder {};

TEST_F(UnixFiles, KindsOfFiles) {
    plat_file_status status = {};
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    ASSERT_TRUE(plat_file_query("pipe", &status));
    EXPECT_EQ(status.mode & PLAT_MODE_FORMAT, PLAT_MODE_PIPE);
    ASSERT_TRUE(plat_file_query("/dev/null", &status));
    EXPECT_EQ(status.mode & PLAT_MODE_FORMAT, PLAT_MODE_CHARACTER);
    if (mknod("block", S_IFBLK | 0600, 0) == 0) {
        ASSERT_TRUE(plat_file_query("block", &status));
        EXPECT_EQ(status.mode & PLAT_MODE_FORMAT, PLAT_MODE_BLOCK);
        EXPECT_EQ(status.mode & 0777u, 0600u);
    }
}

TEST_F(UnixFiles, APipeIsNotWrittenToEvenWithAReader) {
    // The reader may go between two lines of a log, which would end the program.
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(plat_append_open("pipe"), -1);
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
    SetLastErrorCode(0);
    EXPECT_FALSE(plat_append_text("pipe", "x", 1));
    EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED);
    for (const char* mode : {"a", "w", "w+"}) {
        SetLastErrorCode(0);
        EXPECT_EQ(plat_file_open("pipe", mode), nullptr) << mode;
        EXPECT_EQ(plat_last_error(), PLAT_ERROR_ACCESS_DENIED) << mode;
    }
    close(reader);
}

TEST_F(UnixFiles, TheAppendFileIsItsOwners) {
    const int descriptor = plat_append_open("log");
    ASSERT_GT(descriptor, 0);
    plat_append_close(descriptor);
    plat_file_status status = {};
    ASSERT_TRUE(plat_file_query("log", &status));
    EXPECT_EQ(status.mode & 0777u, 0600u);
}

TEST_F(UnixFiles, AFullDiskIsNotASuccess) {
    plat_file* file = plat_file_open("/dev/full", "a");
    ASSERT_NE(file, nullptr);
    plat_file_write(file, "x", 1);
    EXPECT_FALSE(plat_file_close(file));
    const int descriptor = plat_append_open("/dev/full");
    ASSERT_GT(descriptor, 0);
    EXPECT_FALSE(plat_append_write(descriptor, "x", 1));
    plat_append_close(descriptor);
    EXPECT_FALSE(plat_append_text("/dev/full", "x", 1));
}

TEST_F(UnixFiles, SearchIsSortedAndHoldsNoDescriptor) {
    for (const char* name : {"c.txt", "a.txt", "b.txt"}) {
        WriteText(name, "");
    }
    const auto descriptors = [] {
        const fs::directory_iterator open_ones("/proc/self/fd");
        return std::distance(begin(open_ones), end(open_ones));
    };
    const auto count_before = descriptors();
    char name[64] = "";
    const plat_handle search = plat_find_open("*.txt", name, sizeof name);
    EXPECT_EQ(descriptors(), count_before);
    EXPECT_STREQ(name, "a.txt");
    ASSERT_TRUE(plat_find_next(search, name, sizeof name));
    EXPECT_STREQ(name, "b.txt");
    ASSERT_TRUE(plat_find_next(search, name, sizeof name));
    EXPECT_STREQ(name, "c.txt");
    EXPECT_FALSE(plat_find_next(search, name, sizeof name));
    plat_find_close(search);
    EXPECT_FALSE(plat_find_next(search, name, sizeof name));
}

TEST_F(UnixFiles, PatternsKnowStarsAndQuestionMarksAlone) {
    EXPECT_TRUE(MatchesPattern("a.txt", "*.txt"));
    EXPECT_TRUE(MatchesPattern("", "*"));
    EXPECT_TRUE(MatchesPattern("ab.txt.txt", "*.txt"));
    EXPECT_TRUE(MatchesPattern("axbxc", "a*b*c"));
    EXPECT_TRUE(MatchesPattern("[a]", "[a]"));
    EXPECT_TRUE(MatchesPattern("ab", "a?"));
    EXPECT_FALSE(MatchesPattern("a", "a?"));
    EXPECT_FALSE(MatchesPattern("a", "[a]"));
    EXPECT_FALSE(MatchesPattern("a.txt2", "*.txt"));
    EXPECT_FALSE(MatchesPattern("a", ""));
}

TEST(UnixErrors, ReadAsTheEngineKnowsThem) {
    const std::pair<int, uint32_t> kRows[] = {{ENOENT, 2}, {ENODEV, 2}, {ENXIO, 2},   {EBUSY, 5},
                                              {EACCES, 5}, {EPERM, 5},  {EINVAL, 22}, {EIO, 1117}};
    for (const auto& [error, code] : kRows) {
        SetLastErrno(error);
        EXPECT_EQ(plat_last_error(), code) << error;
    }
    char* text = plat_error_text(5);
    EXPECT_STREQ(text, "Permission denied");
    plat_free(text);
    text = plat_error_text(1117);
    EXPECT_STREQ(text, "Input/output error");
    plat_free(text);
}

TEST(UnixText, CommonDataFolderIsTheSystems) {
    char path[16] = "";
    ASSERT_TRUE(plat_common_data_folder(path, 9));
    EXPECT_STREQ(path, "/var/lib");
}

TEST_F(UnixFiles, TextsAppendedAtTheSameTimeStayWhole) {
    constexpr int kLines = 200;
    std::vector<std::thread> threads;
    for (const char letter : {'a', 'b'}) {
        threads.emplace_back([letter] {
            const std::string line = std::string(3000, letter) + "\n";
            for (int i = 0; i < kLines; ++i)
                EXPECT_TRUE(plat_append_text("t", line.data(), line.size()));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    std::istringstream lines(ReadText("t"));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        ASSERT_TRUE(line == std::string(3000, line[0])) << "line " << count;
    EXPECT_EQ(count, 2 * kLines);
}

/*
 * A file's content replaced as a whole, where Unix differs; and files that would make an open wait.
 */
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <string>

#include "scratch_folder.h"

namespace fs = std::filesystem;

struct UnixReplace : ScratchFolder {
    static bool Put(const char* path, const std::string& text) {
        return plat_file_replace(path, text.data(), text.size());
    }
    static mode_t ModeOf(const char* path) {
        struct stat status = {};
        return stat(path, &status) == 0 ? status.st_mode & 07777 : 0;
    }
};

TEST_F(UnixReplace, TheFileBehindALinkIsReplacedAndTheLinkStays) {
    fs::create_directory("etc");
    WriteText("etc/SAT.ini", "old");
    fs::create_symlink("etc/SAT.ini", "SAT.ini");
    EXPECT_TRUE(Put("SAT.ini", "new"));
    EXPECT_TRUE(fs::is_symlink("SAT.ini"));
    EXPECT_EQ(ReadText("etc/SAT.ini"), "new");
}

TEST_F(UnixReplace, PermissionsStayAndANewFileGetsTheUsualOnes) {
    WriteText("old", "1");
    ASSERT_EQ(chmod("old", 0640), 0);
    EXPECT_TRUE(Put("old", "2"));
    EXPECT_EQ(ModeOf("old"), 0640u);
    const mode_t mask = umask(027);
    EXPECT_TRUE(Put("new", "1"));
    umask(mask);
    EXPECT_EQ(ModeOf("new"), 0640u);
}

TEST_F(UnixReplace, AKilledProcessLeavesTheOldContentOrTheNewOne) {
    const std::string old(3000, 'o');
    const std::string fresh(200000, 'n');
    WriteText("SAT.ini", old);
    std::mt19937 random(20261120);
    size_t replaced = 0;
    for (int round = 0; round < 60; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (;;) {
                Put("SAT.ini", fresh);
                Put("SAT.ini", old);
            }
        }
        usleep(static_cast<useconds_t>(random() % 4000));
        kill(child, SIGKILL);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);
        const std::string found = ReadText("SAT.ini");
        ASSERT_TRUE(found == old || found == fresh) << "round " << round << ": " << found.size() << " bytes";
        replaced += found == fresh ? 1U : 0U;
    }
    RecordProperty("new_content_found", static_cast<int>(replaced));
}

TEST_F(UnixReplace, APipeOrADeviceUnderTheNameIsNotReplaced) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    EXPECT_FALSE(Put("pipe", "text"));
    EXPECT_TRUE(fs::is_fifo("pipe"));
    EXPECT_FALSE(Put("/dev/null", "text"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(UnixReplace, APipeUnderAFilesNameMakesNoOpenWait) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    // Were one of these to wait, the alarm would end the test.
    alarm(20);
    char text[4] = "";
    size_t length = 0;
    EXPECT_FALSE(plat_read_text("pipe", text, sizeof text, &length));
    EXPECT_EQ(plat_file_open("pipe", "a"), nullptr);
    EXPECT_EQ(plat_file_open("pipe", "w"), nullptr);
    EXPECT_EQ(plat_append_open("pipe"), -1);
    EXPECT_FALSE(plat_append_text("pipe", "x", 1));
    alarm(0);
}

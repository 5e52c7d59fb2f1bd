#include <unistd.h>

#include <climits>
#include <ctime>
#include <set>
#include <string>
#include <vector>

#include "scratch_folder.h"

struct Files : ScratchFolder {};

TEST_F(Files, StatusOfAFileAFolderAndNothing) {
    WriteText("a.txt", "12345");
    std::filesystem::create_directory("sub");
    plat_file_status status = {};
    ASSERT_TRUE(plat_file_query("a.txt", &status));
    EXPECT_EQ(status.mode & PLAT_MODE_FORMAT, PLAT_MODE_REGULAR);
    EXPECT_EQ(status.size, 5);
    EXPECT_NEAR(static_cast<double>(status.modified - time(nullptr)), 0, 5);
    ASSERT_TRUE(plat_file_query(".\\sub", &status));
    EXPECT_EQ(status.mode & PLAT_MODE_FORMAT, PLAT_MODE_DIRECTORY);
    EXPECT_FALSE(plat_file_query("b.txt", &status));
    EXPECT_FALSE(plat_file_query(std::string(100000, 'x').c_str(), &status));
}

TEST_F(Files, FoldersAreCreatedOneLevelAtATime) {
    EXPECT_FALSE(plat_create_folder("a\\b"));
    EXPECT_TRUE(plat_create_folder("a"));
    EXPECT_FALSE(plat_create_folder("a"));
    EXPECT_TRUE(plat_create_folder("a\\b"));
    EXPECT_TRUE(plat_create_folder("a/c"));
    EXPECT_TRUE(std::filesystem::is_directory("a/b"));
    EXPECT_TRUE(std::filesystem::is_directory("a/c"));
}

TEST_F(Files, MovingNeverReplaces) {
    WriteText("a", "first");
    WriteText("b", "second");
    EXPECT_FALSE(plat_move_file("a", "b"));
    EXPECT_EQ(ReadText("a"), "first");
    EXPECT_EQ(ReadText("b"), "second");
    EXPECT_TRUE(plat_move_file("a", ".\\c"));
    EXPECT_FALSE(std::filesystem::exists("a"));
    EXPECT_EQ(ReadText("c"), "first");
    EXPECT_FALSE(plat_move_file("a", "d"));
}

TEST_F(Files, RemovingTakesFilesAlone) {
    WriteText("a", "");
    std::filesystem::create_directory("sub");
    EXPECT_TRUE(plat_remove_file("a"));
    EXPECT_FALSE(std::filesystem::exists("a"));
    EXPECT_FALSE(plat_remove_file("a"));
    EXPECT_FALSE(plat_remove_file("sub"));
    EXPECT_TRUE(std::filesystem::exists("sub"));
}

static void WriteFile(const char* path, const char* mode, const std::string& text) {
    plat_file* file = plat_file_open(path, mode);
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(plat_file_write(file, text.data(), text.size()));
    EXPECT_TRUE(plat_file_close(file));
}

TEST_F(Files, ModesOfOpening) {
    WriteFile("t", "w", "one\n");
    WriteFile("t", "a", "two\n");
    EXPECT_EQ(ReadText("t"), "one\ntwo\n");
    WriteFile("t", "w+", "three\n");
    EXPECT_EQ(ReadText("t"), "three\n");
    EXPECT_EQ(plat_file_open("no/such/folder", "w"), nullptr);
    std::filesystem::create_directory("sub");
    EXPECT_EQ(plat_file_open("sub", "w"), nullptr);
    EXPECT_EQ(plat_file_open("sub", "a"), nullptr);
}

TEST_F(Files, ReadingGivesWhatFitsAndWhatIsThere) {
    char text[16] = "";
    size_t length = 7;
    EXPECT_FALSE(plat_read_text("t", text, sizeof text, &length));
    WriteText("t", "ab;cd;");
    EXPECT_TRUE(plat_read_text("t", text, 4, &length));
    EXPECT_EQ(length, 4u);
    EXPECT_STREQ(text, "ab;c");
    bool whole = false;
    EXPECT_TRUE(plat_read_text(".\\t", text, sizeof text, &length, &whole));
    EXPECT_TRUE(whole);
    EXPECT_EQ(length, 6u);
    EXPECT_STREQ(text, "ab;cd;");
    EXPECT_TRUE(plat_read_text("t", text, 0, &length));
    EXPECT_EQ(length, 0u);
    std::filesystem::create_directory("sub");
    EXPECT_FALSE(plat_read_text("sub", text, sizeof text, &length));
    EXPECT_FALSE(plat_read_text("sub\\missing", text, sizeof text, &length));
    EXPECT_FALSE(plat_read_text(std::string(100000, 'x').c_str(), text, sizeof text, &length));
}

// The runtime's own text mode is what the library's has to agree with.
TEST_F(Files, TextIsReadAsTheSystemsTextModeDoes) {
    const std::string texts[] = {"",
                                 "\r",
                                 "\n",
                                 "\r\n",
                                 "a\r\nb\r\n\r\nc\r",
                                 "a\rb\n\rc\r\r\nd",
                                 std::string("a\0b\r\n\0", 6),
                                 "a\r\n\x1A"
                                 "b\r\n",
                                 "a\r\x1A\n"};
    for (const std::string& bytes : texts) {
        WriteText("t", bytes);
        std::string text(bytes.size() + 3, '\0');
        size_t length = 0;
        ASSERT_TRUE(plat_read_text("t", text.data(), text.size(), &length));
        EXPECT_EQ(text.substr(0, length), ReadText("t"));
        EXPECT_EQ(text.substr(length), std::string(text.size() - length, '\0'));
    }
}

TEST_F(Files, AFileIsSharedWhileItIsWritten) {
    plat_file* first = plat_file_open("t", "a");
    plat_file* second = plat_file_open("t", "a");
    plat_file* third = plat_file_open("t", "a");
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    plat_file_write(first, "1", 1);
    EXPECT_TRUE(plat_file_close(first));
    plat_file_write(second, "2", 1);
    EXPECT_TRUE(plat_file_close(second));
    char text[8] = "";
    size_t length = 0;
    EXPECT_TRUE(plat_read_text("t", text, sizeof text, &length));
    EXPECT_STREQ(text, "12");
    EXPECT_TRUE(plat_file_close(third));
}

TEST_F(Files, FormattedTextIsTheSameEverywhere) {
    plat_file* file = plat_file_open("t", "w");
    ASSERT_NE(file, nullptr);
    const char* nothing = nullptr;
    EXPECT_TRUE(
        Print(file, "[%06d][%s][%zu][%lld][%08Xh]\n", -1006, nothing, sizeof(int64_t), LLONG_MAX, 0xABu));
    const std::string big(20000, 'b');
    EXPECT_TRUE(Print(file, "%s", big.c_str()));
    EXPECT_TRUE(plat_file_close(file));
    EXPECT_EQ(ReadText("t"), "[-01006][(null)][8][9223372036854775807][000000ABh]\n" + big);
}

TEST_F(Files, AppendingTextMakesTheFileAndKeepsWhatItHas) {
    EXPECT_TRUE(plat_append_text("t", "", 0));
    EXPECT_EQ(ReadText("t"), "");
    EXPECT_TRUE(plat_append_text(".\\t", "one\ntwo", 7));
    EXPECT_TRUE(plat_append_text("t", "\n\nthree\n", 8));
    EXPECT_EQ(ReadText("t"), "one\ntwo\n\nthree\n");
    EXPECT_FALSE(plat_append_text("no\\such\\folder", "x", 1));
    std::filesystem::create_directory("sub");
    EXPECT_FALSE(plat_append_text("sub", "x", 1));
    EXPECT_FALSE(plat_append_text(std::string(100000, 'x').c_str(), "x", 1));
}

// Both kinds of appending end each line as the text mode of the system does, wherever a buffer of theirs
// ends.
TEST_F(Files, AppendedTextHasTheSystemsLineEnds) {
    const std::string end = LineEnd();
    for (const size_t length :
         {0U,     1U,     1020U,  1021U,  1022U,  1023U,  1024U,  2047U,  8191U,  32762U,
          32765U, 32766U, 32767U, 32768U, 65530U, 65533U, 65534U, 65535U, 65536U, 200000U}) {
        const std::string line(length, 'x');
        for (const std::string behind : {"", "y", "\r"}) {
            const std::string text = line + "\n\n" + behind;
            ASSERT_TRUE(plat_append_text("t", text.data(), text.size()));
            const int descriptor = plat_append_open("d");
            EXPECT_TRUE(plat_append_write(descriptor, text.data(), text.size()));
            plat_append_close(descriptor);
            const std::string expected = line + end + end + behind;
            EXPECT_TRUE(ReadBytes("t") == expected) << length;
            EXPECT_TRUE(ReadBytes("d") == expected) << length;
            std::filesystem::remove("t");
            std::filesystem::remove("d");
        }
    }
}

TEST_F(Files, AppendingByDescriptor) {
    for (const char* text : {"one\n", "two\n"}) {
        const int descriptor = plat_append_open("t");
        ASSERT_GT(descriptor, 0);
        EXPECT_TRUE(plat_append_write(descriptor, text, 4));
        EXPECT_TRUE(plat_append_write(descriptor, text, 0));
        plat_append_close(descriptor);
        EXPECT_FALSE(plat_append_write(-1, text, 4));
    }
    EXPECT_EQ(ReadText("t"), "one\ntwo\n");
    EXPECT_EQ(plat_append_open("no\\such\\folder"), -1);
}

TEST_F(Files, TheAppendDescriptorIsNeverZero) {
    const int kept = dup(0);
    close(0);
    const int descriptor = plat_append_open("t");
    EXPECT_GT(descriptor, 0);
    EXPECT_TRUE(plat_append_write(descriptor, "x", 1));
    plat_append_close(descriptor);
    if (kept >= 0) {
        dup2(kept, 0);
        close(kept);
    }
    EXPECT_EQ(ReadText("t"), "x");
}

TEST_F(Files, SearchGivesEveryMatchOnce) {
    std::filesystem::create_directory("Log");
    for (const char* name : {"b.txt", "a.txt", "c.txt", "d.log", "etxt"}) {
        WriteText(std::string("Log/") + name, "");
    }
    char name[64] = "";
    std::set<std::string> names;
    const plat_handle search = plat_find_open("Log/*.txt", name, sizeof name);
    ASSERT_TRUE(plat_handle_valid(search));
    do {
        EXPECT_TRUE(names.insert(name).second) << name;
    } while (plat_find_next(search, name, sizeof name));
    plat_find_close(search);
    EXPECT_EQ(names, (std::set<std::string>{"a.txt", "b.txt", "c.txt"}));
}

TEST_F(Files, SearchWithoutAMatch) {
    char name[64] = "";
    EXPECT_EQ(plat_find_open("Log/*.txt", name, sizeof name), PLAT_INVALID_HANDLE);
    std::filesystem::create_directory("Log");
    EXPECT_EQ(plat_find_open("Log\\*.txt", name, sizeof name), PLAT_INVALID_HANDLE);
}

TEST_F(Files, SearchCutsALongName) {
    WriteText("abcdefgh.txt", "");
    char name[5] = "";
    const plat_handle search = plat_find_open("*.txt", name, sizeof name);
    ASSERT_TRUE(plat_handle_valid(search));
    EXPECT_STREQ(name, "abcd");
    EXPECT_FALSE(plat_find_next(search, name, sizeof name));
    plat_find_close(search);
}

TEST_F(Files, SearchesLeftOpenHurtNobody) {
    WriteText("a.txt", "");
    char name[64] = "";
    std::vector<plat_handle> searches;
    for (int count = 0; count < 3000; ++count) {
        searches.push_back(plat_find_open("*.txt", name, sizeof name));
        ASSERT_TRUE(plat_handle_valid(searches.back())) << count;
        ASSERT_STREQ(name, "a.txt");
    }
    for (const plat_handle search : searches) {
        plat_find_close(search);
    }
}

TEST_F(Files, CommonDataFolder) {
    char path[512] = "";
    ASSERT_TRUE(plat_common_data_folder(path, sizeof path));
    EXPECT_TRUE(std::filesystem::path(path).is_absolute()) << path;
    char small[4] = "abc";
    EXPECT_FALSE(plat_common_data_folder(small, sizeof small));
    EXPECT_STREQ(small, "abc");
}

/*
 * The INI routines against a second formulation of their rules, on random files of a nasty alphabet.
 */
#include <optional>
#include <random>

#include "logged_library.h"

namespace {

using namespace std::string_literals;

constexpr size_t kNowhere = std::string::npos;

/** What the reader sees of a file as a text: all up to its first NUL. */
std::string Visible(const std::string& file) {
    return file.substr(0, file.find('\0'));
}

struct Reading {
    int rc;
    std::string value;
    bool cut = false;
};

/** Reads the rules one after the other. */
Reading ReadByTheRules(const std::string& file, const std::string& section, const std::string& item,
                       size_t room) {
    if (file.empty()) return {-301, ""};
    const std::string text = Visible(file);
    const std::string header = "[" + section + "]";
    const size_t headerAt = text.find(header);
    if (headerAt == kNowhere) return {-304, ""};
    size_t at = headerAt + header.size();
    while (at < text.size() && text[at] != '[' && text.substr(at, item.size()) != item)
        ++at;
    if (at >= text.size() || text[at] == '[') return {-305, ""};
    std::string value;
    for (at += item.size(); at < text.size() && text[at] != '\n'; ++at) {
        const size_t looked = headerAt + at;
        if (looked < file.size() && file[looked] == '\r') break;
        if (text[at] != '=' && text[at] != ' ') value += text[at];
    }
    const auto strip = [](std::string line) { return line.substr(0, line.find_last_not_of("\r\n") + 1); };
    const bool cut = strip(value).size() > room;
    return {0, strip(value.substr(0, room)), cut};
}

/** Writes the rules one after the other. `file` is nothing when there is none. */
int WriteByTheRules(std::optional<std::string>* file, const std::string& section, const std::string& item,
                    const std::string& value) {
    const std::string header = "[" + section + "]";
    const std::string line = value.empty() ? "-\n" : item + "=" + value + "\n";
    if (!file->has_value()) {
        const bool both = !item.empty() && !value.empty();
        *file = header + "\n" + (both ? line : "");
        return both ? 4 : 2;
    }
    std::string& whole = **file;
    const std::string text = Visible(whole);
    const size_t headerAt = text.find(header);
    if (headerAt == kNowhere) {
        whole += "\n" + header + "\n" + (item.empty() ? "" : line);
        return item.empty() ? 2 : value.empty() ? 8 : 4;
    }
    if (item.empty()) return 2;
    for (size_t at = headerAt + header.size();; ++at) {
        at = std::min(text.find_first_not_of("= ", at), text.size());
        if (at == text.size()) {
            if (value.empty()) return 8;
            whole += line;
            return 7;
        }
        if (text[at] == '[') {
            whole = text.substr(0, at - 1) + line;
            return 7;
        }
        if (text.compare(at, item.size(), item) != 0) continue;
        const auto lineEnd = [&text](size_t from) {
            return std::min(text.find_first_of("\r\n", from), text.size());
        };
        size_t from = at + item.size();
        if (lineEnd(from) != from) ++from;
        const size_t end = lineEnd(from);
        if (value.empty()) {
            whole.replace(at, end - at, std::string(end - at, ' '));
            return 5;
        }
        if (text.substr(from, end - from) == value) return 0;
        std::string put = value;
        if (put.size() < end - from) put.resize(end - from, ' ');
        whole.replace(from, end - from, put);
        return 5;
    }
}

class IniRandom : public Library {
  protected:
    std::string Pick(const std::vector<std::string>& pieces) { return pieces[random() % pieces.size()]; }

    std::string RandomFile() {
        static const std::vector<std::string> pieces = {"[",    "]",     "=",     " ",    "\n",  "\r",
                                                        "\r\n", "A",     "B",     "AB",   "S",   "T",
                                                        "[S]",  "[S]\n", "[T]\n", "#",    "%",   "-",
                                                        "\t",   "A=",    "B=",    "A =",  "x",   "12345",
                                                        "\0"s,  "[]",    "\nA=1", "A=AA", "\xE7"};
        std::string file = Pick({"", "[S]", "#\n[S]\n", "[S]\nA=1\n"});
        for (size_t left = random() % 30; left > 0; --left)
            file += Pick(pieces);
        return file;
    }

    std::mt19937 random{4242};
};

TEST_F(IniRandom, TheReaderAgreesWithItsRules) {
    size_t found = 0;
    for (int round = 0; round < 100000; ++round) {
        const std::string file = RandomFile();
        const std::string section = Pick({"S", "T", "", "A", "S]"});
        const std::string item = Pick({"A", "B", "AB", "", "S", "=", "A=", "\n", "x"});
        const size_t room = random() % 8;
        World().files.SetText("r.ini", file);
        std::string buffer(room + 1, '?');
        const int rc =
            VKO_GetIniFileValueSized("r.ini", section.c_str(), item.c_str(), buffer.data(), room + 1);
        const Reading expected = ReadByTheRules(file, section, item, room);
        ASSERT_EQ(rc, expected.rc) << testing::PrintToString(file) << section << " " << item;
        ASSERT_STREQ(buffer.c_str(), expected.value.c_str())
            << testing::PrintToString(file) << section << " " << item;
        found += rc == 0 ? 1 : 0;
    }
    EXPECT_GT(found, 3000U);
}

TEST_F(IniRandom, TheReaderReportsACutValueAndNoOther) {
    LogAtMode('2');
    size_t cuts = 0;
    for (int round = 0; round < 10000; ++round) {
        const std::string file = "[S]\n" + RandomFile();
        const size_t room = random() % 5;
        World().files.SetText("r.ini", file);
        World().files.Remove("Log\\20261120_SAT_api.log");
        std::string buffer(room + 1, '?');
        VKO_GetIniFileValueSized("r.ini", "S", "A", buffer.data(), room + 1);
        const bool cut = ReadByTheRules(file, "S", "A", room).cut;
        ASSERT_EQ(CountOf(DiagnosticLog(), "TOO LONG"), cut ? 1U : 0U) << testing::PrintToString(file);
        cuts += cut ? 1 : 0;
    }
    EXPECT_GT(cuts, 500U);
}

TEST_F(IniRandom, TheWriterAgreesWithItsRules) {
    std::vector<int> results(9);
    for (int round = 0; round < 100000; ++round) {
        std::optional<std::string> expected;
        World().files.Remove("r.ini");
        if (random() % 10 != 0) {
            expected = RandomFile();
            World().files.SetText("r.ini", *expected);
        }
        const std::string before = expected.value_or("(none)");
        const std::string section = Pick({"S", "T", ""});
        const std::string item = Pick({"A", "B", "AB", "", "x"});
        const std::string value = Pick({"", "1", "A", "12345", "a much longer value than before", "=", " "});
        const int rc = VKO_SetIniFileValue("r.ini", section.c_str(), item.empty() ? nullptr : item.c_str(),
                                           value.empty() ? nullptr : value.c_str());
        const int expected_rc = WriteByTheRules(&expected, section, item, value);
        ASSERT_EQ(rc, expected_rc) << testing::PrintToString(before) << section << " " << item << " "
                                   << value;
        ASSERT_EQ(FileText("r.ini"), *expected)
            << testing::PrintToString(before) << section << " " << item << " " << value;
        ++results[static_cast<size_t>(rc)];
    }
    for (const int rc : {0, 2, 4, 5, 7, 8})
        EXPECT_GT(results[static_cast<size_t>(rc)], 20) << rc;
}

}  // namespace

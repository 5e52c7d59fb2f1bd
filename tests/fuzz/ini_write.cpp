/*
 * VKO_SetIniFileValue on any file, several changes one after the other. After each the file is compared with
 * what the rules make of it, and read back.
 */
#include <optional>

#include "ini_rules.h"
#include "machine.h"

using fuzz::ExpectEqual;

namespace {

constexpr char kFile[] = "any.ini";

/** A file, or none. */
using File = std::optional<std::string>;

/** From `at` to the end of its line. */
size_t LineEnd(const std::string& text, size_t at) {
    return std::min(text.find_first_of("\r\n", at), text.size());
}

/** Changes the value of the item whose name begins at `at`. */
int ChangeByTheRules(std::string& file, size_t at, const std::string& item, const std::string& value) {
    const std::string text = fuzz::IniText(file);
    const size_t behind_name = at + item.size();
    const size_t from = behind_name < LineEnd(text, behind_name) ? behind_name + 1 : behind_name;
    const std::string old = text.substr(from, LineEnd(text, from) - from);
    if (value.empty()) {
        const size_t end = from + old.size();
        file.replace(at, end - at, end - at, ' ');
        return 5;
    }
    if (old == value) return 0;
    const size_t blanks = old.size() > value.size() ? old.size() - value.size() : 0;
    file.replace(from, old.size(), value + std::string(blanks, ' '));
    return 5;
}

/** Makes the change in the file, and gives the result. Item and value are empty where there are none. */
int WriteByTheRules(File& file, const std::string& section, const std::string& item,
                    const std::string& value) {
    const std::string line = item + "=" + value + "\n";
    const bool has_both = !item.empty() && !value.empty();
    if (!file) {
        file = "[" + section + "]\n" + (has_both ? line : "");
        return has_both ? 4 : 2;
    }
    const std::string text = fuzz::IniText(*file);
    size_t at = fuzz::IniSectionBody(text, section);
    if (at == std::string::npos) {
        *file += "\n[" + section + "]\n" + (has_both ? line : item.empty() ? "" : "-\n");
        return has_both ? 4 : item.empty() ? 2 : 8;
    }
    if (item.empty()) return 2;
    for (at = text.find_first_not_of("= ", at); at < text.size() && text[at] != '[';
         at = text.find_first_not_of("= ", at + 1)) {
        if (text.compare(at, item.size(), item) == 0) return ChangeByTheRules(*file, at, item, value);
    }
    if (at < text.size()) {
        // The line takes the place of the character in front of the next section, and of all behind it.
        file = text.substr(0, at - 1) + (has_both ? line : "-\n");
        return 7;
    }
    if (!has_both) return 8;
    *file += line;
    return 7;
}

/** NULL for an empty text now and then: both mean that there is none. */
const char* Argument(const std::string& text, bool null) {
    return text.empty() && null ? nullptr : text.c_str();
}

bool IsPlain(const std::string& text) {
    return !text.empty() && text.find_first_of("[]= \r\n") == std::string::npos;
}

/** A section that is created with an item is found again with its value. */
void CheckReadBack(const std::string& before, const std::string& section, const std::string& item,
                   const std::string& value) {
    const bool odd_file = before.find_first_of(std::string("\0\r", 2)) != std::string::npos;
    if (odd_file || !IsPlain(section) || !IsPlain(item) || !IsPlain(value)) return;
    std::string buffer(value.size() + 1, '?');
    ExpectEqual("the item is found again",
                VKO_GetIniFileValueSized(kFile, section.c_str(), item.c_str(), buffer.data(), buffer.size()),
                0);
    ExpectEqual("its value", std::string(buffer.c_str()), value);
}

void ChangeOnce(fuzz::Input& input, File& expected) {
    const std::string section = input.PickValueInArray(fuzz::kSections);
    const std::string item = input.ConsumeBool() ? std::string(input.PickValueInArray(fuzz::kItems))
                                                 : input.ConsumeRandomLengthString(12);
    const std::string value = input.ConsumeRandomLengthString(300);
    const std::string item_text = item.substr(0, item.find('\0'));
    const std::string value_text = value.substr(0, value.find('\0'));
    const std::string before = expected.value_or("");

    const int wanted = WriteByTheRules(expected, section, item_text, value_text);
    const bool null = input.ConsumeBool();
    const int result =
        VKO_SetIniFileValue(kFile, section.c_str(), Argument(item_text, null), Argument(value_text, null));
    ExpectEqual("the result", result, wanted);
    ExpectEqual("there is a file", sim::world().files.Exists(kFile), expected.has_value());
    ExpectEqual("the file", sim::world().files.Text(kFile), expected.value_or(""));
    if (result == 4) CheckReadBack(before, section, item_text, value_text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const unsigned setup = input.ConsumeIntegral<uint8_t>();
    fuzz::FreshMachine(setup % 8 == 7 ? '5' : '0');
    File expected;
    if (setup % 16 != 8) {
        expected = input.ConsumeRandomLengthString(3000);
        sim::world().files.SetText(kFile, *expected);
    }
    for (int change = 0; change < 4; ++change)
        ChangeOnce(input, expected);
    ExpectEqual("allocations", sim::world().LiveAllocations(), int64_t{0});
    ExpectEqual("open files", sim::world().files.OpenFiles(), size_t{0});
    return 0;
}

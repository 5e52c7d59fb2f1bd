/*
 * VKO_GetIniFileValue and its bounded variant on any file.
 */
#include "ini_rules.h"
#include "machine.h"

using fuzz::ExpectEqual;

namespace {

/** A name out of the lists, or a piece of the file itself, which a search then finds. */
std::string Name(const char* listed, unsigned place, const std::string& file) {
    if (place < 0x8000 || file.empty()) return listed;
    const std::string piece = file.substr(place / 8 % file.size(), place % 8);
    return piece.substr(0, piece.find('\0'));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const char* const listed_section = input.PickValueInArray(fuzz::kSections);
    const char* const listed_item = input.PickValueInArray(fuzz::kItems);
    const size_t room = input.ConsumeIntegral<uint8_t>() % 40;
    const bool logged = input.ConsumeIntegral<uint8_t>() % 8 == 7;
    // Where in the file the names are taken from; the last of the numbers, so that the rest is the file.
    const auto section_place = input.ConsumeIntegral<uint16_t>();
    const auto item_place = input.ConsumeIntegral<uint16_t>();
    const std::string file = input.ConsumeRemainingBytesAsString();
    const std::string section = Name(listed_section, section_place, file);
    const std::string item = Name(listed_item, item_place, file);

    fuzz::FreshMachine(logged ? '5' : '0');
    sim::world().files.SetText("any.ini", file);
    const fuzz::IniReading whole = fuzz::IniReadByTheRules(file, section, item);
    const fuzz::IniReading cut = fuzz::IniReadByTheRules(file, section, item, room);

    std::string buffer(file.size() + 1, '?');
    ExpectEqual("the result", VKO_GetIniFileValue("any.ini", section.c_str(), item.c_str(), buffer.data()),
                whole.rc);
    ExpectEqual("the value", std::string(buffer.c_str()), whole.value);

    buffer.assign(room + 1, '?');
    buffer.shrink_to_fit();
    ExpectEqual(
        "the bounded result",
        VKO_GetIniFileValueSized("any.ini", section.c_str(), item.c_str(), buffer.data(), buffer.size()),
        cut.rc);
    ExpectEqual("the bounded value", std::string(buffer.c_str()), cut.value);

    ExpectEqual("the file is left alone", sim::world().files.Text("any.ini"), file);
    ExpectEqual("allocations", sim::world().LiveAllocations(), int64_t{0});
    ExpectEqual("open files", sim::world().files.OpenFiles(), size_t{0});
    return 0;
}

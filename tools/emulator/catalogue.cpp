#include "catalogue.h"

#include <algorithm>

#include "../../src/vko_sat_utils/return_codes.h"
#include "../../src/vko_utils/base64.h"

namespace emulator {

std::string ReturnMessage(int code) {
    const char* message = SAT_Get_RetCodeMessage(code, nullptr);
    return message == nullptr ? std::string() : message;
}

bool IsCatalogued(int code) {
    return std::any_of(tSatRetCodeTbl, tSatRetCodeTbl + SAT_RET_CODE_COUNT,
                       [&](const tSatRetCodeRow& row) { return row.iCode == code; });
}

std::string ToBase64(std::string_view bytes) {
    // The encoder takes no bytes for an error, and writes a NUL behind its text.
    if (bytes.empty()) return {};
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    uint64_t length = 0;
    VKO_Base64Encoder(bytes.data(), bytes.size(), text.data(), &length);
    text.resize(length);
    return text;
}

}  // namespace emulator

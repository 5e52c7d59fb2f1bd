#include "catalogue.h"

#include "../../src/vko_sat_utils/return_codes.h"

namespace emulator {

std::string ReturnMessage(int code) {
    const char* message = SAT_Get_RetCodeMessage(code, nullptr);
    return message == nullptr ? std::string() : message;
}

// TEMPORARY until VKO_Base64Encoder lands.
std::string ToBase64(std::string_view bytes) {
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        unsigned group = 0;
        for (size_t k = 0; k < 3; ++k) {
            group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (size_t k = 0; k < 4; ++k) {
            out += i + k <= bytes.size() ? alphabet[group >> (18 - 6 * k) & 63] : '=';
        }
    }
    return out;
}

}  // namespace emulator

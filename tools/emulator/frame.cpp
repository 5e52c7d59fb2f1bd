#include "frame.h"

namespace emulator {

uint8_t FrameSum(std::string_view text) {
    unsigned sum = 0;
    for (const char byte : text) {
        sum += static_cast<unsigned char>(byte);
    }
    const auto low = static_cast<uint8_t>(sum & 0xFF);
    return low == ETX ? static_cast<uint8_t>(ETX + 1) : low;
}

std::string BuildFrame(std::string_view text) {
    std::string frame;
    frame.reserve(text.size() + 3);
    frame += STX;
    frame += text;
    frame += static_cast<char>(FrameSum(text));
    frame += ETX;
    return frame;
}

}  // namespace emulator

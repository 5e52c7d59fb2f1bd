#include "sim_devices.h"

#include <cstdio>

namespace sim {

uint8_t FrameChecksum(std::string_view text) {
    uint8_t sum = 0;
    for (const char byte : text)
        sum = static_cast<uint8_t>(sum + static_cast<uint8_t>(byte));
    return sum == kEtx ? kEtx + 1 : sum;
}

std::string MakeFrame(std::string_view text) {
    std::string frame(1, kStx);
    frame += text;
    frame += static_cast<char>(FrameChecksum(text));
    frame += kEtx;
    return frame;
}

}  // namespace sim

/*
 * The simulated machine as the targets use it.
 */
#pragma once

#include <cstddef>
#include <string>

#include "api/ZANTIR.h"
#include "fuzz.h"
#include "sim_platform.h"

namespace fuzz {

/** Platform calls that no run needs: more than that is an endless loop, which ends with an exception. */
constexpr uint64_t kMostCalls = 3'000'000;

/**
 * A fresh machine and library that log at a mode '0' to '5' into the folder "Log". Every mode but '0' costs
 * about half of the speed.
 */
void FreshMachine(char log_mode);

/** A text from the input's front that is repeated, when the input says so, to a length around the ends of the
 * first blocks of a frame. */
std::string LongText(Input& input, size_t longest_piece);

/** A port without discovery, open and set up as the exchange does it. */
struct OpenPort {
    explicit OpenPort(sim::Device* device);
    sim::Line& line;
    plat_handle handle;
};

/** The frame of a text, put together here and not by the library's codec. */
std::string ReferenceFrame(const std::string& text);

/** The checksum byte of a text: the wrapping sum of its bytes, 4 in place of ETX. */
unsigned char ReferenceChecksum(const std::string& text);

}  // namespace fuzz

/*
 * What the tax authority lets a caller know through the fields cod and mensagemSEFAZ of every reply.
 */
#pragma once

#include <string>

#include "device.h"

namespace emulator {

struct Notice {
    int code = 0;      ///< 0 for none
    std::string text;  ///< UTF-8
};

/**
 * The notice of the moment, from the table of an emulated device:
 *
 * - what the device's settings say, if they name one;
 * - 4 while wrong codes have locked the device, 5 when its clock stands before its last receipt;
 * - 1, 2 and 3 when the software is to be renewed within 30 days, 5 days and 24 hours;
 * - 999 in the week up to the end of the maintenance that it announces.
 */
Notice NoticeOf(const Device& device, LocalTime now);

/** True for a code of the table. */
bool IsNotice(int code);

}  // namespace emulator

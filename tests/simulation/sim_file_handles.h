/*
 * What stands behind an open file.
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sim_files.h"

struct plat_file {
    std::shared_ptr<sim::Node> node;
    uint32_t process = 0;
    bool failed = false;  // something could not be written
    std::string waiting;  // written, and not yet in the file
};

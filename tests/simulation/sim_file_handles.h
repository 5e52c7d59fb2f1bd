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
    bool reads = false;
    bool writes = false;
    bool failed = false;  // something could not be written
    size_t read_at = 0;
    std::string waiting;  // written, and not yet in the file
};

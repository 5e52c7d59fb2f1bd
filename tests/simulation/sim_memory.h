/*
 * Memory of the simulated machine, with bytes behind each piece that nobody may touch.
 */
#pragma once

#include <cstddef>

namespace sim {

/** Zero-filled memory; nullptr when the real machine has none. */
void* Allocate(size_t size);

/** Releases memory from Allocate. Ends the program when somebody wrote behind its end. */
void Release(void* memory);

}  // namespace sim

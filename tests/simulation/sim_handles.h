/*
 * How the simulated platform makes its handles, and the error codes that it sets.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/platform.h"

namespace sim {

constexpr uint32_t kErrorPathNotFound = 3;
constexpr uint32_t kErrorInvalidHandle = 6;
constexpr uint32_t kErrorNoMemory = 8;
constexpr uint32_t kErrorInvalidData = 13;
constexpr uint32_t kErrorNoSuchPortNow = 22;  ///< the port was unplugged under an open handle
constexpr uint32_t kErrorNotWorking = 31;
constexpr uint32_t kErrorSharing = 32;
constexpr uint32_t kErrorInvalidParameter = 87;
constexpr uint32_t kErrorDiskFull = 112;
constexpr uint32_t kErrorAlreadyExists = 183;
constexpr uint32_t kErrorNoMoreItems = 259;
constexpr uint32_t kErrorNotOwner = 288;

/** Places of each kind that a handle can name. */
constexpr size_t kMostHandles = 4096;

enum class HandleKind : uint8_t { Mutex = 1, Port = 2, Devices = 3, Search = 4 };

/** Kind in the lowest 4 bits, place in a table in the next 12, and above them a serial number, so that a
 * handle that was closed does not come again soon. */
constexpr plat_handle MakeHandle(HandleKind kind, size_t index, uint64_t serial) {
    return static_cast<plat_handle>((serial & 0x7FFFFFFF) << 16 | (index & 0xFFF) << 4 |
                                    static_cast<size_t>(kind));
}
constexpr bool IsHandleOf(plat_handle handle, HandleKind kind) {
    return handle > 0 && (handle & 0xF) == static_cast<plat_handle>(kind);
}
constexpr size_t HandleIndex(plat_handle handle) {
    return static_cast<size_t>(handle) >> 4 & 0xFFF;
}

}  // namespace sim

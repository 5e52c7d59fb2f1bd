/*
 * Changes in what the system knows of its devices.
 */
#pragma once

#include <cstdint>

/**
 * Has the system report from here on that a device comes or goes, or that its names change. Returns what
 * DevicesUnchanged is asked with about all that is read behind this call; 0 when the system does not report.
 * From any thread.
 */
uint64_t WatchDevices();

/**
 * Whether what was read behind the call of WatchDevices that returned `watch` is still so. After
 * PLAT_DEVICES_KNOWN_MS nobody knows. A later watch ends this one. From any thread.
 */
bool DevicesUnchanged(uint64_t watch);

/** Gives back what the watch holds; no other call may be under way. */
void StopWatchingDevices();

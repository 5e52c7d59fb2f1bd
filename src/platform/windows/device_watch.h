/*
 * Changes in the system's tree of devices.
 */
#pragma once

#include <cstdint>

/** How long what was read from the tree counts as known at most, milliseconds. */
constexpr uint64_t kLongestKnownMs = 5000;

/**
 * Has the system report changes in its tree of devices from here on: a device that comes or goes, or one
 * whose names change. Returns what DevicesUnchanged is asked with about all that is read behind this call; 0
 * when the system does not report. From any thread.
 */
uint64_t WatchDevices();

/**
 * Whether what was read behind the call of WatchDevices that returned `watch` is still so. After
 * kLongestKnownMs nobody knows: should a driver ever change its devices behind the tree's back, a till finds
 * its device a moment later and not at its next start. A later watch ends this one. From any thread.
 */
bool DevicesUnchanged(uint64_t watch);

/** Gives back what the watch holds; no other call may be under way. */
void StopWatchingDevices();

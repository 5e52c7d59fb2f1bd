/*
 * The list of serial devices, from any copy of the kernel's view of them.
 */
#pragma once

#include "../platform.h"

/**
 * Opens the set of serial devices below a folder laid out like /sys/class/tty. `event_count` is a file whose
 * first line changes with every device that comes or goes, like /sys/kernel/uevent_seqnum: while it does not,
 * the devices are those of the last call, whatever its folder was, for PLAT_DEVICES_KNOWN_MS at most. Where
 * it cannot be read, they are listed each time.
 */
plat_handle OpenDevicesBelow(const char* tty_class_folder, const char* event_count);

/*
 * The list of serial devices, from any copy of the kernel's view of them.
 */
#pragma once

#include "../platform.h"

/** Opens the set of serial devices below a folder laid out like /sys/class/tty. */
plat_handle OpenDevicesBelow(const char* tty_class_folder);

/*
 * What the platform holds beyond a call and gives back when the library is unloaded.
 */
#pragma once

/** Closes what plat_append_open opened and nobody has closed yet. */
void CloseLeftAppend();

/** Forgets the present devices and no longer watches them. */
void LeaveDevices();

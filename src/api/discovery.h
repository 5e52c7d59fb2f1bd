/*
 * Which COM port holds the device.
 */
#pragma once

#include <cstdint>

#include "../platform/platform.h"

/** One present port. The list and its texts come from the process heap and belong to whoever asked for the
 * list. */
struct SerialPortNode {
    int32_t iNumber;        ///< decimal value of what follows "COM" in the name
    char* pName;            ///< upper-cased, such as COM3; at most 15 characters
    char* pFriendly;        ///< friendly name
    SerialPortNode* pNext;  ///< next port in enumeration order, or NULL
};

/**
 * Finds the device's port among the present ones by the marks in its friendly name; the last match wins. A
 * port fixed in "SAT.ini" replaces what was found, and is ignored when nothing was.
 *
 * @param pucRetorno  256 bytes; receives the bare port name such as COM3, or becomes empty. NULL is logged.
 */
void vListComPorts(char* pucRetorno);

/**
 * Lists the present COM ports in enumeration order. A device without a friendly name is left out.
 *
 * @param ppList  receives the head of the list, NULL when there is no port
 * @return the flag with which the enumeration ended, which is 0
 */
int GetSerialPortInfo(SerialPortNode** ppList);

/** Opens the set of present devices of the class "Ports"; PLAT_INVALID_HANDLE when there is none. */
plat_handle BeginEnumeratePorts();

/** Releases the set; the system's success flag. */
int EndEnumeratePorts(plat_handle hDevices);

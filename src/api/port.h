/*
 * Opening, setting up and closing the device's serial port.
 *
 * All routines are called inside the exchange's machine-wide lock, on the caller's thread. They keep gl_hComm
 * equal to the caller's handle.
 */
#pragma once

#include "../platform/platform.h"

constexpr int SAT_API_ERR_WIN_DEV_NOT_FOUND = -1000;
constexpr int SAT_API_ERR_WIN_DEV_COMM_CLOSE = -1001;
constexpr int SAT_API_WRN_WIN_DEV_COMM_CLOSED = 1001;
constexpr int SAT_API_ERR_WIN_DEV_CONFIG = -1002;
constexpr int SAT_API_ERR_WIN_DEV_COMM_STATE = -1003;
constexpr int SAT_API_ERR_WIN_DEV_COMM_SETUP = -1004;
constexpr int SAT_API_ERR_WIN_DEV_COMM_TIMEOUTS = -1005;
constexpr int SAT_API_ERR_WIN_DEV_COMM_WR = -1006;
constexpr int SAT_API_ERR_WIN_DEV_COMM_WR_TIMEOUT = -1007;

/**
 * Opens "\\?\COM<iPortNum>", or the emulator's port of "SAT.ini" when iPortNum is 0 or less and the emulator
 * is enabled. Tries three times; each refusal because another program holds the port costs 10 s.
 *
 * @param phComm  a handle that is still valid is closed first
 * @return 0 when the port is open. A failure is normally -1000, but 1 when a handle was closed first, and the
 *         non-negative result of reading "SAT.ini" on the emulator's port: callers must test the handle too
 */
int cSerialOpenW(int iPortNum, plat_handle* phComm);

/**
 * Sets 115200 baud, no parity, 8 data bits, 1 stop bit, the queues, DTR and RTS, and the time-outs that the
 * link relies on. Returns 0, or -1002 to -1005 for the step that was refused; the port then stays open.
 */
int cSerialSettingsW(plat_handle* phComm);

/**
 * Closes the port, or gl_hComm when the caller's handle is not valid. Returns 0, -1001 when the system
 * refuses, 1001 when nothing was open. Both handles are invalid afterwards.
 */
int cSerialCloseW(plat_handle* phComm);

/** Opens a second port: cSerialOpenW when the handle differs from gl_hComm, otherwise -1. */
int cDuplicateSerialW(int iPortNum, plat_handle* phComm);

/** Logs the calling thread's last system error and its text. */
void printGetLastError();

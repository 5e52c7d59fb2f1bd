/*
 * The library's one state record and its constants. Nothing here is locked: calls from several threads of one
 * process must be serialised by the caller.
 */
#pragma once

#include <cstdint>

#include "../platform/platform.h"

constexpr const char* ZANTIR_VERSION_BANNER = "ZANTIR DLL Ver. 02.00";
constexpr const char* ZANTIR_LIB_VERSION = "23-JUL-2020";
extern const char* const ZANTIR_BUILD_STAMP;  ///< one constant, so that builds can be repeated byte for byte
constexpr int ZANTIR_PLATFORM_BITS = 64;
constexpr const char* ZANTIR_INI_FILE = "SAT.ini";

constexpr uint8_t ZANTIR_START_MARKER = 0xAA;
constexpr uint8_t ZANTIR_END_MARKER = 0x55;

/**
 * Settings and working values of the process. Zero-filled at the first call of an export, never freed. Texts
 * are NUL-terminated and cut to their fields.
 */
struct tSatState {
    uint8_t ucStartMarker;  ///< 0xAA once initialised
    int32_t iEmulatorEnabled;
    int32_t iReceiptFilesEnabled;
    // Stored from "SAT.ini" and used by no routine: a port always gets the fixed time-outs of
    // cSerialSettingsW.
    uint32_t uiReadIntervalTimeout;
    uint32_t uiReadTotalTimeoutMultiplier;
    uint32_t uiReadTotalTimeoutConstant;
    int32_t iWriteTotalTimeoutMultiplier;
    int32_t iWriteTotalTimeoutConstant;
    char strReceiptPathWindows[128];
    char strReceiptPathLinux[128];  ///< stored, used by no routine
    char strSatProtLogFilePath[200];
    char strSatProtLogFileName[200];
    char strCurSatCmdInProc[64];
    char strDevicePath[64];  ///< path of the last attempt to open a port
    char strFixedSerialPort[32];
    char strSerialPortConfig[128];   ///< stands directly behind the fixed port, see UpdateZantirConfiguration
    int64_t iConfigTime;             ///< modification time of "SAT.ini" when it was last read
    plat_handle hSizeControlThread;  ///< shown by LogSzCtlTherad, never set
    uint8_t ucEndMarker;             ///< 0x55 once initialised
};

extern tSatState gl_tSat;

/** The port that is open, PLAT_INVALID_HANDLE between exchanges. */
extern plat_handle gl_hComm;

/** Whether both markers of the state are set. */
bool SatStateInitialised();

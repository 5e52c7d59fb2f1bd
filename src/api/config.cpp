#include "config.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstring>

#include "../vko_utils/files.h"
#include "../vko_utils/ini_file.h"
#include "../vko_utils/text.h"
#include "api_log.h"
#include "command_table.h"
#include "state.h"

std::atomic<uint64_t> gl_uiIniWithoutFixedPort{0};

static const char UPDATE[] = "UpdateZantirConfiguration";

static constexpr size_t VALUE_SIZE = 128;
static constexpr uint32_t MAXDWORD_VALUE = 0xFFFFFFFF;

/** The commands whose configured time-out takes effect are those of indexes 0 to this one. */
static constexpr int LAST_CONFIGURABLE_TIMEOUT = 6;

/** What becomes of a key's value. */
enum eKeyAction {
    KEY_REPORT,      ///< only reported; the log settings are applied by VKO_SetIniFileLogMode
    KEY_LOG_FOLDER,  ///< the folder is created and the banner logged
    KEY_FIXED_PORT,  ///< the optional fixed port
    KEY_TEXT,        ///< copied
    KEY_MAXDWORD,    ///< read time-out, by the MAXDWORD rule
    KEY_NUMBER,      ///< decimal value
    KEY_TIMEOUT,     ///< reply time-out of a command
    KEY_SWITCH,      ///< 1 when the value begins with '1'
    KEY_EMULATOR,    ///< the same, reported in its own words
};

/** One key. Which of the last four columns count depends on the action. */
struct tConfigKey {
    const char* pSection;
    const char* pKey;
    eKeyAction eAction;
    void* pTarget;      ///< field of the state
    size_t targetSize;  ///< bytes of a text field; VALUE_SIZE without one
    const char* pText;  ///< default of a text; the exact text of the MAXDWORD rule
    uint32_t uiNumber;  ///< default of a number; command index of a time-out
};

static constexpr tConfigKey Report(const char* pKey, eKeyAction eAction) {
    return {"LOG", pKey, eAction, nullptr, VALUE_SIZE, nullptr, {}};
}
template <size_t size>
static constexpr tConfigKey Text(const char* pSection, const char* pKey, char (&strField)[size],
                                 const char* pDefault) {
    return {pSection, pKey, KEY_TEXT, strField, size, pDefault, {}};
}
static constexpr tConfigKey Number(const char* pKey, eKeyAction eAction, void* pField, const char* pExact,
                                   uint32_t uiDefault) {
    return {"SERIAL_PORT_CONFIG", pKey, eAction, pField, VALUE_SIZE, pExact, uiDefault};
}
static constexpr tConfigKey Switch(const char* pSection, eKeyAction eAction, int32_t* pField) {
    return {pSection, "Enable", eAction, pField, VALUE_SIZE, nullptr, {}};
}
static constexpr tConfigKey Timeout(uint32_t uiCmd) {
    return {"SAT_TIMEOUT", SAT_COMMANDS[uiCmd].pName, KEY_TIMEOUT, nullptr, VALUE_SIZE, nullptr, uiCmd};
}

static const tConfigKey CONFIG_KEYS[] = {
    Report("LogFilePath", KEY_LOG_FOLDER),
    Report("LogFileName", KEY_REPORT),
    Report("LogFileMaxSize", KEY_REPORT),
    Report("LogMode", KEY_REPORT),
    {"SERIAL_PORT_CONFIG",
     "FixarPorta",
     KEY_FIXED_PORT,
     gl_tSat.strFixedSerialPort,
     sizeof gl_tSat.strFixedSerialPort,
     nullptr,
     {}},
    Text("SERIAL_PORT_CONFIG", "SerialPortConfig", gl_tSat.strSerialPortConfig, "115200,8,n,1"),
    Number("ReadIntervalTimeout", KEY_MAXDWORD, &gl_tSat.uiReadIntervalTimeout, "MAXDWORD", MAXDWORD_VALUE),
    Number("ReadTotalTimeoutMultiplier", KEY_MAXDWORD, &gl_tSat.uiReadTotalTimeoutMultiplier, "MAXDWORD",
           MAXDWORD_VALUE),
    Number("ReadTotalTimeoutConstant", KEY_MAXDWORD, &gl_tSat.uiReadTotalTimeoutConstant, "MAXDWORD-10",
           MAXDWORD_VALUE - 10),
    Number("WriteTotalTimeoutMultiplier", KEY_NUMBER, &gl_tSat.iWriteTotalTimeoutMultiplier, nullptr, 1),
    Number("WriteTotalTimeoutConstant", KEY_NUMBER, &gl_tSat.iWriteTotalTimeoutConstant, nullptr, 1),
    Timeout(0),
    Timeout(1),
    Timeout(2),
    Timeout(3),
    Timeout(4),
    Timeout(5),
    Timeout(6),
    Timeout(7),
    Timeout(8),
    Timeout(9),
    Timeout(10),
    Timeout(11),
    Timeout(12),
    Timeout(13),
    Timeout(14),
    Timeout(15),
    Text("CUPOM_DESK", "PathWindows", gl_tSat.strReceiptPathWindows,
         "C:\\ProgramData\\CupomDesk\\Cupons\\New"),
    Text("CUPOM_DESK", "PathLinux", gl_tSat.strReceiptPathLinux, "/etc/CupomDesk/Cupons/New"),
    Switch("CUPOM_DESK", KEY_SWITCH, &gl_tSat.iReceiptFilesEnabled),
    Switch("SAT_EMULATOR", KEY_EMULATOR, &gl_tSat.iEmulatorEnabled),
};
static_assert(sizeof CONFIG_KEYS / sizeof CONFIG_KEYS[0] == 31);

/** How a key was found. The order is that of the step letters a, b, c. */
enum eKeyFound { KEY_PRESENT, KEY_EMPTY, KEY_MISSING };

/** One key as read in the pass. */
struct tKeyReading {
    const tConfigKey* pKey;
    int iStep;
    int rc;
    eKeyFound eFound;
    char strValue[VALUE_SIZE];
};

static unsigned UsualLevel(eKeyFound eFound) {
    static const unsigned LEVELS[] = {VKO_LOG_INF, VKO_LOG_WRN, VKO_LOG_ERR};
    return LEVELS[eFound];
}

/** The key's report line at a level of its own and with words of its own at the end. */
static void ReportKey(const tKeyReading& reading, unsigned uiLevel, const char* pEnd) {
    if (!VKO_LogEnabled(uiLevel)) return;
    const char* pVerdict = uiLevel == VKO_LOG_ERR   ? "ER:FAIL"
                           : uiLevel == VKO_LOG_WRN ? "WR:WARN"
                                                    : "OK:PASS";
    VKO_LogWrite(
        SAT_API_LOG, uiLevel,
        "[%04d]  %s  %s  rc[%04d]%s  STEP%02d%c  ZantirIniFileName[%s]  strSessionName[%s]  item[%s=%s]%s\n",
        __LINE__, SAT_API_SOURCE, UPDATE, reading.rc, pVerdict, reading.iStep,
        static_cast<char>('a' + reading.eFound), ZANTIR_INI_FILE, reading.pKey->pSection, reading.pKey->pKey,
        reading.strValue, pEnd);
}

static void ReportAsUsual(const tKeyReading& reading) {
    ReportKey(reading, UsualLevel(reading.eFound), "");
}

static void LogBanner() {
    API_LOG_AS(UPDATE, VKO_LOG_WRN,
               "\n\t   Version[%s - %s]\n\t BuildDate[%s]\n\t   This Is[%02d Bits] Platform\n",
               ZANTIR_VERSION_BANNER, ZANTIR_LIB_VERSION, ZANTIR_BUILD_STAMP, ZANTIR_PLATFORM_BITS);
}

static void ApplyLogFolder(const tKeyReading& reading) {
    ReportAsUsual(reading);
    if (reading.eFound != KEY_PRESENT || gl_tLogSettings.iLevelMask == 0) return;
    if (VKO_Exist(reading.strValue) != 1) VKO_CreateDir(reading.strValue);
    LogBanner();
}

static_assert(offsetof(tSatState, strSerialPortConfig) ==
              offsetof(tSatState, strFixedSerialPort) + sizeof(tSatState::strFixedSerialPort));

static void ApplyFixedPort(const tKeyReading& reading) {
    switch (reading.eFound) {
        case KEY_PRESENT:
            VKO_CopyText(gl_tSat.strFixedSerialPort, sizeof gl_tSat.strFixedSerialPort, reading.strValue);
            ReportKey(reading, VKO_LOG_WRN, "PARAMETRO ADICIONADO MANUALMENTE PELO CLIENTE!!!");
            break;
        case KEY_EMPTY:
            // Here an empty key leaves the fixed port as it was: on purpose. GetFixedSerialPort clears it.
            ReportKey(reading, VKO_LOG_INF, "NORMAL_NAO_EXISTIR!!!");
            break;
        case KEY_MISSING:
            // 128 bytes from the start of a 32-byte field: the serial parameters behind it go too, on
            // purpose.
            memset(gl_tSat.strFixedSerialPort, 0, sizeof gl_tSat.strFixedSerialPort);
            memset(gl_tSat.strSerialPortConfig, 0, 128 - sizeof gl_tSat.strFixedSerialPort);
            ReportKey(reading, VKO_LOG_INF, "NORMAL_NAO_EXISTIR!!!");
            break;
    }
}

static void ApplyText(const tKeyReading& reading) {
    ReportAsUsual(reading);
    const char* pValue = reading.eFound == KEY_PRESENT ? reading.strValue : reading.pKey->pText;
    VKO_CopyText(static_cast<char*>(reading.pKey->pTarget), reading.pKey->targetSize, pValue);
}

static void ApplyMaxDword(const tKeyReading& reading) {
    ReportAsUsual(reading);
    // The named text gives its decimal value, 0, and every number gives the default: the inverse of what one
    // would expect, and kept on purpose.
    const bool bNamed = reading.eFound == KEY_PRESENT && strcmp(reading.strValue, reading.pKey->pText) == 0;
    *static_cast<uint32_t*>(reading.pKey->pTarget) =
        bNamed ? static_cast<uint32_t>(VKO_DecimalValue(reading.strValue)) : reading.pKey->uiNumber;
}

static void ApplyNumber(const tKeyReading& reading) {
    ReportAsUsual(reading);
    *static_cast<int32_t*>(reading.pKey->pTarget) = reading.eFound == KEY_PRESENT
                                                        ? VKO_DecimalValue(reading.strValue)
                                                        : static_cast<int32_t>(reading.pKey->uiNumber);
}

static void ApplyTimeout(const tKeyReading& reading) {
    ReportAsUsual(reading);
    if (reading.eFound != KEY_PRESENT) return;
    const int iCmd = static_cast<int>(reading.pKey->uiNumber);
    const int32_t iSeconds = VKO_DecimalValue(reading.strValue);
    // Beyond the seventh command the test looks at the reader's result, which is 0 for a value that was read:
    // those settings never take effect, on purpose.
    const int iTested = iCmd <= LAST_CONFIGURABLE_TIMEOUT ? iSeconds : reading.rc;
    if (iTested > 0) gl_tSatCmd[iCmd].iTimeout = iSeconds;
}

static bool SwitchedOn(const tKeyReading& reading) {
    return reading.eFound == KEY_PRESENT && reading.strValue[0] == '1';
}

static void ApplySwitch(const tKeyReading& reading) {
    const bool bOn = SwitchedOn(reading);
    *static_cast<int32_t*>(reading.pKey->pTarget) = bOn ? 1 : 0;
    if (reading.pKey->eAction == KEY_EMULATOR) {
        ReportKey(reading, UsualLevel(reading.eFound), bOn ? "SAT_EMU=ON" : "SAT_EMU=OFF");
    } else {
        ReportAsUsual(reading);
    }
}

static void Apply(const tKeyReading& reading) {
    switch (reading.pKey->eAction) {
        case KEY_REPORT:
            ReportAsUsual(reading);
            break;
        case KEY_LOG_FOLDER:
            ApplyLogFolder(reading);
            break;
        case KEY_FIXED_PORT:
            ApplyFixedPort(reading);
            break;
        case KEY_TEXT:
            ApplyText(reading);
            break;
        case KEY_MAXDWORD:
            ApplyMaxDword(reading);
            break;
        case KEY_NUMBER:
            ApplyNumber(reading);
            break;
        case KEY_TIMEOUT:
            ApplyTimeout(reading);
            break;
        case KEY_SWITCH:
        case KEY_EMULATOR:
            ApplySwitch(reading);
            break;
    }
}

/** Hardly any "SAT.ini" has the key: what has none is not read for it again until it changes. */
static void NoteFixedPort(const tIniFile& file, int rc) {
    if (rc == INI_FILE_ERR_ITEM_NOT_FOUND && file.bSettled) gl_uiIniWithoutFixedPort = file.uiState;
}

static void ReadAndApply(const tIniFile& file, const tConfigKey& key, int iStep) {
    tKeyReading reading = {&key, iStep, {}, KEY_PRESENT, {}};
    // A text field smaller than the value buffer bounds the read, so that an over-long value is cut and
    // reported once.
    const size_t size = std::min(key.targetSize, VALUE_SIZE);
    reading.rc = VKO_GetLoadedIniValue(file, key.pSection, key.pKey, reading.strValue, size);
    if (reading.rc < 0) {
        reading.eFound = KEY_MISSING;
    } else if (reading.strValue[0] == '\0') {
        reading.eFound = KEY_EMPTY;
    }
    if (key.eAction == KEY_FIXED_PORT) NoteFixedPort(file, reading.rc);
    Apply(reading);
}

int UpdateZantirConfiguration(tIniFile* file) {
    int iStep = 0;
    if (IniMissing(VKO_FileExist(ZANTIR_INI_FILE))) {
        VKO_FreeIniFile(file);
        const int rc = CreateFile_ZantirIni();
        if (rc < 0) {
            API_LOG_OWN_FRONT(
                VKO_LOG_ERR,
                "[%04d]  %s  %s  rc[%04d]ER:FAIL  STEP%02db  ZantirIniFileName[%s]Could  Not  Be  "
                "Created!!\n",
                rc, iStep, ZANTIR_INI_FILE);
            return rc;
        }
    }
    if (file->rc != INI_FILE_OK) *file = VKO_LoadIniFile(ZANTIR_INI_FILE);
    if (SatStateInitialised()) {
        API_LOG_OWN_FRONT(VKO_LOG_INF,
                          "[%04d]  %s  %s  rc[%04d]OK:PASS  STEP%02da  ZantirIniFileName[%s]OK\n", 0, iStep,
                          ZANTIR_INI_FILE);
    }
    ResetCommandTimeouts();
    // The count stands at 0 for the first key, so a complete pass over the 31 keys returns 30.
    for (const tConfigKey& key : CONFIG_KEYS) {
        if (&key != CONFIG_KEYS) ++iStep;
        ReadAndApply(*file, key, iStep);
    }
    return iStep;
}

int UpdateZantirConfiguration() {
    tIniFile file = VKO_UnreadIniFile(ZANTIR_INI_FILE);
    const int rc = UpdateZantirConfiguration(&file);
    VKO_FreeIniFile(&file);
    return rc;
}

static void ClearFixedPort() {
    memset(gl_tSat.strFixedSerialPort, 0, sizeof gl_tSat.strFixedSerialPort);
}

static const char FIXED_PORT_SECTION[] = "SERIAL_PORT_CONFIG";

static int ReadFixedPort(char* pFixedSerialPort) {
    const uint64_t uiIni = VKO_GetIniState(ZANTIR_INI_FILE);
    // That the key is not there is not logged.
    if (uiIni != 0 && uiIni == gl_uiIniWithoutFixedPort) return INI_FILE_ERR_ITEM_NOT_FOUND;
    tIniFile file = VKO_LoadIniFile(ZANTIR_INI_FILE);
    const int rc =
        VKO_GetLoadedIniValue(file, FIXED_PORT_SECTION, "FixarPorta", pFixedSerialPort, VALUE_SIZE);
    NoteFixedPort(file, rc);
    VKO_FreeIniFile(&file);
    return rc;
}

int GetFixedSerialPort(char* pFixedSerialPort) {
    if (pFixedSerialPort == nullptr) {
        API_LOG_OWN_FRONT(VKO_LOG_ERR,
                          "[%04d]  %s  %s  rc[%04d]ER: Ini[%s]  Session[%s]  pFixedSerialPort=NULL\n",
                          ERR_FIXED_PORT_NULL, ZANTIR_INI_FILE, FIXED_PORT_SECTION);
        return ERR_FIXED_PORT_NULL;
    }
    pFixedSerialPort[0] = '\0';
    const int rc = ReadFixedPort(pFixedSerialPort);
    if (rc < 0) {
        ClearFixedPort();
        API_LOG_OWN_FRONT(
            VKO_LOG_INF,
            "[%04d]  %s  %s  rc[%04d]OK: Ini[%s]  Session[%s]  FixarPorta= << NAO EXISTIR <DEFAULT>\n", rc,
            ZANTIR_INI_FILE, FIXED_PORT_SECTION);
        return 0;
    }
    if (pFixedSerialPort[0] == '\0') {
        ClearFixedPort();
        API_LOG_OWN_FRONT(
            VKO_LOG_INF,
            "[%04d]  %s  %s  rc[%04d]OK: Ini[%s]  Session[%s]  FixarPorta= << SEM VALOR <NAO USAR>\n", rc,
            ZANTIR_INI_FILE, FIXED_PORT_SECTION);
        return 1;
    }
    size_t length = strlen(pFixedSerialPort);
    // A value that fills the buffer was cut by the reader, which has reported it.
    const bool bReported = length == VALUE_SIZE - 1;
    while (length > 0 && isdigit(static_cast<unsigned char>(pFixedSerialPort[length - 1])) == 0)
        --length;
    pFixedSerialPort[length] = '\0';
    if (!VKO_CopyText(gl_tSat.strFixedSerialPort, sizeof gl_tSat.strFixedSerialPort, pFixedSerialPort) &&
        !bReported) {
        API_LOG(VKO_LOG_WRN, "FixarPorta[%s]TOO LONG, CUT TO[%s]\n", pFixedSerialPort,
                gl_tSat.strFixedSerialPort);
    }
    API_LOG_OWN_FRONT(
        VKO_LOG_WRN,
        "[%04d]  %s  %s  rc[%04d]WR: Ini[%s]  Session[%s]  FixarPorta=%s<< ADICIONADO MANUALMENTE PELO "
        "CLIENTE\n",
        rc, ZANTIR_INI_FILE, FIXED_PORT_SECTION, pFixedSerialPort);
    return static_cast<int>(length);
}

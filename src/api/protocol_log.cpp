#include "protocol_log.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "../vko_sat_utils/packet.h"
#include "../vko_utils/files.h"
#include "../vko_utils/text.h"
#include "api_log.h"
#include "state.h"

static constexpr int ERR_FILE_NOT_CREATED = -1102;
static constexpr int32_t DEFAULT_MAX_SIZE = 800000;
static constexpr uint8_t FROM_DEVICE = 1;

int32_t gl_iFd = 0;
bool gl_bProtocolLineFormatted = false;

static const char CREATE[] = "CreateSAT_ProtLogFile";
static const char LOG_MESSAGE[] = "LogSATProtocolMsg";

/** The protocol log lies where the diagnostic log is configured to lie. */
static void FollowLogFolder() {
    const char* pFolder = gl_tLogSettings.strLogFilePath;
    if (pFolder[0] == '\0') pFolder = "Log";
    char strFolder[sizeof gl_tSat.strSatProtLogFilePath];
    const bool bWhole = VKO_CopyText(strFolder, sizeof strFolder, pFolder);
    if (strcmp(gl_tSat.strSatProtLogFilePath, strFolder) == 0) return;
    memcpy(gl_tSat.strSatProtLogFilePath, strFolder, sizeof strFolder);
    if (!bWhole) API_LOG_AS(CREATE, VKO_LOG_WRN, "---  LogFilePath[%s]TOO LONG, CUT\n", pFolder);
    API_LOG_AS(CREATE, VKO_LOG_WRN, "---  gl_tSat.strSatProtLogFilePath[%s]UPDATED\n", strFolder);
}

/** Makes sure that the folder is there. */
static bool EnsureFolder() {
    const char* pFolder = gl_tSat.strSatProtLogFilePath;
    if (VKO_Exist(pFolder) == 1) return true;
    const int rc = VKO_CreateDir(pFolder);
    if (rc == 1 || rc == 2) return true;
    VKO_Print("[%04d] [%s] [%s]--- rc[%05d]ER gl_tSat.strSatProtLogFilePath[%s]\n", __LINE__, SAT_API_SOURCE,
              CREATE, rc, pFolder);
    API_LOG_AS(CREATE, VKO_LOG_ERR, "---   rc[%06d]ER: dir[%s]Not Created!!!!!!!!!\n", rc, pFolder);
    return false;
}

static void OpenTodaysFile() {
    plat_calendar now;
    plat_local_now(&now);
    char* pName = gl_tSat.strSatProtLogFileName;
    VKO_FormatText(pName, sizeof gl_tSat.strSatProtLogFileName, "%s\\%04d%02d%02d_SAT_ProtocolLog.txt",
                   gl_tSat.strSatProtLogFilePath, now.year, now.month, now.day);
    const int iFd = plat_append_open(pName);
    if (iFd == -1) {
        API_LOG_AS(CREATE, VKO_LOG_ERR,
                   "---   rc[%06d]ER:logFd[%08Xh]=NULL or -1 pcLogName[%s]File Not Created\n",
                   ERR_FILE_NOT_CREATED, static_cast<unsigned>(iFd), pName);
        return;
    }
    gl_iFd = iFd;
    API_LOG_AS(CREATE, VKO_LOG_INF, "---  rc[%06d]OK:logFd[%08Xh] pcLogName[%s]Created!!!\n", 0,
               static_cast<unsigned>(iFd), pName);
}

void CreateSAT_ProtLogFile() {
    FollowLogFolder();
    if (gl_tLogSettings.iLevelMask == 0 || !EnsureFolder()) return;
    if (gl_iFd == 0) {
        OpenTodaysFile();
        return;
    }
    VKO_Print("[%04d] [%s] [%s]--- rc[%05d] gl_tSat.strSatProtLogFilePath[%s] gl_iFd[%08Xh]\n", __LINE__,
              SAT_API_SOURCE, __func__, 0, gl_tSat.strSatProtLogFilePath, static_cast<unsigned>(gl_iFd));
}

enum eFrameShape { FRAME_INVALID, FRAME_VALID, FRAME_ZERO_CHECKSUM };

/**
 * Looks at the ends of the frame of `size` bytes, one at least. `iLength` grows by one when a zero checksum
 * ended the text early.
 */
static eFrameShape Validate(const char* pSatPkt, size_t size, int* piLength) {
    const int iLength = *piLength;
    const unsigned char ucFirst = static_cast<unsigned char>(pSatPkt[0]);
    if (ucFirst != SAT_STX) {
        API_LOG_AS(LOG_MESSAGE, VKO_LOG_WRN,
                   "All WR:bInvalidPacket\n\t iSatPkgLen[%08d]\n\t pSatPkt[0]=[%02Xh]Expected STX\n", iLength,
                   ucFirst);
        return FRAME_INVALID;
    }
    const unsigned char ucLast = static_cast<unsigned char>(pSatPkt[iLength - 1]);
    if (ucLast == SAT_ETX) {
        API_LOG_AS(LOG_MESSAGE, VKO_LOG_WRN,
                   "All WR\n\t iSatPkgLen[%08d]\n\t pSatPkt[iSatPkgLen-1]=[%02Xh]Rcvd ETX\n", iLength,
                   ucLast);
        return FRAME_VALID;
    }
    const size_t behindNul = static_cast<size_t>(iLength) + 1;
    if (behindNul < size && pSatPkt[behindNul] == static_cast<char>(SAT_ETX)) {
        *piLength = iLength + 1;
        API_LOG_AS(LOG_MESSAGE, VKO_LOG_WRN,
                   "All WR:\n\t iSatPkgLen[%08d]\n\t pSatPkt[iSatPkgLen-1]=[%02Xh]rcvd ETX CKSUM=0x00\n",
                   *piLength, SAT_ETX);
        return FRAME_ZERO_CHECKSUM;
    }
    API_LOG_AS(LOG_MESSAGE, VKO_LOG_WRN,
               "All WR:bInvalidPacket\n\t iSatPkgLen[%08d]\n\t pSatPkt[iSatPkgLen-1]=[%02Xh]Expected ETX\n",
               iLength, ucLast);
    return FRAME_INVALID;
}

/** What stands around the bracketed packet in a line, by direction and shape. */
struct tLineShape {
    const char* pFront;
    const char* pEnd;
};

static const tLineShape LINE_SHAPES[][3] = {
    // To the device. The zero checksum's line has the other direction's label: on purpose.
    {{" PC->SAT >> [", "]InvalidSatPkg\n"},
     {" PC->SAT >> [", "]OK:a\n"},
     {" SAT->PC << [", "]WR:CKSUM=0x00--\n"}},
    // From the device.
    {{" SAT->PC << [", "]InvalidSatPkg\n"},
     {" SAT->PC << [", "]OK:b\n"},
     {" SAT->PC << [", "]WR:CKS=0x00\n"}},
};

/** A line under construction in memory that is large enough by its caller's reckoning. */
struct tLineBuilder {
    char* pText;
    size_t length;
};

static void Add(tLineBuilder* line, const char* pBytes, size_t size) {
    memcpy(line->pText + line->length, pBytes, size);
    line->length += size;
}

static void AddHex(tLineBuilder* line, char cByte) {
    static const char DIGITS[] = "0123456789ABCDEF";
    const unsigned char ucByte = static_cast<unsigned char>(cByte);
    const char strHex[] = {'<', DIGITS[ucByte >> 4U], DIGITS[ucByte & 15U], '>'};
    Add(line, strHex, sizeof strHex);
}

static void AddFrame(tLineBuilder* line, const char* pSatPkt, int iLength, eFrameShape shape,
                     bool bFromDevice) {
    if (shape == FRAME_INVALID) {
        Add(line, pSatPkt, static_cast<size_t>(iLength));
        return;
    }
    // Text bytes between STX and checksum. With a zero checksum the length is counted so that the last text
    // byte is left out, and to the device STX is not shown either: on purpose.
    const size_t textLength = static_cast<size_t>(std::max(iLength - 3, 0));
    if (shape == FRAME_VALID || bFromDevice) AddHex(line, static_cast<char>(SAT_STX));
    Add(line, pSatPkt + 1, textLength);
    if (shape == FRAME_ZERO_CHECKSUM) {
        AddHex(line, '\0');
    } else if (iLength >= 3) {
        AddHex(line, pSatPkt[iLength - 2]);
    }
    AddHex(line, static_cast<char>(SAT_ETX));
}

static void AddTime(tLineBuilder* line) {
    plat_calendar now;
    plat_local_now(&now);
    char strTime[64];
    VKO_FormatText(strTime, sizeof strTime, "%04d%02d%02d%02d%02d%02d", now.year, now.month, now.day,
                   now.hour, now.minute, now.second);
    Add(line, strTime, strlen(strTime));
}

/** Writes the line to the open file; one that cannot be opened in two attempts drops it. */
static void WriteLine(const char* pLine, size_t length) {
    if (gl_iFd == 0) {
        API_LOG_AS(LOG_MESSAGE, VKO_LOG_WRN,
                   "All ER:gl_iFd[%08Xh]=NULL\n\t Msg[%06d:%s] Trying to Open NOw\n", 0U,
                   static_cast<int>(length), pLine);
        CreateSAT_ProtLogFile();
        if (gl_iFd == 0) {
            CreateSAT_ProtLogFile();
            API_LOG_AS(LOG_MESSAGE, VKO_LOG_WRN, "All ER:gl_iFd[%08Xh]=NULL\n\t Msg[%06d:%s]\n", 0U,
                       static_cast<int>(length), pLine);
            return;
        }
    }
    plat_append_write(gl_iFd, pLine, length);
}

/** The length of the text at the start of `size` bytes. */
static int TextLength(const char* pBytes, size_t size) {
    const void* pEnd = memchr(pBytes, '\0', size);
    return static_cast<int>(pEnd != nullptr ? static_cast<size_t>(static_cast<const char*>(pEnd) - pBytes)
                                            : size);
}

void LogSATProtocolMsg(const char* pSatPkt, uint8_t direction) {
    if (pSatPkt == nullptr) {
        // The stray "L" behind the line feed belongs to the message.
        API_LOG(VKO_LOG_WRN, "All WR:pText=NUL\nL");
        return;
    }
    LogSATProtocolFrame(pSatPkt, strlen(pSatPkt) + 2, direction);
}

void LogSATProtocolFrame(const char* pSatPkt, size_t size, uint8_t direction) {
    int iLength = TextLength(pSatPkt, size);
    // Room for the time, the labels around the packet and its framing bytes in hexadecimal.
    tLineBuilder line = {static_cast<char*>(plat_alloc(static_cast<size_t>(iLength) + 48 + 64)), 0};
    if (line.pText == nullptr) {
        API_LOG_AS(LOG_MESSAGE, VKO_LOG_WRN, "All WR:calloc error iSatPkgLen[%08d]\n", iLength);
        return;
    }
    const bool bFromDevice = direction == FROM_DEVICE;
    const eFrameShape shape = Validate(pSatPkt, size, &iLength);
    const tLineShape& around = LINE_SHAPES[bFromDevice ? 1 : 0][shape];
    AddTime(&line);
    Add(&line, around.pFront, strlen(around.pFront));
    AddFrame(&line, pSatPkt, iLength, shape, bFromDevice);
    Add(&line, around.pEnd, strlen(around.pEnd));
    gl_bProtocolLineFormatted = true;
    // The line's own string length: a packet never holds a NUL here.
    WriteLine(line.pText, line.length);
    plat_free(line.pText);
}

void LogInfo(const char* pTextInfo) {
    if (pTextInfo == nullptr) {
        API_LOG(VKO_LOG_WRN, "Win: WR:pTextInfo=NULL\n");
        return;
    }
    if (gl_iFd == 0) CreateSAT_ProtLogFile();
    const int iLength = static_cast<int>(strlen(pTextInfo));
    if (gl_iFd == 0) {
        API_LOG(VKO_LOG_ERR, "Win: ER:logFd[%08Xh]=NULL File Handle\n\t pTextInfo[%05d:%s]\n", 0U, iLength,
                pTextInfo);
        return;
    }
    char strFront[96];
    tLineBuilder front = {strFront, 0};
    AddTime(&front);
    Add(&front, " INFO [", 7);
    plat_append_write(gl_iFd, front.pText, front.length);
    plat_append_write(gl_iFd, pTextInfo, static_cast<size_t>(iLength));
    plat_append_write(gl_iFd, "]\n", 2);
    // The "n" behind the bracket is what is left of a line feed: on purpose.
    API_LOG(VKO_LOG_INF, "Win: OK:logFd[%08Xh]n\t pTextInfo[%05d:%s]\n", static_cast<unsigned>(gl_iFd),
            iLength, pTextInfo);
}

void ProtLogFileSzCtl() {
    if (!gl_bProtocolLineFormatted) return;
    // Callers that do not wait for one another come here at the same time: one of them closes, since the
    // number is soon somebody else's.
    const int32_t iFd = std::atomic_ref(gl_iFd).exchange(0);
    if (iFd != 0) plat_append_close(iFd);
    const int32_t iSize = VKO_GetFileSize(gl_tSat.strSatProtLogFileName);
    if (gl_tLogSettings.iLogFileMaxSize == 0) gl_tLogSettings.iLogFileMaxSize = DEFAULT_MAX_SIZE;
    // Three times the limit wraps in 32 bits as it always has.
    const int32_t iLimit = static_cast<int32_t>(3U * static_cast<uint32_t>(gl_tLogSettings.iLogFileMaxSize));
    if (iSize <= iLimit) return;
    char strBackup[sizeof gl_tSat.strSatProtLogFileName + 32];
    int iBackup = 0;
    do {
        VKO_FormatText(strBackup, sizeof strBackup, "%s_bkp_%02d.txt", gl_tSat.strSatProtLogFileName,
                       iBackup++);
    } while (VKO_GetFileSize(strBackup) > 0);
    // The name that was found is not used and the log keeps growing: on purpose.
}
